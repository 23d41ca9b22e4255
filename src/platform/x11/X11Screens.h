#pragma once

#include "platform/MouseDownMonitor.h"
#include "platform/Screens.h"
#include "platform/x11/X11Connection.h"

namespace tavi::x11 {

// Monitors from RandR, their free areas from the window manager's work area,
// and positions straight from the X server. Through XWayland the pointer is
// known only over X11 windows.
class X11Screens final : public Screens {
public:
    X11Screens(X11Connection& connection, bool throughXWayland);
    std::optional<Point> pointerPosition() override;
    std::vector<ScreenInfo> screens() override;
    std::optional<Rect> windowFrame(NativeWindowId window) override;

private:
    std::optional<Rect> workArea();
    X11Connection& connection_;
    bool randr_ = false;
    bool throughXWayland_;
};

// Raw button presses on the root window through XInput 2: they arrive
// whichever window is clicked, grabs included. Through XWayland a click on a
// Wayland window reaches no X client; the focus then leaving every X11
// window (X's focus None) stands for it.
class X11MouseDownMonitor final : public MouseDownMonitor {
public:
    X11MouseDownMonitor(X11Connection& connection, bool throughXWayland);
    Subscription watch(std::function<void(MouseDown)> onMouseDown) override;

private:
    void handle(const xcb_generic_event_t& event);
    void select(bool on);

    X11Connection& connection_;
    bool throughXWayland_;
    std::uint8_t opcode_ = 0;
    bool available_ = false;
    ObserverList<MouseDown> watchers_;
    Subscription events_;
};

}  // namespace tavi::x11
