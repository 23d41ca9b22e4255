#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "core/Executor.h"

namespace tavi {

// A minimal event loop for command-line use and tests: the thread that calls
// run() executes posted tasks until quit() is called.
class RunLoop final : public Executor {
public:
    void post(Task task) override;
    void run();
    void quit();

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool quitRequested_ = false;
};

}  // namespace tavi
