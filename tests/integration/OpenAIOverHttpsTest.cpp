#include <gtest/gtest.h>

#include <algorithm>

#include "FakeChatServices.h"
#include "ServiceHarness.h"
#include "TestCertificates.h"
#include "core/CurlHttpClient.h"

namespace tavi {
namespace {

using namespace std::chrono_literals;
using test::FakeHttpsServer;
using test::FakeOpenAIService;
using test::ServiceHarness;

// Lets a stalled server be noticed in a test's time instead of the
// provider's own sixty seconds; everything else goes through untouched.
class ShortTimeouts final : public HttpTransport {
public:
    explicit ShortTimeouts(HttpTransport& inner) : inner_(inner) {}
    Result<HttpResponse> send(const HttpRequest& request) override {
        HttpRequest shortened = request;
        shortened.timeout = std::min<std::chrono::milliseconds>(request.timeout, 500ms);
        return inner_.send(shortened);
    }

private:
    HttpTransport& inner_;
};

class OpenAIOverHttpsTest : public ::testing::Test {
protected:
    OpenAIOverHttpsTest() { harness.settings.openAIAPIKey = "sk-test"; }

    Result<TranslationResult> translate(const std::string& text) { return harness.translateAndWait(text); }
    std::string failureOf(const std::string& text) {
        auto result = translate(text);
        return result.ok() ? "succeeded: " + result->translatedText : describe(result.error());
    }

    FakeOpenAIService openAI{"sk-test"};
    FakeHttpsServer& server = openAI.server();
    CurlHttpClient client{{.connectTo = {openAI.connectTo()}, .caBundle = test::TestCertificates::instance().caPath()}};
    ShortTimeouts transport{client};
    ServiceHarness harness{&transport};
};

constexpr const char* kPath = "/v1/chat/completions";

// What each reply means is pinned by the providers' unit tests and
// HttpClientTest; here, how a connection can fail, as the user reads it.
TEST_F(OpenAIOverHttpsTest, EveryWayTheConnectionCanFailReachesTheUserAsText) {
    const std::string lost = "网络连接已中断，未收到完整的响应（api.openai.com）";
    const std::vector<std::pair<FakeHttpsServer::Handler, std::string>> cases = {
        // Announced or chunked alike (HttpClientTest holds both to the limit).
        {FakeHttpsServer::hugeBody(64 * 1024 * 1024, false), "服务器返回的内容过大，已停止接收（api.openai.com）"},
        {FakeHttpsServer::truncatedBody(R"({"choices":[{"message":{"content":"x"}}]})", 10), lost},
        {FakeHttpsServer::resetMidResponse(R"({"choices":)", 200), lost},
        {server.stall(5s), "请求超时，服务器没有及时响应（api.openai.com）"},
    };
    for (const auto& [handler, expected] : cases) {
        server.on("POST", kPath, handler);  // in the fake's place
        EXPECT_EQ(failureOf("hello"), expected);
        EXPECT_FALSE(harness.service().isTranslating());
    }
}

TEST_F(OpenAIOverHttpsTest, KeptAliveConnectionClosedBetweenTranslationsIsReplacedUnnoticed) {
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(translate("good").ok());
    EXPECT_EQ(server.connectionCount(), 1u);

    server.setDropConnectionAfterEachResponse(true);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(failureOf("good"), "succeeded: 译：good") << i;
    EXPECT_EQ(server.requestCount(), 6u);  // a dead connection is found before sending, never after
}

}  // namespace
}  // namespace tavi
