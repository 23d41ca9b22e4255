// Where users' desktops differ from a tidy one: huge selections, terminals,
// high-density screens, clipboard managers, quitting with work in flight.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "ChildProcess.h"
#include "DesktopFixture.h"
#include "core/TranslationService.h"

namespace tavi::test {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::string fileText(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST_F(TrayDesktopTest, LargeSelectionsEndInATranslationOrAClearMessage) {
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    // Sent in increments, as toolkits and xclip send large selections.
    editor.setServing(256 * 1024);
    auto tray = startTavi();
    const Point copyButton{712 + kCopyButton.x, 512 + kCopyButton.y};

    struct Case {
        std::size_t size;
        std::string shown;  // what the popup's copy button copies; empty: a translation
    };
    const Case cases[] = {
        {300 * 1024, ""},
        {8u << 20, "翻译失败：文本太长（8.0 MB），超过了单次翻译的上限 512 KB，请选择较短的一段文字"},
        {(64u << 20) + 1, "翻译失败：选中的文本太大（至少 64.1 MB），无法读取，请选择较短的一段文字"},
    };
    for (const Case& c : cases) {
        const std::string text = textOfSize(c.size);
        editor.own("PRIMARY", {{"UTF8_STRING", text}});
        x.movePointer({700, 500});
        const auto pressed = Clock::now();
        x.chord({XKey::altLeft, XKey::a});
        ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << c.size << tray->log();
        std::printf("selection of %zu bytes: popup after %.2f s\n", c.size, secondsSince(pressed));
        EXPECT_LT(secondsSince(pressed), 5.0);
        x.click(copyButton);
        if (c.shown.empty()) {
            EXPECT_TRUE(x.waitUntil([&] { return clipboard("UTF8_STRING") == "译：" + text; })) << c.size;
        } else {
            EXPECT_TRUE(x.waitUntil([&] { return clipboard("UTF8_STRING") == c.shown; }))
                << c.size << ": " << clipboard("UTF8_STRING").substr(0, 300);
        }
        x.click({1500, 900});
        ASSERT_TRUE(x.waitUntil([&] { return !popupShown(); }));
    }
    // Only the text a service takes went out; the copy fallback never ran.
    EXPECT_EQ(service.texts().size(), 1u);
    EXPECT_TRUE(keysTyped(editor).empty());
}

TEST_F(TrayDesktopTest, InATerminalTheHotkeySendsNoKeyAndInterruptsNothing) {
    // A terminal running a program that notes every interrupt and every byte
    // typed to it: what a user's long build or editor session would get.
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("tavi-terminal-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string log = (dir / "terminal.log").string();
    const std::string program = "trap 'echo INTERRUPTED >> " + log + "' INT; stty -icanon -echo; : > " + log +
                                "; while :; do dd bs=1 count=1 >> " + log + " 2>/dev/null; done";
    ChildProcess terminal("xterm", {"-fa", "Monospace", "-e", "sh", "-c", program});
    ASSERT_TRUE(x.waitUntil([&] {
        const std::optional<xcb_window_t> window = x.findWindow("XTerm");
        return window && std::filesystem::exists(log) && x.isFocusedWithin(*window);
    }));
    // The log sees Control+C as an interrupt: the check below can fail.
    x.chord({XKey::controlLeft, XKey::c});
    ASSERT_TRUE(x.waitUntil([&] { return fileText(log) == "INTERRUPTED\n"; })) << fileText(log);
    std::filesystem::resize_file(log, 0);

    xcb_set_selection_owner(x.raw(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, XCB_CURRENT_TIME);
    auto tray = startTavi();
    x.chord({XKey::altLeft, XKey::a});

    // Then an editor, which does copy on Control+C: its popup comes after the
    // terminal's hotkey has been dealt with, whatever that did.
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    editor.setSelectedText("copied in the editor");
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"copied in the editor"});
    EXPECT_EQ(keysTyped(editor), std::vector<std::string>{"54/4"});
    EXPECT_EQ(fileText(log), "");
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace tavi::test
