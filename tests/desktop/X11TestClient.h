#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace tavi::test {

using namespace std::chrono_literals;

// X key codes of the evdev keyboard Xvfb has, by what a US layout prints.
namespace XKey {
inline constexpr std::uint8_t a = 38, c = 54, q = 24, s = 39, t = 28, escape = 9;
inline constexpr std::uint8_t controlLeft = 37, shiftLeft = 50, altLeft = 64, superLeft = 133;
}  // namespace XKey

// The test's own connection to the X server: the user's hands (XTest key
// presses, pointer moves and clicks) and eyes (windows, geometry, focus as
// the server has them).
class X11TestClient {
public:
    // On `display` (":1"...); DISPLAY's when none is given.
    explicit X11TestClient(const char* display = nullptr);
    ~X11TestClient();
    X11TestClient(const X11TestClient&) = delete;
    X11TestClient& operator=(const X11TestClient&) = delete;

    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return root_; }
    xcb_atom_t atom(const std::string& name);

    // Presses the keys in order and releases them in reverse, like a chord.
    void chord(const std::vector<std::uint8_t>& keys);
    void press(std::uint8_t key);
    void release(std::uint8_t key);
    void movePointer(Point to);
    void click(Point at, std::uint8_t button = 1);
    // Presses the left button at `from`, moves to `to` in steps, releases.
    void drag(Point from, Point to);
    Point pointer();

    xcb_window_t inputFocus();
    // Whether the keyboard focus is on `window` or a window inside it.
    bool isFocusedWithin(xcb_window_t window);
    // A viewable top-level client window whose WM_CLASS class is `className`
    // and, when `title` is given, whose _NET_WM_NAME is `title`.
    std::optional<xcb_window_t> findWindow(const std::string& className, const std::string& title = {});
    // Every such window, from the bottom of the stack up.
    std::vector<xcb_window_t> findWindows(const std::string& className, const std::string& title = {});
    // Asks the window manager to move a client window, as the user does by
    // dragging its title bar.
    void moveWindow(xcb_window_t window, Point to);
    // Asks a client window to close, as its title bar's close button does.
    void closeWindow(xcb_window_t window);
    bool isViewable(xcb_window_t window);
    std::optional<Rect> geometry(xcb_window_t window);
    std::string property(xcb_window_t window, const std::string& name);

    // Whether another client holds a grab of this combination: a grab of
    // our own is refused then. Whatever it finds, it leaves nothing grabbed.
    bool isGrabbedElsewhere(std::uint8_t key, std::uint16_t modifiers);
    // Grabs the combination for this client until released.
    bool grabKey(std::uint8_t key, std::uint16_t modifiers);
    void ungrabKey(std::uint8_t key, std::uint16_t modifiers);

    // Asks until `condition` holds, reading X events meanwhile; false when
    // `bound` passed first.
    bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds bound = 10s);

private:
    xcb_connection_t* connection_;
    xcb_window_t root_;
};

}  // namespace tavi::test
