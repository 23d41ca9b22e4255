#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tavi::portal {

// What the user's keyboard layout prints on the key at a stored position
// with no modifier ("q" for position 0 on a French layout); nothing when it
// cannot tell.
using PrintedKey = std::function<std::optional<std::string>(std::uint32_t keyCode)>;

// A stored combination in the form the shortcuts portal takes a preferred
// trigger in: the modifiers CTRL, ALT, SHIFT and LOGO in that order, then the
// key's xkb keysym name, joined by "+" ("CTRL+ALT+a", "LOGO+F1"). Keys that
// print nothing have fixed names; the others are named by what the layout
// prints on them, or else by the US layout. Nothing without a modifier (no
// hotkey) or for a position no key has.
std::optional<std::string> portalTrigger(std::uint32_t keyCode, std::uint32_t modifiers, const PrintedKey& printed);

}  // namespace tavi::portal
