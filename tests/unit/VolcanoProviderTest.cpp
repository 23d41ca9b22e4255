#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "PinnedEnvironment.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/VolcanoProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;
using test::PinnedEnvironment;

class VolcanoProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::auto_,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport, pinned});
    }
    // What the service sees: curl sends the request's headers as they are.
    static test::verify::ReceivedRequest received(const HttpRequest& request) {
        const std::string prefix = "https://translate.volcengineapi.com/?";
        EXPECT_EQ(request.url.substr(0, prefix.size()), prefix);
        test::verify::ReceivedRequest wire{request.method, "/", request.url.substr(prefix.size()), {}, request.body};
        for (const auto& header : request.headers) wire.headers.emplace_back(header.name, header.value);
        return wire;
    }

    VolcanoProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.volcanoAccessKeyID = "AKTEST";
        s.volcanoSecretAccessKey = "SKTEST";
        return s;
    }();
    FakeTransport transport;
    PinnedEnvironment pinned;
};

TEST_F(VolcanoProviderTest, RequestMatchesAHandSignedExample) {
    transport.respond(200, R"({"TranslationList":[{"Translation":"你好","DetectedSourceLanguage":"en"}]})");
    auto result = translate("hello");
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "你好", Language::auto_, Language::chinese, "火山翻译", {}}));

    // Payload hash by sha256sum, signature by the openssl command-line tool.
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://translate.volcengineapi.com/?Action=TranslateText&Version=2020-06-01");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_EQ(request.body, R"({"SourceLanguage":"auto","TargetLanguage":"zh","TextList":["hello"]})");
    EXPECT_EQ(request.headers,
              (std::vector<HttpHeader>{
                  {"Content-Type", "application/json"},
                  {"Host", "translate.volcengineapi.com"},
                  {"X-Content-Sha256", "99e002e3c17c3a8bb6bb416256796c2fe00165a997e8fbf955d796ae436fca46"},
                  {"X-Date", "20250307T091502Z"},
                  {"Authorization", "HMAC-SHA256 Credential=AKTEST/20250307/cn-north-1/translate/request, "
                                    "SignedHeaders=content-type;host;x-content-sha256;x-date, "
                                    "Signature=735af1b8a632df3a3cdd535785cc2da529e5fd7d024c407cbc70a96c1dca0d5f"},
              }));
}

TEST_F(VolcanoProviderTest, HostileTextAndEveryLanguagePairVerify) {
    settings.volcanoSecretAccessKey = "s/k+=&\n ";
    const std::string hostile[] = {"a+b&c=d#e%f/g?h", " \n\t", "\"quote\" \\ \u2028", "你好😀👨‍👩‍👧", ""};
    for (const std::string& text : hostile) {
        for (Language from : allLanguages()) {
            pinned.now += 86399;  // walk across days so the scope date changes too
            translate(text, from, Language::english);
            const HttpRequest request = transport.lastRequest();
            const auto verdict = test::verify::verifyVolcano(received(request), "AKTEST", "s/k+=&\n ");
            ASSERT_TRUE(verdict) << text << ": " << verdict.reason;
            EXPECT_EQ(Json::parse(request.body)["TextList"], Json::array({text}));
        }
    }
}

TEST_F(VolcanoProviderTest, InvalidUtf8IsReplacedBeforeHashing) {
    translate("ab\xff\xfe");
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(Json::parse(request.body)["TextList"][0], "ab\uFFFD\uFFFD");
    EXPECT_TRUE(test::verify::verifyVolcano(received(request), "AKTEST", "SKTEST"));
}

TEST_F(VolcanoProviderTest, LanguageCodes) {
    const std::pair<Language, const char*> codes[] = {
        {Language::auto_, "auto"}, {Language::chinese, "zh"},    {Language::chineseTraditional, "zh-Hant"},
        {Language::english, "en"}, {Language::japanese, "ja"},   {Language::korean, "ko"},
        {Language::french, "fr"},  {Language::german, "de"},     {Language::spanish, "es"},
        {Language::portuguese, "pt"}, {Language::italian, "it"}, {Language::russian, "ru"},
        {Language::arabic, "ar"},  {Language::thai, "th"},       {Language::vietnamese, "vi"},
    };
    for (const auto& [language, code] : codes) {
        translate("x", language, language);
        const Json body = Json::parse(transport.lastRequest().body);
        EXPECT_EQ(body["SourceLanguage"], code);
        EXPECT_EQ(body["TargetLanguage"], code);
    }
}

