#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "core/EventLoop.h"

namespace tavi::test {

// The owning thread's loop for platform code under test without Qt: posted
// tasks, timers and readable descriptors, run by runUntil() on the thread
// that calls it. post() may be called from any thread.
class PollEventLoop final : public EventLoop {
public:
    PollEventLoop();
    ~PollEventLoop() override;
    PollEventLoop(const PollEventLoop&) = delete;
    PollEventLoop& operator=(const PollEventLoop&) = delete;

    void post(Task task) override;
    Subscription scheduleOnce(Duration delay, Task task) override;
    Subscription scheduleRepeating(Duration interval, Task task) override;
    Subscription watchReadable(int fd, Task onReadable) override;

    // Runs the loop until `done` holds; false when `bound` passed first.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds bound);

private:
    using Clock = std::chrono::steady_clock;
    struct Timer {
        Clock::time_point due;
        Duration interval;  // zero: once
        std::shared_ptr<Task> task;
    };
    void runOnce(Clock::time_point until);

    std::mutex mutex_;
    std::vector<Task> posted_;
    int wake_[2] = {-1, -1};
    std::uint64_t nextId_ = 1;
    std::map<std::uint64_t, Timer> timers_;
    std::map<std::uint64_t, std::pair<int, std::shared_ptr<Task>>> watches_;
    std::shared_ptr<PollEventLoop*> self_;
};

}  // namespace tavi::test
