#include "platform/x11/X11Keyboard.h"

// xcb's XKB header names a field `explicit`, a C++ keyword.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>

#include <vector>

#include "platform/x11/KeyPositions.h"
#include "settings/HotkeyShortcut.h"

namespace tavi::x11 {

std::uint16_t ModifierMasks::fromStored(std::uint32_t modifiers) const {
    std::uint16_t mask = 0;
    if (modifiers & HotkeyModifier::control) mask |= control;
    if (modifiers & HotkeyModifier::shift) mask |= shift;
    if (modifiers & HotkeyModifier::option) mask |= alt;
    if (modifiers & HotkeyModifier::command) mask |= super;
    return mask;
}

X11Keyboard::X11Keyboard(X11Connection& connection) : connection_(connection) {
    context_ = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    std::uint8_t eventBase = 0;
    if (context_ && xkb_x11_setup_xkb_extension(connection_.raw(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                                nullptr, nullptr, &eventBase, nullptr)) {
        xkbEventBase_ = eventBase;
        deviceID_ = xkb_x11_get_core_keyboard_device_id(connection_.raw());
    }
    if (deviceID_ >= 0) {
        constexpr std::uint16_t kEvents = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY |
                                          XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
        constexpr std::uint16_t kMapParts =
            XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP |
            XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS | XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
            XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
        constexpr std::uint16_t kStateParts = XCB_XKB_STATE_PART_GROUP_BASE | XCB_XKB_STATE_PART_GROUP_LATCH |
                                              XCB_XKB_STATE_PART_GROUP_LOCK | XCB_XKB_STATE_PART_MODIFIER_BASE |
                                              XCB_XKB_STATE_PART_MODIFIER_LATCH | XCB_XKB_STATE_PART_MODIFIER_LOCK;
        xcb_xkb_select_events_details_t details{};
        details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
        details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
        details.affectState = kStateParts;
        details.stateDetails = kStateParts;
        xcb_xkb_select_events_aux(connection_.raw(), static_cast<xcb_xkb_device_spec_t>(deviceID_), kEvents, 0, 0,
                                  kMapParts, kMapParts, &details);
        // A held key repeats as presses alone, so a hotkey held down fires once.
        xcb_xkb_per_client_flags(connection_.raw(), XCB_XKB_ID_USE_CORE_KBD,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0);
        loadKeymap();
    } else {
        connection_.log()("The X server has no XKB keyboard extension: key names follow the US layout.");
    }
    readModifierMapping();
    events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
    connection_.flush();
}

X11Keyboard::~X11Keyboard() {
    if (state_) xkb_state_unref(state_);
    if (keymap_) xkb_keymap_unref(keymap_);
    if (context_) xkb_context_unref(context_);
}

void X11Keyboard::loadKeymap() {
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(context_, connection_.raw(), deviceID_,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap) return;  // keep the previous one
    xkb_state* state = xkb_x11_state_new_from_device(keymap, connection_.raw(), deviceID_);
    if (!state) {
        xkb_keymap_unref(keymap);
        return;
    }
    if (state_) xkb_state_unref(state_);
    if (keymap_) xkb_keymap_unref(keymap_);
    keymap_ = keymap;
    state_ = state;
}

void X11Keyboard::handle(const xcb_generic_event_t& event) {
    if (deviceID_ < 0 || event.response_type != xkbEventBase_) {
        if ((event.response_type & 0x7F) == XCB_MAPPING_NOTIFY) {
            if (deviceID_ >= 0) loadKeymap();
            readModifierMapping();
        }
        return;
    }
    // Every XKB event shares one event code; the second byte tells which.
    switch (reinterpret_cast<const std::uint8_t*>(&event)[1]) {
    case XCB_XKB_NEW_KEYBOARD_NOTIFY: {
        const auto& notify = reinterpret_cast<const xcb_xkb_new_keyboard_notify_event_t&>(event);
        if (notify.deviceID != deviceID_) return;
        loadKeymap();
        readModifierMapping();
        return;
    }
    case XCB_XKB_MAP_NOTIFY:
        loadKeymap();
        readModifierMapping();
        return;
    case XCB_XKB_STATE_NOTIFY: {
        const auto& notify = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
        if (state_)
            xkb_state_update_mask(state_, notify.baseMods, notify.latchedMods, notify.lockedMods,
                                  static_cast<xkb_layout_index_t>(notify.baseGroup),
                                  static_cast<xkb_layout_index_t>(notify.latchedGroup),
                                  static_cast<xkb_layout_index_t>(notify.lockedGroup));
        return;
    }
    default:
        return;
    }
}

std::optional<std::string> X11Keyboard::keyName(std::uint32_t keyCode) {
    const std::optional<std::uint8_t> xKey = xKeyCodeForPosition(keyCode);
    if (!xKey || !keymap_ || !state_) return std::nullopt;
    // What the key types in the active layout with no modifier held.
    xkb_state* plain = xkb_state_new(keymap_);
    if (!plain) return std::nullopt;
    const xkb_layout_index_t layout = xkb_state_serialize_layout(state_, XKB_STATE_LAYOUT_EFFECTIVE);
    xkb_state_update_mask(plain, 0, 0, 0, 0, 0, layout);
    char text[16] = {};
    const int length = xkb_state_key_get_utf8(plain, *xKey, text, sizeof text);
    xkb_state_unref(plain);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof text) return std::nullopt;
    // Control characters (Return, Tab, ...) are names for the special-key table.
    if (static_cast<unsigned char>(text[0]) < 0x20 || text[0] == 0x7F) return std::nullopt;
    return std::string(text, static_cast<std::size_t>(length));
}

std::optional<std::uint32_t> X11Keyboard::keyPosition(std::uint32_t nativeKeyCode) {
    return positionForXKeyCode(nativeKeyCode);
}

std::optional<std::uint8_t> X11Keyboard::keyCodeFor(xkb_keysym_t keysym) const {
    if (!keymap_ || !state_) return std::nullopt;
    const xkb_layout_index_t layout = xkb_state_serialize_layout(state_, XKB_STATE_LAYOUT_EFFECTIVE);
    for (xkb_keycode_t key = xkb_keymap_min_keycode(keymap_); key <= xkb_keymap_max_keycode(keymap_) && key < 256;
         ++key) {
        const xkb_keysym_t* syms = nullptr;
        const int count = xkb_keymap_key_get_syms_by_level(keymap_, key, layout, 0, &syms);
        for (int i = 0; i < count; ++i)
            if (syms[i] == keysym) return static_cast<std::uint8_t>(key);
    }
    return std::nullopt;
}

std::vector<std::uint8_t> X11Keyboard::modifierKeys(std::uint16_t mask) {
    std::vector<std::uint8_t> keys;
    auto mapping = connection_.reply<xcb_get_modifier_mapping_reply_t>(
        xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(connection_.raw()));
    if (!mapping) return keys;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
    const int perModifier = mapping->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        if (!(mask & (1 << modifier))) continue;
        for (int i = 0; i < perModifier; ++i)
            if (const xcb_keycode_t code = codes[modifier * perModifier + i]) keys.push_back(code);
    }
    return keys;
}

