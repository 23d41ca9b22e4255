#include "app/AppDelegate.h"

#include "app/DesktopActions.h"
#include "settings/HotkeyAction.h"

namespace tavi {
namespace {

AppDelegate* runningDelegate = nullptr;

}  // namespace

AppDelegate::AppDelegate(Dependencies dependencies)
    : deps_(std::move(dependencies)), self_(std::make_shared<AppDelegate*>(this)) {}

AppDelegate::~AppDelegate() {
    if (runningDelegate == this) runningDelegate = nullptr;
}

AppDelegate* AppDelegate::shared() { return runningDelegate; }

void AppDelegate::applicationDidFinishLaunching() {
    runningDelegate = this;

    // A tray-only application: nothing to do for the dock or a main window.

    std::weak_ptr<AppDelegate*> weak = self_;
    const bool trayShown = deps_.ui.installStatusItem(
        [weak] {
            if (auto self = weak.lock()) return (*self)->menuNeedsUpdate();
            return std::vector<MenuEntry>{};
        },
        [weak](MenuCommand command) {
            if (auto self = weak.lock()) (*self)->perform(command);
        });
    if (!trayShown) deps_.log("No system tray on this desktop: Tavi runs on its hotkeys alone.");

    deps_.hotkeys.setup();
    registerHotkeys();
    hotkeysObserver_ = deps_.notifications.addObserver(AppSettings::hotkeysDidChange,
                                                       [this] { later(&AppDelegate::registerHotkeys); });

    if (deps_.settings.clipboardMonitorEnabled()) deps_.clipboardMonitor.start();
    // The setting may also change in another process (tavi config).
    settingsObserver_ = deps_.settings.observe([this](std::string_view key) {
        if (key == "clipboardMonitorEnabled") followClipboardMonitorSetting();
    });

    if (deps_.startupReport) {
        deps_.startupReport([log = deps_.log](std::optional<std::string> failure) {
            if (failure) log("Startup report failed: " + *failure);
        });
    }
}

void AppDelegate::applicationWillTerminate() { hotkeysObserver_.cancel(); }

std::vector<MenuEntry> AppDelegate::menuNeedsUpdate() const {
    return statusMenuEntries(deps_.settings.values(), [this](HotkeyAction action) {
        return deps_.hotkeys.triggerText(actionForHotkey(action).name);
    });
}

void AppDelegate::perform(MenuCommand command) {
    switch (command) {
    case MenuCommand::openDirectTranslation: openDirectTranslation(); return;
    case MenuCommand::translateSelectedText: translateSelectedText(); return;
    case MenuCommand::startScreenshot: startScreenshot(); return;
    case MenuCommand::toggleClipboardMonitor: toggleClipboardMonitor(); return;
    case MenuCommand::openSettings: openSettings(); return;
    case MenuCommand::terminate: deps_.ui.quit(); return;
    }
}

void AppDelegate::openDirectTranslation() { deps_.ui.showDirectTranslationWindow(); }

void AppDelegate::openSettings() { deps_.ui.showSettingsWindow(); }

void AppDelegate::translateSelectedText() {
    std::weak_ptr<AppDelegate*> weak = self_;
    deps_.capture.captureSelectedText([weak](TextRead selected) {
        auto self = weak.lock();
        if (!self) return;
        if (selected.tooLarge) return (*self)->showFailure({}, selectionTooLargeMessage(*selected.tooLarge));
        // Nothing selected anywhere: no popup, no message.
        if (selected.text) (*self)->translateAndShow(std::move(*selected.text));
    });
}

void AppDelegate::translateAndShow(std::string text) {
    std::weak_ptr<AppDelegate*> weak = self_;
    deps_.translation.translate(text, [weak, text](Result<TranslationResult> outcome) mutable {
        auto self = weak.lock();
        if (!self) return;
        AppDelegate& delegate = **self;
        if (outcome.ok()) delegate.showPopup(outcome.value());
        else delegate.showFailure(std::move(text), describe(outcome.error()));
    });
}

void AppDelegate::showFailure(std::string sourceText, const std::string& description) {
    TranslationResult failed;
    failed.sourceText = std::move(sourceText);
    failed.translatedText = "翻译失败：" + description;
    failed.sourceLanguage = Language::auto_;
    failed.targetLanguage = deps_.settings.targetLanguage();
    failed.provider = "—";
    showPopup(failed);
}

void AppDelegate::showNotice(std::string message) {
    TranslationResult notice;
    notice.translatedText = std::move(message);
    notice.sourceLanguage = Language::auto_;
    notice.targetLanguage = deps_.settings.targetLanguage();
    notice.provider = "—";
    showPopup(notice);
}

void AppDelegate::showPopup(const TranslationResult& result) {
    // Always at the pointer, whatever showPopupNearCursor says.
    const Point pointer = deps_.screens.pointerPosition().value_or(Point{});
    deps_.ui.showPopup(result, pointer);
}

void AppDelegate::startScreenshot() { deps_.ui.startScreenshot(); }

void AppDelegate::toggleClipboardMonitor() {
    deps_.settings.setClipboardMonitorEnabled(!deps_.settings.clipboardMonitorEnabled());
    followClipboardMonitorSetting();
}

void AppDelegate::followClipboardMonitorSetting() {
    if (deps_.settings.clipboardMonitorEnabled()) deps_.clipboardMonitor.start();
    else deps_.clipboardMonitor.stop();
}

void AppDelegate::setHotkeysSuspended(bool suspended) {
    if (hotkeysSuspended_ == suspended) return;
    hotkeysSuspended_ = suspended;
    // Where the desktop has the final say it owns the keys, and a key it
    // holds never reaches the recorder anyway: nothing to let go.
    if (!deps_.hotkeys.desktopHasFinalSay()) registerHotkeys();
}

void AppDelegate::registerHotkeys() {
    deps_.hotkeys.unregisterAll();
    const bool desktopDecides = deps_.hotkeys.desktopHasFinalSay();
    if (hotkeysSuspended_ && !desktopDecides) return;
    static constexpr void (AppDelegate::*kActions[])() = {
        &AppDelegate::openDirectTranslation,
        &AppDelegate::translateSelectedText,
        &AppDelegate::startScreenshot,
        &AppDelegate::toggleClipboardMonitor,
    };
    for (HotkeyAction action : allHotkeyActions()) {
        const HotkeyShortcut shortcut = deps_.settings.hotkey(action);
        // No hotkey set; a desktop that decides lists the action all the
        // same, for the user to give it keys there.
        if (shortcut.modifiers == 0 && !desktopDecides) continue;
        const auto handler = kActions[static_cast<std::size_t>(action)];
        std::weak_ptr<AppDelegate*> weak = self_;
        deps_.hotkeys.registerHotkey(
            shortcut.keyCode, shortcut.modifiers,
            [weak, handler] {
                if (auto self = weak.lock()) (*self)->later(handler);
            },
            {std::string(actionForHotkey(action).name), std::string(title(action))});
    }
}

void AppDelegate::later(void (AppDelegate::*action)()) {
    std::weak_ptr<AppDelegate*> weak = self_;
    deps_.loop.post([weak, action] {
        if (auto self = weak.lock()) ((**self).*action)();
    });
}

}  // namespace tavi
