#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "settings/AppSettingsValues.h"
#include "settings/HotkeyAction.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

class AppSettings;

// --- Stored form -----------------------------------------------------------

// {"keyCode":17,"modifiers":2048}: the bytes written to the settings store.
std::string encodeHotkeyJson(HotkeyShortcut shortcut);

// Needs an object whose "keyCode" and "modifiers" are both whole numbers in
// 0...4294967295 (a whole number written as 17.0 counts). A missing member, a
// string, a negative, fractional or larger number, or text that is not JSON
// gives nothing. Other members are ignored.
std::optional<HotkeyShortcut> decodeHotkeyJson(std::string_view json);

// --- Display ---------------------------------------------------------------

// "⌃⌥⇧⌘" in that fixed order, each only when its bit is set; empty for none.
std::string modifierDisplay(std::uint32_t modifiers);

// The key's name: the special-key table (arrows, F-keys, Space, ...), then the
// keyboard layout hook below, then the ANSI-position table, then "Key N".
std::string keyDisplay(std::uint32_t keyCode);

// Modifier display followed by key display, no separator: "⌃⇧Space".
std::string shortcutDisplay(HotkeyShortcut shortcut);

// What the current keyboard layout prints for a key code with no modifiers;
// empty when the layout cannot tell. Installed by the platform layer.
using KeyboardLayoutKeyName = std::function<std::optional<std::string>(std::uint32_t keyCode)>;

// Replaces the hook (pass nullptr to remove it). A non-empty answer is shown
// upper-cased: ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic letters
// are mapped ("ß" becomes "SS"); other characters and invalid UTF-8 bytes are
// kept as they are. An empty string or no value falls through to the
// ANSI-position table. Set it on the main thread before keys are displayed.
void setKeyboardLayoutKeyName(KeyboardLayoutKeyName hook);

// --- Recording -------------------------------------------------------------

// Device-independent key-event flags of the recorder.
namespace EventModifierFlag {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
}  // namespace EventModifierFlag

// Event flags to hot-key modifier bits; every other flag (caps lock,
// function, numeric pad, help) is dropped.
std::uint32_t hotkeyModifiers(std::uint64_t eventFlags);

// The hint shown while recording a shortcut.
inline constexpr std::string_view kHotkeyRecorderHint =
    "录制时请至少包含一个修饰键，例如 Control、Option、Shift 或 Command。";

// --- Acceptance ------------------------------------------------------------

inline constexpr std::string_view kHotkeyNeedsModifierMessage = "全局快捷键至少需要一个修饰键。";

// Why `candidate` cannot become the shortcut of `action`, or nothing when it
// can: it needs a modifier, and must differ from the shortcuts of the other
// actions (checked in action order; the action itself is skipped).
std::optional<std::string> hotkeyRefusal(HotkeyAction action, HotkeyShortcut candidate,
                                         const AppSettingsValues& settings);

// Applies hotkeyRefusal and, when there is none, assigns the shortcut (which
// persists it and announces the change). Returns the refusal, if any.
std::optional<std::string> assignHotkeyIfAccepted(AppSettings& settings, HotkeyAction action,
                                                  HotkeyShortcut candidate);

// Assigns the four defaults in action order, without any conflict check:
// four writes and four announcements.
void restoreDefaultHotkeys(AppSettings& settings);

}  // namespace tavi
