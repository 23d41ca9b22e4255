// The tray application: what `tavi` with no arguments runs.

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>

#include "app/AppDelegate.h"
#include "app/ApplicationService.h"
#include "app/Log.h"
#include "app/QtEventLoop.h"
#include "app/QtShellUi.h"
#include "app/SettingsFileWatcher.h"
#include "capture/tesseract/TesseractRecognizer.h"
#include "core/CurlHttpClient.h"
#include "core/ThreadPool.h"
#include "report/StartupReportService.h"
#include "settings/AppSettings.h"
#include "settings/HotkeyModel.h"
#include "settings/FileSettingsStore.h"

namespace {

int signalPipe[2] = {-1, -1};

// However quitting goes, the process is gone within this.
constexpr std::chrono::milliseconds kQuitBound{900};

void onTerminationSignal(int) {
    const char byte = 1;
    [[maybe_unused]] auto written = ::write(signalPipe[1], &byte, 1);
}

// SIGTERM and SIGINT end the application the way its menu does.
void quitOnTerminationSignals(QObject* context, const std::function<void()>& quit) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [&quit] { quit(); });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    using namespace tavi;
    std::signal(SIGPIPE, SIG_IGN);

    // Qt cannot start without a display and would abort: say what is missing instead.
    if (std::optional<std::string> why = desktopUnavailable()) {
        std::fprintf(stderr, "tavi: %s\n", why->c_str());
        return 1;
    }
    // Hotkeys, selections and window positions all go through X11: Tavi's
    // windows must be X11 windows too, on XWayland where the session is
    // Wayland.
    qputenv("QT_QPA_PLATFORM", "xcb");

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tavi"));
    QApplication::setDesktopFileName(QStringLiteral("org.morvel.Tavi"));
    QApplication::setQuitOnLastWindowClosed(false);
    // Until everything is up, quitting is just leaving the loop. exit(), not
    // quit(): Qt 6 lets windows veto a quit, and the popup answers every
    // close request with its fade-out.
    std::function<void()> quit = [] { QCoreApplication::exit(0); };
    quitOnTerminationSignals(&application, quit);

    // One Tavi per session: a second start leaves the first running.
    if (applicationAlreadyRuns()) {
        std::fputs("tavi: Tavi 已在运行\n", stderr);
        return 0;
    }

    QtEventLoop loop;
    DesktopPlatformResult opened = openDesktopPlatform(loop, logLine);
    if (!opened.platform) {
        std::fprintf(stderr, "tavi: %s\n", opened.failure.c_str());
        return 1;
    }
    DesktopPlatform& desktop = *opened.platform;
    setKeyboardLayoutKeyName([&desktop](std::uint32_t keyCode) { return desktop.keyboardLayout().keyName(keyCode); });

    AppSettings& settings = AppSettings::shared();
    ThreadPool background(2);
    const auto translationService =
        TranslationService::installShared({[&settings]() -> const AppSettingsValues& { return settings.values(); },
                                           CurlHttpClient::shared(), loop, background});
    // Quitting is immediate whatever is in flight: transfers are abandoned
    // (the workers then end at once), and what Tavi serves on the clipboard
    // goes to the desktop's clipboard manager, which has a short while to
    // take it.
    quit = [&desktop, quitting = false]() mutable {
        if (std::exchange(quitting, true)) return;
        CurlHttpClient::shared().abandonTransfers();
        desktop.clipboard().handOver([] { QCoreApplication::exit(0); });
        QTimer::singleShot(kQuitBound, qApp, [] { QCoreApplication::exit(0); });
    };
    HotkeyManager hotkeys(desktop.shortcuts());
    ClipboardMonitor clipboardMonitor(desktop.clipboard(), loop,
                                      [&settings]() -> const AppSettingsValues& { return settings.values(); },
                                      [](std::string text) {
                                          if (AppDelegate* delegate = AppDelegate::shared())
                                              delegate->translateAndShow(std::move(text));
                                      });
    SelectedTextCapture capture(desktop.selection(), desktop.clipboard(), desktop.keySender(), loop);
    TesseractRecognizer recognizer(loop);
    QtShellUi ui(desktop, [&quit] { quit(); },
                 {settings, TranslationService::shared(), desktop,
                  [](bool suspended) {
                      if (AppDelegate* delegate = AppDelegate::shared()) delegate->setHotkeysSuspended(suspended);
                  }},
                 recognizer);
    // The report is prepared here, where the settings live, and sent from a
    // worker: the tray never waits for it.
    const auto startupReport = [&settings, &background, &loop](auto done) {
        PreparedStartupReport prepared = prepareStartupReport(settings.store());
        if (auto* error = std::get_if<StartupReportError>(&prepared)) return done(error->errorDescription());
        auto* report = std::get_if<HttpRequest>(&prepared);
        if (!report) return done(std::nullopt);
        background.run([report = *report, &loop, done] {
            std::optional<std::string> failure = sendStartupReport(report);
            loop.post([done, failure] { done(failure); });
        });
    };
    AppDelegate delegate({settings, NotificationCenter::defaultCenter(), TranslationService::shared(), hotkeys,
                          clipboardMonitor, capture, desktop.screens(), loop, ui, logLine, startupReport});
    SettingsFileWatcher settingsWatcher(FileSettingsStore::defaultFilePath(), [&settings] { settings.reloadFromStore(); });

    delegate.applicationDidFinishLaunching();
    // The name goes up once everything is in place, so that an action that
    // started this process (tavi selection) finds it ready.
    QObject service;
    if (!publishApplicationService(&service, [&delegate](MenuCommand command) { delegate.perform(command); })) {
        if (applicationAlreadyRuns()) {
            std::fputs("tavi: Tavi 已在运行\n", stderr);
            return 0;  // another Tavi started at the same moment and won
        }
        logLine("No D-Bus session bus: desktop actions (tavi selection, ...) cannot reach this Tavi.");
    }
    const int status = QApplication::exec();
    delegate.applicationWillTerminate();
    setKeyboardLayoutKeyName(nullptr);
    return status;
}
