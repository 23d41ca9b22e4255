#pragma once

#include <functional>

#include "core/Subscription.h"
#include "platform/Geometry.h"

namespace tavi {

// Reports left and right mouse-button presses anywhere on the desktop, in
// other applications' windows too, with the pointer's global position.
// Owning thread only; the handler is called there.
class MouseDownMonitor {
public:
    virtual ~MouseDownMonitor() = default;

    // An inactive Subscription when the desktop offers no such monitor.
    [[nodiscard]] virtual Subscription watch(std::function<void(Point)> onMouseDown) = 0;
};

}  // namespace tavi
