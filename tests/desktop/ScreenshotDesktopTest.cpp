// Screenshot translation as the user does it: the hotkey, the menu or the
// desktop's action, a rectangle dragged over text that cannot be selected,
// and the popup.
#include "ChildProcess.h"
#include <filesystem>

#include "DesktopFixture.h"
#include "FakePortalProcess.h"

namespace tavi::test {
namespace {

constexpr const char* kOverlayTitle = "Tavi · 截图翻译";
const Rect kFirstMonitor{0, 0, 1920, 1080};
const Rect kSecondMonitor{1920, 0, 1920, 1080};

class ScreenshotDesktopTest : public TrayDesktopTest {
protected:
    std::vector<Rect> overlays() {
        std::vector<Rect> frames;
        for (xcb_window_t window : x.findWindows("Tavi", kOverlayTitle))
            if (auto frame = x.geometry(window)) frames.push_back(*frame);
        std::sort(frames.begin(), frames.end(), [](const Rect& a, const Rect& b) { return a.x < b.x; });
        return frames;
    }
    bool overlaysCoverBothMonitors() { return overlays() == std::vector<Rect>{kFirstMonitor, kSecondMonitor}; }

    // A window showing `lines` at `at`, as a picture shows text; its frame.
    Rect showText(Point at, std::vector<std::string> lines) {
        std::vector<std::string> args{"show-text", std::to_string(at.x), std::to_string(at.y)};
        args.insert(args.end(), lines.begin(), lines.end());
        const std::vector<xcb_window_t> before = x.findWindows("tavi-desktop-helper", "known text");
        pictures_.push_back(std::make_unique<ChildProcess>(TAVI_DESKTOP_HELPER_PATH, args));
        std::optional<Rect> frame;
        EXPECT_TRUE(x.waitUntil([&] {
            for (xcb_window_t window : x.findWindows("tavi-desktop-helper", "known text"))
                if (std::find(before.begin(), before.end(), window) == before.end()) frame = x.geometry(window);
            return frame.has_value();
        }));
        return frame.value_or(Rect{});
    }

    // What the popup shows, as its copy button copies it.
    std::string popupText() {
        const std::optional<Rect> popup = popupGeometry();
        if (!popup) return {};
        x.click({popup->x + kCopyButton.x, popup->y + kCopyButton.y});
        std::string text;
        x.waitUntil([&] { return !(text = clipboard("UTF8_STRING")).empty(); });
        return text;
    }

private:
    std::vector<std::unique_ptr<ChildProcess>> pictures_;
};

TEST_F(ScreenshotDesktopTest, EveryMonitorIsCoveredUntilEscapeOnEitherAndTheHotkeyStartsAfresh) {
    TestApplication editor;
    ASSERT_TRUE(x.waitUntil([&] { return x.inputFocus() == editor.window(); }));
    auto tray = startTavi();
    for (const Point pointer : {Point{600, 400}, Point{2600, 400}}) {
        SCOPED_TRACE(testing::PrintToString(pointer));
        x.movePointer(pointer);
        x.chord({XKey::altLeft, XKey::s});
        ASSERT_TRUE(x.waitUntil([&] { return overlaysCoverBothMonitors(); }))
            << testing::PrintToString(overlays()) << tray->log();
        // Again while they are open: a fresh pair, not a second one.
        const std::vector<xcb_window_t> first = x.findWindows("Tavi", kOverlayTitle);
        x.chord({XKey::altLeft, XKey::s});
        ASSERT_TRUE(x.waitUntil([&] {
            const std::vector<xcb_window_t> now = x.findWindows("Tavi", kOverlayTitle);
            return std::none_of(now.begin(), now.end(),
                                [&](xcb_window_t window) { return std::count(first.begin(), first.end(), window); }) &&
                   overlaysCoverBothMonitors();
        })) << tray->log();
        // A click is no selection: they stay for another try.
        x.click({pointer.x + 40, pointer.y + 40});
        x.chord({XKey::a});
        EXPECT_TRUE(overlaysCoverBothMonitors());
        x.chord({XKey::escape});
        ASSERT_TRUE(x.waitUntil([&] { return overlays().empty(); })) << tray->log();
    }
    // Nothing reached the editor, nothing was sent, no popup.
    EXPECT_TRUE(keysTyped(editor).empty()) << testing::PrintToString(keysTyped(editor));
    EXPECT_TRUE(service.texts().empty());
    EXPECT_FALSE(popupShown());
    EXPECT_EQ(x.inputFocus(), editor.window());
}

TEST_F(ScreenshotDesktopTest, TextDraggedOverIsTranslatedFromTheMenuAndTheDesktopsAction) {
    auto tray = startTavi();
    const Rect shown = showText({2300, 300}, {"Screenshots keep their words", "The quick brown fox"});
    ASSERT_TRUE(tray->clickMenu("截图翻译\t⌥S")) << tray->log();
    ASSERT_TRUE(x.waitUntil([&] { return overlaysCoverBothMonitors(); })) << tray->log();
    x.drag({shown.x - 12, shown.y - 12}, {shown.right() + 12, shown.bottom() + 12});
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); }, 30s)) << tray->log();
    EXPECT_TRUE(overlays().empty());
    EXPECT_EQ(service.texts(), std::vector<std::string>{"Screenshots keep their words\nThe quick brown fox"});
    EXPECT_EQ(popupText(), "译：Screenshots keep their words\nThe quick brown fox");

    // A window across two monitors: the drag over its first line goes on
    // past the first monitor's edge, the selection stops there.
    const Rect edge = showText({1680, 700}, {"At the edge", "", "and a second line running past the edge"});
    ASSERT_GT(edge.right(), kFirstMonitor.right() + 60);
    ASSERT_EQ(tray->tavi({"screenshot"}).exitCode, 0);
    ASSERT_TRUE(x.waitUntil([&] { return overlaysCoverBothMonitors(); })) << tray->log();
    x.drag({edge.x + 8, edge.y + 8}, {2300, edge.y + edge.height / 2});
    ASSERT_TRUE(x.waitUntil([&] { return service.texts().size() == 2; }, 30s)) << tray->log();
    EXPECT_EQ(service.texts().at(1), "At the edge");

    // Nothing to read: told so, and nothing is sent.
    ASSERT_EQ(tray->tavi({"screenshot"}).exitCode, 0);
    ASSERT_TRUE(x.waitUntil([&] { return overlaysCoverBothMonitors(); })) << tray->log();
    x.drag({200, 900}, {400, 1000});
    // The last popup may still be closing: read until the new one shows.
    EXPECT_TRUE(x.waitUntil([&] { return popupText() == "未识别到文字，请重新框选含清晰文字的区域"; }))
        << popupText() << tray->log();
    EXPECT_EQ(service.texts().size(), 2u);
}

