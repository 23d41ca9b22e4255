#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>

#include "core/EventLoop.h"

namespace tavi::test {

// An event loop on a clock of its own that only moves when the test says so.
// Single-threaded: post() from the test's own thread only.
class ManualEventLoop final : public EventLoop {
public:
    void post(Task task) override { posted_.push_back(std::move(task)); }
    Subscription scheduleOnce(Duration delay, Task task) override { return add(delay, Duration::zero(), std::move(task)); }
    Subscription scheduleRepeating(Duration interval, Task task) override {
        return add(interval, interval, std::move(task));
    }
    Subscription watchReadable(int, Task) override { return {}; }

    // Runs posted tasks, and the tasks they post, until none is left.
    void runPending();
    // Moves the clock forward, firing due timers in order and running what
    // they post.
    void advance(Duration by);
    Duration now() const { return now_; }
    std::size_t timerCount() const { return timers_.size(); }

private:
    struct Timer {
        Duration due;
        Duration interval;  // zero for a one-shot timer
        std::shared_ptr<Task> task;
    };
    Subscription add(Duration delay, Duration interval, Task task);

    Duration now_{0};
    std::deque<Task> posted_;
    std::map<std::uint64_t, Timer> timers_;
    std::uint64_t nextTimer_ = 1;
};

}  // namespace tavi::test
