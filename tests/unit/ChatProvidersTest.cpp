#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/ClaudeProvider.h"
#include "providers/DeepLProvider.h"
#include "providers/GoogleProvider.h"
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

using DeepLProviderTest = ProviderTest<DeepLProvider>;

TEST_F(DeepLProviderTest, RequestWireFormatSpecialCodesAndTrimmedResult) {
    transport.respond(200, R"({"translations":[{"detected_source_language":"DE","text":"\r\n Hallo \n"},)"
                           R"({"text":"2"}]})");
    auto result = translate("hello", Language::german, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(),
              (TranslationResult{"hello", "Hallo", Language::german, Language::chinese, "DeepL", Language::german}));
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST https://api-free.deepl.com/v2/translate (60000 ms)\n"
              "Authorization: DeepL-Auth-Key 0000-test:fx\nContent-Type: application/json\n\n"
              R"({"source_lang":"DE","target_lang":"ZH","text":["hello"]})");
    settings.deepLIsPro = true;
    EXPECT_EQ(sent("x").url, "https://api.deepl.com/v2/translate");
    EXPECT_EQ(sent("x", Language::auto_, Language::chinese).body, R"({"target_lang":"ZH","text":["x"]})");
    EXPECT_EQ(sent("x", Language::english, Language::auto_).body,
              R"({"source_lang":"EN-US","target_lang":"EN","text":["x"]})");
    EXPECT_EQ(sent("x", Language::portuguese, Language::chineseTraditional).body,
              R"({"source_lang":"PT-BR","target_lang":"ZH-HANT","text":["x"]})");
}

TEST_F(DeepLProviderTest, DetectedLanguageMapsBackExactlyInDeclarationOrder) {
    const std::pair<std::string, std::optional<Language>> cases[] = {{"EN", Language::auto_}, {"ZH", Language::chinese},
        {"EN-US", Language::english}, {"PT", std::nullopt}, {"en", std::nullopt}};
    const std::string body = R"({"translations":[{"text":"x","detected_source_language":")";
    for (const auto& [code, language] : cases) EXPECT_EQ(detectedFrom(body + code + "\"}]}"), language) << code;
}

TEST_F(DeepLProviderTest, FailuresReadTheTopLevelMessage) {
    expectCredentialRule({&AppSettingsValues::deepLAPIKey}, "DeepL API Key 未设置");
    expectFailures({
        {{403, {}, R"({"message":"Wrong endpoint. Use https://api.deepl.com"})"},
         "Wrong endpoint. Use https://api.deepl.com"},
        {{403, {}, ""}, "HTTP 403"},
        {{456, {}, R"({"message":"Quota exceeded"})"}, "Quota exceeded"},
        {{429, {}, R"({"message":"Too many requests"})"}, "请求过于频繁，请稍后再试"},
        {{400, {}, R"({"error":{"message":"the chat services' shape"}})"}, "HTTP 400"},
        {{200, {}, R"({"translations":[]})"}, kInvalid},
        {{200, {}, R"({"translations":[{"detected_source_language":"EN"}]})"}, kInvalid},
        {{200, {}, "{\"translations\":[{\"text\":\"\x80\"}]}"}, kNotJson},
        {{200, {}, std::string(100000, '[')}, kTooDeep},
        {{200, {}, withNul(R"({"translations":[{"text":"hi"}]})")}, kInvalid},
    });
}

using GoogleProviderTest = ProviderTest<GoogleProvider>;
const std::string kGoogleEndpoint = "https://translation.googleapis.com/language/translate/v2?";

TEST_F(GoogleProviderTest, RequestIsAnEmptyPostWithEverythingInTheQuery) {
    transport.respond(200, R"({"data":{"translations":[{"translatedText":"\n\t &amp; &#39;你好&#39; \n"}]}})");
    auto result = translate("hello world", Language::english, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"hello world", "&amp; &#39;你好&#39;", Language::english,
                                                 Language::chinese, "Google 翻译", {}}));  // trimmed, not unescaped
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST " + kGoogleEndpoint + "key=AIza-test&q=hello%20world&target=zh-CN&format=text&source=en"
              " (60000 ms)\nContent-Type: application/json\n\n");
    // Source only when not auto; an auto target falls back to English.
    EXPECT_EQ(sent("x", Language::auto_, Language::chineseTraditional).url,
              kGoogleEndpoint + "key=AIza-test&q=x&target=zh-TW&format=text");
    EXPECT_EQ(sent("x", Language::chinese, Language::auto_).url,
              kGoogleEndpoint + "key=AIza-test&q=x&target=en&format=text&source=zh-CN");

    settings.googleAPIKey = "k+e&y=1#%";
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀 \r\t~*'()!;";
    const std::string url = sent(hostile, Language::auto_, Language::japanese).url;
    // Decoded as a form decoder would, "+" as a blank: a literal "+" must therefore arrive as %2B.
    EXPECT_EQ(verify::parseUrlEncoded(url.substr(kGoogleEndpoint.size()), true),
              (verify::Params{{"key", "k+e&y=1#%"}, {"q", hostile}, {"target", "ja"}, {"format", "text"}}));
}

TEST_F(GoogleProviderTest, DetectedLanguageMapsBackExactlyInDeclarationOrder) {
    const std::pair<std::string, std::optional<Language>> cases[] = {
        {R"("zh-CN")", Language::chinese}, {R"("zh-TW")", Language::chineseTraditional},
        {R"("en")", Language::auto_},  // auto is listed first and shares "en"
        {R"("ja")", Language::japanese}, {R"("he")", std::nullopt}, {R"("zh")", std::nullopt}, {"7", std::nullopt},
    };
    const std::string body = R"({"data":{"translations":[{"translatedText":"x","detectedSourceLanguage":)";
    for (const auto& [code, language] : cases) EXPECT_EQ(detectedFrom(body + code + "}]}}"), language) << code;
}

TEST_F(GoogleProviderTest, Failures) {
    expectCredentialRule({&AppSettingsValues::googleAPIKey}, "Google Translate API Key 未设置");
    expectFailures({
        {{403, {}, R"({"error":{"code":403,"message":"The request is missing a valid API key."}})"},
         "The request is missing a valid API key."},
        {{429, {}, R"({"error":{"code":429,"message":"Quota exceeded"}})"}, "请求过于频繁，请稍后再试"},
        {{403, {}, R"({"message":"not Google's shape"})"}, "HTTP 403"},
        {{200, {}, R"({"data":{"translations":[]}})"}, kInvalid},
        {{200, {}, "{\"data\":{\"translations\":[{\"translatedText\":\"\xed\xa0\x80\"}]}}"}, kNotJson},
        {{200, {}, "not json at all"}, kNotJson},
        {{200, {}, withNul(R"({"data":{"translations":[{"translatedText":"hi"}]}})")}, kInvalid},
    });
}

}  // namespace tavi::test
