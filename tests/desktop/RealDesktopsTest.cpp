// Where users' desktops differ from a tidy one: huge selections, terminals,
// high-density screens, clipboard managers, quitting with work in flight.
#include <cmath>
#include <cstdio>

#include "ChildProcess.h"
#include "DesktopFixture.h"
#include "TestFiles.h"
#include "core/TranslationService.h"

namespace tavi::test {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

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
    const TempDir dir("tavi-terminal");
    const std::string log = (dir / "terminal.log").string();
    const std::string program = "trap 'echo INTERRUPTED >> " + log + "' INT; stty -icanon -echo; : > " + log +
                                "; while :; do dd bs=1 count=1 >> " + log + " 2>/dev/null; done";
    ChildProcess terminal("xterm", {"-fa", "Monospace", "-e", "sh", "-c", program});
    ASSERT_TRUE(x.waitUntil([&] {
        const std::optional<xcb_window_t> window = x.findWindow("XTerm");
        return window && std::filesystem::exists(log) && x.isFocusedWithin(*window);
    }));
    // The log sees Control+C as an interrupt: the check below can fail. (A
    // terminal just started may not read keys yet: tried until it does.)
    ASSERT_TRUE(x.waitUntil([&] {
        x.chord({XKey::controlLeft, XKey::c});
        return x.waitUntil([&] { return readFile(log) == "INTERRUPTED\n"; }, 1s);
    })) << readFile(log);
    std::filesystem::resize_file(log, 0);

    xcb_set_selection_owner(x.raw(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, XCB_CURRENT_TIME);
    auto tray = startTavi();
    x.chord({XKey::altLeft, XKey::a});
    // Questions Tavi's main thread answers: by then it has dealt with the
    // hotkey, before the editor below takes the focus.
    ASSERT_TRUE(tray->started());
    ASSERT_TRUE(tray->started());

    // Then an editor, which does copy on Control+C: its popup comes after the
    // terminal's hotkey has been dealt with, whatever that did.
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    editor.setSelectedText("copied in the editor");
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"copied in the editor"});
    EXPECT_EQ(keysTyped(editor), std::vector<std::string>{"54/4"});
    EXPECT_EQ(readFile(log), "");
}

TEST_F(TrayDesktopTest, QuitIsImmediateWithATranslationInFlight) {
    FakeHttpsServer slow;
    slow.on("POST", "/v1/chat/completions", slow.stall(60s));
    const EnvVars env = routedTo({slow.connectTo("api.openai.com")});
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "for a slow service"}});
    for (const bool bySignal : {false, true}) {
        TrayProcess tray(env, {{"openAIAPIKey", "sk-desktop"}});
        ASSERT_TRUE(x.waitUntil([&] { return tray.started() && x.isGrabbedElsewhere(XKey::a, kAlt); })) << tray.log();
        const std::size_t before = slow.requestCount();
        x.chord({XKey::altLeft, XKey::a});
        ASSERT_TRUE(x.waitUntil([&] { return slow.requestCount() == before + 1; })) << tray.log();

        const auto quitting = Clock::now();
        if (!bySignal) {
            ASSERT_EQ(tray.tavi({"quit"}).exitCode, 0);
        }
        EXPECT_EQ(tray.waitForExit(bySignal, 1s), 0) << (bySignal ? "SIGTERM" : "tavi quit") << tray.log();
        std::printf("%s with a translation in flight: gone after %.2f s\n", bySignal ? "SIGTERM" : "tavi quit",
                    secondsSince(quitting));
        // The name is free: the next Tavi starts at once.
        TrayProcess next(env, {{"openAIAPIKey", "sk-desktop"}});
        EXPECT_TRUE(x.waitUntil([&] { return runningTavi() == next.pid(); }, 5s)) << next.log();
    }
}

TEST_F(TrayDesktopTest, TheClipboardTaviServesOutlivesItThroughTheClipboardManager) {
    TestApplication manager;
    manager.actAsClipboardManager();
    auto editor = std::make_unique<TestApplication>();
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor->window(); }));
    xcb_set_selection_owner(x.raw(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, XCB_CURRENT_TIME);
    const std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    editor->own("CLIPBOARD", {{"UTF8_STRING", "the user's clipboard"}, {"image/png", png}});
    editor->setSelectedText("Selected in the editor");
    auto tray = startTavi();

    // The copy fallback leaves Tavi serving the user's clipboard.
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    ASSERT_TRUE(x.waitUntil([&] { return !editor->owns("CLIPBOARD"); }));
    editor.reset();  // the editor is closed: nobody else has the data

    ASSERT_EQ(tray->tavi({"quit"}).exitCode, 0);
    EXPECT_EQ(tray->waitForExit(false, 1s), 0) << tray->log();
    EXPECT_EQ(manager.savedTargets(), (std::vector<std::string>{"UTF8_STRING", "image/png"}));
    EXPECT_EQ(clipboard("UTF8_STRING"), "the user's clipboard");
    EXPECT_EQ(clipboard("image/png"), png);
}

