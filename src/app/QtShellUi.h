#pragma once

#include <functional>
#include <memory>

#include "app/ShellUi.h"
#include "app/WindowServices.h"
#include "platform/DesktopPlatform.h"

namespace tavi {

class DirectTranslationWindow;
class SettingsWindow;
class TrayIcon;
class TranslationPopupWindow;

// The shell's windows on Qt Widgets, each created on first use and kept for
// the life of the process.
class QtShellUi final : public ShellUi {
public:
    // `quit` ends the application (see main).
    QtShellUi(DesktopPlatform& desktop, std::function<void()> quit, WindowServices windows);
    ~QtShellUi() override;

    bool installStatusItem(std::function<std::vector<MenuEntry>()> entries,
                           std::function<void(MenuCommand)> chosen) override;
    void showPopup(const TranslationResult& result, Point pointer) override;
    void showDirectTranslationWindow() override;
    void showSettingsWindow() override;
    void startScreenshot() override;
    void quit() override;

private:
    DesktopPlatform& desktop_;
    std::function<void()> quit_;
    std::unique_ptr<TrayIcon> tray_;
    std::unique_ptr<TranslationPopupWindow> popup_;
    WindowServices windows_;
    // Created on first use: they cost nothing at start.
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<DirectTranslationWindow> direct_;
};

}  // namespace tavi
