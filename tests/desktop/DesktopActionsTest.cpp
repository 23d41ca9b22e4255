#include <filesystem>

#include "DesktopFixture.h"
#include "ReportKeyPair.h"
#include "TestCertificates.h"
#include "core/Json.h"

namespace tavi::test {
namespace {

TEST_F(TrayDesktopTest, OneTaviPerSessionAndEveryActionReachesIt) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "from a desktop shortcut"}});
    auto tray = startTavi();
    EXPECT_EQ(runningTavi(), tray->pid());

    const CliResult second = tray->tavi({});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.err, "tavi: Tavi 已在运行\n");
    EXPECT_EQ(runningTavi(), tray->pid());

    EXPECT_EQ(tray->tavi({"selection"}).exitCode, 0);
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"from a desktop shortcut"});

    EXPECT_EQ(tray->tavi({"clipboard"}).exitCode, 0);
    EXPECT_TRUE(x.waitUntil([&] { return tray->menuLabels().at(5) == "关闭剪贴板监听\t⌥C"; }));
    for (const char* action : {"show", "settings", "screenshot"}) EXPECT_EQ(tray->tavi({action}).exitCode, 0);

    // Anyone on the bus may ask; an unknown action is refused by name.
    const CliResult unknown =
        runProgram("/usr/bin/gdbus", {"call", "--session", "--dest", "org.morvel.Tavi", "--object-path",
                                      "/org/morvel/Tavi", "--method", "org.freedesktop.Application.ActivateAction",
                                      "frobnicate", "[]", "{}"});
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_NE(unknown.err.find("Tavi 没有这个操作：frobnicate"), std::string::npos) << unknown.err;

    EXPECT_EQ(tray->tavi({"quit"}).exitCode, 0);
    EXPECT_EQ(tray->waitForExit(false), 0) << tray->log();
    EXPECT_EQ(runningTavi(), std::nullopt);
    const CliResult again = tray->tavi({"quit"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.err, "tavi: Tavi 没有在运行\n");
}

TEST_F(TrayDesktopTest, ActionStartsTaviWhenNoneRunsAndReturnsAtOnce) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "nobody was running"}});
    CliSandbox sandbox;
    ASSERT_EQ(sandbox.run({"config", "set", "openAIAPIKey", "sk-started"}).exitCode, 0);
    EnvVars env = service.environment();
    env.emplace_back("XDG_STATE_HOME", (sandbox.configHome() / "state").string());

    // Output captured through pipes: run() returns only when nobody holds them.
    const CliResult started = sandbox.run({"selection"}, "", env);
    EXPECT_EQ(started.exitCode, 0) << started.err;
    EXPECT_LT(started.wallSeconds, 10);
    const std::optional<pid_t> tavi = runningTavi();
    ASSERT_TRUE(tavi.has_value());
    EXPECT_TRUE(x.waitUntil([&] { return popupShown(); }));
    EXPECT_EQ(service.texts(), std::vector<std::string>{"nobody was running"});
    EXPECT_TRUE(std::filesystem::exists(sandbox.configHome() / "state" / "tavi" / "tavi.log"));

    EXPECT_EQ(sandbox.run({"quit"}, "", env).exitCode, 0);
    EXPECT_TRUE(x.waitUntil([&] { return !runningTavi(); }));
}

TEST_F(TrayDesktopTest, EachLaunchSendsOneStartupReportAndLogsOnlyItsFailure) {
    const ReportKeyPair& keys = ReportKeyPair::instance();
    FakeHttpsServer analytics;
    analytics.on("POST", "/api/report", FakeHttpsServer::respond(204, ""));
    EnvVars env = service.environment();
    env[0].second += "," + analytics.connectTo("localhost");  // TAVI_CONNECT_TO, both hosts
    env.emplace_back("TAVI_REPORT_URL", "https://localhost");
    env.emplace_back("TAVI_REPORT_KEY_FILE", keys.writeFile("report.key", keys.pkcs8Base64() + "\n").string());
    {
        TrayProcess tray(env, {{"openAIAPIKey", "sk-desktop"}});
        ASSERT_TRUE(x.waitUntil([&] { return analytics.requestCount() == 1; })) << tray.log();
        const RecordedRequest report = analytics.lastRequest();
        EXPECT_TRUE(keys.opensslVerifies(report.body, report.header("x-signature")));
        EXPECT_EQ(Json::parse(report.body)["deviceId"].get<std::string>() + "\n",
                  tray.tavi({"config", "get", "startupReportDeviceId"}).out);
        ASSERT_TRUE(x.waitUntil([&] { return tray.started(); }));
        EXPECT_EQ(tray.log(), "");  // success is silent
    }
    analytics.on("POST", "/api/report", FakeHttpsServer::respond(500, "{}"));
    TrayProcess failing(env, {{"openAIAPIKey", "sk-desktop"}});
    EXPECT_TRUE(x.waitUntil([&] {
        return failing.log() == "tavi: Startup report failed: 启动上报接口返回异常状态码：500\n";
    })) << failing.log();
    EXPECT_EQ(analytics.requestCount(), 2u);
}

TEST(DesktopActions, WithoutASessionBusNothingIsStarted) {
    CliSandbox sandbox;
    const EnvVars noBus = {{"DBUS_SESSION_BUS_ADDRESS", ""},
                           {"XDG_RUNTIME_DIR", (sandbox.configHome() / "runtime").string()},
                           {"XDG_STATE_HOME", (sandbox.configHome() / "state").string()}};
    const CliResult r = sandbox.run({"selection"}, "", noBus);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "tavi: 没有 D-Bus 会话总线（DBUS_SESSION_BUS_ADDRESS 未设置），无法把操作发给 Tavi\n");
    EXPECT_FALSE(std::filesystem::exists(sandbox.configHome() / "state"));
    EXPECT_EQ(sandbox.run({"selection", "extra"}).exitCode, 2);
}

}  // namespace
}  // namespace tavi::test
