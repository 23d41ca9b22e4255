#include "ProviderTestRig.h"
#include "providers/OpenAIProvider.h"
#include "providers/ProviderList.h"

namespace tavi::test {

using OpenAIProviderTest = ProviderTest<OpenAIProvider>;

TEST(ProviderListTest, SevenProvidersInTheirFixedOrder) {
    std::vector<std::pair<std::string, std::string>> listed;
    for (const auto& provider : allProviders()) listed.emplace_back(provider->id(), provider->name());
    EXPECT_EQ(listed, (std::vector<std::pair<std::string, std::string>>{
                          {"openai", "OpenAI"}, {"claude", "Claude"}, {"deepl", "DeepL"}, {"google", "Google 翻译"},
                          {"baidu", "百度翻译"}, {"aliyun", "阿里翻译"}, {"volcano", "火山翻译"}}));
}

TEST_F(OpenAIProviderTest, RequestWireFormat) {
    EXPECT_EQ(wire(sent("hello")),
              "POST https://api.openai.com/v1/chat/completions (60000 ms)\n"
              "Authorization: Bearer sk-test\nContent-Type: application/json\n\n"
              R"({"max_tokens":2000,"messages":[{"content":"你是一个专业翻译引擎。将用户输入的英语文本翻译成中文（简体）。)"
              R"(\n要求：\n1. 只输出译文，不要解释、不要加引号、不要额外说明\n2. 保持原文格式和语气\n3. 专业术语准确翻译",)"
              R"("role":"system"},{"content":"hello","role":"user"}],"model":"gpt-4o-mini","temperature":0.3})");
    EXPECT_EQ(OpenAIProvider::systemPrompt(Language::auto_, Language::auto_).rfind(
                  "你是一个专业翻译引擎。将用户输入的任意语言文本翻译成自动检测。\n", 0), 0u);
    EXPECT_NE(OpenAIProvider::systemPrompt(Language::chineseTraditional, Language::english).find("中文（繁体）文本"),
              std::string::npos);
}

TEST_F(OpenAIProviderTest, EndpointJoinsBaseUrlVerbatimAndModelIsSentAsStored) {
    settings.openAIModel = "";
    const std::pair<std::string, std::string> cases[] = {
        {"", "https://api.openai.com/v1/chat/completions"},
        {"http://127.0.0.1:11434", "http://127.0.0.1:11434/v1/chat/completions"},
        {"https://example.com/", "https://example.com//v1/chat/completions"},
        {"https://example.com/v1", "https://example.com/v1/v1/chat/completions"},
    };
    for (const auto& [base, url] : cases) {
        settings.openAIBaseURL = base;
        const HttpRequest request = sent("x");
        EXPECT_EQ(request.url, url) << base;
        EXPECT_NE(request.body.find(R"("model":"")"), std::string::npos);
    }
}

TEST_F(OpenAIProviderTest, ResultIsTrimmedAndCarriesNoDetectedLanguage) {
    transport.respond(200, R"({"choices":[{"message":{"content":"\n  你好  \n"}}]})");
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "你好", Language::auto_, Language::chinese, "OpenAI", {}}));
}

TEST_F(OpenAIProviderTest, BlankKeyCountsEmptyKeySendsNothing) {
    expectCredentialRule({&AppSettingsValues::openAIAPIKey}, "OpenAI API Key 未设置");
}

TEST_F(OpenAIProviderTest, Failures) {
    expectFailures({
        {{429, {}, R"({"error":{"message":"slow down"}})"}, "请求过于频繁，请稍后再试"},
        {{401, {}, R"({"error":{"message":"Incorrect API key provided"}})"}, "Incorrect API key provided"},
        {{502, {}, "<html>bad gateway</html>"}, "HTTP 502"},
        {{200, {}, R"({"choices":[]})"}, kInvalid},
        {{200, {}, R"({"choices":[{"message":{"content":null}}]})"}, kInvalid},
        {{200, {}, "Internal error"}, kNotJson},
        {{200, {}, std::string(200000, '[')}, kTooDeep},
    });
}

}  // namespace tavi::test
