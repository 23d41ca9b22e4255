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

TEST_F(OpenAIOverHttpsTest, RequestArrivesByteForByteAndTheReplyIsTrimmed) {
    openAI.scriptReply(200, FakeOpenAIService::replyBody("\n 早上好 \n"));
    auto result = translate("Good morning");
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result->translatedText, "早上好");
    EXPECT_EQ(result->provider, "OpenAI");

    const std::string body =
        R"({"max_tokens":2000,"messages":[{"content":"你是一个专业翻译引擎。将用户输入的任意语言文本翻译成)"
        R"(中文（简体）。\n要求：\n1. 只输出译文，不要解释、不要加引号、不要额外说明\n2. 保持原文格式和语气\n)"
        R"(3. 专业术语准确翻译","role":"system"},{"content":"Good morning","role":"user"}],"model":"gpt-4o-mini",)"
        R"("temperature":0.3})";
    const auto sent = server.lastRequest();
    EXPECT_EQ(sent.serverName, "api.openai.com");
    EXPECT_EQ(sent.head, "POST /v1/chat/completions HTTP/1.1\r\n"
                         "Host: api.openai.com\r\n"
                         "User-Agent: Tavi/0.1.0\r\n"
                         "Accept: */*\r\n"
                         "Authorization: Bearer sk-test\r\n"
                         "Content-Type: application/json\r\n"
                         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n");
    EXPECT_EQ(sent.body, body);
}

TEST_F(OpenAIOverHttpsTest, EveryWayTheServerCanFailReachesTheUserAsText) {
    const std::string lost = "网络连接已中断，未收到完整的响应（api.openai.com）";
    const std::vector<std::pair<FakeHttpsServer::Handler, std::string>> cases = {
        {FakeHttpsServer::respond(401, R"({"error":{"message":"Incorrect API key"}})"), "Incorrect API key"},
        {FakeHttpsServer::respond(429, "{}"), "请求过于频繁，请稍后再试"},
        {FakeHttpsServer::respond(502, "<html>bad gateway</html>", "text/html"), "HTTP 502"},
        {FakeHttpsServer::respond(200, "<html>", "text/html"), "服务器返回的内容不是有效的 JSON"},
        {FakeHttpsServer::respond(200, R"({"choices":[]})"), "服务器返回了无效的响应"},
        {FakeHttpsServer::respond(200, FakeHttpsServer::nestedJson(100000)), "服务器返回的 JSON 嵌套层数过多"},
        {FakeHttpsServer::respond(200, "{\"choices\":[{\"message\":{\"content\":\"" +
                                           FakeHttpsServer::invalidUtf8Text() + "\"}}]}"),
         "服务器返回的内容不是有效的 JSON"},
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
