// Tavi's X11 backend in a Wayland session, through XWayland on weston
// (run-wayland-desktop.sh): what X11 programs see of Wayland programs'
// selections, keys and pointer, and what Tavi makes of it. Each case prints
// what it saw ("seen: ...").
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "QtLoopRunner.h"
#include "ChildProcess.h"
#include "CliRunner.h"
#include "FakeChatServices.h"
#include "FakePortalProcess.h"
#include "GeometryPrinters.h"
#include "TestApplication.h"
#include "TrayProcess.h"
#include "X11TestClient.h"
#include "app/QtEventLoop.h"
#include "platform/x11/X11Platform.h"
#include "platform/x11/XWayland.h"
#include "settings/HotkeyShortcut.h"

namespace tavi::test {
namespace {

using Clock = std::chrono::steady_clock;

// Inside the test editor's window (100,100 600x400), and on the Wayland
// window beside it (weston puts one as large as the screen under its panel).
constexpr Point kOnX11{400, 300};
constexpr Point kOnWayland{1400, 700};
// What weston's Wayland clients call the keys: evdev codes.
constexpr int kEvdevA = 30;

void settle() { runQtLoopUntil([] { return false; }, 500ms); }

// A Wayland program as large as the screen, logging the keys and the
// pointer motion it gets.
class WaylandWindow {
public:
    WaylandWindow()
        : log_(std::filesystem::temp_directory_path() /
               ("tavi-eventdemo-" + std::to_string(::getpid()) + "-" + std::to_string(++count_))),
          process_("stdbuf", {"-oL", "weston-eventdemo", "--width=1920", "--height=1080", "--log-key", "--log-motion"},
                   {}, log_) {}
    ~WaylandWindow() {
        process_.waitForExit(true);
        std::filesystem::remove(log_);
    }

    int motions() { return static_cast<int>(lines("motion ").size()); }
    // Evdev codes of the keys pressed in it.
    std::vector<int> keysPressed() {
        std::vector<int> keys;
        for (const std::string& line : lines("key key: "))
            if (line.find("state: pressed") != std::string::npos) keys.push_back(std::stoi(line.substr(9)));
        return keys;
    }

private:
    std::vector<std::string> lines(const std::string& start) {
        std::ifstream in(log_);
        std::vector<std::string> found;
        for (std::string line; std::getline(in, line);)
            if (line.starts_with(start)) found.push_back(line);
        return found;
    }

    static inline int count_ = 0;
    std::filesystem::path log_;
    ChildProcess process_;
};

class XWaylandSessionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ensureCoreApplication(); }

    XWaylandSessionTest() : hands(std::getenv("TAVI_WAYLAND_INPUT_DISPLAY")) {
        std::string why;
        auto connection = x11::X11Connection::open(loop, [](std::string_view) {}, why);
        if (!connection) throw std::runtime_error(why);
        tavi = std::make_unique<x11::X11Platform>(std::move(connection));
    }

    void SetUp() override {
        if (!std::getenv("TAVI_WAYLAND_INPUT_DISPLAY")) GTEST_SKIP() << "runs in run-wayland-desktop.sh's session";
    }

    // Brings the user's pointer to `at`, through the margin of the input
    // display outside weston's window: weston puts its pointer where the
    // X pointer enters, and moves it by the distance only after. The last
    // step is a motion, as Wayland programs hear it.
    void moveTo(Point at) {
        hands.movePointer({1990, 1190});
        hands.movePointer({at.x + 1, at.y});
        hands.movePointer(at);
    }

    // The user's pointer to `at`, until `arrived` (one move may come before
    // the window there is shown).
    bool pointAt(Point at, const std::function<bool()>& arrived) {
        for (int attempt = 0; attempt < 50; ++attempt) {
            moveTo(at);
            if (runQtLoopUntil(arrived, 200ms)) return true;
        }
        return false;
    }
    bool pointAtWayland(WaylandWindow& wayland) {
        const int before = wayland.motions();
        return pointAt(kOnWayland, [&] { return wayland.motions() > before; });
    }
    // A click in the editor until it has the focus: one made before weston's
    // window manager took the new window in goes to what was there before.
    bool focus(const TestApplication& editor) {
        for (int attempt = 0; attempt < 25; ++attempt) {
            hands.click(kOnX11);
            if (runQtLoopUntil([&] { return x.inputFocus() == editor.window(); }, 400ms)) return true;
        }
        return false;
    }
    bool pointAtX11() {
        return pointAt(kOnX11, [&] { return x.pointer() == kOnX11; });
    }

