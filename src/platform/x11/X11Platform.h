#pragma once

#include <memory>
#include <string>

#include "platform/DesktopPlatform.h"
#include "platform/x11/X11Clipboard.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11KeySender.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11ScreenCapture.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11Selections.h"
#include "platform/x11/X11Shortcuts.h"

namespace tavi::x11 {

// The X11 desktop (XWayland included) over one connection of Tavi's own.
class X11Platform final : public DesktopPlatform {
public:
    explicit X11Platform(std::unique_ptr<X11Connection> connection);

    std::string name() const override { return "x11"; }
    GlobalShortcuts& shortcuts() override { return shortcuts_; }
    KeyboardLayout& keyboardLayout() override { return keyboard_; }
    Clipboard& clipboard() override { return clipboard_; }
    SelectionReader& selection() override { return primary_; }
    KeySender& keySender() override { return keySender_; }
    Screens& screens() override { return screens_; }
    MouseDownMonitor& mouseDownMonitor() override { return mouse_; }
    ScreenCapture& screenCapture() override { return capture_; }
    bool hasCompositor() override { return connection_->hasCompositor(); }
    CaptureAbilities captureAbilities() override;

private:
    std::unique_ptr<X11Connection> connection_;
    bool xWayland_;
    X11Keyboard keyboard_;
    X11Shortcuts shortcuts_;
    X11Selections selections_;
    X11Clipboard clipboard_;
    X11PrimarySelection primary_;
    X11KeySender keySender_;
    X11Screens screens_;
    X11MouseDownMonitor mouse_;
    X11ScreenCapture capture_;
};

}  // namespace tavi::x11
