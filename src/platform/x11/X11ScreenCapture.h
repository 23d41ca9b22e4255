#pragma once

#include "platform/ScreenCapture.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

namespace tavi::x11 {

// Pictures of the monitors, read from the root window.
class X11ScreenCapture final : public ScreenCapture {
public:
    X11ScreenCapture(X11Connection& connection, X11Screens& screens);
    ScreenCaptureResult captureScreens() override;

private:
    X11Connection& connection_;
    X11Screens& screens_;
};

}  // namespace tavi::x11