TEST_F(VolcanoProviderTest, ClockIsReadOnceForDateAndTime) {
    pinned.now = 1709251199;  // 2024-02-29T23:59:59Z, the last second of a leap day
    translate("x");
    EXPECT_EQ(pinned.draws, 1);
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.headers[3].value, "20240229T235959Z");
    EXPECT_NE(request.headers[4].value.find("Credential=AKTEST/20240229/cn-north-1/translate/request,"),
              std::string::npos);
}

TEST_F(VolcanoProviderTest, MissingCredentialsSendNothing) {
    for (auto [id, secret] : {std::pair{"", "s"}, std::pair{"a", ""}}) {
        settings.volcanoAccessKeyID = id;
        settings.volcanoSecretAccessKey = secret;
        EXPECT_FALSE(provider.isConfigured(settings));
        EXPECT_EQ(describe(translate("hello").error()), "火山翻译 API Key 未设置");
    }
    EXPECT_EQ(transport.requestCount(), 0u);
    EXPECT_EQ(pinned.draws, 0);
    settings.volcanoAccessKeyID = "\n";
    settings.volcanoSecretAccessKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(VolcanoProviderTest, ServiceRepliesReachTheUserAsTheirOwnTexts) {
    const std::string invalid = "服务器返回了无效的响应";
    const std::string serviceError =
        R"({"ResponseMetadata":{"RequestId":"r","Action":"TranslateText","Version":"2020-06-01",)"
        R"("Error":{"Code":"SignatureDoesNotMatch","Message":"The request signature does not match"}}})";
    const std::pair<HttpResponse, std::string> cases[] = {
        {{401, {}, serviceError}, "HTTP 401"},
        {{403, {}, R"({"TranslationList":[{"Translation":"ignored"}]})"}, "HTTP 403"},
        {{429, {}, ""}, "HTTP 429"},
        {{502, {}, "<html>bad gateway</html>"}, "HTTP 502"},
        {{200, {}, serviceError}, invalid},
        {{200, {}, R"({"TranslationList":[]})"}, invalid},
        {{200, {}, R"({"TranslationList":{"Translation":"x"}})"}, invalid},
        {{200, {}, R"({"TranslationList":[{"Translation":null},{"Translation":"second"}]})"}, invalid},
        {{200, {}, R"({"TranslationList":[["Translation"]]})"}, invalid},
        {{200, {}, R"({"TranslationList":[{"translation":"wrong case"}]})"}, invalid},
        {{200, {}, R"([{"Translation":"x"}])"}, invalid},
        {{200, {}, "\"TranslationList\""}, invalid},
        {{200, {}, "not json"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, "{\"TranslationList\":[{\"Translation\":\"\xed\xa0\x80\"}]}"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, std::string(5000, '{')}, "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [response, text] : cases) {
        transport.enqueue(response);
        auto result = translate("hello");
        ASSERT_FALSE(result.ok()) << text;
        EXPECT_EQ(describe(result.error()), text) << response.body.substr(0, 80);
    }
}

TEST_F(VolcanoProviderTest, FirstTranslationWinsAndIsNotTrimmed) {
    transport.respond(200, R"({"TranslationList":[{"Translation":"  一\n"},{"Translation":"二"}],"Extra":1})");
    auto result = translate("one", Language::english, Language::chinese);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result->translatedText, "  一\n");
    EXPECT_EQ(result->detectedLanguage, std::nullopt);

    const TransportError failure{TransportError::Kind::connectionRefused, "translate.volcengineapi.com", "refused"};
    transport.fail(failure);
    EXPECT_EQ(std::get<TransportError>(translate("one").error()), failure);
}

}  // namespace
}  // namespace tavi
