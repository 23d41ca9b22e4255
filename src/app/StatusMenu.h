#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "settings/AppSettingsValues.h"
#include "settings/HotkeyAction.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

// What each entry of the tray menu does.
enum class MenuCommand {
    openDirectTranslation,
    translateSelectedText,
    startScreenshot,
    toggleClipboardMonitor,
    openSettings,
    terminate,
};

struct MenuEntry {
    bool separator = false;
    std::string title;  // with "\t" and the hotkey's display text where it has one
    MenuCommand command = MenuCommand::openDirectTranslation;
    char keyEquivalent = 0;  // shown with the platform's command modifier; 0 for none

    static MenuEntry line() { return {true, {}, {}, 0}; }
    friend bool operator==(const MenuEntry&, const MenuEntry&) = default;
};

// What the desktop reports as the keys of an action, where the desktop
// decides them; nothing where it does not, or reports none.
using DesktopTrigger = std::function<std::optional<std::string>(HotkeyAction action)>;

// The tray menu as it reads right now, built afresh each time it opens so
// that hotkeys and the monitor's state are current.
std::vector<MenuEntry> statusMenuEntries(const AppSettingsValues& settings, const DesktopTrigger& desktop = {});

// How a hotkey reads: the desktop's text for its keys when it reports one,
// else the stored shortcut's display text, "未设置" when it has no modifier.
std::string hotkeyText(HotkeyShortcut shortcut, const std::optional<std::string>& desktopTrigger = std::nullopt);

// `title`, a tab and hotkeyText(); the title alone if that text were empty.
std::string titleWithHotkey(std::string_view title, HotkeyShortcut shortcut,
                            const std::optional<std::string>& desktopTrigger = std::nullopt);

}  // namespace tavi
