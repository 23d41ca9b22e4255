#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>

namespace tavi::test {

// Tavi's backends driven in the test's own process, on a Qt loop as the
// tray runs them: the one application object, made on first call.
inline void ensureCoreApplication() {
    static int argc = 1;
    static char name[] = "tavi_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

// Runs the thread's Qt loop until `done` or the bound; false after the bound.
inline bool runQtLoopUntil(const std::function<bool()>& done,
                           std::chrono::milliseconds bound = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        QEventLoop slice;
        QTimer::singleShot(10, &slice, &QEventLoop::quit);
        slice.exec();
    }
    return true;
}

}  // namespace tavi::test
