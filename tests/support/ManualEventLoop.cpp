#include "ManualEventLoop.h"

namespace tavi::test {

Subscription ManualEventLoop::add(Duration delay, Duration interval, Task task) {
    const std::uint64_t id = nextTimer_++;
    timers_.emplace(id, Timer{now_ + delay, interval, std::make_shared<Task>(std::move(task))});
    return Subscription([this, id] { timers_.erase(id); });
}

void ManualEventLoop::runPending() {
    while (!posted_.empty()) {
        Task task = std::move(posted_.front());
        posted_.pop_front();
        task();
    }
}

void ManualEventLoop::advance(Duration by) {
    const Duration end = now_ + by;
    runPending();
    while (true) {
        auto next = timers_.end();
        for (auto it = timers_.begin(); it != timers_.end(); ++it)
            if (it->second.due <= end && (next == timers_.end() || it->second.due < next->second.due)) next = it;
        if (next == timers_.end()) break;
        now_ = next->second.due;
        const std::shared_ptr<Task> task = next->second.task;
        if (next->second.interval > Duration::zero()) next->second.due += next->second.interval;
        else timers_.erase(next);
        (*task)();
        runPending();
    }
    now_ = end;
}

}  // namespace tavi::test
