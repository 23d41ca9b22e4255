#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "app/ShellUi.h"
#include "app/WindowServices.h"
#include "platform/DesktopPlatform.h"

class QKeyEvent;
class QTimer;

namespace tavi {

class DirectTranslationWindow;
class ScreenshotOverlayWindow;
class SettingsWindow;
class TextRecognizer;
class TrayIcon;
class TranslationPopupWindow;

// The shell's windows on Qt Widgets, each created on first use and kept for
// the life of the process.
class QtShellUi final : public ShellUi {
public:
    // `quit` ends the application (see main); `recognizer` reads the text
    // of screenshots.
    QtShellUi(DesktopPlatform& desktop, std::function<void()> quit, WindowServices windows,
              TextRecognizer& recognizer);
    ~QtShellUi() override;

    bool installStatusItem(std::function<std::vector<MenuEntry>()> entries,
                           std::function<void(MenuCommand)> chosen) override;
    void showPopup(const TranslationResult& result, Point pointer) override;
    void showDirectTranslationWindow() override;
    void showSettingsWindow() override;
    // Pictures every monitor, then covers each with an overlay to drag a
    // selection on; what is read there goes to AppDelegate::translateAndShow,
    // or a message to the popup. Started again while overlays are open, it
    // starts afresh.
    void startScreenshot() override;
    // Orders every overlay out; they are kept until the next start.
    void dismissScreenshotOverlays();
    void quit() override;

private:
    void showScreenshotOverlays();
    void recognizeSelection(const std::vector<ScreenImage>& captures, Rect screen, Rect selection);
    // Whether a key pressed while the overlays hold the keyboard is the
    // screenshot hotkey (which the desktop cannot report meanwhile).
    bool isScreenshotHotkey(const QKeyEvent& key) const;

    DesktopPlatform& desktop_;
    std::function<void()> quit_;
    std::unique_ptr<TrayIcon> tray_;
    std::unique_ptr<TranslationPopupWindow> popup_;
    WindowServices windows_;
    // Created on first use: they cost nothing at start.
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<DirectTranslationWindow> direct_;
    TextRecognizer& recognizer_;
    std::vector<std::unique_ptr<ScreenshotOverlayWindow>> screenshotWindows_;
    std::unique_ptr<QTimer> screenshotCapture_;
    std::uint64_t screenshotGeneration_ = 0;
    // Gone with this object: answers arriving later are dropped.
    std::shared_ptr<void> alive_ = std::make_shared<int>(0);
};

}  // namespace tavi
