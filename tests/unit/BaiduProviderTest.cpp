#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "PinnedEnvironment.h"
#include "SignatureVerifiers.h"
#include "providers/BaiduProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;
using test::PinnedEnvironment;

const std::vector<std::string> kHostileTexts = {
    "a+b&c=d#e%f/g?h",
    "  leading and trailing blanks  ",
    "line one\nline two\r\nline three",
    "你好，世界",
    "😀👨‍👩‍👧 emoji",
    "100% sure; q=1&sign=forged",
    "%E4%BD%A0 already encoded",
    "tab\there ~tilde* 'quote' \"double\" <tag>",
    "",
};

class BaiduProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport, pinned});
    }
    // The query as the service decodes it.
    static test::verify::Params receivedQuery(const HttpRequest& request) {
        const auto mark = request.url.find('?');
        return test::verify::parseUrlEncoded(request.url.substr(mark + 1), true).value();
    }

    BaiduProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.baiduAppID = "2015063000000001";
        s.baiduSecretKey = "12345678";
        return s;
    }();
    FakeTransport transport;
    PinnedEnvironment pinned;
};

TEST_F(BaiduProviderTest, RequestIsAPlainSignedGet) {
    transport.respond(200, R"({"from":"en","to":"zh","trans_result":[{"src":"hello world","dst":"你好世界"}]})");
    auto result = translate("hello world");
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(),
              (TranslationResult{"hello world", "你好世界", Language::english, Language::chinese, "百度翻译", {}}));

    // salt 10000 + 2345; sign = md5("2015063000000001hello world1234512345678") by md5sum.
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url,
              "https://fanyi-api.baidu.com/api/trans/vip/translate?q=hello%20world&from=en&to=zh"
              "&appid=2015063000000001&salt=12345&sign=d2453a3c76350ce165582d246715abcc");
    EXPECT_TRUE(request.headers.empty());
    EXPECT_TRUE(request.body.empty());
    EXPECT_EQ(request.timeout, kDefaultRequestTimeout);
    EXPECT_EQ(pinned.lastUpperBound, 90000u);
}

TEST_F(BaiduProviderTest, SaltAlwaysHasFiveDigits) {
    for (std::uint32_t drawn : {0u, 1u, 45678u, 89999u}) {
        pinned.random = drawn;
        translate("x");
        const auto query = receivedQuery(transport.lastRequest());
        EXPECT_EQ(query[4].first, "salt");
        EXPECT_EQ(query[4].second, std::to_string(10000 + drawn));
        EXPECT_EQ(query[4].second.size(), 5u);
    }
}

TEST_F(BaiduProviderTest, HostileTextSurvivesTheQueryAndKeepsTheSignValid) {
    settings.baiduSecretKey = "s3cr+t&=%";
    for (const std::string& text : kHostileTexts) {
        translate(text);
        const auto query = receivedQuery(transport.lastRequest());
        ASSERT_EQ(query.size(), 6u) << text;
        EXPECT_EQ(query[0], (std::pair<std::string, std::string>{"q", text}));
        const auto verdict = test::verify::verifyBaidu(query, settings.baiduAppID, settings.baiduSecretKey);
        EXPECT_TRUE(verdict) << text << ": " << verdict.reason;
    }
}

TEST_F(BaiduProviderTest, LanguageCodesAreBaidusOwn) {
    const std::pair<Language, const char*> codes[] = {
        {Language::auto_, "auto"}, {Language::chinese, "zh"},     {Language::chineseTraditional, "cht"},
        {Language::english, "en"}, {Language::japanese, "jp"},    {Language::korean, "kor"},
        {Language::french, "fra"}, {Language::german, "de"},      {Language::spanish, "spa"},
        {Language::portuguese, "pt"}, {Language::italian, "it"},  {Language::russian, "ru"},
        {Language::arabic, "ara"}, {Language::thai, "th"},        {Language::vietnamese, "vie"},
    };
    for (const auto& [language, code] : codes) {
        translate("x", language, language);
        const auto query = receivedQuery(transport.lastRequest());
        EXPECT_EQ(query[1].second, code);
        EXPECT_EQ(query[2].second, code);
    }
}

