#include <gtest/gtest.h>

#include "FakeHttpsServer.h"
#include "TestCertificates.h"

namespace tavi::test {
namespace {

// The fake is checked with httplib's own client so that a fault in Tavi's
// client cannot hide a fault in the fake.
std::unique_ptr<httplib::SSLClient> clientFor(const FakeHttpsServer& server) {
    auto client = std::make_unique<httplib::SSLClient>("127.0.0.1", server.port());
    client->set_ca_cert_path(TestCertificates::instance().caPath().c_str());
    client->enable_server_certificate_verification(true);
    client->set_keep_alive(true);
    return client;
}

TEST(FakeHttpsServerTest, RecordsRequestsAsSentAndAnswersFromHandlers) {
    FakeHttpsServer server;
    server.on("POST", "/v1/echo", FakeHttpsServer::respond(201, R"({"ok":true})"));
    auto client = clientFor(server);

    auto reply = client->Post("/v1/echo?b=%2F&a=1", {{"X-Zeta", "z"}, {"x-alpha", " a "}}, "payload", "text/plain");
    ASSERT_TRUE(reply) << httplib::to_string(reply.error());
    EXPECT_EQ(reply->status, 201);
    EXPECT_EQ(reply->body, R"({"ok":true})");

    auto missing = client->Get("/elsewhere");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->status, 404);

    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    const auto& first = requests[0];
    EXPECT_EQ(first.method, "POST");
    EXPECT_EQ(first.target, "/v1/echo?b=%2F&a=1");
    EXPECT_EQ(first.path, "/v1/echo");
    EXPECT_EQ(first.query, "b=%2F&a=1");
    EXPECT_EQ(first.version, "HTTP/1.1");
    EXPECT_EQ(first.body, "payload");
    EXPECT_EQ(first.header("x-zeta"), "z");
    EXPECT_EQ(first.header("X-Alpha"), "a");
    EXPECT_EQ(first.headerCount("x-alpha"), 1u);
    EXPECT_EQ(first.head.rfind("POST /v1/echo?b=%2F&a=1 HTTP/1.1\r\n", 0), 0u);
    EXPECT_EQ(first.head.substr(first.head.size() - 4), "\r\n\r\n");
    // The head holds the header lines verbatim, and the parsed list follows it.
    std::size_t position = 0;
    for (const auto& header : first.headers) {
        auto found = first.head.find("\r\n" + header.name + ":", position);
        ASSERT_NE(found, std::string::npos) << header.name;
        position = found + 1;
    }
    EXPECT_EQ(requests[1].path, "/elsewhere");
    EXPECT_EQ(requests[1].connectionId, first.connectionId);
    EXPECT_EQ(server.connectionCount(), 1u);
}

TEST(FakeHttpsServerTest, KeepAliveLimitOfOneMeansOneConnectionPerRequest) {
    FakeHttpsServer server;
    server.setKeepAliveMaxCount(1);
    server.on("GET", "/", FakeHttpsServer::respond(200, "{}"));
    auto client = clientFor(server);
    for (int i = 0; i < 3; ++i) {
        auto reply = client->Get("/");
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->get_header_value("Connection"), "close");
    }
    EXPECT_EQ(server.connectionCount(), 3u);
    EXPECT_NE(server.requests()[0].remotePort, server.requests()[2].remotePort);
}

TEST(FakeHttpsServerTest, UntrustedCertificateIsRefusedByAVerifyingClient) {
    FakeHttpsServer server(FakeHttpsServer::Certificate::untrusted);
    auto client = clientFor(server);
    auto reply = client->Get("/");
    EXPECT_FALSE(reply);
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(FakeHttpsServerTest, StalledHandlerDoesNotHoldUpShutdown) {
    const auto started = std::chrono::steady_clock::now();
    {
        FakeHttpsServer server;
        server.on("GET", "/slow", server.stall(std::chrono::minutes(5)));
        std::thread caller([&] {
            auto client = clientFor(server);
            client->set_read_timeout(std::chrono::milliseconds(200));
            (void)client->Get("/slow");
        });
        caller.join();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
}

TEST(FakeHttpsServerTest, HostileBodiesAreWhatTheyClaim) {
    EXPECT_EQ(FakeHttpsServer::nestedJson(3), R"({"a":{"a":{"a":1}}})");
    const std::string text = FakeHttpsServer::invalidUtf8Text();
    EXPECT_NE(text.find('\xFF'), std::string::npos);
    EXPECT_EQ(text.find('"'), std::string::npos);
    EXPECT_EQ(text.find('\\'), std::string::npos);
}

}  // namespace
}  // namespace tavi::test
