#pragma once

#include <string_view>

#include "core/TranslationProvider.h"

namespace tavi {

// Anthropic's Messages API at its fixed public endpoint: the prompt travels as
// "system", the text as the one user message.
class ClaudeProvider final : public TranslationProvider {
public:
    static constexpr std::string_view kEndpoint = "https://api.anthropic.com/v1/messages";
    static constexpr std::string_view kApiVersion = "2023-06-01";

    ClaudeProvider() : TranslationProvider("claude", "Claude") {}

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
