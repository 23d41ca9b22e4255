#include "app/QtShellUi.h"

#include <QCoreApplication>

#include "app/DirectTranslationWindow.h"
#include "app/Log.h"
#include "app/SettingsWindow.h"
#include "app/ShowWindow.h"
#include "app/TranslationPopupWindow.h"
#include "app/TrayIcon.h"

namespace tavi {

QtShellUi::QtShellUi(DesktopPlatform& desktop, std::function<void()> quit, WindowServices windows)
    : desktop_(desktop), quit_(std::move(quit)), windows_(std::move(windows)) {}

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

void QtShellUi::startScreenshot() { logLine("Screenshot translation is not part of this version yet."); }

void QtShellUi::quit() { quit_(); }

}  // namespace tavi
