#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"

namespace tavi {

// Pointer, monitors and window positions as the display server has them.
class Screens {
public:
    virtual ~Screens() = default;

    virtual std::optional<Point> pointerPosition() = 0;
    // In the desktop's order; at most one is primary.
    virtual std::vector<ScreenInfo> screens() = 0;
    // Where a top-level window of Tavi's is, frame included; nothing when the
    // window is not mapped or unknown.
    virtual std::optional<Rect> windowFrame(NativeWindowId window) = 0;
};

}  // namespace tavi
