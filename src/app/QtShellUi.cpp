#include "app/QtShellUi.h"

#include <QCoreApplication>

#include "app/Log.h"
#include "app/TranslationPopupWindow.h"
#include "app/TrayIcon.h"

namespace tavi {

QtShellUi::QtShellUi(DesktopPlatform& desktop, std::function<void()> quit)
    : desktop_(desktop), quit_(std::move(quit)) {}

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
    logLine("The translation window is not part of this version yet.");
}

void QtShellUi::showSettingsWindow() { logLine("The settings window is not part of this version yet."); }

void QtShellUi::startScreenshot() { logLine("Screenshot translation is not part of this version yet."); }

void QtShellUi::quit() { quit_(); }

}  // namespace tavi
