#include "core/RunLoop.h"

namespace tavi {

void RunLoop::post(Task task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake_.notify_one();
}

void RunLoop::run() {
    std::unique_lock lock(mutex_);
    quitRequested_ = false;
    while (true) {
        wake_.wait(lock, [this] { return quitRequested_ || !tasks_.empty(); });
        if (tasks_.empty()) break;  // quit requested and nothing left to do
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
        if (quitRequested_ && tasks_.empty()) break;
    }
}

void RunLoop::quit() {
    {
        std::lock_guard lock(mutex_);
        quitRequested_ = true;
    }
    wake_.notify_one();
}

}  // namespace tavi
