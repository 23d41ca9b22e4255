#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavi {

// Modifier bits of the classic hot-key encoding; stored as-is on every platform.
namespace HotkeyModifier {
inline constexpr std::uint32_t command = 0x0100;
inline constexpr std::uint32_t shift = 0x0200;
inline constexpr std::uint32_t option = 0x0800;
inline constexpr std::uint32_t control = 0x1000;
}  // namespace HotkeyModifier

// A global shortcut: an ANSI-position virtual key code and modifier bits.
// Zero modifiers means "no hotkey".
struct HotkeyShortcut {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;

    friend bool operator==(const HotkeyShortcut&, const HotkeyShortcut&) = default;
};

}  // namespace tavi
