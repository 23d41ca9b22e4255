#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ShellUi.h"
#include "app/StatusMenu.h"
#include "capture/ClipboardMonitor.h"
#include "capture/HotkeyManager.h"
#include "capture/SelectedTextCapture.h"
#include "core/EventLoop.h"
#include "core/NotificationCenter.h"
#include "core/TranslationService.h"
#include "platform/Screens.h"
#include "settings/AppSettings.h"

namespace tavi {

// Wires the application together: the tray menu and the hotkeys start the four
// actions, and every translation outside the translation window ends in
// translateAndShow(), which shows the result, or the error, in the popup.
//
// The pieces it wires keep their own logic; it owns none of them. Main thread
// only. Hotkeys and notifications never act directly: each posts a task that
// does nothing if the delegate is gone by then.
class AppDelegate {
public:
    using Log = std::function<void(std::string_view line)>;
    // Sends the startup report off the main thread and calls back on it with
    // the failure's description, or nothing on success (or when no report is
    // configured).
    using StartupReportTask = std::function<void(std::function<void(std::optional<std::string> failure)>)>;

    struct Dependencies {
        AppSettings& settings;
        NotificationCenter& notifications;
        TranslationService& translation;
        HotkeyManager& hotkeys;
        ClipboardMonitor& clipboardMonitor;
        SelectedTextCapture& capture;
        Screens& screens;
        EventLoop& loop;
        ShellUi& ui;
        Log log;
        StartupReportTask startupReport;
    };

    explicit AppDelegate(Dependencies dependencies);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    // The running delegate, or nullptr before launch and after destruction.
    static AppDelegate* shared();

    void applicationDidFinishLaunching();
    // Removes the hotkey observer, nothing else.
    void applicationWillTerminate();

    std::vector<MenuEntry> menuNeedsUpdate() const;
    void perform(MenuCommand command);

    void openDirectTranslation();
    void openSettings();
    void translateSelectedText();
    void translateAndShow(std::string text);
    void showPopup(const TranslationResult& result);
    // Shows "翻译失败：" and `description` in the popup, as a result of no service.
    void showFailure(std::string sourceText, const std::string& description);
    // Shows `message` as it is in the popup, the same way, with no source
    // text (a screenshot that gave nothing to translate).
    void showNotice(std::string message);
    void startScreenshot();
    void toggleClipboardMonitor();
    void registerHotkeys();
    // While a shortcut is recorded in the settings window the global hotkeys
    // are let go, so that pressing the current combination records it
    // rather than running its action; a change of the hotkeys meanwhile is
    // registered when the suspension ends. Where the desktop has the final
    // say (GlobalShortcuts::desktopHasFinalSay) this changes nothing.
    void setHotkeysSuspended(bool suspended);

private:
    // Starts or stops the monitor to match the setting.
    void followClipboardMonitorSetting();
    // Runs `action` on a later turn of the main loop if the delegate still lives.
    void later(void (AppDelegate::*action)());

    Dependencies deps_;
    bool hotkeysSuspended_ = false;
    Subscription hotkeysObserver_;
    Subscription settingsObserver_;
    std::shared_ptr<AppDelegate*> self_;
};

}  // namespace tavi
