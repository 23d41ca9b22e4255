#include <gtest/gtest.h>

#include <algorithm>

#include "FakeChatServices.h"
#include "TestCertificates.h"
#include "core/CurlHttpClient.h"
#include "core/Json.h"
#include "core/Text.h"
#include "providers/ClaudeProvider.h"
#include "providers/DeepLProvider.h"
#include "providers/GoogleProvider.h"

// Real libcurl round trips to loopback fakes of the key-authenticated
// services, which judge each request from the bytes that arrived.
namespace tavi {
namespace {

using test::FakeChatService;
using test::FakeClaudeService;
using test::FakeDeepLService;
using test::FakeGoogleService;
using test::FakeHttpsServer;
using test::RecordedRequest;

const std::vector<std::string> kHostileTexts = {
    "a+b&c=d#e%f/g?h i\nj 中文 😀",
    "plain words",
    "  blanks around  ",
    "line one\nline two\r\nline three",
    "你好，世界！",
    "100% sure; q=1&key=forged&target=xx",
    "%E4%BD%A0%2B already encoded",
    "tab\there ~tilde* 'single' \"double\" <tag> \\back </script>",
};

std::string expectedTranslation(const std::string& text) {
    return trimWhitespaceAndNewlines(FakeChatService::translationOf(text));
}

// The names of `request`'s headers in arrival order, restricted to `names`.
std::vector<std::string> orderOf(const RecordedRequest& request, const std::vector<std::string>& names) {
    std::vector<std::string> seen;
    for (const auto& header : request.headers) {
        if (std::find(names.begin(), names.end(), header.name) != names.end()) seen.push_back(header.name);
    }
    return seen;
}

class ChatProvidersTest : public ::testing::Test {
protected:
    ChatProvidersTest() {
        settings.claudeAPIKey = "sk-ant-api03-test";
        settings.googleAPIKey = "AIza+test/key=";
        settings.deepLAPIKey = "deepl-free-key:fx";
    }

    CurlHttpClient& client() {
        if (!client_) {
            CurlHttpClient::Options options;
            options.connectTo = {claude.connectTo(), google.connectTo(), deeplFree.connectTo(), deeplPro.connectTo()};
            options.caBundle = test::TestCertificates::instance().caPath();
            client_.emplace(options);
        }
        return *client_;
    }
    Result<TranslationResult> translate(const TranslationProvider& provider, const std::string& text,
                                        Language from = Language::auto_, Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, client()});
    }
    std::string failureText(const TranslationProvider& provider, Language from = Language::auto_) {
        auto result = translate(provider, "hello", from);
        return result.ok() ? "(succeeded: " + result->translatedText + ")" : describe(result.error());
    }
    void expectRoundTrips(const TranslationProvider& provider, FakeChatService& fake) {
        for (const std::string& text : kHostileTexts) {
            auto result = translate(provider, text);
            ASSERT_TRUE(result.ok()) << text << ": " << describe(result.error());
            EXPECT_EQ(result->translatedText, expectedTranslation(text));
            EXPECT_EQ(result->sourceText, text);
        }
        EXPECT_EQ(fake.rejections(), std::vector<std::string>{});
        EXPECT_EQ(fake.receivedTexts(), kHostileTexts);
    }

    AppSettingsValues settings;
    FakeClaudeService claude{"sk-ant-api03-test"};
    FakeGoogleService google{"AIza+test/key="};
    FakeDeepLService deeplFree{"deepl-free-key:fx", FakeDeepLService::Plan::free};
    FakeDeepLService deeplPro{"deepl-pro-key", FakeDeepLService::Plan::pro};
    ClaudeProvider claudeProvider;
    GoogleProvider googleProvider;
    DeepLProvider deepLProvider;

private:
    std::optional<CurlHttpClient> client_;
};

