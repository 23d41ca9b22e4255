#include "ProviderTestRig.h"
#include "providers/DeepLProvider.h"

namespace tavi::test {

using DeepLProviderTest = ProviderTest<DeepLProvider>;

TEST_F(DeepLProviderTest, RequestWireFormat) {
    EXPECT_EQ(wire(sent("hello", Language::german, Language::chinese)),
              "POST https://api-free.deepl.com/v2/translate (60000 ms)\n"
              "Authorization: DeepL-Auth-Key 0000-test:fx\nContent-Type: application/json\n\n"
              R"({"source_lang":"DE","target_lang":"ZH","text":["hello"]})");
    settings.deepLIsPro = true;
    EXPECT_EQ(sent("x").url, "https://api.deepl.com/v2/translate");
}

TEST_F(DeepLProviderTest, SpecialLanguageCodesAndOmittedAutoSource) {
    const std::tuple<Language, Language, std::string> cases[] = {
        {Language::auto_, Language::chinese, R"({"target_lang":"ZH","text":["x"]})"},
        {Language::english, Language::auto_, R"({"source_lang":"EN-US","target_lang":"EN","text":["x"]})"},
        {Language::portuguese, Language::chineseTraditional,
         R"({"source_lang":"PT-BR","target_lang":"ZH-HANT","text":["x"]})"},
    };
    for (const auto& [from, to, body] : cases) EXPECT_EQ(sent("x", from, to).body, body);
}

TEST_F(DeepLProviderTest, DetectedLanguageMapsBackExactlyInDeclarationOrder) {
    const std::pair<const char*, std::optional<Language>> cases[] = {
        {"EN", Language::auto_}, {"DE", Language::german},   {"ZH", Language::chinese}, {"EN-US", Language::english},
        {"PT", std::nullopt},    {"en", std::nullopt},
    };
    for (const auto& [code, language] : cases) {
        const std::string body = std::string(R"({"translations":[{"text":"x","detected_source_language":")") + code;
        EXPECT_EQ(detectedFrom(body + "\"}]}"), language) << code;
    }
}

TEST_F(DeepLProviderTest, FirstTranslationIsTrimmed) {
    transport.respond(200, R"({"translations":[{"detected_source_language":"DE","text":" \r\n Hallo \n"},)"
                           R"({"text":"2"}]})");
    auto result = translate("Hallo", Language::auto_, Language::english);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(),
              (TranslationResult{"Hallo", "Hallo", Language::auto_, Language::english, "DeepL", Language::german}));
}

TEST_F(DeepLProviderTest, BlankKeyCountsEmptyKeySendsNothing) {
    expectCredentialRule({&AppSettingsValues::deepLAPIKey}, "DeepL API Key 未设置");
}

TEST_F(DeepLProviderTest, FailuresReadTheTopLevelMessage) {
    expectFailures({
        {{403, {}, R"({"message":"Wrong endpoint. Use https://api.deepl.com"})"},
         "Wrong endpoint. Use https://api.deepl.com"},
        {{403, {}, ""}, "HTTP 403"},
        {{456, {}, R"({"message":"Quota exceeded"})"}, "Quota exceeded"},
        {{429, {}, R"({"message":"Too many requests"})"}, "请求过于频繁，请稍后再试"},
        {{400, {}, R"({"error":{"message":"the chat services' shape"}})"}, "HTTP 400"},
        {{200, {}, R"({"translations":[]})"}, kInvalid},
        {{200, {}, R"({"translations":[{"detected_source_language":"EN"}]})"}, kInvalid},
        {{200, {}, R"({"message":"ok?"})"}, kInvalid},
        {{200, {}, "{\"translations\":[{\"text\":\"\x80\"}]}"}, kNotJson},
        {{200, {}, std::string(100000, '[')}, kTooDeep},
    });
}

}  // namespace tavi::test
