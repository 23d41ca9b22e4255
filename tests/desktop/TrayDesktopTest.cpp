#include "DesktopFixture.h"

namespace tavi::test {
namespace {

TEST_F(TrayDesktopTest, TrayItemCarriesTheMenuAndItsActions) {
    auto tray = startTavi();
    const std::vector<std::string> expected = {"打开翻译窗口\t⌥T", "---", "翻译选中文字\t⌥A", "截图翻译\t⌥S",
                                               "---", "开启剪贴板监听\t⌥C", "---", "偏好设置...", "---",
                                               "退出Tavi"};
    EXPECT_EQ(tray->menuLabels(), expected);

    ASSERT_TRUE(tray->clickMenu("开启剪贴板监听\t⌥C"));
    EXPECT_TRUE(x.waitUntil([&] { return tray->tavi({"config", "get", "clipboardMonitorEnabled"}).out == "true\n"; }));
    EXPECT_EQ(tray->menuLabels()[5], "关闭剪贴板监听\t⌥C");

    ASSERT_TRUE(tray->clickMenu("退出Tavi"));
    EXPECT_EQ(tray->waitForExit(false), 0) << tray->log();
}

TEST_F(TrayDesktopTest, HotkeyShowsTheTranslationOfPrimaryAtThePointerAndLeavesTheFocus) {
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    editor.own("PRIMARY", {{"UTF8_STRING", "Good morning"}});
    auto tray = startTavi();

    x.movePointer({700, 500});
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(popupGeometry(), (Rect{712, 512, kPopup.width, kPopup.height}));
    EXPECT_EQ(x.inputFocus(), editor.window());
    EXPECT_EQ(service.texts(), std::vector<std::string>{"Good morning"});
    EXPECT_TRUE(keysTyped(editor).empty());  // the hotkey's key went to Tavi alone

    // The copy button puts the translation on the clipboard; a click inside
    // does not close the popup.
    x.click({712 + kCopyButton.x, 512 + kCopyButton.y});
    EXPECT_TRUE(x.waitUntil([&] { return clipboard("UTF8_STRING") == "译：Good morning"; }));
    EXPECT_TRUE(popupShown());

    // A click elsewhere (here in the editor) closes it, pinned or not.
    x.click({712 + kPinButton.x, 512 + kPinButton.y});
    ASSERT_TRUE(x.geometry(editor.window())->contains({300, 300}));
    x.click({300, 300});
    EXPECT_TRUE(x.waitUntil([&] { return !popupShown(); }));
    EXPECT_EQ(x.inputFocus(), editor.window());

    // So do a right click and the close button.
    const Point closeButton{712 + kCloseButton.x, 512 + kCloseButton.y};
    for (const auto& [button, where] : {std::pair<std::uint8_t, Point>{3, {300, 300}}, {1, closeButton}}) {
        x.chord({XKey::altLeft, XKey::a});
        ASSERT_TRUE(x.waitUntil([&] { return popupShown(); }));
        x.click(where, button);
        EXPECT_TRUE(x.waitUntil([&] { return !popupShown(); })) << "button " << int(button);
    }
}

TEST_F(TrayDesktopTest, WithoutATrayTaviRunsOnItsHotkeys) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "no tray here"}});
    // No session bus: no StatusNotifierItem host, and no XEmbed tray either.
    EnvVars env = service.environment();
    env.emplace_back("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    TrayProcess tray(env, {{"openAIAPIKey", "sk-desktop"}});
    // Written once the start is over (the hotkeys grabbed).
    ASSERT_TRUE(x.waitUntil([&] { return tray.log().find("No D-Bus session bus") != std::string::npos; }))
        << tray.log();
    const std::string log = tray.log();
    const std::size_t said = log.find("tavi: No system tray on this desktop: Tavi runs on its hotkeys alone.\n");
    EXPECT_NE(said, std::string::npos) << log;
    EXPECT_EQ(log.rfind("No system tray"), said + 6) << log;  // once
    x.chord({XKey::altLeft, XKey::a});
    EXPECT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray.log();
}

TEST_F(TrayDesktopTest, PopupFlipsAtTheEdgesOfTheSecondMonitor) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "edge"}});
    auto tray = startTavi();
    x.movePointer({3700, 1000});
    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(popupGeometry(), (Rect{3700 - 412, 1000 - 312, kPopup.width, kPopup.height}));

    // Dragged by its header, it follows the pointer.
    x.drag({3288 + 150, 688 + 20}, {3288 + 50, 688 - 80});
    EXPECT_TRUE(x.waitUntil([&] { return popupGeometry() == Rect{3188, 588, kPopup.width, kPopup.height}; }))
        << testing::PrintToString(popupGeometry());

    // Shown again while shown: moved and refilled in place.
    x.movePointer({1000, 200});
    x.chord({XKey::altLeft, XKey::a});
    EXPECT_TRUE(x.waitUntil([&] { return popupGeometry() == Rect{1012, 212, kPopup.width, kPopup.height}; }));
}

