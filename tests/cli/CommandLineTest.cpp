#include <gtest/gtest.h>

#include "CliRunner.h"
#include "FakeHttpsServer.h"
#include "TestCertificates.h"
#include "core/Json.h"

namespace tavi::test {
namespace {

TEST(CommandLine, BareTaviStartsTheTrayOrSaysWhatIsMissing) {
    CliSandbox sandbox;
    CliResult bare = sandbox.run({}, "", {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_EQ(bare.err, "tavi: 没有图形桌面（DISPLAY 未设置），托盘程序无法启动；命令行子命令仍可使用\n");
    bare = sandbox.run({}, "", {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", "wayland-0"}});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_EQ(bare.err,
              "tavi: 这个 Wayland 会话没有 XWayland（DISPLAY 未设置），托盘程序目前需要 X11 或 XWayland；"
              "命令行子命令仍可使用\n");
    bare = sandbox.run({}, "", {{"DISPLAY", ":9999"}});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_NE(bare.err.find("无法连接到 X 显示服务器 :9999"), std::string::npos) << bare.err;
}

TEST(CommandLine, SubcommandsNeverLoadTheGuiLibraries) {
    CliSandbox sandbox;
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"providers"}, {"config", "list"}, {"translate", "hi"}}) {
        // The dynamic loader lists every library it initialises.
        const CliResult run = sandbox.run(args, "", {{"LD_DEBUG", "libs"}});
        for (const char* library : {"libQt6Gui", "libQt6Widgets", "libxcb", "libxkbcommon", "libX11"})
            EXPECT_EQ(run.err.find(library), std::string::npos) << args[0] << " loaded " << library;
        EXPECT_NE(run.err.find("libcurl"), std::string::npos) << "LD_DEBUG gave no list";
    }
}

TEST(CommandLine, HelpVersionAndUsageErrors) {
    CliSandbox sandbox;
    const CliResult help = sandbox.run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("tavi translate [--provider ID]"), std::string::npos);
    EXPECT_NE(help.out.find("启动托盘程序"), std::string::npos);

    const CliResult version = sandbox.run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("tavi ", 0), 0u);

    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"frobnicate"},
             {"translate"},                      // stdin empty
             {"translate", "  \n "},             // only blanks
             {"translate", "--from", "xx", "hi"},
             {"translate", "--to"},
             {"translate", "--bogus", "hi"},
             {"providers", "extra"},
         }) {
        const CliResult r = sandbox.run(args);
        EXPECT_EQ(r.exitCode, 2) << args[0] << " " << (args.size() > 1 ? args[1] : "");
        EXPECT_TRUE(r.out.empty());
        EXPECT_NE(r.err.find("tavi: "), std::string::npos);
    }
}

TEST(CommandLine, TranslateFailsWithTheServiceTextAndTouchesNoSettings) {
    CliSandbox sandbox;
    CliResult r = sandbox.run({"translate", "hello"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "翻译失败：OpenAI API Key 未设置\n");
    EXPECT_TRUE(r.out.empty());

    r = sandbox.run({"translate", "--provider", "foo", "hello"});
    EXPECT_EQ(r.err, "翻译失败：未找到翻译服务：foo\n");
    r = sandbox.run({"translate", "--provider=OpenAI", "hello"});
    EXPECT_EQ(r.err, "翻译失败：未找到翻译服务：OpenAI\n");

    // Overrides are for one call: nothing was written.
    EXPECT_FALSE(std::filesystem::exists(sandbox.configFile()) &&
                 std::filesystem::file_size(sandbox.configFile()) > 0);
}

TEST(CommandLine, TextThatIsNotUtf8IsRefusedBeforeAnyRequest) {
    FakeHttpsServer server;
    const EnvVars env = {{"TAVI_CONNECT_TO", server.connectTo("api.openai.com")},
                         {"TAVI_CA_BUNDLE", TestCertificates::instance().caPath()}};
    CliSandbox sandbox;
    ASSERT_EQ(sandbox.run({"config", "set", "openAIAPIKey", "sk-cli"}).exitCode, 0);
    const std::string expected =
        "tavi: 要翻译的文本不是有效的 UTF-8（第 4 个字节起），请先转换编码，例如 iconv -f GBK -t UTF-8\n"
        "用法见 tavi --help\n";
    CliResult r = sandbox.run({"translate", "caf\xe9"}, "", env);
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, expected);
    r = sandbox.run({"translate"}, "  caf\xe9 au lait\n", env);  // from standard input, trimmed first
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, expected);
    EXPECT_EQ(server.requestCount(), 0u);
}

TEST(CommandLine, ProvidersListsEveryServiceInOrder) {
    CliSandbox sandbox;
    const CliResult r = sandbox.run({"providers"});
    EXPECT_EQ(r.exitCode, 0);
    std::string ids;
    for (std::size_t line = 0; line < r.out.size(); line = r.out.find('\n', line) + 1) {
        ids += r.out.substr(line, r.out.find('\t', line) - line) + " ";
    }
    EXPECT_EQ(ids, "openai claude deepl google baidu aliyun volcano ");
    EXPECT_EQ(r.out.rfind("openai\tOpenAI\t未配置\t当前\nclaude\tClaude\t未配置\t-\n", 0), 0u) << r.out;
}

TEST(CommandLine, TranslateThroughOpenAIFromWordsStandardInputAndJson) {
    FakeHttpsServer server;
    server.on("POST", "/v1/chat/completions",
              FakeHttpsServer::respond(200, R"({"choices":[{"message":{"content":" 早上好\n"}}]})"));
    const EnvVars env = {{"TAVI_CONNECT_TO", server.connectTo("api.openai.com")},
                         {"TAVI_CA_BUNDLE", TestCertificates::instance().caPath()}};
    CliSandbox sandbox;
    ASSERT_EQ(sandbox.run({"config", "set", "openAIAPIKey", "sk-cli"}).exitCode, 0);
    EXPECT_EQ(sandbox.run({"providers"}).out.rfind("openai\tOpenAI\t已配置\t当前\n", 0), 0u);
    const auto userText = [&] { return Json::parse(server.lastRequest().body)["messages"][1]["content"]; };

    CliResult r = sandbox.run({"translate", "Good", "morning"}, "", env);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "早上好\n");
    EXPECT_EQ(userText(), "Good morning");
    EXPECT_EQ(server.lastRequest().header("Authorization"), "Bearer sk-cli");

    for (const std::vector<std::string>& args : {std::vector<std::string>{"translate"}, {"translate", "-"}}) {
        r = sandbox.run(args, " \n Good\n morning \r\n", env);
        EXPECT_EQ(r.out, "早上好\n");
        EXPECT_EQ(userText(), "Good\n morning");
    }

    r = sandbox.run({"translate", "--json", "--from", "en", "--to=ja", "--", "--json"}, "", env);
    EXPECT_EQ(r.out, R"({"sourceText":"--json","translatedText":"早上好","sourceLanguage":"en",)"
                     R"("targetLanguage":"ja","provider":"OpenAI","detectedLanguage":null})"
                     "\n");
    EXPECT_EQ(sandbox.run({"config", "get", "targetLanguage"}).out, "zh\n");  // the override was not kept

    server.on("POST", "/v1/chat/completions",
              FakeHttpsServer::respond(401, R"({"error":{"message":"Incorrect API key provided"}})"));
    r = sandbox.run({"translate", "hi"}, "", env);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "翻译失败：Incorrect API key provided\n");
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.err.find("sk-cli"), std::string::npos);
}

}  // namespace
}  // namespace tavi::test
