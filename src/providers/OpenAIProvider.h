#pragma once

#include "core/TranslationProvider.h"

namespace tavi {

// A chat-completion service speaking the OpenAI API, at api.openai.com or at
// any compatible server the user points the base URL to.
class OpenAIProvider final : public TranslationProvider {
public:
    OpenAIProvider() : TranslationProvider("openai", "OpenAI") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    static std::string systemPrompt(Language from, Language to);
    static HttpRequest buildRequest(const std::string& text, Language from, Language to,
                                    const AppSettingsValues& settings);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);
};

}  // namespace tavi
