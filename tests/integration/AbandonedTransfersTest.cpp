#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "FakeHttpsServer.h"
#include "TestCertificates.h"
#include "core/CurlHttpClient.h"

namespace tavi {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Quitting must not wait for a slow service: a transfer in progress ends the
// moment the client is told to abandon it, and nothing is sent afterwards.
TEST(AbandonedTransfers, EndAtOnceAndNoneStartsAfterwards) {
    test::FakeHttpsServer server;
    server.on("POST", "/v1/chat/completions", server.stall(30s));
    CurlHttpClient::Options options;
    options.connectTo.push_back(server.connectTo("api.openai.com"));
    options.caBundle = test::TestCertificates::instance().caPath();
    CurlHttpClient client(options);

    HttpRequest request;
    request.method = "POST";
    request.url = "https://api.openai.com/v1/chat/completions";
    request.body = "{}";
    auto inFlight = std::async(std::launch::async, [&] { return client.send(request); });
    const auto arrived = Clock::now() + 10s;
    while (server.requestCount() == 0 && Clock::now() < arrived) std::this_thread::sleep_for(5ms);
    ASSERT_EQ(server.requestCount(), 1u);

    const auto abandoned = Clock::now();
    client.abandonTransfers();
    ASSERT_EQ(inFlight.wait_for(2s), std::future_status::ready);
    EXPECT_LT(Clock::now() - abandoned, 200ms);
    const Result<HttpResponse> ended = inFlight.get();
    ASSERT_FALSE(ended.ok());
    const auto* error = std::get_if<TransportError>(&ended.error());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->detail, "Tavi 正在退出，请求已取消");

    EXPECT_FALSE(client.send(request).ok());
    EXPECT_EQ(server.requestCount(), 1u);
}

}  // namespace
}  // namespace tavi