TEST_F(ChatProvidersTest, ClaudeTranslatesHostileTextEndToEnd) {
    expectRoundTrips(claudeProvider, claude);

    const RecordedRequest request = claude.server().lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v1/messages");
    EXPECT_EQ(request.serverName, "api.anthropic.com");
    EXPECT_EQ(request.header("Host"), "api.anthropic.com");
    EXPECT_EQ(orderOf(request, {"x-api-key", "anthropic-version", "Content-Type"}),
              (std::vector<std::string>{"x-api-key", "anthropic-version", "Content-Type"}));
    EXPECT_EQ(request.header("anthropic-version"), "2023-06-01");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(Json::parse(request.body),
              (Json{{"model", "claude-haiku-4-5-20251001"},
                    {"max_tokens", 2000},
                    {"system", ClaudeProvider::systemPrompt(Language::auto_, Language::chinese)},
                    {"messages", {{{"role", "user"}, {"content", kHostileTexts.back()}}}}}));

    // Consecutive translations ride one kept-alive connection.
    EXPECT_EQ(claude.server().connectionCount(), 1u);
}

TEST_F(ChatProvidersTest, GoogleQueryDecodesToExactlyTheText) {
    expectRoundTrips(googleProvider, google);

    const RecordedRequest request = google.server().lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/language/translate/v2");
    EXPECT_EQ(request.serverName, "translation.googleapis.com");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("Content-Length"), "0");
    EXPECT_EQ(request.body, "");

    translate(googleProvider, kHostileTexts.front(), Language::chinese, Language::english);
    EXPECT_EQ(google.server().lastRequest().query,
              "key=AIza%2Btest%2Fkey%3D"
              "&q=a%2Bb%26c%3Dd%23e%25f%2Fg%3Fh%20i%0Aj%20%E4%B8%AD%E6%96%87%20%F0%9F%98%80"
              "&target=en&format=text&source=zh-CN");
}

TEST_F(ChatProvidersTest, GoogleReportsTheDetectedLanguage) {
    auto chinese = translate(googleProvider, "你好", Language::auto_, Language::english);
    ASSERT_TRUE(chinese.ok()) << describe(chinese.error());
    EXPECT_EQ(chinese->detectedLanguage, Language::chinese);
    EXPECT_EQ(chinese->provider, "Google 翻译");
    // "en" maps to auto, which comes before English.
    auto english = translate(googleProvider, "hello");
    ASSERT_TRUE(english.ok());
    EXPECT_EQ(english->detectedLanguage, Language::auto_);
}

TEST_F(ChatProvidersTest, DeepLTranslatesOnThePlansHost) {
    expectRoundTrips(deepLProvider, deeplFree);
    RecordedRequest request = deeplFree.server().lastRequest();
    EXPECT_EQ(request.target, "/v2/translate");
    EXPECT_EQ(request.serverName, "api-free.deepl.com");
    EXPECT_EQ(orderOf(request, {"Authorization", "Content-Type"}),
              (std::vector<std::string>{"Authorization", "Content-Type"}));
    EXPECT_EQ(request.header("Authorization"), "DeepL-Auth-Key deepl-free-key:fx");
    EXPECT_EQ(Json::parse(request.body), (Json{{"text", {kHostileTexts.back()}}, {"target_lang", "ZH"}}));

    settings.deepLIsPro = true;
    settings.deepLAPIKey = "deepl-pro-key";
    auto result = translate(deepLProvider, "Guten Tag", Language::german, Language::english);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"Guten Tag", "译：Guten Tag", Language::german, Language::english,
                                                 "DeepL", Language::german}));
    request = deeplPro.server().lastRequest();
    EXPECT_EQ(request.serverName, "api.deepl.com");
    EXPECT_EQ(Json::parse(request.body),
              (Json{{"text", {"Guten Tag"}}, {"target_lang", "EN-US"}, {"source_lang", "DE"}}));
}

