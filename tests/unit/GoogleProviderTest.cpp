#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/GoogleProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;
using Params = test::verify::Params;

constexpr const char* kEndpoint = "https://translation.googleapis.com/language/translate/v2";

class GoogleProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport});
    }
    static std::string ok(const std::string& text, const std::string& detected = "") {
        Json translation = {{"translatedText", text}};
        if (!detected.empty()) translation["detectedSourceLanguage"] = detected;
        return Json{{"data", {{"translations", {translation}}}}}.dump();
    }
    // The query as a server decodes it, reading "+" as a blank the way form
    // decoders do: a literal "+" in the text must therefore arrive as %2B.
    static Params receivedQuery(const HttpRequest& request) {
        const auto mark = request.url.find('?');
        EXPECT_NE(mark, std::string::npos);
        EXPECT_EQ(request.url.substr(0, mark), kEndpoint);
        auto decoded = test::verify::parseUrlEncoded(request.url.substr(mark + 1), true);
        EXPECT_TRUE(decoded.has_value()) << request.url;
        return decoded.value_or(Params{});
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

    GoogleProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.googleAPIKey = "AIza-test";
        return s;
    }();
    FakeTransport transport;
};

TEST_F(GoogleProviderTest, RequestIsAnEmptyPostWithEverythingInTheQuery) {
    EXPECT_EQ(provider.id(), "google");
    EXPECT_EQ(provider.name(), "Google 翻译");
    transport.respond(200, ok("你好", "en"));
    ASSERT_TRUE(translate("hello world", Language::english, Language::chinese).ok());
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, std::string(kEndpoint) +
                               "?key=AIza-test&q=hello%20world&target=zh-CN&format=text&source=en");
    EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Content-Type", "application/json"}}));
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
}

TEST_F(GoogleProviderTest, HostileTextAndKeyDecodeToExactlyWhatWasGiven) {
    settings.googleAPIKey = "k+e&y=1#%";
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 中文 😀";
    translate(hostile, Language::auto_, Language::japanese);
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.url, std::string(kEndpoint) +
                               "?key=k%2Be%26y%3D1%23%25"
                               "&q=a%2Bb%26c%3Dd%23e%25f%2Fg%3Fh%20i%0Aj%20%E4%B8%AD%E6%96%87%20%F0%9F%98%80"
                               "&target=ja&format=text");
    EXPECT_EQ(receivedQuery(request),
              (Params{{"key", "k+e&y=1#%"}, {"q", hostile}, {"target", "ja"}, {"format", "text"}}));

    for (const std::string& text : {std::string("  "), std::string(""), std::string("100%25 \r\n\t~*'()!;"),
                                   std::string("\x00\x01 nul", 6), std::string("\xff\xfe invalid")}) {
        translate(text);
        EXPECT_EQ(receivedQuery(transport.lastRequest())[1], (std::pair<std::string, std::string>{"q", text}));
    }
}

TEST_F(GoogleProviderTest, SourceIsSentOnlyWhenNotAutoAndAutoTargetFallsBackToEnglish) {
    const struct {
        Language from, to;
        Params expectedTail;
    } cases[] = {
        {Language::auto_, Language::chinese, {{"target", "zh-CN"}, {"format", "text"}}},
        {Language::chinese, Language::english, {{"target", "en"}, {"format", "text"}, {"source", "zh-CN"}}},
        {Language::english, Language::auto_, {{"target", "en"}, {"format", "text"}, {"source", "en"}}},
        {Language::chineseTraditional, Language::vietnamese,
         {{"target", "vi"}, {"format", "text"}, {"source", "zh-TW"}}},
    };
    for (const auto& c : cases) {
        translate("x", c.from, c.to);
        Params query = receivedQuery(transport.lastRequest());
        Params expected = {{"key", "AIza-test"}, {"q", "x"}};
        expected.insert(expected.end(), c.expectedTail.begin(), c.expectedTail.end());
        EXPECT_EQ(query, expected);
    }
}

TEST_F(GoogleProviderTest, LanguageCodeTable) {
    const std::pair<Language, const char*> table[] = {
        {Language::auto_, "en"},      {Language::chinese, "zh-CN"},  {Language::chineseTraditional, "zh-TW"},
        {Language::english, "en"},    {Language::japanese, "ja"},    {Language::korean, "ko"},
        {Language::french, "fr"},     {Language::german, "de"},      {Language::spanish, "es"},
        {Language::portuguese, "pt"}, {Language::italian, "it"},     {Language::russian, "ru"},
        {Language::arabic, "ar"},     {Language::thai, "th"},        {Language::vietnamese, "vi"},
    };
    for (const auto& [language, code] : table) {
        translate("x", Language::auto_, language);
        EXPECT_EQ(receivedQuery(transport.lastRequest())[2].second, code) << rawValue(language);
    }
}

