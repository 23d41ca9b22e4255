#pragma once

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/KeyboardLayout.h"
#include "platform/x11/X11Connection.h"

namespace tavi::x11 {

// The X modifier masks the stored modifier bits and the lock keys stand for
// in the current keyboard mapping.
struct ModifierMasks {
    std::uint16_t control = XCB_MOD_MASK_CONTROL;
    std::uint16_t shift = XCB_MOD_MASK_SHIFT;
    std::uint16_t alt = XCB_MOD_MASK_1;
    std::uint16_t super = XCB_MOD_MASK_4;
    std::uint16_t capsLock = XCB_MOD_MASK_LOCK;
    std::uint16_t numLock = XCB_MOD_MASK_2;
    std::uint16_t scrollLock = 0;

    // The stored bits (HotkeyModifier) as an X mask.
    std::uint16_t fromStored(std::uint32_t modifiers) const;
    // Every modifier a shortcut can use; state bits outside it (locks,
    // buttons) never decide whether a combination matches.
    std::uint16_t significant() const { return control | shift | alt | super; }

    friend bool operator==(const ModifierMasks&, const ModifierMasks&) = default;
};

// The keyboard as XKB describes it, followed live: the layout the user has
// switched to, the mapping after setxkbmap, and which keys carry which
// modifiers.
class X11Keyboard final : public KeyboardLayout {
public:
    explicit X11Keyboard(X11Connection& connection);
    ~X11Keyboard() override;
    X11Keyboard(const X11Keyboard&) = delete;
    X11Keyboard& operator=(const X11Keyboard&) = delete;

    std::optional<std::string> keyName(std::uint32_t keyCode) override;
    std::optional<std::uint32_t> keyPosition(std::uint32_t nativeKeyCode) override;

    const ModifierMasks& masks() const { return masks_; }
    // A key that types `keysym` in the current layout without modifiers.
    std::optional<std::uint8_t> keyCodeFor(xkb_keysym_t keysym) const;
    // The X key codes of the keys that set modifiers in `mask`.
    std::vector<std::uint8_t> modifierKeys(std::uint16_t mask);

    // Called after masks() changed (a remap moved Num Lock to another
    // modifier, say), with the masks as they were.
    [[nodiscard]] Subscription onMasksChanged(std::function<void(const ModifierMasks& before)> changed);

private:
    void loadKeymap();
    void readModifierMapping();
    void handle(const xcb_generic_event_t& event);

    X11Connection& connection_;
    xkb_context* context_ = nullptr;
    xkb_keymap* keymap_ = nullptr;
    xkb_state* state_ = nullptr;
    std::int32_t deviceID_ = -1;
    std::uint8_t xkbEventBase_ = 0;
    ModifierMasks masks_;
    ObserverList<const ModifierMasks&> masksChanged_;
    Subscription events_;
};

}  // namespace tavi::x11
