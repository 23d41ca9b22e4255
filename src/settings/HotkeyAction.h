#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "settings/AppSettingsValues.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

// The four things a global hotkey can do, in the order they are listed,
// iterated and compared for conflicts.
enum class HotkeyAction {
    openTranslationWindow,
    translateSelectedText,
    screenshotTranslation,
    toggleClipboardMonitor,
};

inline constexpr std::size_t kHotkeyActionCount = 4;

const std::array<HotkeyAction, kHotkeyActionCount>& allHotkeyActions();

// "openTranslationWindow", ...: the identity of an action.
std::string_view rawValue(HotkeyAction action);
std::optional<HotkeyAction> hotkeyActionFromRawValue(std::string_view raw);

// The Chinese title shown to the user ("打开翻译窗口", ...).
std::string_view title(HotkeyAction action);

// ⌥T, ⌥A, ⌥S, ⌥C.
HotkeyShortcut defaultShortcut(HotkeyAction action);

// The settings key of the action's shortcut ("openTranslationWindowHotkey", ...).
std::string_view settingsKey(HotkeyAction action);

// The action's shortcut in a settings snapshot.
HotkeyShortcut shortcutFor(const AppSettingsValues& settings, HotkeyAction action);

}  // namespace tavi
