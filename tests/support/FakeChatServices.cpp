#include "FakeChatServices.h"

#include <atomic>

#include <nlohmann/json.hpp>

#include "SignatureVerifiers.h"

namespace tavi::test {
namespace {

using nlohmann::json;
using verify::find;
using verify::Params;

std::string dump(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

std::optional<json> parseObject(const std::string& body) {
    json parsed = json::parse(body, nullptr, false);
    if (parsed.is_discarded() || !parsed.is_object()) return std::nullopt;
    return parsed;
}

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }
bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::string serial(const char* prefix) {
    static std::atomic<unsigned> counter{0};
    return prefix + std::to_string(++counter);
}

// True when the text holds a character from the CJK blocks.
bool looksChinese(const std::string& text) {
    // U+4E00..U+9FFF are encoded as E4 B8 80 .. E9 BF BF.
    for (std::size_t i = 0; i + 2 < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead >= 0xE4 && lead <= 0xE9 && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) return true;
    }
    return false;
}

// --- OpenAI's error envelope.
std::string openAIError(const std::string& message, const json& code = nullptr) {
    return dump(
        {{"error", {{"message", message}, {"type", "invalid_request_error"}, {"param", nullptr}, {"code", code}}}});
}

// --- Anthropic's error envelope.
std::string anthropicError(const std::string& type, const std::string& message) {
    return dump({{"type", "error"}, {"error", {{"type", type}, {"message", message}}}});
}

// --- Google's error envelope.
std::string googleError(int code, const std::string& message, const std::string& status, const std::string& reason) {
    return dump({{"error",
                  {{"code", code},
                   {"message", message},
                   {"errors", {{{"message", message}, {"domain", "global"}, {"reason", reason}}}},
                   {"status", status}}}});
}

}  // namespace

// ---------------------------------------------------------------- OpenAI

FakeOpenAIService::FakeOpenAIService(std::string apiKey)
    : FakeService("api.openai.com", "POST", "/v1/chat/completions"), apiKey_(std::move(apiKey)) {}

std::string FakeOpenAIService::replyBody(const std::string& content, const std::string& model) {
    return dump({{"id", serial("chatcmpl-fake")},
                 {"object", "chat.completion"},
                 {"created", 1741338902},
                 {"model", model},
                 {"choices",
                  {{{"index", 0},
                    {"message", {{"role", "assistant"}, {"content", content}}},
                    {"finish_reason", "stop"}}}},
                 {"usage", {{"prompt_tokens", 12}, {"completion_tokens", 8}, {"total_tokens", 20}}}});
}

FakeService::Verdict FakeOpenAIService::examine(const RecordedRequest& request) {
    const std::string authorization = request.header("Authorization");
    constexpr std::string_view kScheme = "Bearer ";
    if (!startsWith(authorization, kScheme)) {
        return refuse("no bearer key", {401, openAIError("You didn't provide an API key. You need to provide your API "
                                                         "key in an Authorization header using Bearer auth.")});
    }
    const std::string key = authorization.substr(kScheme.size());
    if (key.empty() || (!apiKey_.empty() && key != apiKey_)) {
        return refuse("wrong key", {401, openAIError("Incorrect API key provided. You can find your API key at "
                                                     "https://platform.openai.com/account/api-keys.",
                                                     "invalid_api_key")});
    }
    if (!startsWith(request.header("Content-Type"), "application/json")) {
        return refuse("Content-Type " + request.header("Content-Type"),
                      {400, openAIError("Unsupported content type: '" + request.header("Content-Type") + "'.")});
    }
    const auto body = parseObject(request.body);
    if (!body) {
        return refuse("body is not a JSON object",
                      {400, openAIError("We could not parse the JSON body of your request.")});
    }
    if (!body->contains("model") || !(*body)["model"].is_string()) {
        return refuse("bad model", {400, openAIError("you must provide a model parameter")});
    }
    const json& messages = body->value("messages", json());
    if (!messages.is_array() || messages.empty()) {
        return refuse("bad messages", {400, openAIError("Missing required parameter: 'messages'.")});
    }
    Verdict accepted;
    for (const json& message : messages) {
        if (!message.is_object() || !message.contains("role") || !message["role"].is_string() ||
            !message.contains("content") || !message["content"].is_string()) {
            return refuse("bad message " + message.dump(), {400, openAIError("Invalid value for 'messages'.")});
        }
        if (message["role"] == "user") accepted.text = message["content"].get<std::string>();
    }
    accepted.model = (*body)["model"].get<std::string>();
    return accepted;
}

