#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>
#include <vector>

#include "FakeTransport.h"
#include "SettingsHarness.h"
#include "app/QtEventLoop.h"
#include "app/WindowServices.h"
#include "core/ThreadPool.h"
#include "core/TranslationService.h"
#include "platform/dummy/DummyPlatform.h"

namespace tavi::test {

using namespace std::chrono_literals;

// The windows' world without a desktop: settings in memory, a translation
// service over a scripted transport on the Qt loop, an in-memory desktop.
class WidgetTest : public ::testing::Test {
protected:
    WindowServices services() {
        return {harness.settings, translation, desktop, [this](bool suspended) { suspensions.push_back(suspended); }};
    }

    // Runs the Qt loop until `done` or the bound.
    static bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds bound = 5s) {
        const auto deadline = std::chrono::steady_clock::now() + bound;
        while (!done()) {
            if (std::chrono::steady_clock::now() >= deadline) return false;
            QEventLoop slice;
            QTimer::singleShot(5, &slice, &QEventLoop::quit);
            slice.exec();
        }
        return true;
    }

    SettingsHarness harness;
    QtEventLoop loop;
    ThreadPool workers{1};
    FakeTransport transport;
    TranslationService translation{{[this]() -> const AppSettingsValues& { return harness.settings.values(); },
                                    transport, loop, workers}};
    dummy::DummyPlatform desktop{loop};
    std::vector<bool> suspensions;
};

}  // namespace tavi::test