TEST_F(BaiduProviderTest, MissingCredentialsSendNothing) {
    for (auto [appID, secret] : {std::pair{"", "k"}, std::pair{"a", ""}, std::pair{"", ""}}) {
        settings.baiduAppID = appID;
        settings.baiduSecretKey = secret;
        EXPECT_FALSE(provider.isConfigured(settings));
        EXPECT_EQ(describe(translate("hello").error()), "百度翻译 API Key 未设置");
    }
    EXPECT_EQ(transport.requestCount(), 0u);
    EXPECT_EQ(pinned.draws, 0);
    settings.baiduAppID = " ";
    settings.baiduSecretKey = " ";
    EXPECT_TRUE(provider.isConfigured(settings));
}

TEST_F(BaiduProviderTest, ServiceRepliesReachTheUserAsTheirOwnTexts) {
    const std::string invalid = "服务器返回了无效的响应";
    const std::pair<HttpResponse, std::string> cases[] = {
        {{200, {}, R"({"error_code":"54001","error_msg":"Invalid Sign"})"}, "百度翻译错误 54001: Invalid Sign"},
        {{200, {}, R"({"error_code":"52003"})"}, "百度翻译错误 52003: "},
        {{200, {}, R"({"error_code":"54003","error_msg":42})"}, "百度翻译错误 54003: "},
        {{200, {}, R"({"error_code":"58001","error_msg":"x","trans_result":[{"dst":"ignored"}]})"},
         "百度翻译错误 58001: x"},
        {{401, {}, R"({"error_code":"52001","error_msg":"TIMEOUT"})"}, "HTTP 401"},
        {{500, {}, "<html>oops</html>"}, "HTTP 500"},
        {{302, {}, ""}, "HTTP 302"},
        {{200, {}, R"({"error_code":54001})"}, invalid},
        {{200, {}, R"({"trans_result":[]})"}, invalid},
        {{200, {}, R"({"trans_result":{"dst":"x"}})"}, invalid},
        {{200, {}, R"({"trans_result":[{"src":"a"},{"dst":"b"}]})"}, invalid},
        {{200, {}, R"({"trans_result":[{"dst":7}]})"}, invalid},
        {{200, {}, R"({"trans_result":["dst"]})"}, invalid},
        {{200, {}, R"(["trans_result"])"}, invalid},
        {{200, {}, "null"}, invalid},
        {{200, {}, "<html>Bad gateway</html>"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, ""}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, "{\"trans_result\":[{\"dst\":\"\xc3\x28\"}]}"}, "服务器返回的内容不是有效的 JSON"},
        {{200, {}, std::string(100000, '[') + std::string(100000, ']')}, "服务器返回的 JSON 嵌套层数过多"},
    };
    for (const auto& [response, text] : cases) {
        transport.enqueue(response);
        auto result = translate("hello");
        ASSERT_FALSE(result.ok()) << text;
        EXPECT_EQ(describe(result.error()), text) << response.body.substr(0, 80);
    }
}

TEST_F(BaiduProviderTest, LinesComeBackJoinedSkippingElementsWithoutText) {
    transport.respond(200, R"({"error_code":52000.5,"from":"zh","trans_result":[{"dst":"a"},{"src":"?"},
        {"dst":null},3,{"dst":"b"},{"dst":""}]})");
    auto result = translate("甲\n乙", Language::auto_, Language::english);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result->translatedText, "a\nb\n");
    EXPECT_EQ(result->sourceText, "甲\n乙");
    EXPECT_EQ(result->detectedLanguage, std::nullopt);
}

TEST_F(BaiduProviderTest, TransportFailuresPassThroughUnchanged) {
    const TransportError failure{TransportError::Kind::timedOut, "fanyi-api.baidu.com", "timeout"};
    transport.fail(failure);
    auto result = translate("hello");
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(std::get<TransportError>(result.error()), failure);
}

}  // namespace
}  // namespace tavi
