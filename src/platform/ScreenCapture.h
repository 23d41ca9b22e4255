#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Geometry.h"

namespace tavi {

// A picture of one monitor, in its device pixels: 32-bit pixels, 0xAARRGGBB
// in native byte order (what QImage::Format_RGB32 reads), rows of
// `bytesPerLine` bytes.
struct ScreenImage {
    ScreenInfo screen;  // which monitor, as Screens::screens() lists it
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    std::vector<std::uint8_t> pixels;
};

// Why no picture could be taken, in one line for the user (after
// "截图翻译失败").
struct ScreenCaptureFailure {
    std::string reason;
};

using ScreenCaptureResult = std::variant<std::vector<ScreenImage>, ScreenCaptureFailure>;

// The user closed the desktop's region picker without choosing.
struct ScreenCaptureCancelled {};

using RegionCaptureResult = std::variant<ScreenImage, ScreenCaptureCancelled, ScreenCaptureFailure>;

// Pictures of what the monitors show. Owning thread only.
//
// Either Tavi lets the user choose the region on a picture of every monitor
// (captureScreens, then Tavi's own overlays), or the desktop does it with its
// own picker and hands over the region alone (pickRegion): a Wayland desktop
// lets no program read the screen itself.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    // Every monitor, in the order Screens::screens() lists them, right now.
    virtual ScreenCaptureResult captureScreens() = 0;

    // Whether the desktop picks the region (then pickRegion is the way).
    virtual bool picksRegion() const { return false; }
    // Has the user pick a region with the desktop's picker; `done` hears the
    // picture of it (its `screen` the picture's own frame), a cancel or a
    // failure, once, on the owning thread, never from inside the call.
    virtual void pickRegion(std::function<void(RegionCaptureResult)> done) {
        static_cast<void>(done);
    }
};

}  // namespace tavi
