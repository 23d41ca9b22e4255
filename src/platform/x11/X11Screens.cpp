#include "platform/x11/X11Screens.h"

#include <xcb/randr.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <cstdlib>

namespace tavi::x11 {
namespace {

Rect intersection(const Rect& a, const Rect& b) {
    const int left = std::max(a.x, b.x), top = std::max(a.y, b.y);
    const int right = std::min(a.right(), b.right()), bottom = std::min(a.bottom(), b.bottom());
    if (right <= left || bottom <= top) return a;  // a work area elsewhere says nothing about this monitor
    return {left, top, right - left, bottom - top};
}

}  // namespace

X11Screens::X11Screens(X11Connection& connection, bool throughXWayland)
    : connection_(connection), throughXWayland_(throughXWayland) {
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(connection_.raw(), &xcb_randr_id);
    if (randr && randr->present) {
        auto version = connection_.reply<xcb_randr_query_version_reply_t>(
            xcb_randr_query_version_reply, xcb_randr_query_version(connection_.raw(), 1, 5));
        randr_ = version && (version->major_version > 1 || version->minor_version >= 5);
    }
}

std::optional<Point> X11Screens::pointerPosition() {
    auto pointer = connection_.reply<xcb_query_pointer_reply_t>(xcb_query_pointer_reply,
                                                                xcb_query_pointer(connection_.raw(), connection_.root()));
    if (!pointer) return std::nullopt;
    const Point at{pointer->root_x, pointer->root_y};
    // XWayland hears of the pointer only while it is over an X11 window. Over
    // a Wayland window none is under it and the position is where it last
    // left one (the middle of the screen before it ever entered one): a popup
    // there would open far from the user's eyes. The middle of that monitor
    // is where they find it.
    if (!throughXWayland_ || pointer->child != XCB_WINDOW_NONE) return at;
    const std::vector<ScreenInfo> all = screens();
    auto screen = std::find_if(all.begin(), all.end(), [&](const ScreenInfo& s) { return s.frame.contains(at); });
    if (screen == all.end()) screen = std::find_if(all.begin(), all.end(), [](const ScreenInfo& s) { return s.primary; });
    if (screen == all.end()) screen = all.begin();
    if (screen == all.end()) return at;
    return Point{screen->available.x + screen->available.width / 2, screen->available.y + screen->available.height / 2};
}

std::optional<Rect> X11Screens::workArea() {
    // The current desktop's entry of _NET_WORKAREA (x, y, width, height each).
    std::uint32_t desktop = 0;
    auto current = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply, xcb_get_property(connection_.raw(), 0, connection_.root(),
                                                 connection_.atom("_NET_CURRENT_DESKTOP"), XCB_ATOM_CARDINAL, 0, 1));
    if (current && xcb_get_property_value_length(current.get()) == 4)
        desktop = *static_cast<const std::uint32_t*>(xcb_get_property_value(current.get()));
    auto area = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply, xcb_get_property(connection_.raw(), 0, connection_.root(),
                                                 connection_.atom("_NET_WORKAREA"), XCB_ATOM_CARDINAL, desktop * 4, 4));
    if (!area || xcb_get_property_value_length(area.get()) != 16) return std::nullopt;
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(area.get()));
    return Rect{static_cast<int>(values[0]), static_cast<int>(values[1]), static_cast<int>(values[2]),
                static_cast<int>(values[3])};
}

std::vector<ScreenInfo> X11Screens::screens() {
    std::vector<ScreenInfo> list;
    if (randr_) {
        auto monitors = connection_.reply<xcb_randr_get_monitors_reply_t>(
            xcb_randr_get_monitors_reply, xcb_randr_get_monitors(connection_.raw(), connection_.root(), 1));
        if (monitors) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors.get()); it.rem;
                 xcb_randr_monitor_info_next(&it)) {
                const Rect frame{it.data->x, it.data->y, it.data->width, it.data->height};
                list.push_back({frame, frame, it.data->primary != 0});
            }
        }
    }
    if (list.empty()) {
        auto geometry = connection_.reply<xcb_get_geometry_reply_t>(
            xcb_get_geometry_reply, xcb_get_geometry(connection_.raw(), connection_.root()));
        if (geometry) {
            const Rect frame{0, 0, geometry->width, geometry->height};
            list.push_back({frame, frame, true});
        }
    }
    if (const std::optional<Rect> area = workArea())
        for (ScreenInfo& screen : list) screen.available = intersection(screen.frame, *area);
    return list;
}

