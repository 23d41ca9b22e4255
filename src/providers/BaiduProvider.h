#pragma once

#include <cstdint>
#include <string_view>

#include "core/TranslationProvider.h"

namespace tavi {

// Baidu general text translation: a GET whose query carries the text and an
// MD5 signature over app ID, text, salt and secret key.
class BaiduProvider final : public TranslationProvider {
public:
    static constexpr std::string_view kEndpoint = "https://fanyi-api.baidu.com/api/trans/vip/translate";

    BaiduProvider() : TranslationProvider("baidu", "百度翻译") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    static std::string_view languageCode(Language language);
    // 32 lower-case hex digits of MD5(appID + text + salt + secretKey).
    static std::string sign(std::string_view appID, std::string_view text, std::string_view salt,
                            std::string_view secretKey);
    // The salt is a five-digit number the caller draws.
    static HttpRequest buildRequest(const std::string& text, Language from, Language to,
                                    const AppSettingsValues& settings, std::uint32_t salt);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);
};

}  // namespace tavi
