#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tavi {

// The user's current keyboard layout, as key names are shown.
class KeyboardLayout {
public:
    virtual ~KeyboardLayout() = default;

    // What the key at the stored position prints with no modifier in the
    // layout active right now ("q" for position 0 on a French layout);
    // nothing when the layout cannot tell.
    virtual std::optional<std::string> keyName(std::uint32_t keyCode) = 0;

    // The stored position of the key the desktop calls `nativeKeyCode` (an X
    // key code on X11, as Qt's key events carry it); nothing for a key that
    // has none.
    virtual std::optional<std::uint32_t> keyPosition(std::uint32_t nativeKeyCode) = 0;
};

}  // namespace tavi
