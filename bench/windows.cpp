// The settings and translation windows in the tray's own process terms, on
// Qt's offscreen platform (the tray benchmark times them on a real desktop):
//   - first opening: built, shown and painted (budget 150 ms)
//   - shown again after being closed (budget 20 ms)
//   - the translation window's result painted after the service's answer
//     came back, median and worst of 20 (budget 5 ms)
#include <QApplication>
#include <QEvent>
#include <QPlainTextEdit>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <vector>

#include "FakeChatServices.h"
#include "app/DirectTranslationWindow.h"
#include "app/QtEventLoop.h"
#include "app/SettingsWindow.h"
#include "core/NotificationCenter.h"
#include "core/ThreadPool.h"
#include "core/TranslationService.h"
#include "platform/dummy/DummyPlatform.h"
#include "settings/AppSettings.h"
#include "settings/MemorySettingsStore.h"

namespace {

using namespace tavi;
using Clock = std::chrono::steady_clock;

double millisSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Answers each request when the benchmark lets it, noting the moment.
class GatedTransport final : public HttpTransport {
public:
    Result<HttpResponse> send(const HttpRequest&) override {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return open_; });
        open_ = false;
        answeredAt_ = Clock::now();
        return HttpResponse{200, {}, test::FakeOpenAIService::replyBody("早上好")};
    }
    void answerOne() {
        std::lock_guard lock(mutex_);
        open_ = true;
        wake_.notify_one();
    }
    Clock::time_point answeredAt() {
        std::lock_guard lock(mutex_);
        return answeredAt_;
    }

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    bool open_ = false;
    Clock::time_point answeredAt_;
};

// Notes when a widget is painted.
class PaintWatch final : public QObject {
public:
    Clock::time_point lastPaint;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) lastPaint = Clock::now();
        return false;
    }
};

template <typename Condition>
void runUntil(Condition done) {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (!done() && Clock::now() < deadline) QApplication::processEvents(QEventLoop::AllEvents, 1);
}

// Built, shown, and its first paint done.
template <typename Window>
double firstOpening(std::unique_ptr<Window>& window, const WindowServices& services) {
    const auto asked = Clock::now();
    window = std::make_unique<Window>(services);
    PaintWatch painted;
    window->installEventFilter(&painted);
    window->show();
    runUntil([&] { return painted.lastPaint > asked; });
    const double millis = millisSince(asked);
    window->removeEventFilter(&painted);
    return millis;
}

template <typename Window>
double shownAgain(Window& window) {
    window.close();
    QApplication::processEvents();
    PaintWatch painted;
    window.installEventFilter(&painted);
    const auto asked = Clock::now();
    window.show();
    runUntil([&] { return painted.lastPaint > asked; });
    const double millis = millisSince(asked);
    window.removeEventFilter(&painted);
    return millis;
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    MemorySettingsStore store;
    NotificationCenter center;
    AppSettings settings(store, center);
    settings.setOpenAIAPIKey("sk-bench");
    QtEventLoop loop;
    ThreadPool workers(1);
    GatedTransport transport;
    TranslationService translation({[&settings]() -> const AppSettingsValues& { return settings.values(); },
                                    transport, loop, workers});
    dummy::DummyPlatform desktop(loop);
    const WindowServices services{settings, translation, desktop, [](bool) {}};

    std::unique_ptr<SettingsWindow> settingsWindow;
    std::unique_ptr<DirectTranslationWindow> directWindow;
    const double settingsFirst = firstOpening(settingsWindow, services);
    std::printf("settings window: first opening %.1f ms (budget 150 ms), shown again %.1f ms (budget 20 ms)\n",
                settingsFirst, shownAgain(*settingsWindow));
    const double directFirst = firstOpening(directWindow, services);
    std::printf("translation window: first opening %.1f ms (budget 150 ms), shown again %.1f ms (budget 20 ms)\n",
                directFirst, shownAgain(*directWindow));

    auto* source = directWindow->findChild<QPlainTextEdit*>(QString(), Qt::FindChildrenRecursively);
    QPlainTextEdit* output = nullptr;
    for (auto* edit : directWindow->findChildren<QPlainTextEdit*>())
        if (edit->accessibleName() == QStringLiteral("译文")) output = edit;
        else if (edit->accessibleName() == QStringLiteral("原文")) source = edit;
    if (!source || !output) {
        std::printf("the translation window's text areas were not found\n");
        return 1;
    }
    PaintWatch painted;
    output->viewport()->installEventFilter(&painted);
    std::vector<double> latencies;
    for (int i = 0; i < 20; ++i) {
        source->setPlainText(QStringLiteral("Good morning number %1").arg(i));
        directWindow->translateNow();
        transport.answerOne();
        runUntil([&] { return directWindow->outputState() == DirectTranslationWindow::OutputState::result &&
                              painted.lastPaint > transport.answeredAt(); });
        latencies.push_back(std::chrono::duration<double, std::milli>(painted.lastPaint - transport.answeredAt()).count());
    }
    std::sort(latencies.begin(), latencies.end());
    std::printf("translation window: result painted %.1f ms after the service's answer (median of 20; worst %.1f ms; "
                "budget 5 ms)\n",
                latencies[latencies.size() / 2], latencies.back());
    return 0;
}
