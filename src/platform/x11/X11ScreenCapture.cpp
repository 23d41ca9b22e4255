#include "platform/x11/X11ScreenCapture.h"

namespace tavi::x11 {

X11ScreenCapture::X11ScreenCapture(X11Connection& connection, X11Screens& screens)
    : connection_(connection), screens_(screens) {}

ScreenCaptureResult X11ScreenCapture::captureScreens() {
    return ScreenCaptureFailure{"屏幕截图尚未实现"};
}

}  // namespace tavi::x11
