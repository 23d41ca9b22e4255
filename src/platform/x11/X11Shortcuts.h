#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "platform/GlobalShortcuts.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Keyboard.h"

namespace tavi::x11 {

// Global shortcuts as passive key grabs on the root window. Each combination
// is grabbed once for every state of Caps Lock, Num Lock and Scroll Lock, so
// that a lit lock does not switch a hotkey off.
//
// While the key of a pressed hotkey is down, X keeps the keyboard grabbed for
// Tavi: key presses Tavi sends meanwhile would come back to it instead of
// reaching the focused window. whenKeysReleased() lets them wait for it.
class X11Shortcuts final : public GlobalShortcuts {
public:
    X11Shortcuts(X11Connection& connection, X11Keyboard& keyboard);
    X11Shortcuts(const X11Shortcuts&) = delete;
    X11Shortcuts& operator=(const X11Shortcuts&) = delete;

    void installHandler(PressedHandler handler) override;
    std::optional<Handle> grab(std::uint32_t keyCode, std::uint32_t modifiers, std::uint32_t id,
                                const Purpose& purpose) override;
    void release(Handle handle) override;

    // Runs `then` once the key of the hotkey being held is released, at once
    // when none is held, and after `bound` at the latest, letting go of the
    // keyboard then.
    void whenKeysReleased(EventLoop::Duration bound, std::function<void()> then);

private:
    struct Grab {
        std::uint8_t keyCode;
        std::uint32_t position;   // the key as stored
        std::uint32_t modifiers;  // as stored
        std::uint16_t mask;       // as X has it now
        std::uint32_t id;
    };

    static std::vector<std::uint16_t> lockCombinations(const ModifierMasks& masks);
    // Grabs the combination in every lock state; false when another
    // program holds it (nothing stays grabbed then).
    bool grabKeys(const Grab& grab);
    void ungrabKeys(const Grab& grab, const ModifierMasks& masks);
    // The keyboard's modifiers moved: every grab again, in the new masks.
    void regrab(const ModifierMasks& before);
    void handle(const xcb_generic_event_t& event);
    void keysReleased();

    X11Connection& connection_;
    X11Keyboard& keyboard_;
    PressedHandler handler_;
    std::map<Handle, Grab> grabs_;
    Handle nextHandle_ = 1;
    std::optional<std::uint8_t> heldKey_;
    xcb_timestamp_t lastPressTime_ = 0;
    std::vector<std::function<void()>> waitingForRelease_;
    Subscription releaseBound_;
    Subscription events_;
    Subscription masksChanged_;
};

}  // namespace tavi::x11
