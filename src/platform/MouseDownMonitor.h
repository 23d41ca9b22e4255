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
};

// Reports left and right mouse-button presses anywhere on the desktop, in
// other applications' windows too. Owning thread only; the handler is
// called there.
class MouseDownMonitor {
public:
    virtual ~MouseDownMonitor() = default;

    // An inactive Subscription when the desktop offers no such monitor.
    [[nodiscard]] virtual Subscription watch(std::function<void(MouseDown)> onMouseDown) = 0;
};

}  // namespace tavi
