#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "providers/GoogleProvider.h"

namespace tavi::test {

using GoogleProviderTest = ProviderTest<GoogleProvider>;
const std::string kEndpoint = "https://translation.googleapis.com/language/translate/v2?";

TEST_F(GoogleProviderTest, RequestIsAnEmptyPostWithEverythingInTheQuery) {
    transport.respond(200, R"({"data":{"translations":[{"translatedText":"\n\t &amp; &#39;你好&#39; \n"}]}})");
    auto result = translate("hello world", Language::english, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"hello world", "&amp; &#39;你好&#39;", Language::english,
                                                 Language::chinese, "Google 翻译", {}}));  // trimmed, not unescaped
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST " + kEndpoint + "key=AIza-test&q=hello%20world&target=zh-CN&format=text&source=en (60000 ms)\n"
              "Content-Type: application/json\n\n");
    // Source only when not auto; an auto target falls back to English.
    EXPECT_EQ(sent("x", Language::auto_, Language::chineseTraditional).url,
              kEndpoint + "key=AIza-test&q=x&target=zh-TW&format=text");
    EXPECT_EQ(sent("x", Language::chinese, Language::auto_).url,
              kEndpoint + "key=AIza-test&q=x&target=en&format=text&source=zh-CN");

    settings.googleAPIKey = "k+e&y=1#%";
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀 \r\t~*'()!;";
    const std::string url = sent(hostile, Language::auto_, Language::japanese).url;
    // Decoded as a form decoder would, "+" as a blank: a literal "+" must therefore arrive as %2B.
    EXPECT_EQ(verify::parseUrlEncoded(url.substr(kEndpoint.size()), true),
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
