#pragma once

#include <QObject>

#include "core/EventLoop.h"

namespace tavi {

// The main thread's Qt event loop behind the EventLoop interface. Create it
// on the main thread after the application object.
class QtEventLoop final : public EventLoop {
public:
    QtEventLoop();
    ~QtEventLoop() override;

    void post(Task task) override;
    Subscription scheduleOnce(Duration delay, Task task) override;
    Subscription scheduleRepeating(Duration interval, Task task) override;
    Subscription watchReadable(int fd, Task onReadable) override;

private:
    Subscription startTimer(Duration interval, bool repeating, Task task);
    QObject context_;  // lives on the main thread; posted tasks run in its name
};

}  // namespace tavi
