#pragma once

#include <cstdint>
#include <string_view>

#include "core/TranslationProvider.h"

namespace tavi {

// Volcengine TranslateText, signed with the Volcengine HMAC-SHA256 scheme
// computed here from the Access Key ID and Secret Access Key.
class VolcanoProvider final : public TranslationProvider {
public:
    // One text for the URL, the Host header and the signed host line.
    static constexpr std::string_view kHost = "translate.volcengineapi.com";
    static constexpr std::string_view kQuery = "Action=TranslateText&Version=2020-06-01";
    static constexpr std::string_view kRegion = "cn-north-1";
    static constexpr std::string_view kService = "translate";
    static constexpr std::string_view kSignedHeaders = "content-type;host;x-content-sha256;x-date";

    VolcanoProvider() : TranslationProvider("volcano", "火山翻译") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    static std::string_view languageCode(Language language);
    // The compact JSON body; these bytes are both hashed and sent.
    static std::string requestBody(const std::string& text, Language from, Language to);
    static std::string canonicalRequest(std::string_view payloadHash, std::string_view requestTime);
    static std::string credentialScope(std::string_view shortDate);
    static HttpRequest buildRequest(const std::string& text, Language from, Language to,
                                    const AppSettingsValues& settings, std::int64_t secondsSince1970);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);
};

}  // namespace tavi