TEST_F(TrayDesktopTest, TaviTrayLeavesAPinnedPopupOpenAndOtherClicksCloseIt) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "pinned"}});
    auto tray = startTavi();
    x.movePointer({700, 500});
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    x.click({712 + kPinButton.x, 512 + kPinButton.y});
    // Tavi hears clicks on its own X connection and on Qt's: a question its
    // main thread answers comes after the pin click is through.
    ASSERT_TRUE(tray->started());

    // The panel draws the tray icon: a click on it lands in the panel, and
    // the panel asks Tavi for its menu; the user picks an entry from it.
    x.click({3800, 5});
    ASSERT_EQ(tray->menuLabels().size(), 10u);
    ASSERT_TRUE(tray->clickMenu("开启剪贴板监听\t⌥C"));
    ASSERT_TRUE(x.waitUntil([&] { return tray->tavi({"config", "get", "clipboardMonitorEnabled"}).out == "true\n"; }));
    EXPECT_FALSE(x.waitUntil([&] { return !popupShown(); }, 1s)) << "a click at the tray closed the pinned popup";

    // A click anywhere else closes it, pinned or not.
    x.click({300, 300});
    EXPECT_TRUE(x.waitUntil([&] { return !popupShown(); }));
}

TEST_F(TrayDesktopTest, PopupIsPlacedInDevicePixelsOnEveryMonitorAtEveryScale) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "scaled"}});
    struct Scale {
        const char* name;
        EnvVars env;
        const char* resources;  // X resources, as a desktop's settings put them
        double first, second;   // the two monitors' factors
    };
    const Scale scales[] = {
        {"1x", {}, nullptr, 1, 1},
        {"QT_SCALE_FACTOR=1.5", {{"QT_SCALE_FACTOR", "1.5"}}, nullptr, 1.5, 1.5},
        {"QT_SCALE_FACTOR=2", {{"QT_SCALE_FACTOR", "2"}}, nullptr, 2, 2},
        {"Xft.dpi: 144", {}, "Xft.dpi: 144\n", 1.5, 1.5},
        {"mixed", {{"QT_SCREEN_SCALE_FACTORS", "M1=1;M2=2"}}, nullptr, 1, 2},
    };
    for (const Scale& scale : scales) {
        if (scale.resources) runProgram("/usr/bin/xrdb", {"-merge"}, scale.resources);
        EnvVars env = service.environment();
        env.insert(env.end(), scale.env.begin(), scale.env.end());
        TrayProcess tray(env, {{"openAIAPIKey", "sk-desktop"}});
        ASSERT_TRUE(x.waitUntil([&] { return tray.started() && x.isGrabbedElsewhere(XKey::a, kAlt); })) << tray.log();
        // The two 1920x1080 monitors side by side; the second is not at the origin.
        for (const int left : {0, 1920}) {
            const double f = left == 0 ? scale.first : scale.second;
            const int width = static_cast<int>(400 * f), height = static_cast<int>(300 * f);
            const int gap = static_cast<int>(std::lround(12 * f));
            const struct {
                const char* where;
                Point pointer;
                Point origin;
            } cases[] = {
                {"middle", {left + 960, 300}, {left + 960 + gap, 300 + gap}},
                {"right edge", {left + 1915, 300}, {left + 1915 - width - gap, 300 + gap}},
                {"bottom edge", {left + 960, 1075}, {left + 960 + gap, 1075 - height - gap}},
            };
            for (const auto& c : cases) {
                x.movePointer(c.pointer);
                x.chord({XKey::altLeft, XKey::a});
                const Rect expected{c.origin.x, c.origin.y, width, height};
                EXPECT_TRUE(x.waitUntil([&] { return popupGeometry() == expected; }))
                    << scale.name << ", monitor at " << left << ", " << c.where << ": "
                    << testing::PrintToString(popupGeometry()) << " instead of " << testing::PrintToString(expected);
            }
        }
        if (scale.resources) runProgram("/usr/bin/xrdb", {"-remove"});
    }
}

}  // namespace
}  // namespace tavi::test