// Which of Mod1-Mod5 Alt, Super, Num Lock and Scroll Lock sit on differs
// between keyboard setups; the core modifier mapping says.
void X11Keyboard::readModifierMapping() {
    auto mapping = connection_.reply<xcb_get_modifier_mapping_reply_t>(
        xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(connection_.raw()));
    const xcb_setup_t* setup = xcb_get_setup(connection_.raw());
    const std::uint8_t first = setup->min_keycode;
    const int count = setup->max_keycode - setup->min_keycode + 1;
    auto symbols = connection_.reply<xcb_get_keyboard_mapping_reply_t>(
        xcb_get_keyboard_mapping_reply, xcb_get_keyboard_mapping(connection_.raw(), first, static_cast<std::uint8_t>(count)));
    if (!mapping || !symbols) return;

    ModifierMasks found;
    found.alt = found.super = found.numLock = found.scrollLock = 0;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
    const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(symbols.get());
    const int perKey = symbols->keysyms_per_keycode;
    const int perModifier = mapping->keycodes_per_modifier;
    for (int modifier = 3; modifier < 8; ++modifier) {  // Mod1 ... Mod5
        const auto bit = static_cast<std::uint16_t>(1 << modifier);
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t code = codes[modifier * perModifier + i];
            if (code < first || code - first >= count) continue;
            for (int level = 0; level < perKey; ++level) {
                switch (syms[(code - first) * perKey + level]) {
                case XKB_KEY_Alt_L: case XKB_KEY_Alt_R: case XKB_KEY_Meta_L: case XKB_KEY_Meta_R:
                    found.alt |= bit; break;
                case XKB_KEY_Super_L: case XKB_KEY_Super_R: case XKB_KEY_Hyper_L: case XKB_KEY_Hyper_R:
                    found.super |= bit; break;
                case XKB_KEY_Num_Lock: found.numLock |= bit; break;
                case XKB_KEY_Scroll_Lock: found.scrollLock |= bit; break;
                default: break;
                }
            }
        }
    }
    // Keep the usual assignment for a modifier no key carries.
    if (!found.alt) found.alt = XCB_MOD_MASK_1;
    if (!found.super) found.super = XCB_MOD_MASK_4;
    // A lock sharing a mask with a shortcut modifier must not be ignored.
    found.numLock &= static_cast<std::uint16_t>(~(found.alt | found.super));
    found.scrollLock &= static_cast<std::uint16_t>(~(found.alt | found.super | found.numLock));
    if (found == masks_) return;
    const ModifierMasks before = masks_;
    masks_ = found;
    masksChanged_.notify(before);
}

Subscription X11Keyboard::onMasksChanged(std::function<void(const ModifierMasks& before)> changed) {
    return masksChanged_.add(std::move(changed));
}

}  // namespace tavi::x11
