#pragma once

#include <optional>
#include <string>

#include "platform/KeySender.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11Shortcuts.h"

namespace tavi::x11 {

// Key presses through XTest, as if typed on the keyboard. Through XWayland
// they reach X11 windows only: the focused application copies only when it
// is one.
class X11KeySender final : public KeySender {
public:
    X11KeySender(X11Connection& connection, X11Keyboard& keyboard, X11Shortcuts& shortcuts, bool throughXWayland);
    bool focusedApplicationCopies() override;
    // Whether the X server takes synthetic key presses (XTest).
    bool available() const { return available_; }
    void sendCopy(std::function<void()> sent) override;

private:
    void typeCopy();
    // WM_CLASS (instance and class, NUL-separated) of the client window that
    // has the keyboard focus, empty when it has no class; nothing when no
    // window has the focus.
    std::optional<std::string> focusedWindowClass();
    std::string windowClass(xcb_window_t window);

    X11Connection& connection_;
    X11Keyboard& keyboard_;
    X11Shortcuts& shortcuts_;
    bool available_ = false;
    bool throughXWayland_;
};

}  // namespace tavi::x11