    // What X says of the pointer: where, and the top-level window under it.
    std::pair<Point, xcb_window_t> queryPointer() {
        xcb_query_pointer_reply_t* reply =
            xcb_query_pointer_reply(x.raw(), xcb_query_pointer(x.raw(), x.root()), nullptr);
        const std::pair<Point, xcb_window_t> answer{{reply->root_x, reply->root_y}, reply->child};
        std::free(reply);
        return answer;
    }

    // Any X event wakes weston's window manager: a window made and gone.
    void wakeWindowManager() {
        const xcb_window_t window = xcb_generate_id(x.raw());
        xcb_create_window(x.raw(), XCB_COPY_FROM_PARENT, window, x.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_destroy_window(x.raw(), window);
        xcb_flush(x.raw());
    }

    QtEventLoop loop;
    std::unique_ptr<x11::X11Platform> tavi;
    // An X11 program on XWayland, like Tavi.
    X11TestClient x;
    // The keyboard and mouse weston reads: its input reaches Wayland and
    // X11 windows as the user's does.
    X11TestClient hands;
};

TEST_F(XWaylandSessionTest, TellsXWaylandFromOtherXServers) {
    const struct {
        const char* display;
        bool xWayland;
    } cases[] = {{std::getenv("DISPLAY"), true}, {std::getenv("TAVI_WAYLAND_INPUT_DISPLAY"), false}};
    const std::string own = std::getenv("DISPLAY");
    for (const auto& c : cases) {
        ::setenv("DISPLAY", c.display, 1);
        std::string why;
        auto connection = x11::X11Connection::open(loop, [](std::string_view) {}, why);
        ::setenv("DISPLAY", own.c_str(), 1);
        ASSERT_TRUE(connection) << why;
        EXPECT_EQ(x11::isXWayland(*connection), c.xWayland) << c.display;
    }
    EXPECT_TRUE(tavi->captureAbilities().throughXWayland);
}

TEST_F(XWaylandSessionTest, PointerIsKnownOnlyOverX11Windows) {
    WaylandWindow wayland;
    ASSERT_TRUE(pointAtWayland(wayland)) << "the Wayland window never showed";
    std::printf("seen: pointer over the Wayland window before any X11 window: X reads %d,%d\n", x.pointer().x,
                x.pointer().y);
    TestApplication editor;
    ASSERT_TRUE(pointAtX11()) << "X never saw the pointer over its window";
    EXPECT_EQ(tavi->screens().pointerPosition(), kOnX11);

    ASSERT_TRUE(pointAtWayland(wayland));
    // Over the Wayland window X still has the pointer where it left the X11
    // one, with no window under it.
    const auto [stale, under] = queryPointer();
    std::printf("seen: pointer at %d,%d over the Wayland window: X reads %d,%d, window under it %#x\n", kOnWayland.x,
                kOnWayland.y, stale.x, stale.y, under);
    EXPECT_EQ(stale, kOnX11);
    EXPECT_EQ(under, xcb_window_t{XCB_WINDOW_NONE});
    // Tavi takes the middle of that monitor instead.
    const Rect area = tavi->screens().screens().front().available;
    EXPECT_EQ(tavi->screens().pointerPosition(), (Point{area.x + area.width / 2, area.y + area.height / 2}));

    // Clicks are X's only on X11 windows; one on a Wayland window shows as
    // the focus leaving X (None), which Tavi reports instead, without a place.
    std::vector<MouseDown> clicks;
    Subscription watching = tavi->mouseDownMonitor().watch([&](MouseDown down) { clicks.push_back(down); });
    hands.click(kOnX11);
    EXPECT_TRUE(runQtLoopUntil([&] { return clicks.size() == 1; }));
    EXPECT_FALSE(clicks.at(0).unseen);
    hands.click(kOnWayland);
    EXPECT_TRUE(runQtLoopUntil([&] { return clicks.size() == 2; }));
    settle();
    std::printf("seen: clicks on the X11 and then the Wayland window: Tavi heard %zu, the second %s\n",
                clicks.size(), clicks.size() == 2 && clicks[1].unseen ? "as the focus leaving X" : "otherwise");
    ASSERT_EQ(clicks.size(), 2u);
    EXPECT_TRUE(clicks[1].unseen);

    // XTest moves X's own pointer, not the compositor's: the Wayland window
    // hears nothing of it.
    const int motions = wayland.motions();
    x.movePointer({1500, 800});
    settle();
    std::printf("seen: XTest motion to 1500,800 on XWayland: X reads %d,%d, the Wayland window got %d motions\n",
                x.pointer().x, x.pointer().y, wayland.motions() - motions);
    EXPECT_EQ(wayland.motions(), motions);
}

TEST_F(XWaylandSessionTest, KeysAndGrabsReachX11OnlyWhileAnX11WindowHasTheFocus) {
    WaylandWindow wayland;
    ASSERT_TRUE(pointAtWayland(wayland)) << "the Wayland window never showed";
    TestApplication editor;
    ASSERT_TRUE(pointAtX11());
    int fired = 0;
    tavi->shortcuts().installHandler([&](std::uint32_t) { ++fired; });
    // Alt+A
    ASSERT_TRUE(tavi->shortcuts().grab(0, HotkeyModifier::option, 1, {"translate-selected-text", "翻译选中文字"}));

    // An X11 window has the focus: the hotkey fires, XTest keys reach it,
    // and Tavi's copy fallback may send Control+C.
    ASSERT_TRUE(focus(editor)) << std::hex << x.inputFocus();
    EXPECT_TRUE(tavi->keySender().focusedApplicationCopies());
    hands.chord({XKey::altLeft, XKey::a});
    EXPECT_TRUE(runQtLoopUntil([&] { return fired == 1; }));
    x.chord({XKey::c});
    const auto typedC = [&] {
        const std::vector<std::string> keys = editor.keyPresses();
        return std::any_of(keys.begin(), keys.end(), [](const std::string& key) { return key.starts_with("54/"); });
    };
    EXPECT_TRUE(runQtLoopUntil(typedC));
    std::printf("seen: X11 window focused: Alt+A fired the grab %d time(s); XTest c reached it: %s\n", fired,
                typedC() ? "yes" : "no");

    // A Wayland window has the focus: X's focus is on no window; the
    // hotkey's keys go to the Wayland window, XTest's nowhere.
    hands.click(kOnWayland);
    ASSERT_TRUE(runQtLoopUntil([&] { return x.inputFocus() == XCB_WINDOW_NONE; })) << std::hex << x.inputFocus();
    EXPECT_FALSE(tavi->keySender().focusedApplicationCopies());
    hands.chord({XKey::altLeft, XKey::a});
    EXPECT_TRUE(runQtLoopUntil([&] {
        const std::vector<int> keys = wayland.keysPressed();
        return std::find(keys.begin(), keys.end(), kEvdevA) != keys.end();
    }));
    const std::size_t waylandKeys = wayland.keysPressed().size();
    const std::size_t editorKeys = editor.keyPresses().size();
    x.chord({XKey::controlLeft, XKey::c});
    x.chord({XKey::a});
    settle();
    std::printf(
        "seen: Wayland window focused: X focus %#x; Alt+A fired the grab %d time(s) in all and reached the Wayland "
        "window; XTest Control+C and a reached the Wayland window %zu and the X11 window %zu time(s)\n",
        x.inputFocus(), fired, wayland.keysPressed().size() - waylandKeys, editor.keyPresses().size() - editorKeys);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(wayland.keysPressed().size(), waylandKeys);
    EXPECT_EQ(editor.keyPresses().size(), editorKeys);

    // Mutter keeps X's focus on a window of its own, with no class, while a
    // Wayland window has the keyboard: no application there either.
    const xcb_window_t own = xcb_generate_id(x.raw());
    const std::uint32_t overrideRedirect = 1;
    xcb_create_window(x.raw(), XCB_COPY_FROM_PARENT, own, x.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
    xcb_map_window(x.raw(), own);
    xcb_set_input_focus(x.raw(), XCB_INPUT_FOCUS_POINTER_ROOT, own, XCB_CURRENT_TIME);
    ASSERT_TRUE(runQtLoopUntil([&] { return x.inputFocus() == own; }));
    EXPECT_FALSE(tavi->keySender().focusedApplicationCopies());
    xcb_destroy_window(x.raw(), own);
    xcb_flush(x.raw());
}

TEST_F(XWaylandSessionTest, ClipboardCrossesBothWaysPrimaryNeither) {
    const struct {
        const char* setter;
        const char* selection;
        bool crosses;
    } cases[] = {
        {"Wayland", "CLIPBOARD", true},
        {"Wayland", "PRIMARY", false},
        {"X11", "CLIPBOARD", true},
        {"X11", "PRIMARY", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.selection) + " set by a " + c.setter + " program");
        const std::string text = std::string("选中的文字 from ") + c.setter + " " + c.selection;
        const bool primary = std::string(c.selection) == "PRIMARY";
        std::vector<std::string> flags = primary ? std::vector<std::string>{"--primary"} : std::vector<std::string>{};
        std::string seen;
        if (std::string(c.setter) == "Wayland") {
            flags.insert(flags.end(), {"--foreground", text});
            ChildProcess copier("wl-copy", flags);
            // Tavi reads it as it reads any X11 program's.
            const auto read = [&] {
                std::optional<TextRead> answer;
                const auto done = [&](TextRead got) { answer = std::move(got); };
                primary ? tavi->selection().readSelectedText(done) : tavi->clipboard().readText(done);
                runQtLoopUntil([&] { return answer.has_value(); });
                return answer && answer->text ? *answer->text : std::string();
            };
            // Weston's window manager passes a Wayland copy on to X only once
            // some X event wakes it: X11 programs that open windows do.
            runQtLoopUntil(
                [&] { return wakeWindowManager(), (seen = read()) == text || copier.waitForExit(false, 0ms); }, 5s);
        } else {
            TestApplication editor;
            editor.own(c.selection, {{"UTF8_STRING", text}});
            flags.push_back("--no-newline");
            runQtLoopUntil([&] { return (seen = runProgram("/usr/bin/wl-paste", flags, "", {}, 10).out) == text; },
                     c.crosses ? 5s : 2s);
        }
        std::printf("seen: %s set by a %s program, read on the other side: \"%s\"\n", c.selection, c.setter,
                    seen.c_str());
        EXPECT_EQ(seen == text, c.crosses) << seen;
    }
}

}  // namespace
}  // namespace tavi::test

