#pragma once

#include <chrono>

#include "core/Executor.h"
#include "core/Subscription.h"

namespace tavi {

// The owning thread's event loop, as the capture logic and the platform
// backends need it: posted tasks, timers and readable file descriptors, all
// run on the thread that runs the loop. Only post() may be called from other
// threads.
//
// Timers and watches live as long as the returned Subscription; dropping it
// (or calling cancel()) stops them, and a cancelled timer never fires.
class EventLoop : public Executor {
public:
    using Duration = std::chrono::milliseconds;

    // Runs `task` once, `delay` from now.
    [[nodiscard]] virtual Subscription scheduleOnce(Duration delay, Task task) = 0;
    // Runs `task` every `interval` until cancelled.
    [[nodiscard]] virtual Subscription scheduleRepeating(Duration interval, Task task) = 0;
    // Runs `onReadable` whenever `fd` has data to read.
    [[nodiscard]] virtual Subscription watchReadable(int fd, Task onReadable) = 0;
};

}  // namespace tavi
