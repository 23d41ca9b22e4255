#include "PollEventLoop.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>

namespace tavi::test {

PollEventLoop::PollEventLoop() : self_(std::make_shared<PollEventLoop*>(this)) {
    if (::pipe(wake_) != 0) wake_[0] = wake_[1] = -1;
}

PollEventLoop::~PollEventLoop() {
    ::close(wake_[0]);
    ::close(wake_[1]);
}

void PollEventLoop::post(Task task) {
    {
        std::lock_guard lock(mutex_);
        posted_.push_back(std::move(task));
    }
    const char byte = 0;
    [[maybe_unused]] auto written = ::write(wake_[1], &byte, 1);
}

Subscription PollEventLoop::scheduleOnce(Duration delay, Task task) {
    const std::uint64_t id = nextId_++;
    timers_[id] = {Clock::now() + delay, Duration::zero(), std::make_shared<Task>(std::move(task))};
    std::weak_ptr<PollEventLoop*> weak = self_;
    return Subscription([weak, id] {
        if (auto self = weak.lock()) (*self)->timers_.erase(id);
    });
}

Subscription PollEventLoop::scheduleRepeating(Duration interval, Task task) {
    const std::uint64_t id = nextId_++;
    timers_[id] = {Clock::now() + interval, interval, std::make_shared<Task>(std::move(task))};
    std::weak_ptr<PollEventLoop*> weak = self_;
    return Subscription([weak, id] {
        if (auto self = weak.lock()) (*self)->timers_.erase(id);
    });
}

Subscription PollEventLoop::watchReadable(int fd, Task onReadable) {
    const std::uint64_t id = nextId_++;
    watches_[id] = {fd, std::make_shared<Task>(std::move(onReadable))};
    std::weak_ptr<PollEventLoop*> weak = self_;
    return Subscription([weak, id] {
        if (auto self = weak.lock()) (*self)->watches_.erase(id);
    });
}

void PollEventLoop::runOnce(Clock::time_point until) {
    Clock::time_point wakeAt = until;
    for (const auto& [id, timer] : timers_) wakeAt = std::min(wakeAt, timer.due);
    std::vector<pollfd> fds{{wake_[0], POLLIN, 0}};
    std::vector<std::shared_ptr<Task>> watchTasks{nullptr};
    for (const auto& [id, watch] : watches_) {
        fds.push_back({watch.first, POLLIN, 0});
        watchTasks.push_back(watch.second);
    }
    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(wakeAt - Clock::now()).count();
    ::poll(fds.data(), fds.size(), static_cast<int>(std::clamp<long long>(wait, 0, 100)));

    if (fds[0].revents & POLLIN) {
        char drain[64];
        [[maybe_unused]] auto n = ::read(wake_[0], drain, sizeof drain);
    }
    std::vector<Task> posted;
    {
        std::lock_guard lock(mutex_);
        posted.swap(posted_);
    }
    for (Task& task : posted) task();
    for (std::size_t i = 1; i < fds.size(); ++i)
        if (fds[i].revents & POLLIN) (*watchTasks[i])();

    const Clock::time_point now = Clock::now();
    std::vector<std::uint64_t> due;
    for (const auto& [id, timer] : timers_)
        if (timer.due <= now) due.push_back(id);
    for (std::uint64_t id : due) {
        auto found = timers_.find(id);
        if (found == timers_.end()) continue;  // cancelled by an earlier one
        std::shared_ptr<Task> task = found->second.task;
        if (found->second.interval == Duration::zero()) timers_.erase(found);
        else found->second.due = now + found->second.interval;
        (*task)();
    }
}

bool PollEventLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    while (!done()) {
        if (Clock::now() >= deadline) return false;
        runOnce(deadline);
    }
    return true;
}

}  // namespace tavi::test
