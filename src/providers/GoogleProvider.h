#pragma once

#include <optional>
#include <string_view>

#include "core/TranslationProvider.h"

namespace tavi {

// Google Cloud Translation v2: key, text and languages all travel in the
// query of an otherwise empty POST; the reply names the detected language.
class GoogleProvider final : public TranslationProvider {
public:
    static constexpr std::string_view kEndpoint = "https://translation.googleapis.com/language/translate/v2";

    GoogleProvider() : TranslationProvider("google", "Google 翻译") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    static std::string_view languageCode(Language language);
    // The first case, in declaration order, whose code is exactly `code`.
    static std::optional<Language> languageForCode(std::string_view code);
    static HttpRequest buildRequest(const std::string& text, Language from, Language to,
                                    const AppSettingsValues& settings);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);
};

}  // namespace tavi
