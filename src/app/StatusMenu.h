#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "settings/AppSettingsValues.h"
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

// The tray menu as it reads right now, built afresh each time it opens so
// that hotkeys and the monitor's state are current.
std::vector<MenuEntry> statusMenuEntries(const AppSettingsValues& settings);

// `title`, a tab and the shortcut's display text ("未设置" when it has no
// modifier); the title alone if that text were empty.
std::string titleWithHotkey(std::string_view title, HotkeyShortcut shortcut);

}  // namespace tavi
