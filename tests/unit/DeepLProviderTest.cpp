#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "core/Json.h"
#include "providers/DeepLProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;

class DeepLProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport});
    }
    static std::string ok(const std::string& text, const std::string& detected = "") {
        Json translation = {{"text", text}};
        if (!detected.empty()) translation["detected_source_language"] = detected;
        return Json{{"translations", {translation}}}.dump();
    }
    Json sentBody(Language from, Language to) {
        translate("x", from, to);
        return Json::parse(transport.lastRequest().body);
    }
    std::optional<Language> detectedFor(const std::string& code) {
        transport.respond(200, ok("x", code));
        auto result = translate("x");
        EXPECT_TRUE(result.ok());
        return result.ok() ? result.value().detectedLanguage : std::nullopt;
    }
    std::string failureText(const HttpResponse& response) {
        transport.enqueue(response);
        auto result = translate("hello");
        return result.ok() ? "(succeeded)" : describe(result.error());
    }

    DeepLProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.deepLAPIKey = "0000-test:fx";
        return s;
    }();
    FakeTransport transport;
};

TEST_F(DeepLProviderTest, RequestWireFormat) {
    EXPECT_EQ(provider.id(), "deepl");
    EXPECT_EQ(provider.name(), "DeepL");
    transport.respond(200, ok("你好", "EN"));
    ASSERT_TRUE(translate("hello", Language::german, Language::chinese).ok());
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://api-free.deepl.com/v2/translate");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Authorization", "DeepL-Auth-Key 0000-test:fx"},
                                                         {"Content-Type", "application/json"}}));
    EXPECT_EQ(Json::parse(request.body), (Json{{"text", {"hello"}}, {"target_lang", "ZH"}, {"source_lang", "DE"}}));
}

TEST_F(DeepLProviderTest, PlanChoosesTheHostNotThePath) {
    settings.deepLIsPro = true;
    translate("x");
    EXPECT_EQ(transport.lastRequest().url, "https://api.deepl.com/v2/translate");
    settings.deepLIsPro = false;
    translate("x");
    EXPECT_EQ(transport.lastRequest().url, "https://api-free.deepl.com/v2/translate");
}

TEST_F(DeepLProviderTest, LanguageCodesAndOmittedAutoSource) {
    EXPECT_EQ(sentBody(Language::auto_, Language::chinese), (Json{{"text", {"x"}}, {"target_lang", "ZH"}}));
    EXPECT_EQ(sentBody(Language::english, Language::auto_),
              (Json{{"text", {"x"}}, {"target_lang", "EN"}, {"source_lang", "EN-US"}}));
    // The same table serves both directions, Brazilian Portuguese included.
    EXPECT_EQ(sentBody(Language::portuguese, Language::chineseTraditional),
              (Json{{"text", {"x"}}, {"target_lang", "ZH-HANT"}, {"source_lang", "PT-BR"}}));

    const std::pair<Language, const char*> table[] = {
        {Language::auto_, "EN"},         {Language::chinese, "ZH"},    {Language::chineseTraditional, "ZH-HANT"},
        {Language::english, "EN-US"},    {Language::japanese, "JA"},   {Language::korean, "KO"},
        {Language::french, "FR"},        {Language::german, "DE"},     {Language::spanish, "ES"},
        {Language::portuguese, "PT-BR"}, {Language::italian, "IT"},    {Language::russian, "RU"},
        {Language::arabic, "AR"},        {Language::thai, "TH"},       {Language::vietnamese, "VI"},
    };
    for (const auto& [language, code] : table) {
        EXPECT_EQ(sentBody(Language::auto_, language)["target_lang"], code) << rawValue(language);
    }
}

TEST_F(DeepLProviderTest, HostileTextTravelsIntactInTheBody) {
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀 \"q\" \\ \u2028";
    translate(hostile);
    EXPECT_EQ(Json::parse(transport.lastRequest().body)["text"], Json::array({hostile}));
    translate("bad \xc3\x28");
    EXPECT_EQ(Json::parse(transport.lastRequest().body)["text"][0], "bad \xEF\xBF\xBD(");
}

