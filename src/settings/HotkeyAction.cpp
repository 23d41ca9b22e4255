#include "settings/HotkeyAction.h"

namespace tavi {
namespace {

struct ActionInfo {
    std::string_view raw;
    std::string_view title;
    HotkeyShortcut shortcut;
    std::string_view key;
};

constexpr std::array<ActionInfo, kHotkeyActionCount> kActions{{
    {"openTranslationWindow", "打开翻译窗口", {17, HotkeyModifier::option}, "openTranslationWindowHotkey"},
    {"translateSelectedText", "翻译选中文字", {0, HotkeyModifier::option}, "translateSelectedTextHotkey"},
    {"screenshotTranslation", "截图翻译", {1, HotkeyModifier::option}, "screenshotTranslationHotkey"},
    {"toggleClipboardMonitor", "切换剪贴板监听", {8, HotkeyModifier::option}, "toggleClipboardMonitorHotkey"},
}};

const ActionInfo& info(HotkeyAction action) { return kActions[static_cast<std::size_t>(action)]; }

}  // namespace

const std::array<HotkeyAction, kHotkeyActionCount>& allHotkeyActions() {
    static constexpr std::array<HotkeyAction, kHotkeyActionCount> all{
        HotkeyAction::openTranslationWindow,
        HotkeyAction::translateSelectedText,
        HotkeyAction::screenshotTranslation,
        HotkeyAction::toggleClipboardMonitor,
    };
    return all;
}

std::string_view rawValue(HotkeyAction action) { return info(action).raw; }

std::optional<HotkeyAction> hotkeyActionFromRawValue(std::string_view raw) {
    for (HotkeyAction action : allHotkeyActions())
        if (info(action).raw == raw) return action;
    return std::nullopt;
}

std::string_view title(HotkeyAction action) { return info(action).title; }

HotkeyShortcut defaultShortcut(HotkeyAction action) { return info(action).shortcut; }

std::string_view settingsKey(HotkeyAction action) { return info(action).key; }

HotkeyShortcut shortcutFor(const AppSettingsValues& settings, HotkeyAction action) {
    switch (action) {
    case HotkeyAction::openTranslationWindow: return settings.openTranslationWindowHotkey;
    case HotkeyAction::translateSelectedText: return settings.translateSelectedTextHotkey;
    case HotkeyAction::screenshotTranslation: return settings.screenshotTranslationHotkey;
    case HotkeyAction::toggleClipboardMonitor: return settings.toggleClipboardMonitorHotkey;
    }
    return {};
}

}  // namespace tavi
