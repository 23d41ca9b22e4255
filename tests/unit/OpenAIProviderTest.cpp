#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "core/Json.h"
#include "providers/OpenAIProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;

class OpenAIProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport});
    }
    static std::string ok(const std::string& content) {
        return Json{{"choices", {{{"message", {{"role", "assistant"}, {"content", content}}}}}}}.dump();
    }

    OpenAIProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.openAIAPIKey = "sk-test";
        return s;
    }();
    FakeTransport transport;
};

TEST_F(OpenAIProviderTest, PromptIsExact) {
    EXPECT_EQ(OpenAIProvider::systemPrompt(Language::english, Language::chinese),
              "你是一个专业翻译引擎。将用户输入的英语文本翻译成中文（简体）。\n要求：\n"
              "1. 只输出译文，不要解释、不要加引号、不要额外说明\n2. 保持原文格式和语气\n3. 专业术语准确翻译");
    EXPECT_EQ(OpenAIProvider::systemPrompt(Language::auto_, Language::auto_).rfind(
                  "你是一个专业翻译引擎。将用户输入的任意语言文本翻译成自动检测。\n", 0),
              0u);
    EXPECT_NE(OpenAIProvider::systemPrompt(Language::chineseTraditional, Language::english).find("中文（繁体）文本"),
              std::string::npos);
}

TEST_F(OpenAIProviderTest, RequestWireFormat) {
    transport.respond(200, ok("你好"));
    ASSERT_TRUE(translate("hello").ok());
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://api.openai.com/v1/chat/completions");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Authorization", "Bearer sk-test"},
                                                         {"Content-Type", "application/json"}}));
    const Json expected = {
        {"model", "gpt-4o-mini"},
        {"messages", {{{"role", "system"}, {"content", OpenAIProvider::systemPrompt(Language::english, Language::chinese)}},
                      {{"role", "user"}, {"content", "hello"}}}},
        {"temperature", 0.3},
        {"max_tokens", 2000},
    };
    const Json sent = Json::parse(request.body);
    EXPECT_EQ(sent, expected);
    EXPECT_TRUE(sent["max_tokens"].is_number_integer());
    EXPECT_NE(request.body.find("\"temperature\":0.3"), std::string::npos);
}

TEST_F(OpenAIProviderTest, EndpointJoinsBaseUrlVerbatim) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "https://api.openai.com/v1/chat/completions"},
        {"http://127.0.0.1:11434", "http://127.0.0.1:11434/v1/chat/completions"},
        {"https://example.com/", "https://example.com//v1/chat/completions"},
        {"https://example.com/v1", "https://example.com/v1/v1/chat/completions"},
    };
    for (const auto& [base, url] : cases) {
        settings.openAIBaseURL = base;
        translate("x");
        EXPECT_EQ(transport.lastRequest().url, url) << base;
    }
}

TEST_F(OpenAIProviderTest, EmptyModelAndHostileTextAreSentAsTheyAre) {
    settings.openAIModel = "";
    const std::string hostile = "\"quote\" \\ </script> \n\t 😀 \u2028";
    translate(hostile);
    const Json sent = Json::parse(transport.lastRequest().body);
    EXPECT_EQ(sent["model"], "");
    EXPECT_EQ(sent["messages"][1]["content"], hostile);
}

TEST_F(OpenAIProviderTest, ResultIsTrimmedAndCarriesNoDetectedLanguage) {
    transport.respond(200, ok("\n  你好  \n"));
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "你好", Language::auto_, Language::chinese, "OpenAI", std::nullopt}));
}

TEST_F(OpenAIProviderTest, MissingKeySendsNothing) {
    settings.openAIAPIKey.clear();
    EXPECT_FALSE(provider.isConfigured(settings));
    EXPECT_EQ(describe(translate("hello").error()), "OpenAI API Key 未设置");
    EXPECT_EQ(transport.requestCount(), 0u);
    settings.openAIAPIKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(OpenAIProviderTest, FailuresReachTheUserAsTheirOwnTexts) {
    const std::pair<HttpResponse, std::string> cases[] = {
        {{429, {}, R"({"error":{"message":"slow down"}})"}, "请求过于频繁，请稍后再试"},
        {{401, {}, R"({"error":{"message":"Incorrect API key provided"}})"}, "Incorrect API key provided"},
        {{502, {}, "<html>bad gateway</html>"}, "HTTP 502"},
        {{200, {}, R"({"choices":[]})"}, "服务器返回了无效的响应"},
        {{200, {}, R"({"choices":[{"message":{"content":null}}]})"}, "服务器返回了无效的响应"},
        {{200, {}, R"({"choices":[{"text":"legacy"}]})"}, "服务器返回了无效的响应"},
        {{200, {}, R"({"choices":{"0":{}}})"}, "服务器返回了无效的响应"},
        {{200, {}, R"(["choices"])"}, "服务器返回了无效的响应"},
        {{200, {}, "Internal error"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, "{\"choices\":[{\"message\":{\"content\":\"\xff\"}}]}"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, std::string(200000, '[')}, "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [response, text] : cases) {
        transport.enqueue(response);
        auto result = translate("hello");
        ASSERT_FALSE(result.ok()) << text;
        EXPECT_EQ(describe(result.error()), text);
    }
}

TEST_F(OpenAIProviderTest, TransportErrorsPassThroughUnwrapped) {
    transport.fail(TransportError{TransportError::Kind::timedOut, "api.openai.com", ""});
    auto result = translate("hello");
    ASSERT_TRUE(std::holds_alternative<TransportError>(result.error()));
    EXPECT_EQ(std::get<TransportError>(result.error()).kind, TransportError::Kind::timedOut);
}

}  // namespace
}  // namespace tavi
