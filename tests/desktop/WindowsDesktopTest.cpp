// The settings and translation windows as the user reaches them: from the
// tray menu, a hotkey and the desktop's actions.
#include "DesktopFixture.h"
#include "TestFiles.h"

namespace tavi::test {
namespace {

TEST_F(TrayDesktopTest, WindowsOpenCentredAndComeForwardWhereTheUserLeftThem) {
    auto tray = startTavi();
    // On the second monitor: the window opens there.
    x.movePointer({2400, 500});
    ASSERT_TRUE(tray->clickMenu("偏好设置..."));
    std::optional<xcb_window_t> settings;
    ASSERT_TRUE(x.waitUntil([&] { return (settings = x.findWindow("Tavi", "Tavi · 偏好设置")).has_value(); }))
        << tray->log();
    ASSERT_TRUE(x.waitUntil([&] { return x.isFocusedWithin(*settings); }));
    const Rect opened = *x.geometry(*settings);
    const Point centre{opened.x + opened.width / 2, opened.y + opened.height / 2};
    EXPECT_LT(std::abs(centre.x - (1920 + 960)), 40) << testing::PrintToString(opened);
    EXPECT_LT(std::abs(centre.y - 540), 40) << testing::PrintToString(opened);

    // The user moves it and works elsewhere; asked again, it comes forward
    // where it is.
    x.moveWindow(*settings, {2000, 120});
    ASSERT_TRUE(x.waitUntil([&] { return x.geometry(*settings)->x != opened.x; }));
    const Rect moved = *x.geometry(*settings);
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    ASSERT_EQ(tray->tavi({"settings"}).exitCode, 0);
    EXPECT_TRUE(x.waitUntil([&] { return x.isFocusedWithin(*settings); }));
    EXPECT_EQ(x.geometry(*settings), moved);

    // The hotkey of the translation window opens that one.
    x.chord({XKey::altLeft, XKey::t});
    EXPECT_TRUE(x.waitUntil([&] { return x.findWindow("Tavi", "Tavi · 直接翻译").has_value(); })) << tray->log();
}

TEST_F(TrayDesktopTest, AKeyTypedInTheProvidersTabReachesTheSettingsFile) {
    auto tray = startTavi();
    ASSERT_EQ(tray->tavi({"settings"}).exitCode, 0);
    std::optional<xcb_window_t> settings;
    ASSERT_TRUE(x.waitUntil([&] {
        return (settings = x.findWindow("Tavi", "Tavi · 偏好设置")).has_value() && x.isFocusedWithin(*settings);
    })) << tray->log();
    // By keyboard alone: to the providers tab, past the current service's
    // card and its link, into its key (which the focus selects whole).
    constexpr std::uint8_t kTab = 23, kB = 56;
    x.chord({XKey::controlLeft, kTab});
    for (int i = 0; i < 3; ++i) x.chord({kTab});
    for (std::uint8_t key : {XKey::a, kB, XKey::c}) x.chord({key});
    EXPECT_TRUE(x.waitUntil([&] { return tray->tavi({"config", "get", "openAIAPIKey"}).out == "abc\n"; }))
        << tray->tavi({"config", "get", "openAIAPIKey"}).out;
    EXPECT_NE(readFile(tray->sandbox().configFile()).find("abc"), std::string::npos);
}

}  // namespace
}  // namespace tavi::test
