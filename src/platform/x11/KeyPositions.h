#pragma once

#include <cstdint>
#include <optional>

namespace tavi::x11 {

// Stored key codes are hardware positions in the ANSI encoding Tavi keeps on
// every platform (0 = the key labelled A on a US keyboard, 49 = space, ...).
// X key codes of the evdev driver are Linux input codes plus 8: both name a
// position, so one table maps them whatever layout the user types with.

std::optional<std::uint8_t> xKeyCodeForPosition(std::uint32_t position);

// The reverse: the stored position of an X key code, for the shortcut
// recorder; nothing for a key without one.
std::optional<std::uint32_t> positionForXKeyCode(std::uint32_t xKeyCode);

}  // namespace tavi::x11
