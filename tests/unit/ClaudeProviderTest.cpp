#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "core/Json.h"
#include "providers/ClaudeProvider.h"
#include "providers/ProviderList.h"

namespace tavi {
namespace {

using test::FakeTransport;

class ClaudeProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport});
    }
    static std::string ok(const std::string& text) {
        return Json{{"id", "msg_01"},
                    {"type", "message"},
                    {"role", "assistant"},
                    {"content", {{{"type", "text"}, {"text", text}}}},
                    {"stop_reason", "end_turn"}}
            .dump();
    }
    std::string failureText(const HttpResponse& response) {
        transport.enqueue(response);
        auto result = translate("hello");
        return result.ok() ? "(succeeded)" : describe(result.error());
    }

    ClaudeProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.claudeAPIKey = "sk-ant-test";
        return s;
    }();
    FakeTransport transport;
};

TEST_F(ClaudeProviderTest, IdentityAndPrompt) {
    EXPECT_EQ(provider.id(), "claude");
    EXPECT_EQ(provider.name(), "Claude");
    EXPECT_EQ(ClaudeProvider::systemPrompt(Language::english, Language::chinese),
              "你是专业翻译引擎。将英语文本翻译为中文（简体）。只输出译文，不要任何解释或额外内容。保持原文格式与语气。");
    EXPECT_EQ(ClaudeProvider::systemPrompt(Language::auto_, Language::auto_),
              "你是专业翻译引擎。将任意语言文本翻译为自动检测。只输出译文，不要任何解释或额外内容。保持原文格式与语气。");
    EXPECT_EQ(ClaudeProvider::systemPrompt(Language::chineseTraditional, Language::japanese),
              "你是专业翻译引擎。将中文（繁体）文本翻译为日语。只输出译文，不要任何解释或额外内容。保持原文格式与语气。");
}

TEST_F(ClaudeProviderTest, RequestWireFormat) {
    transport.respond(200, ok("你好"));
    ASSERT_TRUE(translate("hello", Language::french, Language::german).ok());
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://api.anthropic.com/v1/messages");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"x-api-key", "sk-ant-test"},
                                                         {"anthropic-version", "2023-06-01"},
                                                         {"Content-Type", "application/json"}}));
    const Json expected = {
        {"model", "claude-haiku-4-5-20251001"},
        {"max_tokens", 2000},
        {"system", "你是专业翻译引擎。将法语文本翻译为德语。只输出译文，不要任何解释或额外内容。保持原文格式与语气。"},
        {"messages", {{{"role", "user"}, {"content", "hello"}}}},
    };
    const Json sent = Json::parse(request.body);
    EXPECT_EQ(sent, expected);
    EXPECT_TRUE(sent["max_tokens"].is_number_integer());
    EXPECT_TRUE(sent["messages"][0]["content"].is_string());
}

TEST_F(ClaudeProviderTest, ModelAndHostileTextAreSentAsTheyAre) {
    settings.claudeModel = "";
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀 \"q\" \\ </script> \u2028";
    translate(hostile);
    Json sent = Json::parse(transport.lastRequest().body);
    EXPECT_EQ(sent["model"], "");
    EXPECT_EQ(sent["messages"][0]["content"], hostile);

    // Text that is not valid UTF-8 still yields a valid body instead of an exception.
    translate("bad \xff\xfe bytes");
    sent = Json::parse(transport.lastRequest().body);
    EXPECT_EQ(sent["messages"][0]["content"], "bad \xEF\xBF\xBD\xEF\xBF\xBD bytes");
}

TEST_F(ClaudeProviderTest, FirstTextBlockIsTrimmedAndCarriesNoDetectedLanguage) {
    transport.respond(200, R"({"content":[{"type":"text","text":"\n  你好  \n"},{"type":"text","text":"ignored"}]})");
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(),
              (TranslationResult{"hello", "你好", Language::auto_, Language::chinese, "Claude", std::nullopt}));

    const std::string huge(4 << 20, 'x');
    transport.respond(200, ok(" " + huge + "\n"));
    result = translate("hello");
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().translatedText, huge);
}

