#include "providers/OpenAIProvider.h"

#include "core/ChatResponseCheck.h"
#include "core/Json.h"
#include "core/Text.h"

namespace tavi {
namespace {

constexpr const char* kDefaultBaseURL = "https://api.openai.com";

std::string sourceName(Language from) {
    return from == Language::auto_ ? std::string("任意语言") : std::string(displayName(from));
}

}  // namespace

bool OpenAIProvider::isConfigured(const AppSettingsValues& settings) const {
    return !settings.openAIAPIKey.empty();
}

std::string OpenAIProvider::systemPrompt(Language from, Language to) {
    return "你是一个专业翻译引擎。将用户输入的" + sourceName(from) + "文本翻译成" + std::string(displayName(to)) +
           "。\n要求：\n1. 只输出译文，不要解释、不要加引号、不要额外说明\n2. 保持原文格式和语气\n3. 专业术语准确翻译";
}

HttpRequest OpenAIProvider::buildRequest(const std::string& text, Language from, Language to,
                                         const AppSettingsValues& settings) {
    const std::string& base = settings.openAIBaseURL.empty() ? kDefaultBaseURL : settings.openAIBaseURL;
    Json body = {
        {"model", settings.openAIModel},
        {"messages", Json::array({{{"role", "system"}, {"content", systemPrompt(from, to)}},
                                  {{"role", "user"}, {"content", text}}})},
        {"temperature", 0.3},
        {"max_tokens", 2000},
    };
    HttpRequest request;
    request.method = "POST";
    request.url = base + "/v1/chat/completions";
    request.headers = {{"Authorization", "Bearer " + settings.openAIAPIKey},
                       {"Content-Type", "application/json"}};
    request.body = toJsonText(body);
    request.timeout = std::chrono::seconds(60);
    return request;
}

Result<TranslationResult> OpenAIProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                        Language from, Language to) {
    if (Status check = validateChatResponse(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    const Json* choices = memberArray(parsed.value(), "choices");
    if (!choices || choices->empty()) return TranslationError::invalidResponse();
    const Json* message = memberObject(choices->front(), "message");
    const std::string* content = message ? memberString(*message, "content") : nullptr;
    if (!content) return TranslationError::invalidResponse();
    return TranslationResult{text, trimWhitespaceAndNewlines(*content), from, to, "OpenAI", std::nullopt};
}

Result<TranslationResult> OpenAIProvider::translate(const std::string& text, Language from, Language to,
                                                    const ProviderContext& context) const {
    if (context.settings.openAIAPIKey.empty()) return TranslationError::apiKeyMissing(name());
    auto response = context.http.send(buildRequest(text, from, to, context.settings));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
