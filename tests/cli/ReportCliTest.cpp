#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "CliRunner.h"
#include "FakeHttpsServer.h"
#include "ReportKeyPair.h"
#include "core/Json.h"
#include "providers/UtcTime.h"

// `tavi report` as an operator runs it to check a deployment: the endpoint
// and the key come from the environment, the reply from the loopback fake.
namespace tavi::test {
namespace {

class ReportCliTest : public ::testing::Test {
protected:
    ReportCliTest() { server.on("POST", "/api/report", FakeHttpsServer::respond(204, "")); }

    CliResult report(const std::string& keyText) {
        return sandbox.run({"report"}, "", env(keys.writeFile("key.b64", keyText + "\n").string()));
    }
    EnvVars env(const std::string& keyFile, const std::string& url = "https://localhost") const {
        EnvVars all = routedTo({server.connectTo("localhost")});
        all.insert(all.end(), {{"TAVI_REPORT_URL", url}, {"TAVI_REPORT_KEY_FILE", keyFile}});
        return all;
    }
    std::string deviceId() const { return sandbox.run({"config", "get", "startupReportDeviceId"}).out; }

    const ReportKeyPair& keys = ReportKeyPair::instance();
    FakeHttpsServer server;
    CliSandbox sandbox;
};

TEST_F(ReportCliTest, SendsOneVerifiableReportWithAKeptDeviceId) {
    const auto sentAt = std::chrono::system_clock::now();
    CliResult r = report(keys.pkcs8Base64());
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    ASSERT_EQ(server.requestCount(), 1u);
    const RecordedRequest received = server.lastRequest();
    EXPECT_EQ(r.out, received.body + "\n");
    EXPECT_EQ(received.target, "/api/report");
    EXPECT_TRUE(keys.opensslVerifies(received.body, received.header("x-signature")));
    // Two headers of ours, once each; the rest is what any HTTP client sends.
    EXPECT_EQ(received.headerCount("x-signature"), 1u);
    EXPECT_EQ(received.headerCount("content-type"), 1u);
    EXPECT_EQ(received.header("content-type"), "application/json");
    const std::set<std::string> allowed = {"Host",         "User-Agent", "Accept", "Content-Length",
                                           "content-type", "x-signature"};
    for (const HttpHeader& header : received.headers) EXPECT_TRUE(allowed.count(header.name)) << header.name;

    const Json body = Json::parse(received.body);
    const std::string version = sandbox.run({"--version"}).out;
    EXPECT_EQ(body["appId"], "org.morvel.tavi");
    EXPECT_EQ(body["appName"], "Tavi");
    EXPECT_EQ("tavi " + body["appVersion"].get<std::string>() + "\n", version);
    const auto secondsAt = [](auto moment) {
        return std::chrono::duration_cast<std::chrono::seconds>(moment.time_since_epoch()).count();
    };
    const std::string occurredAt = body["occurredAt"];
    EXPECT_TRUE(occurredAt >= utcIso8601(secondsAt(sentAt)) &&
                occurredAt <= utcIso8601(secondsAt(std::chrono::system_clock::now())))
        << occurredAt;
    const std::string first = body["deviceId"];
    EXPECT_EQ(deviceId(), first + "\n");

    ASSERT_EQ(report(keys.pkcs8Base64()).exitCode, 0);
    EXPECT_EQ(Json::parse(server.lastRequest().body)["deviceId"], first);

    // Removed, the next report makes a new one; it never was a user setting.
    EXPECT_EQ(sandbox.run({"config", "unset", "startupReportDeviceId"}).exitCode, 0);
    EXPECT_EQ(deviceId(), "\n");
    ASSERT_EQ(report(keys.pkcs8Base64()).exitCode, 0);
    const std::string renewed = Json::parse(server.lastRequest().body)["deviceId"];
    EXPECT_NE(renewed, first);
    EXPECT_EQ(deviceId(), renewed + "\n");
    EXPECT_EQ(sandbox.run({"config", "list"}).out.find("startupReportDeviceId"), std::string::npos);
    r = sandbox.run({"config", "set", "startupReportDeviceId", "mine"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(deviceId(), renewed + "\n");
}

TEST_F(ReportCliTest, FailuresPrintTheirTextAndExit1) {
    server.on("POST", "/api/report", FakeHttpsServer::respond(500, R"({"error":"down"})"));
    CliResult r = report(keys.pkcs8Base64());
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "启动上报接口返回异常状态码：500\n");
    EXPECT_EQ(r.out, "");

    const std::string missing = (keys.writeFile("x", "").parent_path() / "missing.key").string();
    r = sandbox.run({"report"}, "", env(missing));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "启动上报签名失败：无法读取私钥文件：" + missing + "\n");
    EXPECT_EQ(server.requestCount(), 1u);
}

TEST_F(ReportCliTest, WithoutEndpointOrKeyNothingIsSentOrStored) {
    const std::string keyFile = keys.writeFile("key.b64", keys.pkcs8Base64()).string();
    const std::pair<EnvVars, std::string> cases[] = {
        {env("", ""), "未配置启动上报地址（TAVI_REPORT_URL）\n未配置启动上报私钥（TAVI_REPORT_KEY_FILE）\n"},
        {env(keyFile, ""), "未配置启动上报地址（TAVI_REPORT_URL）\n"},
        {env(""), "未配置启动上报私钥（TAVI_REPORT_KEY_FILE）\n"},
    };
    for (const auto& [variables, text] : cases) {
        const CliResult r = sandbox.run({"report"}, "", variables);
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_EQ(r.err, text);
        EXPECT_EQ(r.out, "");
    }
    EXPECT_EQ(server.requestCount(), 0u);
    EXPECT_FALSE(std::filesystem::exists(sandbox.configFile()));
    EXPECT_EQ(sandbox.run({"report", "now"}).exitCode, 2);
}

}  // namespace
}  // namespace tavi::test
