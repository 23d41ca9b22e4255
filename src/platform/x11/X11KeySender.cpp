#include "platform/x11/X11KeySender.h"

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <chrono>

#include "platform/x11/CopyShortcutRefusers.h"
#include "platform/x11/KeyPositions.h"

namespace tavi::x11 {
namespace {

using namespace std::chrono_literals;

// How long the user may keep the hotkey's key down before Tavi lets go of
// the keyboard grab X gave it, so that the copy reaches the focused window.
constexpr EventLoop::Duration kHotkeyReleaseBound = 600ms;
constexpr std::uint32_t kPositionOfC = 8;

}  // namespace

X11KeySender::X11KeySender(X11Connection& connection, X11Keyboard& keyboard, X11Shortcuts& shortcuts,
                           bool throughXWayland)
    : connection_(connection), keyboard_(keyboard), shortcuts_(shortcuts), throughXWayland_(throughXWayland) {
    const xcb_query_extension_reply_t* xtest = xcb_get_extension_data(connection_.raw(), &xcb_test_id);
    available_ = xtest && xtest->present;
    if (!available_) connection_.log()("The X server has no XTest extension: selected text can only be read from PRIMARY.");
}

bool X11KeySender::focusedApplicationCopies() {
    // X drops key presses while no window has the focus. A Wayland window
    // with the keyboard focus leaves X's there (weston) or on a window of the
    // compositor's own: Control+C would reach nobody, and the clipboard read
    // after it would hand over whatever was copied long before.
    const std::optional<std::string> focused = focusedWindowClass();
    if (!focused || (throughXWayland_ && focused->empty())) return false;
    const std::string& wmClass = *focused;
    const std::size_t separator = wmClass.find('\0');
    const std::string_view instance = std::string_view(wmClass).substr(0, separator);
    const std::string_view className =
        separator == std::string::npos ? std::string_view() : std::string_view(wmClass).substr(separator + 1);
    return !refusesCopyShortcut(instance, className);
}

std::string X11KeySender::windowClass(xcb_window_t window) {
    auto value = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply,
        xcb_get_property(connection_.raw(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256));
    if (!value || value->format != 8) return {};
    std::string text(static_cast<const char*>(xcb_get_property_value(value.get())),
                     static_cast<std::size_t>(xcb_get_property_value_length(value.get())));
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

std::optional<std::string> X11KeySender::focusedWindowClass() {
    xcb_connection_t* c = connection_.raw();
    auto focus = connection_.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply, xcb_get_input_focus(c));
    // Toolkits focus their client window or a window inside it: the class is
    // on the nearest window up the tree that has one.
    xcb_window_t window = focus ? focus->focus : xcb_window_t{XCB_WINDOW_NONE};
    if (window == XCB_WINDOW_NONE) return std::nullopt;
    constexpr xcb_window_t kPointerRoot = 1;
    for (int depth = 0; depth < 16 && window != XCB_WINDOW_NONE && window != kPointerRoot &&
                        window != connection_.root();
         ++depth) {
        if (std::string found = windowClass(window); !found.empty()) return found;
        auto tree = connection_.reply<xcb_query_tree_reply_t>(xcb_query_tree_reply, xcb_query_tree(c, window));
        if (!tree) break;
        window = tree->parent;
    }
    // Compositors focus X11 client windows themselves; what else holds X's
    // focus there is theirs, and no application.
    if (throughXWayland_) return std::string();
    // A window manager that focuses its frames, or focus following the
    // pointer: the window manager's idea of the active window.
    auto active = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply, xcb_get_property(c, 0, connection_.root(), connection_.atom("_NET_ACTIVE_WINDOW"),
                                                 XCB_ATOM_WINDOW, 0, 1));
    if (active && active->format == 32 && xcb_get_property_value_length(active.get()) == 4)
        return windowClass(*static_cast<const xcb_window_t*>(xcb_get_property_value(active.get())));
    return std::string();
}

void X11KeySender::sendCopy(std::function<void()> sent) {
    // While the hotkey's key is down, X sends every key to Tavi: wait for it.
    shortcuts_.whenKeysReleased(kHotkeyReleaseBound, [this, sent = std::move(sent)] {
        // The focus may have moved meanwhile, to where Control+C means harm.
        if (available_ && focusedApplicationCopies()) typeCopy();
        connection_.loop().post(sent);
    });
}

void X11KeySender::typeCopy() {
    xcb_connection_t* c = connection_.raw();
    const auto fake = [&](std::uint8_t type, std::uint8_t key) {
        xcb_test_fake_input(c, type, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    };
    // Modifiers still held (the hotkey's own, typically) would turn Control+C
    // into another combination: lift them first.
    auto keymap = connection_.reply<xcb_query_keymap_reply_t>(xcb_query_keymap_reply, xcb_query_keymap(c));
    const ModifierMasks& masks = keyboard_.masks();
    const auto held = [&](std::uint8_t key) { return keymap && (keymap->keys[key / 8] & (1 << (key % 8))); };
    for (std::uint8_t key : keyboard_.modifierKeys(masks.significant()))
        if (held(key)) fake(XCB_KEY_RELEASE, key);

    const std::optional<std::uint8_t> control = keyboard_.keyCodeFor(XKB_KEY_Control_L);
    // The key that types "c" in the current layout; the ANSI position of C
    // where no key does (Control+C is usually matched by key symbol).
    std::optional<std::uint8_t> letter = keyboard_.keyCodeFor(XKB_KEY_c);
    if (!letter) letter = xKeyCodeForPosition(kPositionOfC);
    if (!control || !letter) return;
    fake(XCB_KEY_PRESS, *control);
    fake(XCB_KEY_PRESS, *letter);
    fake(XCB_KEY_RELEASE, *letter);
    fake(XCB_KEY_RELEASE, *control);
    connection_.flush();
}

}  // namespace tavi::x11