TEST_F(ChatProvidersTest, ServiceRefusalsReachTheUserAsTheServicesWords) {
    settings.claudeAPIKey = "sk-ant-wrong";
    EXPECT_EQ(failureText(claudeProvider), "invalid x-api-key");
    settings.googleAPIKey = "AIza-wrong";
    EXPECT_EQ(failureText(googleProvider), "API key not valid. Please pass a valid API key.");

    // A Free key on the Pro host, an unknown key, and a regional source code
    // the service does not accept as a source.
    settings.deepLIsPro = true;
    EXPECT_EQ(failureText(deepLProvider), "Wrong endpoint. Use https://api-free.deepl.com");
    settings.deepLAPIKey = "unknown-key";
    EXPECT_EQ(failureText(deepLProvider), "HTTP 403");
    settings.deepLIsPro = false;
    settings.deepLAPIKey = "deepl-free-key:fx";
    EXPECT_EQ(failureText(deepLProvider, Language::english), "Value for 'source_lang' not supported.");

    EXPECT_EQ(claude.rejections().size(), 1u);
    EXPECT_EQ(google.rejections().size(), 1u);
    EXPECT_EQ(deeplPro.rejections().size(), 2u);
    EXPECT_EQ(deeplFree.rejections().size(), 1u);
}

TEST_F(ChatProvidersTest, HostileRepliesBecomeTheirOwnTexts) {
    const struct {
        int status;
        std::string body;
        std::string contentType;
        std::string claudeText, googleText, deeplText;
    } cases[] = {
        {429, R"({"error":{"message":"slow down"},"message":"slow down"})", "application/json",
         "请求过于频繁，请稍后再试", "请求过于频繁，请稍后再试", "请求过于频繁，请稍后再试"},
        {529, R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})", "application/json",
         "Overloaded", "Overloaded", "HTTP 529"},
        {456, R"({"message":"Quota exceeded"})", "application/json", "HTTP 456", "HTTP 456", "Quota exceeded"},
        {503, "<html><body>Service Unavailable</body></html>", "text/html", "HTTP 503", "HTTP 503", "HTTP 503"},
        {200, "<html>captive portal</html>", "text/html", "服务器返回的内容不是有效的 JSON",
         "服务器返回的内容不是有效的 JSON", "服务器返回的内容不是有效的 JSON"},
        {200, "{}", "application/json", "服务器返回了无效的响应", "服务器返回了无效的响应", "服务器返回了无效的响应"},
        {200, R"({"content":[{"text":")" + FakeHttpsServer::invalidUtf8Text() + R"("}],"data":{"translations":[{"translatedText":")" +
                  FakeHttpsServer::invalidUtf8Text() + R"("}]},"translations":[{"text":")" +
                  FakeHttpsServer::invalidUtf8Text() + R"("}]})",
         "application/json", "服务器返回的内容不是有效的 JSON", "服务器返回的内容不是有效的 JSON",
         "服务器返回的内容不是有效的 JSON"},
        {200, FakeHttpsServer::nestedJson(100000), "application/json", "服务器返回的 JSON 嵌套层数过多",
         "服务器返回的 JSON 嵌套层数过多", "服务器返回的 JSON 嵌套层数过多"},
        {500, FakeHttpsServer::nestedJson(100000), "application/json", "HTTP 500", "HTTP 500", "HTTP 500"},
    };
    for (const auto& c : cases) {
        for (FakeChatService* fake : std::initializer_list<FakeChatService*>{&claude, &google, &deeplFree}) {
            fake->scriptReply(c.status, c.body, c.contentType);
        }
        EXPECT_EQ(failureText(claudeProvider), c.claudeText) << c.status << " " << c.body.substr(0, 60);
        EXPECT_EQ(failureText(googleProvider), c.googleText) << c.status << " " << c.body.substr(0, 60);
        EXPECT_EQ(failureText(deepLProvider), c.deeplText) << c.status << " " << c.body.substr(0, 60);
    }
}

TEST_F(ChatProvidersTest, LargeTranslationsArriveWholeAndOversizedRepliesAreRefused) {
    const std::string large(2 << 20, 'x');
    auto result = translate(claudeProvider, large);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result->translatedText, FakeChatService::translationOf(large));

    deeplFree.server().on("POST", "/v2/translate", FakeHttpsServer::hugeBody(64u << 20));
    auto refused = translate(deepLProvider, "hello");
    ASSERT_FALSE(refused.ok());
    ASSERT_TRUE(std::holds_alternative<TransportError>(refused.error()));
    EXPECT_EQ(std::get<TransportError>(refused.error()).kind, TransportError::Kind::responseTooLarge);
}

}  // namespace
}  // namespace tavi