// On a Wayland desktop the desktop's own picker takes the overlays' place,
// through its screenshot portal (a fake one on the test desktop's bus).
TEST_F(ScreenshotDesktopTest, OnWaylandTheDesktopPicksTheRegionAndItsPictureIsReadAndRemoved) {
    const EnvVars wayland{{"XDG_SESSION_TYPE", "wayland"}};
    {
        // Without the portal: told why, nothing sent.
        auto tray = startTavi({}, wayland);
        ASSERT_EQ(tray->tavi({"screenshot"}).exitCode, 0);
        ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
        EXPECT_EQ(popupText(), "截图翻译失败：这个桌面没有提供截图服务（xdg-desktop-portal 的 Screenshot 接口）");
        EXPECT_TRUE(overlays().empty());
    }
    FakePortalProcess::Options withScreenshots;
    withScreenshots.screenshot = true;
    FakePortalProcess portal(withScreenshots);
    ASSERT_TRUE(portal.ready());
    auto tray = startTavi({}, wayland);
    const auto pick = [&](const std::string& text, unsigned response) {
        ASSERT_TRUE(portal.control("SetPick", {"string:" + text, "uint32:" + std::to_string(response)}));
        const std::size_t before = portal.calls("Screenshot").size();
        ASSERT_EQ(tray->tavi({"screenshot"}).exitCode, 0);
        ASSERT_TRUE(x.waitUntil([&] { return portal.calls("Screenshot").size() == before + 1; })) << tray->log();
    };
    const auto picturesLeft = [&] {
        return std::distance(std::filesystem::directory_iterator(portal.picturesFolder()), {});
    };

    pick("Picked by the desktop\nThe quick brown fox", 0);
    ASSERT_TRUE(x.waitUntil([&] { return service.texts().size() == 1; }, 30s)) << tray->log();
    EXPECT_EQ(service.texts()[0], "Picked by the desktop\nThe quick brown fox");
    ASSERT_TRUE(x.waitUntil([&] { return popupShown(); })) << tray->log();
    EXPECT_EQ(picturesLeft(), 0);
    EXPECT_TRUE(overlays().empty());
    const Json call = portal.calls("Screenshot").back();
    EXPECT_EQ(call["args"][0], "");
    EXPECT_EQ(call["args"][1]["interactive"], true);
    x.click({600, 900});
    ASSERT_TRUE(x.waitUntil([&] { return !popupShown(); }));

    // Cancelled in the picker: nothing at all.
    pick("Not this", 1);
    EXPECT_FALSE(x.waitUntil([&] { return popupShown(); }, 1s));
    // Failed: told so. Nothing more was sent, and no picture stays behind.
    pick("Nor this", 2);
    EXPECT_TRUE(x.waitUntil([&] { return popupText() == "截图翻译失败：桌面的截图工具没有完成截图"; })) << tray->log();
    EXPECT_EQ(service.texts().size(), 1u);
    EXPECT_EQ(picturesLeft(), 0);
}

}  // namespace
}  // namespace tavi::test
