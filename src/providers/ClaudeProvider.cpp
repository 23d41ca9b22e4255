#include "providers/ClaudeProvider.h"

#include "core/ChatResponseCheck.h"
#include "core/Json.h"
#include "core/Text.h"

namespace tavi {
namespace {

constexpr const char* kName = "Claude";

std::string sourceName(Language from) {
    return from == Language::auto_ ? std::string("任意语言") : std::string(displayName(from));
}

}  // namespace

bool ClaudeProvider::isConfigured(const AppSettingsValues& settings) const { return !settings.claudeAPIKey.empty(); }

// One line, and "翻译为" rather than the OpenAI prompt's "翻译成": the two
// prompts were tuned separately and are kept apart on purpose.
std::string ClaudeProvider::systemPrompt(Language from, Language to) {
    return "你是专业翻译引擎。将" + sourceName(from) + "文本翻译为" + std::string(displayName(to)) +
           "。只输出译文，不要任何解释或额外内容。保持原文格式与语气。";
}

HttpRequest ClaudeProvider::buildRequest(const std::string& text, Language from, Language to,
                                         const AppSettingsValues& settings) {
    const Json body = {
        {"model", settings.claudeModel},
        {"max_tokens", 2000},
        {"system", systemPrompt(from, to)},
        {"messages", Json::array({{{"role", "user"}, {"content", text}}})},
    };
    HttpRequest request;
    request.method = "POST";
    request.url = std::string(kEndpoint);
    request.headers = {{"x-api-key", settings.claudeAPIKey},
                       {"anthropic-version", std::string(kApiVersion)},
                       {"Content-Type", "application/json"}};
    request.body = toJsonText(body);
    request.timeout = std::chrono::seconds(60);
    return request;
}

Result<TranslationResult> ClaudeProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                        Language from, Language to) {
    if (Status check = validateChatResponse(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    // Only the first block counts: a reply that opens with a non-text block is
    // not a translation, whatever follows it.
    const Json* content = memberArray(parsed.value(), "content");
    if (!content || content->empty()) return TranslationError::invalidResponse();
    const std::string* firstText = memberString(content->front(), "text");
    if (!firstText) return TranslationError::invalidResponse();
    return TranslationResult{text, trimWhitespaceAndNewlines(*firstText), from, to, kName, std::nullopt};
}

Result<TranslationResult> ClaudeProvider::translate(const std::string& text, Language from, Language to,
                                                    const ProviderContext& context) const {
    if (context.settings.claudeAPIKey.empty()) return TranslationError::apiKeyMissing(name());
    auto response = context.http.send(buildRequest(text, from, to, context.settings));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
