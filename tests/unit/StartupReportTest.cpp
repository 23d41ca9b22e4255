#include <gtest/gtest.h>

#include <regex>

#include "FakeTransport.h"
#include "PinnedEnvironment.h"
#include "ReportKeyPair.h"
#include "ScopedEnv.h"
#include "SignatureVerifiers.h"
#include "report/StartupReportDeviceId.h"
#include "report/StartupReportService.h"
#include "settings/MemorySettingsStore.h"

namespace tavi {
namespace {

using test::ReportKeyPair;
using test::verify::base64;

const StartupReportApp kApp{"org.morvel.tavi", "Tavi", "0.1.0"};

PreparedStartupReport prepareWithKey(const std::string& keyText, SettingsStore& store,
                                     const ProviderEnvironment& environment) {
    return prepareStartupReport({"https://analytics.example.com/", keyText}, store, environment, kApp);
}

std::string failureText(const PreparedStartupReport& prepared) {
    if (const auto* error = std::get_if<StartupReportError>(&prepared)) return error->errorDescription();
    return std::holds_alternative<HttpRequest>(prepared) ? "(a request)" : "(nothing to send)";
}

TEST(StartupReport, RequestCarriesTheExactBodyAndOpensslsOwnSignature) {
    const ReportKeyPair& keys = ReportKeyPair::instance();
    test::PinnedEnvironment environment;
    MemorySettingsStore store;
    const PreparedStartupReport prepared = prepareWithKey(keys.pkcs8Base64(), store, environment);
    ASSERT_TRUE(std::holds_alternative<HttpRequest>(prepared)) << failureText(prepared);
    const HttpRequest& request = std::get<HttpRequest>(prepared);

    EXPECT_EQ(request.body, R"({"appId":"org.morvel.tavi","appName":"Tavi","appVersion":"0.1.0",)"
                            R"("deviceId":"3EE8C1B8-83D3-44AF-A94F-4E0AD82FD6CF",)"
                            R"("occurredAt":"2025-03-07T09:15:02Z"})");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://analytics.example.com/api/report");
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    ASSERT_EQ(request.headers.size(), 2u);
    EXPECT_EQ(request.headers[0], (HttpHeader{"content-type", "application/json"}));
    // PKCS#1 v1.5 is deterministic: the very signature openssl makes, which it also verifies.
    EXPECT_EQ(request.headers[1], (HttpHeader{"x-signature", keys.opensslSignature(request.body)}));
    EXPECT_TRUE(keys.opensslVerifies(request.body, request.headers[1].value));
    EXPECT_EQ(storedStartupReportDeviceId(store), environment.uuid);

    // Slashes stay as they are; what JSON must escape is escaped; bad UTF-8 cannot break the body.
    EXPECT_EQ(encodeStartupReportPayload(StartupReportPayload::make({"a/b", "Ta\"vi\\", "1.0/β"}, "\xff\n", -1)),
              R"({"appId":"a/b","appName":"Ta\"vi\\","appVersion":"1.0/β","deviceId":")" "\xEF\xBF\xBD"
              R"(\n","occurredAt":"1969-12-31T23:59:59Z"})");
}

TEST(StartupReport, EveryKeyFailureHasItsOwnText) {
    const ReportKeyPair& keys = ReportKeyPair::instance();
    const std::string& der = keys.pkcs8Der();
    const std::string good = keys.pkcs8Base64();
    const std::string invalidKey = "启动上报私钥无效", badFormat = "启动上报私钥格式无效";
    const std::pair<std::string, std::string> cases[] = {
        {"not base64 %%", invalidKey},
        {good.substr(0, 64) + "\n" + good.substr(64), invalidKey},  // line broken, as in a PEM file
        {" " + good, invalidKey},
        {good.substr(0, good.size() - 1), invalidKey},  // no longer a multiple of four
        {"QQ=A" + good, invalidKey},                     // padding inside
        {"", badFormat},
        {base64("plain text, not DER"), badFormat},
        {base64(keys.pkcs1Der()), badFormat},               // a bare PKCS#1 key
        {base64(der.substr(0, der.size() / 2)), badFormat},  // truncated
        {base64(std::string("\x30\x80", 2) + der.substr(4)), badFormat},  // indefinite length
        {base64(std::string("\x30\x84\xff\xff\xff\xff", 6) + der.substr(4)), badFormat},
        {base64(std::string("\x30\x03\x02\x01\x00", 5)), badFormat},  // no algorithm, no key
        {base64(std::string("\x30\x0c\x02\x01\x00\x30\x02\x05\x00\x04\x05xyz", 14)), badFormat},  // key runs past
    };
    for (const auto& [keyText, expected] : cases) {
        MemorySettingsStore store;
        EXPECT_EQ(failureText(prepareWithKey(keyText, store, test::PinnedEnvironment{})), expected) << keyText;
    }

    // Well-formed PKCS#8 around what is no RSA private key: OpenSSL's own words.
    const std::string notAKey = std::string("\x30\x10\x02\x01\x00\x30\x02\x05\x00\x04\x07", 11) + "not key";
    for (const std::string& notRsa : {keys.ecPkcs8Der(), notAKey}) {
        MemorySettingsStore store;
        const std::string text = failureText(prepareWithKey(base64(notRsa), store, test::PinnedEnvironment{}));
        EXPECT_TRUE(text.starts_with("启动上报签名失败：error:")) << text;
    }
}

TEST(StartupReport, DeviceIdIsARandomUpperCaseUuidAndAnEmptyOneIsNone) {
    MemorySettingsStore store;
    store.setValue(kStartupReportDeviceIdKey, std::string());
    const std::string made = startupReportDeviceId(store, ProviderEnvironment::system());
    const std::regex version4("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(made, version4)) << made;
    EXPECT_EQ(startupReportDeviceId(store, ProviderEnvironment::system()), made);
    MemorySettingsStore another;
    EXPECT_NE(startupReportDeviceId(another, ProviderEnvironment::system()), made);
}

TEST(StartupReport, DeploymentComesFromTheBuildUnlessTheEnvironmentSaysOtherwise) {
    const ReportKeyPair& keys = ReportKeyPair::instance();
    const StartupReportBuild build{"https://built.example.com", true, "KEY\n", "0.1.0"};
    using Env = std::optional<std::string>;
    struct Case {
        Env url, keyFile;
        std::string endpoint;
        std::optional<std::string> key;
    };
    const Case cases[] = {
        {std::nullopt, std::nullopt, "https://built.example.com", "KEY"},
        {"https://env.example.com", keys.writeFile("lf", "K\n").string(), "https://env.example.com", "K"},
        {"", "", "", std::nullopt},  // set but empty: off, whatever the build says
        {std::nullopt, keys.writeFile("crlf", "K\r\n").string(), "https://built.example.com", "K"},
        {std::nullopt, keys.writeFile("two", "K\n\n").string(), "https://built.example.com", "K\n"},
        {std::nullopt, keys.writeFile("empty", "").string(), "https://built.example.com", ""},  // a bad key, not none
    };
    for (const Case& c : cases) {
        test::ScopedEnv url("TAVI_REPORT_URL", c.url), keyFile("TAVI_REPORT_KEY_FILE", c.keyFile);
        const auto resolved = StartupReportDeployment::resolve(build);
        ASSERT_TRUE(std::holds_alternative<StartupReportDeployment>(resolved));
        EXPECT_EQ(std::get<StartupReportDeployment>(resolved).endpoint, c.endpoint);
        EXPECT_EQ(std::get<StartupReportDeployment>(resolved).privateKeyText, c.key) << c.keyFile.value_or("-");
    }

    // What the tray gets: nothing at all without a deployment, the file's name when it cannot be read.
    MemorySettingsStore store;
    {
        test::ScopedEnv url("TAVI_REPORT_URL", ""), keyFile("TAVI_REPORT_KEY_FILE", "");
        EXPECT_TRUE(std::holds_alternative<NoStartupReport>(prepareStartupReport(store)));
    }
    const std::string directory = keys.writeFile("x", "").parent_path().string();
    test::ScopedEnv keyFile("TAVI_REPORT_KEY_FILE", directory);
    EXPECT_EQ(failureText(prepareStartupReport(store)), "启动上报签名失败：无法读取私钥文件：" + directory);
    EXPECT_TRUE(store.contents().empty());
}

TEST(StartupReport, OnlyA2xxReplyIsSuccessAndTransportFailuresPassUnchanged) {
    const std::pair<long, std::optional<std::string>> cases[] = {
        {299, std::nullopt},
        {199, "启动上报接口返回异常状态码：199"},
        {0, "启动上报接口返回异常状态码：-1"},  // no HTTP status line
    };
    for (const auto& [status, failure] : cases) {
        test::FakeTransport transport;
        transport.respond(status, "ignored");
        EXPECT_EQ(sendStartupReport(HttpRequest{}, transport), failure) << status;
    }
    test::FakeTransport transport;
    transport.fail(TransportError{TransportError::Kind::timedOut, "analytics.example.com", "Operation timed out"});
    EXPECT_EQ(sendStartupReport(HttpRequest{}, transport), "请求超时，服务器没有及时响应（analytics.example.com）");
}

}  // namespace
}  // namespace tavi
