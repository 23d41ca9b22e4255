#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "CliRunner.h"
#include "TestFiles.h"
#include "app/Autostart.h"

namespace tavi {
namespace {

namespace fs = std::filesystem;

class AutostartTest : public ::testing::Test {
protected:
    static void write(const fs::path& file, const std::string& text, fs::perms mode = fs::perms::owner_all) {
        test::writeFile(file, text);
        fs::permissions(file, mode);
    }

    const test::TempDir temp_{"tavi-autostart"};
    const fs::path& root_ = temp_.path();
};

// The desktop's own parser (GLib's, through `gio launch`) must run exactly the
// path the entry was written for, whatever characters it holds.
TEST_F(AutostartTest, TheDesktopRunsExactlyTheCommandItNames) {
    const char* const directories[] = {"plain", "with space", "double\"quote", "single'quote", "dollar$HOME",
        "back\\slash", "back`tick", "semi;colon&amp", "中文 目录", "#hash(paren)*?~<>|"};
    int index = 0;
    for (const char* directory : directories) {
        SCOPED_TRACE(directory);
        const fs::path command = root_ / "bin" / directory / "tavi";
        const fs::path ran = root_ / ("ran-" + std::to_string(index));
        write(command, "#!/bin/sh\nprintf '%s' \"$0\" > '" + ran.string() + ".part' && mv '" + ran.string() + ".part' '" +
                           ran.string() + "'\n");
        const Autostart autostart(root_ / ("config-" + std::to_string(index++)), command);
        ASSERT_EQ(autostart.setEnabled(true), std::nullopt);

        const test::CliResult validated = test::runProgram("/usr/bin/desktop-file-validate", {autostart.entryFile()});
        EXPECT_EQ(validated.exitCode, 0) << validated.out << validated.err;
        const test::CliResult launched = test::runProgram("/usr/bin/gio", {"launch", autostart.entryFile()});
        ASSERT_EQ(launched.exitCode, 0) << launched.err;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!fs::exists(ran) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(test::readFile(ran), command.string());
    }
}

TEST_F(AutostartTest, EnabledUntilRemovedOrSwitchedOffByTheDesktop) {
    const Autostart autostart(root_ / "config", "/usr/bin/tavi");
    EXPECT_EQ(autostart.entryFile(), root_ / "config" / "autostart" / "org.morvel.Tavi.desktop");
    EXPECT_FALSE(autostart.isEnabled());
    EXPECT_EQ(autostart.setEnabled(false), std::nullopt) << "nothing to remove is no failure";
    ASSERT_EQ(autostart.setEnabled(true), std::nullopt);
    EXPECT_TRUE(autostart.isEnabled());
    EXPECT_NE(test::readFile(autostart.entryFile()).find("\nX-GNOME-Autostart-enabled=true\n"), std::string::npos);
    EXPECT_EQ(test::modeOf(autostart.entryFile()), 0644u);
    EXPECT_EQ(test::modeOf(root_ / "config" / "autostart"), 0700u);
    EXPECT_EQ(test::modeOf(root_ / "config"), 0700u);
    ASSERT_EQ(autostart.setEnabled(false), std::nullopt);
    EXPECT_FALSE(fs::exists(autostart.entryFile()));

    const std::pair<const char*, bool> entries[] = {
        {"[Desktop Entry]\nExec=tavi\nHidden=true\n", false},
        {"[Desktop Entry]\nExec=tavi\nX-GNOME-Autostart-enabled = false\n", false},
        {"[Desktop Entry]\nExec=tavi\n[Desktop Action x]\nHidden=true\n", true},
        {"Exec=tavi\n", false},
        {"", false},
    };
    for (const auto& [text, enabled] : entries) {
        write(autostart.entryFile(), text);
        EXPECT_EQ(autostart.isEnabled(), enabled) << text;
    }
}

TEST_F(AutostartTest, ReplacesTheEntryWholeAndLeavesNothingBehind) {
    const Autostart autostart(root_, "/opt/tavi/bin/tavi");
    write(autostart.entryFile(), "[Desktop Entry]\nHidden=true\n");
    // A second name for the old file keeps the old text: the new entry is a
    // new file renamed into place, never the old one rewritten.
    fs::create_hard_link(autostart.entryFile(), root_ / "old");
    ASSERT_EQ(autostart.setEnabled(true), std::nullopt);
    EXPECT_EQ(test::readFile(root_ / "old"), "[Desktop Entry]\nHidden=true\n");
    EXPECT_NE(test::readFile(autostart.entryFile()).find("Exec=/opt/tavi/bin/tavi\n"), std::string::npos);
    EXPECT_EQ(std::distance(fs::directory_iterator(autostart.entryFile().parent_path()), fs::directory_iterator()), 1);
}

TEST_F(AutostartTest, Failures) {
    write(root_ / "file" / "autostart", "not a directory");
    EXPECT_EQ(Autostart(root_ / "file", "/usr/bin/tavi").setEnabled(true),
              "无法创建自启动目录 " + (root_ / "file" / "autostart").string() + "：Not a directory");
    fs::create_directories(root_ / "dir" / "autostart" / "org.morvel.Tavi.desktop" / "inside");
    EXPECT_EQ(Autostart(root_ / "dir", "/usr/bin/tavi").setEnabled(false),
              "无法删除自启动项 " + (root_ / "dir" / "autostart" / "org.morvel.Tavi.desktop").string() +
                  "：Is a directory");
    EXPECT_EQ(Autostart(root_, "").setEnabled(true), "找不到 tavi 命令，无法设置登录时启动");
    for (const char* command : {"/opt/new\nline/tavi", "/opt/tab\t/tavi", "/opt/percent%u/tavi", "/opt/latin1-\xe9/tavi",
                                "/opt/\xed\xa0\x80/tavi"}) {
        EXPECT_EQ(Autostart(root_, command).setEnabled(true),
                  "tavi 命令的路径含有自启动项无法表示的字符：" + std::string(command));
        EXPECT_EQ(autostartEntryText(command), std::nullopt);
    }
    EXPECT_FALSE(fs::exists(root_ / "autostart" / "org.morvel.Tavi.desktop"));
}

TEST_F(AutostartTest, FindsTheTaviCommandOfTheRunningInstallation) {
    for (const char* program : {"build/tavi", "build/tavi-tray", "usr/bin/tavi", "usr/libexec/tavi/tavi-tray",
                                "stray/tavi-tray", "plain/tavi-tray"})
        write(root_ / program, "#!/bin/sh\n");
    write(root_ / "plain/tavi", "#!/bin/sh\n", fs::perms::owner_read | fs::perms::owner_write);

    EXPECT_EQ(taviCommandFor(root_ / "build/tavi-tray"), root_ / "build/tavi") << "beside it, in a build tree";
    EXPECT_EQ(taviCommandFor(root_ / "usr/libexec/tavi/tavi-tray"), root_ / "usr/bin/tavi") << "installed";
    EXPECT_EQ(taviCommandFor(root_ / "usr/bin/tavi"), root_ / "usr/bin/tavi") << "tavi itself";
    EXPECT_EQ(taviCommandFor(root_ / "stray/tavi-tray"), std::nullopt);
    EXPECT_EQ(taviCommandFor(root_ / "plain/tavi-tray"), std::nullopt) << "a tavi that cannot run";
}

}  // namespace
}  // namespace tavi
