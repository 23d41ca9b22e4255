#pragma once

#include <functional>

namespace tavi {

using Task = std::function<void()>;

// Runs tasks on the thread that owns it, in the order they were posted.
// post() itself may be called from any thread.
class Executor {
public:
    virtual ~Executor() = default;
    virtual void post(Task task) = 0;
};

// Runs tasks off the calling thread; blocking work goes here.
class BackgroundRunner {
public:
    virtual ~BackgroundRunner() = default;
    virtual void run(Task task) = 0;
};

}  // namespace tavi