std::optional<Rect> X11Screens::windowFrame(NativeWindowId window) {
    const auto id = static_cast<xcb_window_t>(window);
    auto geometry =
        connection_.reply<xcb_get_geometry_reply_t>(xcb_get_geometry_reply, xcb_get_geometry(connection_.raw(), id));
    auto position = connection_.reply<xcb_translate_coordinates_reply_t>(
        xcb_translate_coordinates_reply, xcb_translate_coordinates(connection_.raw(), id, connection_.root(), 0, 0));
    if (!geometry || !position) return std::nullopt;
    return Rect{position->dst_x, position->dst_y, geometry->width, geometry->height};
}

X11MouseDownMonitor::X11MouseDownMonitor(X11Connection& connection, bool throughXWayland)
    : connection_(connection), throughXWayland_(throughXWayland) {
    const xcb_query_extension_reply_t* input = xcb_get_extension_data(connection_.raw(), &xcb_input_id);
    if (input && input->present) {
        // Raw events reach every client that asks for them since XI 2.1.
        auto version = connection_.reply<xcb_input_xi_query_version_reply_t>(
            xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection_.raw(), 2, 2));
        available_ = version && (version->major_version > 2 || version->minor_version >= 1);
        opcode_ = input->major_opcode;
    }
    if (!available_) connection_.log()("The X server has no XInput 2.1: the popup closes with its close button only.");
    events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

void X11MouseDownMonitor::select(bool on) {
    struct {
        xcb_input_event_mask_t header;
        std::uint32_t bits;
    } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, on ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS} : 0u};
    // Checked: once this returns the server reports every later click, even
    // one made right after a window Qt is about to map appears.
    std::free(xcb_request_check(connection_.raw(), xcb_input_xi_select_events_checked(
                                                       connection_.raw(), connection_.root(), 1, &mask.header)));
    if (throughXWayland_) {
        // Nothing else of Tavi's listens on the root window.
        const std::uint32_t events = on ? std::uint32_t{XCB_EVENT_MASK_FOCUS_CHANGE} : 0u;
        xcb_change_window_attributes(connection_.raw(), connection_.root(), XCB_CW_EVENT_MASK, &events);
    }
    connection_.flush();
}

Subscription X11MouseDownMonitor::watch(std::function<void(MouseDown)> onMouseDown) {
    if (!available_) return {};
    // Raw events wake Tavi at every click on the desktop: only while watched.
    if (watchers_.empty()) select(true);
    Subscription added = watchers_.add(std::move(onMouseDown));
    return Subscription([this, added = std::make_shared<Subscription>(std::move(added))] {
        added->cancel();
        if (watchers_.empty()) select(false);
    });
}

void X11MouseDownMonitor::handle(const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & 0x7F;
    if (throughXWayland_ && type == XCB_FOCUS_IN && !watchers_.empty()) {
        // Focus None is announced on the root with detail None.
        const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
        if (focus.event != connection_.root() || focus.detail != XCB_NOTIFY_DETAIL_NONE) return;
        MouseDown elsewhere;
        elsewhere.unseen = true;
        watchers_.notify(elsewhere);
        return;
    }
    if (event.response_type != XCB_GE_GENERIC) return;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension != opcode_ || generic.event_type != XCB_INPUT_RAW_BUTTON_PRESS) return;
    const auto& press = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    // Left and right; the wheel's and the middle button's presses do not close anything.
    if (press.detail != 1 && press.detail != 3) return;
    auto pointer = connection_.reply<xcb_query_pointer_reply_t>(xcb_query_pointer_reply,
                                                                xcb_query_pointer(connection_.raw(), connection_.root()));
    if (!pointer) return;
    MouseDown down{{pointer->root_x, pointer->root_y}, 0};
    // Down the tree to the innermost window: a tray icon sits inside the
    // panel's window, a client inside its frame.
    for (xcb_window_t child = pointer->child; child != XCB_WINDOW_NONE && down.window != child;) {
        down.window = child;
        auto inner = connection_.reply<xcb_query_pointer_reply_t>(xcb_query_pointer_reply,
                                                                  xcb_query_pointer(connection_.raw(), child));
        if (!inner) break;
        child = inner->child;
    }
    watchers_.notify(down);
}

}  // namespace tavi::x11