TEST_F(TrayDesktopTest, HotkeysWorkWithLocksOnAndAfterTheLocksMove) {
    TestApplication editor;
    editor.own("PRIMARY", {{"UTF8_STRING", "locked"}});
    auto tray = startTavi();
    constexpr std::uint8_t kCapsLock = 66, kNumLock = 77;
    const auto firesWithLockOn = [&](std::uint8_t lock) {
        x.click({1500, 900});
        x.waitUntil([&] { return !popupShown(); });
        x.chord({lock});
        // Tavi hears of a remap a moment after it: pressed until it shows.
        const bool shown = x.waitUntil([&] {
            x.chord({XKey::altLeft, XKey::a});
            return x.waitUntil([&] { return popupShown(); }, 500ms);
        });
        x.chord({lock});
        return shown;
    };
    EXPECT_TRUE(firesWithLockOn(kCapsLock)) << tray->log();
    // Num Lock moved from Mod2 to Mod3, as some keyboard setups have it:
    // Tavi's grabs follow.
    ASSERT_EQ(runProgram("/usr/bin/xmodmap", {"-e", "clear mod2", "-e", "add mod3 = Num_Lock"}).exitCode, 0);
    const bool afterRemap = firesWithLockOn(kNumLock);
    runProgram("/usr/bin/xmodmap", {"-e", "clear mod3", "-e", "add mod2 = Num_Lock"});
    EXPECT_TRUE(afterRemap) << tray->log();
}

TEST_F(TrayDesktopTest, CopyFallbackCopiesFromTheFocusedApplicationAndRestoresTheClipboard) {
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    xcb_set_selection_owner(x.raw(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, XCB_CURRENT_TIME);
    const std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    editor.own("CLIPBOARD", {{"UTF8_STRING", "the user's clipboard"}, {"text/html", "<b>the user's clipboard</b>"},
                             {"image/png", png}});
    editor.setSelectedText("Selected in the editor");
    auto tray = startTavi();

    x.chord({XKey::altLeft, XKey::a});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"Selected in the editor"});
    // One copy shortcut reached the editor, with Control alone held.
    EXPECT_EQ(keysTyped(editor), std::vector<std::string>{"54/4"});
    EXPECT_EQ(x.inputFocus(), editor.window());

    // Tavi now serves what the clipboard held before, type for type.
    EXPECT_TRUE(x.waitUntil([&] { return !editor.owns("CLIPBOARD"); }));
    EXPECT_EQ(clipboard("UTF8_STRING"), "the user's clipboard");
    EXPECT_EQ(clipboard("text/html"), "<b>the user's clipboard</b>");
    EXPECT_EQ(clipboard("image/png"), png);
}

TEST_F(TrayDesktopTest, MonitorTranslatesWhatIsCopied) {
    auto tray = startTavi({{"clipboardMonitorEnabled", "true"}});
    TestApplication editor;
    editor.own("CLIPBOARD", {{"UTF8_STRING", "copied words"}});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"copied words"});
}

TEST_F(TrayDesktopTest, SettingsChangedWithTaviConfigApplyWhileRunning) {
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    editor.own("PRIMARY", {{"UTF8_STRING", "hotkey moved"}});
    auto tray = startTavi();

    // ⌃⇧A instead of ⌥A.
    ASSERT_EQ(tray->tavi({"config", "set", "translateSelectedTextHotkey", R"({"keyCode":0,"modifiers":4608})"}).exitCode,
              0);
    EXPECT_TRUE(x.waitUntil([&] { return tray->menuLabels().at(2) == "翻译选中文字\t⌃⇧A"; }));
    // ⌥A is let go (a probe of it cannot disturb Tavi, which no longer wants it)
    EXPECT_TRUE(x.waitUntil([&] { return !x.isGrabbedElsewhere(XKey::a, kAlt); })) << tray->log();
    // and ⌃⇧A works, once Tavi has grabbed it.
    const bool moved = x.waitUntil([&] {
        x.chord({XKey::controlLeft, XKey::shiftLeft, XKey::a});
        return x.waitUntil([&] { return popupShown(); }, 300ms);
    });
    EXPECT_TRUE(moved) << tray->log();
    EXPECT_EQ(service.texts().at(0), "hotkey moved");

    ASSERT_EQ(tray->tavi({"config", "set", "clipboardMonitorEnabled", "true"}).exitCode, 0);
    EXPECT_TRUE(x.waitUntil([&] { return tray->menuLabels().at(5) == "关闭剪贴板监听\t⌥C"; }));

    // The next translation uses the service key set meanwhile.
    ASSERT_EQ(tray->tavi({"config", "set", "openAIAPIKey", "sk-changed"}).exitCode, 0);
    x.click({1500, 900});
    ASSERT_TRUE(x.waitUntil([&] { return !popupShown(); }));
    editor.own("CLIPBOARD", {{"UTF8_STRING", "after the change"}});
    ASSERT_TRUE(x.waitUntil([&] { return service.texts().size() == 2; })) << tray->log();
    EXPECT_EQ(service.texts().at(1), "after the change");
    EXPECT_EQ(service.server().lastRequest().header("Authorization"), "Bearer sk-changed");
}

TEST_F(TrayDesktopTest, HeldHotkeyIsLoggedAndKeyNamesFollowTheLayout) {
    ASSERT_TRUE(x.grabKey(XKey::s, kAlt));
    auto tray = startTavi();
    EXPECT_TRUE(x.waitUntil([&] { return tray->log().find("Hotkey ⌥S is held by another program") != std::string::npos; }))
        << tray->log();
    x.ungrabKey(XKey::s, kAlt);

    ASSERT_TRUE(x.waitUntil([&] { return tray->trayItem().has_value(); }));
    ASSERT_EQ(runProgram("/usr/bin/setxkbmap", {"fr"}).exitCode, 0);
    const bool french = x.waitUntil([&] { return tray->menuLabels().at(2) == "翻译选中文字\t⌥Q"; });
    runProgram("/usr/bin/setxkbmap", {"us"});
    EXPECT_TRUE(french) << tray->menuLabels().at(2);
}

}  // namespace
}  // namespace tavi::test
