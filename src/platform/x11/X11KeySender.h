#pragma once

#include "platform/KeySender.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11Shortcuts.h"

namespace tavi::x11 {

// Key presses through XTest, as if typed on the keyboard.
class X11KeySender final : public KeySender {
public:
    X11KeySender(X11Connection& connection, X11Keyboard& keyboard, X11Shortcuts& shortcuts);
    void sendCopy(std::function<void()> sent) override;

private:
    void typeCopy();

    X11Connection& connection_;
    X11Keyboard& keyboard_;
    X11Shortcuts& shortcuts_;
    bool available_ = false;
};

}  // namespace tavi::x11
