#pragma once

#include <optional>
#include <string_view>

#include "core/TranslationProvider.h"

namespace tavi {

// DeepL API v2 on the Free or the Pro endpoint, as the user's plan says.
class DeepLProvider final : public TranslationProvider {
public:
    static constexpr std::string_view kFreeEndpoint = "https://api-free.deepl.com/v2/translate";
    static constexpr std::string_view kProEndpoint = "https://api.deepl.com/v2/translate";

    DeepLProvider() : TranslationProvider("deepl", "DeepL") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    static std::string_view languageCode(Language language);
    // The first case, in declaration order, whose code is exactly `code`.
    static std::optional<Language> languageForCode(std::string_view code);
    static HttpRequest buildRequest(const std::string& text, Language from, Language to,
                                    const AppSettingsValues& settings);
    // DeepL's errors carry a top-level "message" rather than error.message.
    static Status validateResponse(const HttpResponse& response);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);
};

}  // namespace tavi