namespace tavi::test {
namespace {

// Tavi itself on weston, with the desktop's portal (a fake one) on the bus:
// its tray item, its hotkeys bound through the portal, and the desktop's
// activation of one showing the popup.
TEST_F(XWaylandSessionTest, TrayRunsWithThePortalsShortcutsAndAnActivationShowsThePopup) {
    FakePortalProcess::Options options;
    options.globalShortcutsVersion = 1;
    FakePortalProcess portal(options);
    ASSERT_TRUE(portal.ready());
    // The editor alone at first: nothing of weston's can stack above it.
    TestApplication editor;
    ASSERT_TRUE(pointAtX11());
    ASSERT_TRUE(focus(editor)) << std::hex << x.inputFocus();
    editor.own("PRIMARY", {{"UTF8_STRING", "Selected on weston"}});
    FakeOpenAIService service;
    TrayProcess tray(service.environment(), {{"openAIAPIKey", "sk-weston"}});
    ASSERT_TRUE(runQtLoopUntil([&] { return tray.started() && tray.trayItem().has_value(); }, 20s)) << tray.log();
    ASSERT_TRUE(runQtLoopUntil([&] { return portal.calls("BindShortcuts").size() == 1; })) << tray.log();
    EXPECT_EQ(portal.calls("BindShortcuts")[0]["args"][1].size(), 4u);

    ASSERT_TRUE(portal.control("Activate", {"string:translate-selected-text"}));
    ASSERT_TRUE(runQtLoopUntil([&] { return x.findWindow("Tavi", "Tavi").has_value(); })) << tray.log();
    EXPECT_EQ(service.texts(), std::vector<std::string>{"Selected on weston"});
}

}  // namespace
}  // namespace tavi::test
