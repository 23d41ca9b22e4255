#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "app/StatusMenu.h"
#include "settings/HotkeyAction.h"

namespace tavi {

// How the running application is reached on the session bus: it owns this
// name and serves org.freedesktop.Application at this path, so that desktops
// (their shortcut settings, the application menu's actions) and the tavi
// command can start its actions.
inline constexpr std::string_view kApplicationBusName = "org.morvel.Tavi";
inline constexpr std::string_view kApplicationObjectPath = "/org/morvel/Tavi";
inline constexpr std::string_view kApplicationInterface = "org.freedesktop.Application";

struct DesktopAction {
    std::string_view name;        // the action's name on the bus
    std::string_view subcommand;  // `tavi SUBCOMMAND` sends it
    MenuCommand command;
};

inline constexpr std::array<DesktopAction, 6> kDesktopActions{{
    {"open-translation-window", "show", MenuCommand::openDirectTranslation},
    {"translate-selected-text", "selection", MenuCommand::translateSelectedText},
    {"screenshot-translation", "screenshot", MenuCommand::startScreenshot},
    {"toggle-clipboard-monitor", "clipboard", MenuCommand::toggleClipboardMonitor},
    {"settings", "settings", MenuCommand::openSettings},
    {"quit", "quit", MenuCommand::terminate},
}};

inline std::optional<MenuCommand> commandForAction(std::string_view name) {
    for (const DesktopAction& action : kDesktopActions)
        if (action.name == name) return action.command;
    return std::nullopt;
}

// The action a hotkey starts. Its name also names the hotkey on desktops
// that list applications' shortcuts in their settings.
inline const DesktopAction& actionForHotkey(HotkeyAction hotkey) {
    MenuCommand command = MenuCommand::openDirectTranslation;
    switch (hotkey) {
    case HotkeyAction::openTranslationWindow: command = MenuCommand::openDirectTranslation; break;
    case HotkeyAction::translateSelectedText: command = MenuCommand::translateSelectedText; break;
    case HotkeyAction::screenshotTranslation: command = MenuCommand::startScreenshot; break;
    case HotkeyAction::toggleClipboardMonitor: command = MenuCommand::toggleClipboardMonitor; break;
    }
    for (const DesktopAction& action : kDesktopActions)
        if (action.command == command) return action;
    return kDesktopActions.front();
}

inline const DesktopAction* actionForSubcommand(std::string_view subcommand) {
    for (const DesktopAction& action : kDesktopActions)
        if (action.subcommand == subcommand) return &action;
    return nullptr;
}

}  // namespace tavi