FakeService::Reply FakeOpenAIService::translation(const RecordedRequest&, const Verdict& accepted) {
    return {200, replyBody(translationOf(accepted.text), accepted.model)};
}

// ---------------------------------------------------------------- Claude

FakeClaudeService::FakeClaudeService(std::string apiKey)
    : FakeService("api.anthropic.com", "POST", "/v1/messages"), apiKey_(std::move(apiKey)) {}

FakeService::Verdict FakeClaudeService::examine(const RecordedRequest& request) {
    if (request.headerCount("x-api-key") == 0) {
        return refuse("no x-api-key", {401, anthropicError("authentication_error", "x-api-key header is required")});
    }
    if (request.header("x-api-key") != apiKey_) {
        return refuse("wrong x-api-key", {401, anthropicError("authentication_error", "invalid x-api-key")});
    }
    if (request.header("anthropic-version").empty()) {
        return refuse("no anthropic-version",
                      {400, anthropicError("invalid_request_error", "anthropic-version: header is required")});
    }
    if (request.header("anthropic-version") != "2023-06-01") {
        return refuse("unknown anthropic-version " + request.header("anthropic-version"),
                      {400, anthropicError("invalid_request_error",
                                           "anthropic-version: invalid version " + request.header("anthropic-version"))});
    }
    if (!startsWith(request.header("Content-Type"), "application/json")) {
        return refuse("Content-Type " + request.header("Content-Type"),
                      {400, anthropicError("invalid_request_error", "Unsupported content type")});
    }
    const auto body = parseObject(request.body);
    if (!body) return refuse("body is not a JSON object", {400, anthropicError("invalid_request_error", "invalid JSON")});
    const auto badField = [](const std::string& field) {
        return refuse("bad " + field, {400, anthropicError("invalid_request_error", field + ": Field required")});
    };
    if (!body->contains("model") || !(*body)["model"].is_string()) return badField("model");
    if (!body->contains("max_tokens") || !(*body)["max_tokens"].is_number_integer()) return badField("max_tokens");
    if (body->contains("system") && !(*body)["system"].is_string()) return badField("system");
    const json& messages = body->value("messages", json());
    if (!messages.is_array() || messages.empty() || !messages[0].is_object() ||
        messages[0].value("role", "") != "user" || !messages[0].contains("content") ||
        !messages[0]["content"].is_string()) {
        return badField("messages");
    }
    Verdict accepted;
    accepted.text = messages[0]["content"].get<std::string>();
    accepted.model = (*body)["model"].get<std::string>();
    return accepted;
}

FakeService::Reply FakeClaudeService::translation(const RecordedRequest&, const Verdict& accepted) {
    return {200, dump({{"id", serial("msg_fake")},
                       {"type", "message"},
                       {"role", "assistant"},
                       {"model", accepted.model},
                       {"content", {{{"type", "text"}, {"text", translationOf(accepted.text)}}}},
                       {"stop_reason", "end_turn"},
                       {"stop_sequence", nullptr},
                       {"usage", {{"input_tokens", 12}, {"output_tokens", 8}}}})};
}

// ---------------------------------------------------------------- Google

FakeGoogleService::FakeGoogleService(std::string apiKey)
    : FakeService("translation.googleapis.com", "POST", "/language/translate/v2"), apiKey_(std::move(apiKey)) {}

FakeService::Verdict FakeGoogleService::examine(const RecordedRequest& request) {
    // Google's front end answers a POST without a length before the API sees it.
    if (request.headerCount("Content-Length") == 0 && request.headerCount("Transfer-Encoding") == 0) {
        return refuse("POST without Content-Length",
                      {411, "<html><title>Error 411 (Length Required)!!1</title></html>", "text/html; charset=UTF-8"});
    }
    const auto query = verify::parseUrlEncoded(request.query, true);
    if (!query) {
        return refuse("malformed query " + request.query,
                      {400, googleError(400, "Invalid Value", "INVALID_ARGUMENT", "invalid")});
    }
    const auto key = find(*query, "key");
    if (!key) {
        return refuse("no key",
                      {403, googleError(403,
                                        "Method doesn't allow unregistered callers (callers without established "
                                        "identity). Please use API Key or other form of API consumer identity to "
                                        "call this API.",
                                        "PERMISSION_DENIED", "forbidden")});
    }
    if (*key != apiKey_) {
        return refuse("wrong key", {400, googleError(400, "API key not valid. Please pass a valid API key.",
                                                     "INVALID_ARGUMENT", "badRequest")});
    }
    if (!request.body.empty()) {
        return refuse("non-empty body",
                      {400, googleError(400, "Invalid JSON payload received.", "INVALID_ARGUMENT", "invalid")});
    }
    for (const char* required : {"q", "target"}) {
        if (!find(*query, required)) {
            return refuse(std::string("no ") + required,
                          {400, googleError(400, std::string("Missing required field ") + required + ".",
                                            "INVALID_ARGUMENT", "required")});
        }
    }
    const std::string format = find(*query, "format").value_or("html");
    if (format != "text" && format != "html") {
        return refuse("format " + format, {400, googleError(400, "Invalid Value", "INVALID_ARGUMENT", "invalid")});
    }
    Verdict accepted;
    accepted.text = *find(*query, "q");
    accepted.sourceCode = find(*query, "source").value_or("");
    return accepted;
}

