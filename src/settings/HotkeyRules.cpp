#include "settings/AppSettings.h"
#include "settings/HotkeyModel.h"

namespace tavi {

std::optional<std::string> hotkeyRefusal(HotkeyAction action, HotkeyShortcut candidate,
                                         const AppSettingsValues& settings) {
    if (candidate.modifiers == 0) return std::string(kHotkeyNeedsModifierMessage);
    for (HotkeyAction other : allHotkeyActions()) {
        if (other == action || shortcutFor(settings, other) != candidate) continue;
        return "“" + shortcutDisplay(candidate) + "” 已被“" + std::string(title(other)) +
               "”使用，请换一个组合。";
    }
    return std::nullopt;
}

std::optional<std::string> assignHotkeyIfAccepted(AppSettings& settings, HotkeyAction action,
                                                  HotkeyShortcut candidate) {
    if (auto refusal = hotkeyRefusal(action, candidate, settings.values())) return refusal;
    settings.setHotkey(action, candidate);
    return std::nullopt;
}

void restoreDefaultHotkeys(AppSettings& settings) {
    for (HotkeyAction action : allHotkeyActions()) settings.setHotkey(action, defaultShortcut(action));
}

}  // namespace tavi
