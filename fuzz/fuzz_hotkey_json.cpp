// The stored JSON form of a hotkey, and its display.
#include "FuzzSupport.h"
#include "core/Utf8.h"
#include "settings/AppSettingsValues.h"
#include "settings/HotkeyModel.h"

using namespace tavi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    const std::optional<HotkeyShortcut> shortcut = decodeHotkeyJson(json);
    if (!shortcut) return 0;
    fuzz::require(json.find('\0') == std::string_view::npos, "no stored value with a NUL decodes");
    fuzz::require(decodeHotkeyJson(encodeHotkeyJson(*shortcut)) == shortcut, "a hotkey formats and parses back");
    fuzz::require(isValidUtf8(shortcutDisplay(*shortcut)), "a shortcut displays as UTF-8");
    const AppSettingsValues settings;
    for (HotkeyAction action : allHotkeyActions()) {
        const std::optional<std::string> refusal = hotkeyRefusal(action, *shortcut, settings);
        fuzz::require(refusal.has_value() == (shortcut->modifiers == 0 ||
                                              [&] {
                                                  for (HotkeyAction other : allHotkeyActions())
                                                      if (other != action && shortcutFor(settings, other) == *shortcut)
                                                          return true;
                                                  return false;
                                              }()),
                      "refused exactly without a modifier or when another action has it");
    }
    return 0;
}