FakeService::Reply FakeGoogleService::translation(const RecordedRequest&, const Verdict& accepted) {
    json item = {{"translatedText", translationOf(accepted.text)}};
    // Like the real service: the detected language comes only when none was named.
    if (accepted.sourceCode.empty()) item["detectedSourceLanguage"] = looksChinese(accepted.text) ? "zh-CN" : "en";
    return {200, dump({{"data", {{"translations", {item}}}}})};
}

// ---------------------------------------------------------------- DeepL

FakeDeepLService::FakeDeepLService(std::string apiKey, Plan plan)
    : FakeService(plan == Plan::pro ? "api.deepl.com" : "api-free.deepl.com", "POST", "/v2/translate"),
      apiKey_(std::move(apiKey)),
      plan_(plan) {}

FakeService::Verdict FakeDeepLService::examine(const RecordedRequest& request) {
    const std::string authorization = request.header("Authorization");
    constexpr std::string_view kScheme = "DeepL-Auth-Key ";
    if (!startsWith(authorization, kScheme)) return refuse("no DeepL-Auth-Key", {403, ""});
    const std::string key = authorization.substr(kScheme.size());
    if (key != apiKey_) {
        const bool freeKey = endsWith(key, ":fx");
        if (freeKey && plan_ == Plan::pro) {
            return refuse("Free key on the Pro host", {403, R"({"message":"Wrong endpoint. Use https://api-free.deepl.com"})"});
        }
        if (!freeKey && plan_ == Plan::free) {
            return refuse("Pro key on the Free host", {403, R"({"message":"Wrong endpoint. Use https://api.deepl.com"})"});
        }
        return refuse("unknown key", {403, ""});
    }
    if (!startsWith(request.header("Content-Type"), "application/json")) {
        return refuse("Content-Type " + request.header("Content-Type"),
                      {415, R"({"message":"Unsupported Media Type"})"});
    }
    const auto body = parseObject(request.body);
    if (!body) return refuse("body is not a JSON object", {400, R"({"message":"Bad request. Reason: Invalid JSON"})"});
    const json& texts = body->value("text", json());
    if (!texts.is_array() || texts.size() != 1 || !texts[0].is_string()) {
        return refuse("bad text", {400, R"({"message":"Bad request. Reason: Parameter 'text' not specified."})"});
    }
    const json& target = body->value("target_lang", json());
    if (!target.is_string() || target.get<std::string>().empty()) {
        return refuse("bad target_lang", {400, R"({"message":"Value for 'target_lang' not supported."})"});
    }
    Verdict accepted;
    if (body->contains("source_lang")) {
        const json& source = (*body)["source_lang"];
        // The service knows source languages only by their bare codes.
        if (!source.is_string() || source.get<std::string>().empty() ||
            source.get<std::string>().find('-') != std::string::npos) {
            return refuse("bad source_lang " + source.dump(),
                          {400, R"({"message":"Value for 'source_lang' not supported."})"});
        }
        accepted.sourceCode = source.get<std::string>();
    }
    accepted.text = texts[0].get<std::string>();
    return accepted;
}

FakeService::Reply FakeDeepLService::translation(const RecordedRequest&, const Verdict& accepted) {
    const std::string detected = !accepted.sourceCode.empty() ? accepted.sourceCode
                                 : looksChinese(accepted.text) ? "ZH"
                                                               : "EN";
    return {200, dump({{"translations",
                        {{{"detected_source_language", detected}, {"text", translationOf(accepted.text)}}}}})};
}

}  // namespace tavi::test