TEST_F(DeepLProviderTest, DetectedLanguageMapsBackInDeclarationOrder) {
    EXPECT_EQ(detectedFor("EN"), Language::auto_);
    EXPECT_EQ(detectedFor("DE"), Language::german);
    EXPECT_EQ(detectedFor("ZH"), Language::chinese);
    EXPECT_EQ(detectedFor("JA"), Language::japanese);
    EXPECT_EQ(detectedFor("EN-US"), Language::english);
    for (const char* unknown : {"PT", "en", "NL", ""}) EXPECT_EQ(detectedFor(unknown), std::nullopt) << unknown;
}

TEST_F(DeepLProviderTest, ResultIsTrimmed) {
    transport.respond(200, R"({"translations":[{"detected_source_language":"DE","text":" \r\n Hallo Welt \n"},{"text":"2"}]})");
    auto result = translate("Hallo Welt", Language::auto_, Language::english);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"Hallo Welt", "Hallo Welt", Language::auto_, Language::english,
                                                 "DeepL", Language::german}));
}

TEST_F(DeepLProviderTest, MissingKeySendsNothing) {
    settings.deepLAPIKey.clear();
    EXPECT_FALSE(provider.isConfigured(settings));
    EXPECT_EQ(describe(translate("hello").error()), "DeepL API Key 未设置");
    EXPECT_EQ(transport.requestCount(), 0u);
    settings.deepLAPIKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(DeepLProviderTest, ErrorStatusesReadTheTopLevelMessage) {
    const std::pair<HttpResponse, std::string> cases[] = {
        {{403, {}, R"({"message":"Wrong endpoint. Use https://api.deepl.com"})"}, "Wrong endpoint. Use https://api.deepl.com"},
        {{403, {}, ""}, "HTTP 403"},
        {{456, {}, R"({"message":"Quota exceeded"})"}, "Quota exceeded"},
        {{429, {}, R"({"message":"Too many requests"})"}, "请求过于频繁，请稍后再试"},
        // The chat services' error.message is not DeepL's shape.
        {{400, {}, R"({"error":{"message":"nested"}})"}, "HTTP 400"},
        {{400, {}, R"({"message":{"text":"nested"}})"}, "HTTP 400"},
        {{400, {}, R"(["message"])"}, "HTTP 400"},
        {{500, {}, "Internal Server Error"}, "HTTP 500"},
        {{503, {}, std::string(100000, '{')}, "HTTP 503"},
    };
    for (const auto& [response, text] : cases) EXPECT_EQ(failureText(response), text) << response.body.substr(0, 80);
}

TEST_F(DeepLProviderTest, MalformedSuccessfulRepliesAreInvalidOrNotJson) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"translations":[]})", "服务器返回了无效的响应"},
        {R"({"translations":[{"detected_source_language":"EN"}]})", "服务器返回了无效的响应"},
        {R"({"translations":[{"text":false}]})", "服务器返回了无效的响应"},
        {R"({"translations":[["text"]]})", "服务器返回了无效的响应"},
        {R"({"translations":{"text":"x"}})", "服务器返回了无效的响应"},
        {R"({"message":"ok?"})", "服务器返回了无效的响应"},
        {"42", "服务器返回了无效的响应"},
        {"", "服务器返回的内容不是有效的 JSON"},
        {"{\"translations\":[{\"text\":\"\x80\"}]}", "服务器返回的内容不是有效的 JSON"},
        {std::string(100000, '['), "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [body, text] : cases) EXPECT_EQ(failureText({200, {}, body}), text) << body.substr(0, 80);
}

TEST_F(DeepLProviderTest, HugeTranslationIsKept) {
    const std::string huge(4 << 20, 'y');
    transport.respond(200, ok(huge + "\n"));
    auto result = translate("hello");
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().translatedText, huge);
}

TEST_F(DeepLProviderTest, TransportErrorsPassThroughUnwrapped) {
    transport.fail(TransportError{TransportError::Kind::connectionLost, "api-free.deepl.com", ""});
    auto result = translate("hello");
    ASSERT_TRUE(std::holds_alternative<TransportError>(result.error()));
    EXPECT_EQ(std::get<TransportError>(result.error()).kind, TransportError::Kind::connectionLost);
}

}  // namespace
}  // namespace tavi
