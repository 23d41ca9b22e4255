#include <gtest/gtest.h>

#include "CliRunner.h"

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

TEST(CommandLine, ProvidersListsEveryServiceInOrder) {
    CliSandbox sandbox;
    const CliResult r = sandbox.run({"providers"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, "openai\tOpenAI\t未配置\t当前\nclaude\tClaude\t未配置\t-\ndeepl\tDeepL\t未配置\t-\n"
                     "google\tGoogle 翻译\t未配置\t-\nbaidu\t百度翻译\t未配置\t-\naliyun\t阿里翻译\t未配置\t-\n"
                     "volcano\t火山翻译\t未配置\t-\n");
}

}  // namespace
}  // namespace tavi::test