TEST_F(ClaudeProviderTest, MissingKeySendsNothing) {
    settings.claudeAPIKey.clear();
    EXPECT_FALSE(provider.isConfigured(settings));
    EXPECT_EQ(describe(translate("hello").error()), "Claude API Key 未设置");
    EXPECT_EQ(transport.requestCount(), 0u);
    settings.claudeAPIKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(ClaudeProviderTest, ErrorStatusesShowTheServiceMessageOrTheStatus) {
    const std::pair<HttpResponse, std::string> cases[] = {
        {{429, {}, R"({"type":"error","error":{"type":"rate_limit_error","message":"slow down"}})"},
         "请求过于频繁，请稍后再试"},
        {{529, {}, R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})"}, "Overloaded"},
        {{401, {}, R"({"type":"error","error":{"type":"authentication_error","message":"invalid x-api-key"}})"},
         "invalid x-api-key"},
        {{400, {}, R"({"error":"plain string"})"}, "HTTP 400"},
        {{403, {}, R"({"message":"top-level message is not Anthropic's shape"})"}, "HTTP 403"},
        {{500, {}, R"({"error":{"message":42}})"}, "HTTP 500"},
        {{502, {}, "<html>bad gateway</html>"}, "HTTP 502"},
        {{503, {}, ""}, "HTTP 503"},
        {{404, {}, std::string(100000, '{')}, "HTTP 404"},
        {{401, {}, "{\"error\":{\"message\":\"\xff\"}}"}, "HTTP 401"},
    };
    for (const auto& [response, text] : cases) EXPECT_EQ(failureText(response), text) << response.body.substr(0, 80);
}

TEST_F(ClaudeProviderTest, MalformedSuccessfulRepliesAreInvalidOrNotJson) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"content":[]})", "服务器返回了无效的响应"},
        {R"({"content":[{"type":"tool_use","id":"x"},{"type":"text","text":"later"}]})", "服务器返回了无效的响应"},
        {R"({"content":[{"type":"text","text":null}]})", "服务器返回了无效的响应"},
        {R"({"content":[{"type":"text","text":["a"]}]})", "服务器返回了无效的响应"},
        {R"({"content":["text"]})", "服务器返回了无效的响应"},
        {R"({"content":{"text":"not an array"}})", "服务器返回了无效的响应"},
        {R"({"content":"你好"})", "服务器返回了无效的响应"},
        {R"({"error":{"message":"error body with a 200"}})", "服务器返回了无效的响应"},
        {R"([{"text":"top-level array"}])", "服务器返回了无效的响应"},
        {"null", "服务器返回了无效的响应"},
        {"", "服务器返回的内容不是有效的 JSON"},
        {"Internal error", "服务器返回的内容不是有效的 JSON"},
        {"{\"content\":[{\"text\":\"\xc3\x28\"}]}", "服务器返回的内容不是有效的 JSON"},
        {std::string(200000, '['), "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [body, text] : cases) EXPECT_EQ(failureText({200, {}, body}), text) << body.substr(0, 80);
}

TEST(ProviderListTest, ClaudeDeepLAndGoogleFollowOpenAIInThatOrder) {
    std::vector<std::pair<std::string, std::string>> listed;
    for (const auto& provider : allProviders()) listed.emplace_back(provider->id(), provider->name());
    ASSERT_GE(listed.size(), 4u);
    EXPECT_EQ(std::vector(listed.begin(), listed.begin() + 4),
              (std::vector<std::pair<std::string, std::string>>{
                  {"openai", "OpenAI"}, {"claude", "Claude"}, {"deepl", "DeepL"}, {"google", "Google 翻译"}}));
    for (const char* id : {"claude", "deepl", "google"}) {
        ASSERT_NE(findProvider(id), nullptr);
        EXPECT_EQ(findProvider(id)->id(), id);
    }
}

TEST_F(ClaudeProviderTest, TransportErrorsPassThroughUnwrapped) {
    transport.fail(TransportError{TransportError::Kind::tlsFailure, "api.anthropic.com", "handshake"});
    auto result = translate("hello");
    ASSERT_TRUE(std::holds_alternative<TransportError>(result.error()));
    EXPECT_EQ(std::get<TransportError>(result.error()).kind, TransportError::Kind::tlsFailure);
}

}  // namespace
}  // namespace tavi
