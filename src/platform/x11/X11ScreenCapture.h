#pragma once

#include "platform/ScreenCapture.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

namespace tavi::x11 {

// Pictures of the monitors, read from the root window of a 24- or 32-bit
// true-colour screen. Refused in a Wayland session, where XWayland's root
// window holds the X11 windows alone.
class X11ScreenCapture final : public ScreenCapture {
public:
    X11ScreenCapture(X11Connection& connection, X11Screens& screens);
    ScreenCaptureResult captureScreens() override;

private:
    X11Connection& connection_;
    X11Screens& screens_;
};

}  // namespace tavi::x11