TEST_F(GoogleProviderTest, DetectedLanguageMapsBackInDeclarationOrder) {
    EXPECT_EQ(detectedFor("zh-CN"), Language::chinese);
    EXPECT_EQ(detectedFor("zh-TW"), Language::chineseTraditional);
    EXPECT_EQ(detectedFor("en"), Language::auto_);  // auto is listed first and shares "en"
    EXPECT_EQ(detectedFor("ja"), Language::japanese);
    EXPECT_EQ(detectedFor("pt"), Language::portuguese);
    for (const char* unknown : {"he", "zh", "pt-BR", "EN", "zh-cn", ""}) {
        EXPECT_EQ(detectedFor(unknown), std::nullopt) << unknown;
    }
    // A detected code of another type is ignored, not a failure.
    transport.respond(200, R"({"data":{"translations":[{"translatedText":"x","detectedSourceLanguage":7}]}})");
    auto result = translate("x");
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().detectedLanguage, std::nullopt);
}

TEST_F(GoogleProviderTest, ResultIsTrimmedWithEntitiesLeftAlone) {
    transport.respond(200, ok("\n\t  &amp; &#39;你好&#39; \u3000\n", "en"));
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "&amp; &#39;你好&#39;", Language::auto_, Language::chinese,
                                                 "Google 翻译", Language::auto_}));
}

TEST_F(GoogleProviderTest, MissingKeyNamesGoogleTranslateAndSendsNothing) {
    settings.googleAPIKey.clear();
    EXPECT_FALSE(provider.isConfigured(settings));
    EXPECT_EQ(describe(translate("hello").error()), "Google Translate API Key 未设置");
    EXPECT_EQ(transport.requestCount(), 0u);
    settings.googleAPIKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(GoogleProviderTest, ErrorStatusesShowGooglesMessageOrTheStatus) {
    const std::pair<HttpResponse, std::string> cases[] = {
        {{403, {}, R"({"error":{"code":403,"message":"The request is missing a valid API key.","errors":[],"status":"PERMISSION_DENIED"}})"},
         "The request is missing a valid API key."},
        {{400, {}, R"({"error":{"code":400,"message":"API key not valid. Please pass a valid API key."}})"},
         "API key not valid. Please pass a valid API key."},
        {{429, {}, R"({"error":{"code":429,"message":"Quota exceeded"}})"}, "请求过于频繁，请稍后再试"},
        {{403, {}, R"({"message":"not Google's shape"})"}, "HTTP 403"},
        {{400, {}, R"({"error":"plain"})"}, "HTTP 400"},
        {{500, {}, "<html>oops</html>"}, "HTTP 500"},
        {{503, {}, std::string(100000, '[')}, "HTTP 503"},
    };
    for (const auto& [response, text] : cases) EXPECT_EQ(failureText(response), text) << response.body.substr(0, 80);
}

TEST_F(GoogleProviderTest, MalformedSuccessfulRepliesAreInvalidOrNotJson) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"data":{"translations":[]}})", "服务器返回了无效的响应"},
        {R"({"data":{"translations":[{"detectedSourceLanguage":"en"}]}})", "服务器返回了无效的响应"},
        {R"({"data":{"translations":[{"translatedText":1}]}})", "服务器返回了无效的响应"},
        {R"({"data":{"translations":["text"]}})", "服务器返回了无效的响应"},
        {R"({"data":{"translations":{"translatedText":"x"}}})", "服务器返回了无效的响应"},
        {R"({"data":[{"translations":[{"translatedText":"x"}]}]})", "服务器返回了无效的响应"},
        {R"({"translations":[{"translatedText":"x"}]})", "服务器返回了无效的响应"},
        {R"("data")", "服务器返回了无效的响应"},
        {"", "服务器返回的内容不是有效的 JSON"},
        {"<html></html>", "服务器返回的内容不是有效的 JSON"},
        {"{\"data\":{\"translations\":[{\"translatedText\":\"\xed\xa0\x80\"}]}}", "服务器返回的内容不是有效的 JSON"},
        {std::string(100000, '{'), "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [body, text] : cases) EXPECT_EQ(failureText({200, {}, body}), text) << body.substr(0, 80);
}

TEST_F(GoogleProviderTest, TransportErrorsPassThroughUnwrapped) {
    transport.fail(TransportError{TransportError::Kind::hostNotFound, "translation.googleapis.com", ""});
    auto result = translate("hello");
    ASSERT_TRUE(std::holds_alternative<TransportError>(result.error()));
    EXPECT_EQ(describe(result.error()), "找不到服务器，请检查网络或服务地址（translation.googleapis.com）");
}

}  // namespace
}  // namespace tavi
