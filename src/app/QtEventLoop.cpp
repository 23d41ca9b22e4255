#include "app/QtEventLoop.h"

#include <QMetaObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

namespace tavi {

QtEventLoop::QtEventLoop() = default;
QtEventLoop::~QtEventLoop() = default;

void QtEventLoop::post(Task task) {
    QMetaObject::invokeMethod(&context_, std::move(task), Qt::QueuedConnection);
}

Subscription QtEventLoop::scheduleOnce(Duration delay, Task task) { return startTimer(delay, false, std::move(task)); }

Subscription QtEventLoop::scheduleRepeating(Duration interval, Task task) {
    return startTimer(interval, true, std::move(task));
}

Subscription QtEventLoop::startTimer(Duration interval, bool repeating, Task task) {
    auto* timer = new QTimer(&context_);
    timer->setSingleShot(!repeating);
    // Precise timers keep 150 ms a 150 ms; coarse ones may be 5% off.
    timer->setTimerType(repeating ? Qt::CoarseTimer : Qt::PreciseTimer);
    timer->setInterval(interval);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, repeating, task = std::move(task)] {
        if (!repeating) timer->deleteLater();
        task();
    });
    timer->start();
    QPointer<QTimer> guarded(timer);
    return Subscription([guarded] {
        if (guarded) {
            guarded->stop();
            guarded->deleteLater();
        }
    });
}

Subscription QtEventLoop::watchReadable(int fd, Task onReadable) {
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, &context_);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [task = std::move(onReadable)] { task(); });
    QPointer<QSocketNotifier> guarded(notifier);
    return Subscription([guarded] {
        if (guarded) {
            guarded->setEnabled(false);
            guarded->deleteLater();
        }
    });
}

}  // namespace tavi
