#include "FakeChatServices.h"

#include <atomic>

#include <nlohmann/json.hpp>

#include "SignatureVerifiers.h"

namespace tavi::test {
namespace {

using nlohmann::json;
using verify::find;

std::string dump(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// The body of a request sent as JSON, when it is a JSON object.
std::optional<json> jsonBody(const RecordedRequest& request) {
    if (!startsWith(request.header("Content-Type"), "application/json")) return std::nullopt;
    json parsed = json::parse(request.body, nullptr, false);
    if (!parsed.is_object()) return std::nullopt;
    return parsed;
}

bool isString(const json& object, const char* key) { return object.contains(key) && object[key].is_string(); }

// True when the text holds a character from the CJK blocks, U+4E00..U+9FFF (E4 B8 80 .. E9 BF BF).
bool looksChinese(const std::string& text) {
    for (std::size_t i = 0; i + 2 < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead >= 0xE4 && lead <= 0xE9 && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) return true;
    }
    return false;
}

std::string openAIError(const std::string& message, const json& code = nullptr) {
    return dump({{"error", {{"message", message}, {"type", "invalid_request_error"}, {"code", code}}}});
}

std::string anthropicError(const std::string& type, const std::string& message) {
    return dump({{"type", "error"}, {"error", {{"type", type}, {"message", message}}}});
}

std::string googleError(int code, const std::string& message) {
    return dump({{"error", {{"code", code}, {"message", message}}}});
}

}  // namespace

// ---------------------------------------------------------------- OpenAI

FakeOpenAIService::FakeOpenAIService(std::string apiKey)
    : FakeService("api.openai.com", "POST", "/v1/chat/completions"), apiKey_(std::move(apiKey)) {}

std::string FakeOpenAIService::replyBody(const std::string& content, const std::string& model) {
    static std::atomic<unsigned> serial{0};
    return dump({{"id", "chatcmpl-fake" + std::to_string(++serial)},
                 {"object", "chat.completion"},
                 {"model", model},
                 {"choices",
                  {{{"index", 0},
                    {"message", {{"role", "assistant"}, {"content", content}}},
                    {"finish_reason", "stop"}}}}});
}

FakeService::Verdict FakeOpenAIService::examine(const RecordedRequest& request) {
    const std::string authorization = request.header("Authorization");
    if (!startsWith(authorization, "Bearer ") || authorization == "Bearer " ||
        (!apiKey_.empty() && authorization != "Bearer " + apiKey_)) {
        return refuse("wrong key", {401, openAIError("Incorrect API key provided. You can find your API key at "
                                                     "https://platform.openai.com/account/api-keys.",
                                                     "invalid_api_key")});
    }
    const auto body = jsonBody(request);
    if (!body || !isString(*body, "model") || !(*body)["messages"].is_array()) {
        return refuse("malformed body", {400, openAIError("We could not parse the JSON body of your request.")});
    }
    Verdict accepted;
    for (const json& message : (*body)["messages"]) {
        if (!message.is_object() || !isString(message, "role") || !isString(message, "content")) {
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
    if (request.header("x-api-key") != apiKey_) {
        return refuse("wrong x-api-key", {401, anthropicError("authentication_error", "invalid x-api-key")});
    }
    if (request.header("anthropic-version") != "2023-06-01") {
        return refuse("anthropic-version " + request.header("anthropic-version"),
                      {400, anthropicError("invalid_request_error", "anthropic-version: header is required")});
    }
    auto body = jsonBody(request);
    json* first = body && (*body)["messages"].is_array() && !(*body)["messages"].empty() ? &(*body)["messages"][0]
                                                                                         : nullptr;
    if (!body || !isString(*body, "model") || !(*body)["max_tokens"].is_number_integer() ||
        (body->contains("system") && !(*body)["system"].is_string()) || !first || !first->is_object() ||
        first->value("role", json()) != "user" || !isString(*first, "content")) {
        return refuse("malformed body", {400, anthropicError("invalid_request_error", "malformed request")});
    }
    Verdict accepted;
    accepted.text = (*first)["content"].get<std::string>();
    accepted.model = (*body)["model"].get<std::string>();
    return accepted;
}

FakeService::Reply FakeClaudeService::translation(const RecordedRequest&, const Verdict& accepted) {
    return {200, dump({{"type", "message"},
                       {"role", "assistant"},
                       {"model", accepted.model},
                       {"content", {{{"type", "text"}, {"text", translationOf(accepted.text)}}}},
                       {"stop_reason", "end_turn"}})};
}

// ---------------------------------------------------------------- Google

FakeGoogleService::FakeGoogleService(std::string apiKey)
    : FakeService("translation.googleapis.com", "POST", "/language/translate/v2"), apiKey_(std::move(apiKey)) {}

FakeService::Verdict FakeGoogleService::examine(const RecordedRequest& request) {
    const auto query = verify::parseUrlEncoded(request.query, true);
    if (!query || find(*query, "key") != apiKey_) {
        return refuse("wrong key", {400, googleError(400, "API key not valid. Please pass a valid API key.")});
    }
    // Everything travels in the query: a body would be read as JSON and refused.
    if (!request.body.empty() || !find(*query, "q") || !find(*query, "target")) {
        return refuse("no q or target, or a body", {400, googleError(400, "Invalid Value")});
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
    const std::string key = startsWith(authorization, "DeepL-Auth-Key ") ? authorization.substr(15) : "";
    if (key.empty() || key != apiKey_) {
        const bool freeKey = key.ends_with(":fx");
        if (key.empty()) return refuse("no DeepL-Auth-Key", {403, ""});
        if (freeKey && plan_ == Plan::pro) {
            return refuse("Free key on the Pro host", {403, R"({"message":"Wrong endpoint. Use https://api-free.deepl.com"})"});
        }
        if (!freeKey && plan_ == Plan::free) {
            return refuse("Pro key on the Free host", {403, R"({"message":"Wrong endpoint. Use https://api.deepl.com"})"});
        }
        return refuse("unknown key", {403, ""});
    }
    auto body = jsonBody(request);
    if (!body || !(*body)["text"].is_array() || (*body)["text"].size() != 1 || !(*body)["text"][0].is_string() ||
        !isString(*body, "target_lang")) {
        return refuse("malformed body", {400, R"({"message":"Bad request."})"});
    }
    Verdict accepted;
    if (body->contains("source_lang")) {
        // The service knows source languages only by their bare codes.
        if (!isString(*body, "source_lang") || (*body)["source_lang"] == "" ||
            (*body)["source_lang"].get<std::string>().find('-') != std::string::npos) {
            return refuse("bad source_lang " + (*body)["source_lang"].dump(),
                          {400, R"({"message":"Value for 'source_lang' not supported."})"});
        }
        accepted.sourceCode = (*body)["source_lang"].get<std::string>();
    }
    accepted.text = (*body)["text"][0].get<std::string>();
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
