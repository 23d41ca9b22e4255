#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "core/Executor.h"

namespace tavi {

// A fixed set of worker threads. The destructor finishes queued work and joins.
class ThreadPool final : public BackgroundRunner {
public:
    explicit ThreadPool(unsigned threads = 2);
    ~ThreadPool() override;

    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    void run(Task task) override;

private:
    void work();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace tavi
