#include "app/QtShellUi.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTimer>

#include <xcb/xcb.h>

#include <cstdlib>

#include "app/AppDelegate.h"
#include "app/DirectTranslationWindow.h"
#include "app/HotkeyRecorder.h"
#include "app/ScreenshotOverlayWindow.h"
#include "app/SettingsWindow.h"
#include "app/ShowWindow.h"
#include "app/TranslationPopupWindow.h"
#include "app/TrayIcon.h"
#include "capture/ScreenshotTranslation.h"
#include "settings/AppSettings.h"

namespace tavi {
namespace {

// Without a compositor, what was on the monitors a moment ago (overlays
// just dismissed, a menu just closed) stays until the programs beneath have
// painted what it uncovered: the pictures are taken a little later.
constexpr int kRepaintMs = 100;

// The pictures are read on the desktop backend's own connection: the X
// server must have unmapped the old overlays, asked for on Qt's, first.
void finishQtRequests() {
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return;
    xcb_connection_t* connection = x11->connection();
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void showNotice(std::string message) {
    if (AppDelegate* delegate = AppDelegate::shared()) delegate->showNotice(std::move(message));
}

}  // namespace

QtShellUi::QtShellUi(DesktopPlatform& desktop, std::function<void()> quit, WindowServices windows,
                     TextRecognizer& recognizer)
    : desktop_(desktop),
      quit_(std::move(quit)),
      windows_(std::move(windows)),
      recognizer_(recognizer),
      screenshotCapture_(std::make_unique<QTimer>()) {
    screenshotCapture_->setSingleShot(true);
    screenshotCapture_->setInterval(kRepaintMs);
    QObject::connect(screenshotCapture_.get(), &QTimer::timeout, screenshotCapture_.get(),
                     [this] { showScreenshotOverlays(); });
}

QtShellUi::~QtShellUi() = default;

bool QtShellUi::installStatusItem(std::function<std::vector<MenuEntry>()> entries,
                                  std::function<void(MenuCommand)> chosen) {
    tray_ = std::make_unique<TrayIcon>(std::move(entries), std::move(chosen), [this] {
        if (popup_) popup_->trayUsed();
    });
    return tray_->show();
}

void QtShellUi::showPopup(const TranslationResult& result, Point pointer) {
    if (!popup_) popup_ = std::make_unique<TranslationPopupWindow>(desktop_);
    popup_->show(result, pointer);
}

void QtShellUi::showDirectTranslationWindow() {
    if (!direct_) direct_ = std::make_unique<DirectTranslationWindow>(windows_);
    showWindow(*direct_);
}

void QtShellUi::showSettingsWindow() {
    if (!settings_) settings_ = std::make_unique<SettingsWindow>(windows_);
    showWindow(*settings_);
}

void QtShellUi::startScreenshot() {
    // Nothing to ask for ahead of the capture: X lets every client read the
    // screen, and the capture itself refuses a Wayland session it cannot see.
    dismissScreenshotOverlays();
    // A recognition still running belongs to the screenshot given up.
    const std::uint64_t generation = ++screenshotGeneration_;
    // A key on one of them may be what restarts: deleted once it is handled.
    for (auto& window : screenshotWindows_) window.release()->deleteLater();
    screenshotWindows_.clear();
    ScreenCapture& capture = desktop_.screenCapture();
    if (!capture.picksRegion()) return screenshotCapture_->start();
    // The desktop's own picker takes the place of the overlays.
    capture.pickRegion([this, generation, alive = std::weak_ptr<void>(alive_)](RegionCaptureResult picked) {
        if (alive.expired() || generation != screenshotGeneration_) return;
        if (std::holds_alternative<ScreenCaptureCancelled>(picked)) return;
        if (const auto* failure = std::get_if<ScreenCaptureFailure>(&picked))
            return showNotice(screenshotFailure(failure->reason));
        const ScreenImage& image = std::get<ScreenImage>(picked);
        const Rect frame = image.screen.frame;
        recognizeSelection({std::get<ScreenImage>(std::move(picked))}, frame, {0, 0, frame.width, frame.height});
    });
}

void QtShellUi::showScreenshotOverlays() {
    finishQtRequests();
    ScreenCaptureResult captured = desktop_.screenCapture().captureScreens();
    if (const auto* failure = std::get_if<ScreenCaptureFailure>(&captured))
        return showNotice(screenshotFailure(failure->reason));
    auto captures = std::make_shared<const std::vector<ScreenImage>>(
        std::move(std::get<std::vector<ScreenImage>>(captured)));
    if (captures->empty()) return showNotice(screenshotFailure({}));

    for (std::size_t index = 0; index < captures->size(); ++index)
        screenshotWindows_.push_back(std::make_unique<ScreenshotOverlayWindow>(captures, index));
    const std::optional<Point> pointer = desktop_.screens().pointerPosition();
    ScreenshotOverlayWindow* underPointer = screenshotWindows_.front().get();
    for (auto& window : screenshotWindows_) {
        window->setOnBeginCapture([this] { dismissScreenshotOverlays(); });
        window->setOnOtherKey([this](const QKeyEvent& key) {
            if (!isScreenshotHotkey(key)) return false;
            startScreenshot();
            return true;
        });
        window->startSelection(
            [this](const std::vector<ScreenImage>& pictures, Rect screen, Rect selection) {
                recognizeSelection(pictures, screen, selection);
            },
            [this] { dismissScreenshotOverlays(); });
        if (pointer && window->screenFrame().contains(*pointer)) underPointer = window.get();
    }
    // Tavi's windows take no focus from the program the user works in: the
    // overlays hold the keyboard instead, for Escape, while they are shown.
    underPointer->holdKeyboard();
}

void QtShellUi::dismissScreenshotOverlays() {
    for (auto& window : screenshotWindows_) window->dismiss();
}

void QtShellUi::recognizeSelection(const std::vector<ScreenImage>& captures, Rect screen, Rect selection) {
    const AppSettings& settings = windows_.settings;
    const std::uint64_t generation = ++screenshotGeneration_;
    recognizeScreenshot(recognizer_, captures, screen, selection, settings.sourceLanguage(),
                        settings.targetLanguage(),
                        [this, generation, alive = std::weak_ptr<void>(alive_)](ScreenshotOutcome outcome) {
                            // Only the latest screenshot's text is shown.
                            if (alive.expired() || generation != screenshotGeneration_) return;
                            AppDelegate* delegate = AppDelegate::shared();
                            if (!delegate) return;
                            if (outcome.text) delegate->translateAndShow(std::move(*outcome.text));
                            else delegate->showNotice(std::move(outcome.message));
                        });
}

bool QtShellUi::isScreenshotHotkey(const QKeyEvent& key) const {
    if (key.isAutoRepeat()) return false;
    const HotkeyShortcut hotkey = windows_.settings.hotkey(HotkeyAction::screenshotTranslation);
    if (hotkey.modifiers == 0) return false;
    const std::optional<std::uint32_t> position = desktop_.keyboardLayout().keyPosition(key.nativeScanCode());
    return position && HotkeyShortcut{*position, hotkeyModifiersFromQt(key.modifiers())} == hotkey;
}

void QtShellUi::quit() { quit_(); }

}  // namespace tavi
