#pragma once

#include <string>

#include "platform/KeySender.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11Shortcuts.h"

namespace tavi::x11 {

// Key presses through XTest, as if typed on the keyboard.
class X11KeySender final : public KeySender {
public:
    X11KeySender(X11Connection& connection, X11Keyboard& keyboard, X11Shortcuts& shortcuts);
    bool focusedApplicationCopies() override;
    // Whether the X server takes synthetic key presses (XTest).
    bool available() const { return available_; }
    void sendCopy(std::function<void()> sent) override;

private:
    void typeCopy();
    // WM_CLASS (instance and class, NUL-separated) of the client window that
    // has the keyboard focus; empty when there is none or it has no class.
    std::string focusedWindowClass();
    std::string windowClass(xcb_window_t window);

    X11Connection& connection_;
    X11Keyboard& keyboard_;
    X11Shortcuts& shortcuts_;
    bool available_ = false;
};

}  // namespace tavi::x11
