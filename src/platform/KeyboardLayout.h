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
};

}  // namespace tavi
