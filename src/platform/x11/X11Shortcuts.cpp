#include "platform/x11/X11Shortcuts.h"

#include <algorithm>

#include "platform/x11/KeyPositions.h"
#include "settings/HotkeyModel.h"

namespace tavi::x11 {

X11Shortcuts::X11Shortcuts(X11Connection& connection, X11Keyboard& keyboard)
    : connection_(connection), keyboard_(keyboard) {
    events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
    masksChanged_ = keyboard_.onMasksChanged([this](const ModifierMasks& before) { regrab(before); });
}

void X11Shortcuts::installHandler(PressedHandler handler) { handler_ = std::move(handler); }

std::vector<std::uint16_t> X11Shortcuts::lockCombinations(const ModifierMasks& masks) {
    const std::uint16_t locks[] = {masks.capsLock, masks.numLock, masks.scrollLock};
    std::vector<std::uint16_t> combinations{0};
    for (std::uint16_t lock : locks) {
        if (!lock) continue;
        const std::size_t count = combinations.size();
        for (std::size_t i = 0; i < count; ++i) combinations.push_back(combinations[i] | lock);
    }
    return combinations;
}

std::optional<GlobalShortcuts::Handle> X11Shortcuts::grab(std::uint32_t keyCode, std::uint32_t modifiers,
                                                          std::uint32_t id, const Purpose&) {
    const std::string name = shortcutDisplay({keyCode, modifiers});
    const std::optional<std::uint8_t> xKey = xKeyCodeForPosition(keyCode);
    if (!xKey) {
        connection_.log()("Hotkey " + name + " (key code " + std::to_string(keyCode) +
                          ") has no key on this keyboard; it will not work.");
        return std::nullopt;
    }
    const Grab grab{*xKey, keyCode, modifiers, keyboard_.masks().fromStored(modifiers), id};
    if (!grabKeys(grab)) {
        connection_.log()("Hotkey " + name + " is held by another program; it will not work until that program "
                          "lets it go or the hotkey is changed in Tavi's settings.");
        return std::nullopt;
    }
    const Handle handle = nextHandle_++;
    grabs_.emplace(handle, grab);
    return handle;
}

bool X11Shortcuts::grabKeys(const Grab& grab) {
    std::vector<xcb_void_cookie_t> cookies;
    for (std::uint16_t locks : lockCombinations(keyboard_.masks())) {
        cookies.push_back(xcb_grab_key_checked(connection_.raw(), 1, connection_.root(),
                                               static_cast<std::uint16_t>(grab.mask | locks), grab.keyCode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    bool refused = false;
    for (xcb_void_cookie_t cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(connection_.raw(), cookie)) {
            refused = true;
            std::free(error);
        }
    }
    connection_.flush();
    if (refused) ungrabKeys(grab, keyboard_.masks());
    return !refused;
}

void X11Shortcuts::regrab(const ModifierMasks& before) {
    for (auto& [handle, grab] : grabs_) ungrabKeys(grab, before);
    for (auto it = grabs_.begin(); it != grabs_.end();) {
        it->second.mask = keyboard_.masks().fromStored(it->second.modifiers);
        // Grabs of the same combination share the X grab: grab it once.
        const bool shared = std::any_of(grabs_.begin(), it, [&](const auto& other) {
            return other.second.keyCode == it->second.keyCode && other.second.mask == it->second.mask;
        });
        if (shared || grabKeys(it->second)) {
            ++it;
            continue;
        }
        connection_.log()("Hotkey " + shortcutDisplay({it->second.position, it->second.modifiers}) +
                          " is held by another program since the keyboard changed; it will not work until that "
                          "program lets it go or the hotkey is changed in Tavi's settings.");
        it = grabs_.erase(it);
    }
}

void X11Shortcuts::ungrabKeys(const Grab& grab, const ModifierMasks& masks) {
    for (std::uint16_t locks : lockCombinations(masks))
        xcb_ungrab_key(connection_.raw(), grab.keyCode, connection_.root(), static_cast<std::uint16_t>(grab.mask | locks));
    connection_.flush();
}

void X11Shortcuts::release(Handle handle) {
    auto found = grabs_.find(handle);
    if (found == grabs_.end()) return;
    const Grab grab = found->second;
    grabs_.erase(found);
    // Another registration of the same combination keeps the X grab.
    for (const auto& [other, kept] : grabs_)
        if (kept.keyCode == grab.keyCode && kept.mask == grab.mask) return;
    ungrabKeys(grab, keyboard_.masks());
}

void X11Shortcuts::handle(const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7F;
    if (type == XCB_KEY_RELEASE) {
        const auto& release = reinterpret_cast<const xcb_key_release_event_t&>(event);
        if (heldKey_ && release.detail == *heldKey_) keysReleased();
        return;
    }
    if (type != XCB_KEY_PRESS) return;
    const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
    // A key held down repeats as further presses: the hotkey fires once. A
    // press long after the last one is a new press whose release we missed
    // (another client grabbed the keyboard meanwhile).
    constexpr xcb_timestamp_t kLongerThanAutoRepeatDelay = 1000;
    if (heldKey_ && *heldKey_ == press.detail && press.time - lastPressTime_ < kLongerThanAutoRepeatDelay) {
        lastPressTime_ = press.time;
        return;
    }
    const std::uint16_t mask = press.state & keyboard_.masks().significant();
    for (const auto& [handle, grab] : grabs_) {
        if (grab.keyCode != press.detail || grab.mask != mask) continue;
        heldKey_ = press.detail;
        lastPressTime_ = press.time;
        // The handler may grab or release: not while walking the grabs.
        const std::uint32_t id = grab.id;
        if (handler_) handler_(id);
        return;
    }
}

void X11Shortcuts::whenKeysReleased(EventLoop::Duration bound, std::function<void()> then) {
    if (!heldKey_) {
        then();
        return;
    }
    waitingForRelease_.push_back(std::move(then));
    if (releaseBound_.active()) return;
    releaseBound_ = connection_.loop().scheduleOnce(bound, [this] {
        // Held too long: let go of the keyboard so the focused window gets keys.
        xcb_ungrab_keyboard(connection_.raw(), XCB_CURRENT_TIME);
        connection_.flush();
        keysReleased();
    });
}

void X11Shortcuts::keysReleased() {
    heldKey_.reset();
    releaseBound_.cancel();
    std::vector<std::function<void()>> waiting;
    waiting.swap(waitingForRelease_);
    for (auto& then : waiting) then();
}

}  // namespace tavi::x11
