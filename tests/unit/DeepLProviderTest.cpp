#include "ProviderTestRig.h"
#include "providers/DeepLProvider.h"

namespace tavi::test {

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

}  // namespace tavi::test
