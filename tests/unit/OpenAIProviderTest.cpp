#include "ProviderTestRig.h"
#include "providers/OpenAIProvider.h"

namespace tavi::test {

using OpenAIProviderTest = ProviderTest<OpenAIProvider>;

TEST_F(OpenAIProviderTest, RequestWireFormatAndTrimmedResult) {
    transport.respond(200, R"({"choices":[{"message":{"content":"\n  你好  \n"}}]})");
    auto result = translate("hello");
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "你好", Language::english, Language::chinese, "OpenAI", {}}));
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST https://api.openai.com/v1/chat/completions (60000 ms)\n"
              "Authorization: Bearer sk-test\nContent-Type: application/json\n\n"
              R"({"max_tokens":2000,"messages":[{"content":"你是一个专业翻译引擎。将用户输入的英语文本翻译成中文（简体）。)"
              R"(\n要求：\n1. 只输出译文，不要解释、不要加引号、不要额外说明\n2. 保持原文格式和语气\n3. 专业术语准确翻译",)"
              R"("role":"system"},{"content":"hello","role":"user"}],"model":"gpt-4o-mini","temperature":0.3})");
    EXPECT_EQ(OpenAIProvider::systemPrompt(Language::auto_, Language::chineseTraditional).rfind(
                  "你是一个专业翻译引擎。将用户输入的任意语言文本翻译成中文（繁体）。\n", 0), 0u);
}

TEST_F(OpenAIProviderTest, EndpointJoinsBaseUrlVerbatim) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "https://api.openai.com/v1/chat/completions"}, {"http://[::1]:8", "http://[::1]:8/v1/chat/completions"},
        {"https://a.b/", "https://a.b//v1/chat/completions"}, {"https://a.b/v1", "https://a.b/v1/v1/chat/completions"},
    };
    for (const auto& [base, url] : cases) {
        settings.openAIBaseURL = base;
        EXPECT_EQ(sent("x").url, url) << base;
    }
}

TEST_F(OpenAIProviderTest, Failures) {
    expectCredentialRule({&AppSettingsValues::openAIAPIKey}, "OpenAI API Key 未设置");
    expectFailures({
        {{429, {}, R"({"error":{"message":"slow down"}})"}, "请求过于频繁，请稍后再试"},
        {{401, {}, R"({"error":{"message":"Incorrect API key provided"}})"}, "Incorrect API key provided"},
        {{502, {}, "<html>bad gateway</html>"}, "HTTP 502"},
        {{200, {}, R"({"choices":[]})"}, kInvalid},
        {{200, {}, R"({"choices":[{"message":{"content":null}}]})"}, kInvalid},
        {{200, {}, "Internal error"}, kNotJson},
        {{200, {}, withNul(R"({"choices":[{"message":{"content":"hi"}}]})")}, kInvalid},
        {{200, {}, std::string(200000, '[')}, kTooDeep},
    });
}

}  // namespace tavi::test
