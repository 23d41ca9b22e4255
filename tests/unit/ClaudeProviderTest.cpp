#include "ProviderTestRig.h"
#include "core/Json.h"
#include "providers/ClaudeProvider.h"

namespace tavi::test {

using ClaudeProviderTest = ProviderTest<ClaudeProvider>;

TEST_F(ClaudeProviderTest, RequestWireFormatAndFirstTextBlockTrimmed) {
    transport.respond(200, R"({"content":[{"type":"text","text":"\n 你好 \n"},{"type":"text","text":"ignored"}]})");
    auto result = translate("hello", Language::french, Language::german);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "你好", Language::french, Language::german, "Claude", {}}));
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST https://api.anthropic.com/v1/messages (60000 ms)\n"
              "x-api-key: sk-ant-test\nanthropic-version: 2023-06-01\nContent-Type: application/json\n\n"
              R"({"max_tokens":2000,"messages":[{"content":"hello","role":"user"}],)"
              R"("model":"claude-haiku-4-5-20251001","system":"你是专业翻译引擎。将法语文本翻译为德语。)"
              R"(只输出译文，不要任何解释或额外内容。保持原文格式与语气。"})");
    EXPECT_EQ(ClaudeProvider::systemPrompt(Language::auto_, Language::auto_),
              "你是专业翻译引擎。将任意语言文本翻译为自动检测。只输出译文，不要任何解释或额外内容。保持原文格式与语气。");
    // Hostile and invalid text still make a valid body.
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀 \"q\" \\ </script> \u2028";
    EXPECT_EQ(Json::parse(sent(hostile).body)["messages"][0]["content"], hostile);
    EXPECT_EQ(Json::parse(sent("bad \xff\xfe").body)["messages"][0]["content"], "bad \xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST_F(ClaudeProviderTest, Failures) {
    expectCredentialRule({&AppSettingsValues::claudeAPIKey}, "Claude API Key 未设置");
    expectFailures({
        {{429, {}, R"({"type":"error","error":{"type":"rate_limit_error","message":"slow down"}})"},
         "请求过于频繁，请稍后再试"},
        {{529, {}, R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})"}, "Overloaded"},
        {{400, {}, R"({"error":"plain string"})"}, "HTTP 400"},
        {{401, {}, "{\"error\":{\"message\":\"\xff\"}}"}, "HTTP 401"},
        {{200, {}, R"({"content":[]})"}, kInvalid},
        {{200, {}, R"({"content":[{"type":"tool_use","id":"x"},{"type":"text","text":"later"}]})"}, kInvalid},
        {{200, {}, "{\"content\":[{\"text\":\"\xc3\x28\"}]}"}, kNotJson},
        {{200, {}, std::string(200000, '{')}, kTooDeep},
        {{200, {}, withNul(R"({"content":[{"text":"hi"}]})")}, kInvalid},
    });
}

}  // namespace tavi::test
