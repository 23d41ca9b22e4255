#pragma once

#include <cstdint>
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

// Pictures of what the monitors show right now. Owning thread only.
class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;

    // Every monitor, in the order Screens::screens() lists them.
    virtual ScreenCaptureResult captureScreens() = 0;
};

}  // namespace tavi
