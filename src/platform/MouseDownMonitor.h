#pragma once

#include <functional>

#include "core/Subscription.h"
#include "platform/Geometry.h"

namespace tavi {

// A left or right mouse-button press.
struct MouseDown {
    Point at;  // the pointer's global position
    // The innermost window under the pointer, whoever's it is; 0 when the
    // desktop does not tell.
    NativeWindowId window = 0;
    // The user turned to a window the desktop shows Tavi nothing of (a
    // Wayland program's, seen through XWayland): somewhere else, but where
    // is unknown and `at` is stale.
    bool unseen = false;
};

// Reports left and right mouse-button presses anywhere on the desktop, in
// other applications' windows too, and, where the desktop hides some of its
// windows from Tavi, the keyboard focus going to one of them. Owning thread only; the handler is
// called there.
class MouseDownMonitor {
public:
    virtual ~MouseDownMonitor() = default;

    // An inactive Subscription when the desktop offers no such monitor.
    [[nodiscard]] virtual Subscription watch(std::function<void(MouseDown)> onMouseDown) = 0;
};

}  // namespace tavi
