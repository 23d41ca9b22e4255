#include "X11TestClient.h"

#include <xcb/xtest.h>

#include <poll.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace tavi::test {
namespace {

template <typename T>
struct Freed {
    T* value;
    ~Freed() { std::free(value); }
    T* operator->() const { return value; }
    explicit operator bool() const { return value != nullptr; }
};

}  // namespace

X11TestClient::X11TestClient(const char* display) {
    connection_ = xcb_connect(display, nullptr);
    if (xcb_connection_has_error(connection_)) throw std::runtime_error("no X server (DISPLAY)");
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
}

X11TestClient::~X11TestClient() { xcb_disconnect(connection_); }

xcb_atom_t X11TestClient::atom(const std::string& name) {
    Freed<xcb_intern_atom_reply_t> reply{xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr)};
    return reply ? reply->atom : 0;
}

void X11TestClient::press(std::uint8_t key) {
    xcb_test_fake_input(connection_, XCB_KEY_PRESS, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xcb_flush(connection_);
}

void X11TestClient::release(std::uint8_t key) {
    xcb_test_fake_input(connection_, XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xcb_flush(connection_);
}

void X11TestClient::chord(const std::vector<std::uint8_t>& keys) {
    for (std::uint8_t key : keys) press(key);
    for (auto it = keys.rbegin(); it != keys.rend(); ++it) release(*it);
    // A round trip: the server has processed the presses when this returns.
    pointer();
}

void X11TestClient::movePointer(Point to) {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root_, static_cast<std::int16_t>(to.x),
                        static_cast<std::int16_t>(to.y), 0);
    pointer();
}

void X11TestClient::click(Point at, std::uint8_t button) {
    movePointer(at);
    xcb_test_fake_input(connection_, XCB_BUTTON_PRESS, button, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xcb_test_fake_input(connection_, XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    pointer();
}

void X11TestClient::drag(Point from, Point to) {
    movePointer(from);
    xcb_test_fake_input(connection_, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    constexpr int kSteps = 5;
    for (int step = 1; step <= kSteps; ++step)
        movePointer({from.x + (to.x - from.x) * step / kSteps, from.y + (to.y - from.y) * step / kSteps});
    xcb_test_fake_input(connection_, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    pointer();
}

Point X11TestClient::pointer() {
    Freed<xcb_query_pointer_reply_t> reply{
        xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, root_), nullptr)};
    return reply ? Point{reply->root_x, reply->root_y} : Point{};
}

xcb_window_t X11TestClient::inputFocus() {
    Freed<xcb_get_input_focus_reply_t> reply{
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)};
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

bool X11TestClient::isFocusedWithin(xcb_window_t window) {
    for (xcb_window_t at = inputFocus(); at != XCB_WINDOW_NONE && at != root_;) {
        if (at == window) return true;
        Freed<xcb_query_tree_reply_t> tree{xcb_query_tree_reply(connection_, xcb_query_tree(connection_, at), nullptr)};
        if (!tree) return false;
        at = tree->parent;
    }
    return false;
}

std::string X11TestClient::property(xcb_window_t window, const std::string& name) {
    Freed<xcb_get_property_reply_t> reply{xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 4096),
        nullptr)};
    if (!reply) return {};
    return std::string(static_cast<const char*>(xcb_get_property_value(reply.value)),
                       static_cast<std::size_t>(xcb_get_property_value_length(reply.value)));
}

bool X11TestClient::isViewable(xcb_window_t window) {
    Freed<xcb_get_window_attributes_reply_t> reply{
        xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr)};
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::optional<xcb_window_t> X11TestClient::findWindow(const std::string& className, const std::string& title) {
    const std::vector<xcb_window_t> found = findWindows(className, title);
    if (found.empty()) return std::nullopt;
    return found.front();
}

std::vector<xcb_window_t> X11TestClient::findWindows(const std::string& className, const std::string& title) {
    // Client windows sit at the top or one level down, in the window
    // manager's frame.
    std::vector<xcb_window_t> found;
    std::vector<xcb_window_t> pending{root_};
    for (int depth = 0; depth < 3 && !pending.empty(); ++depth) {
        std::vector<xcb_window_t> next;
        for (xcb_window_t parent : pending) {
            Freed<xcb_query_tree_reply_t> tree{
                xcb_query_tree_reply(connection_, xcb_query_tree(connection_, parent), nullptr)};
            if (!tree) continue;
            const xcb_window_t* children = xcb_query_tree_children(tree.value);
            for (int i = 0; i < xcb_query_tree_children_length(tree.value); ++i) {
                const std::string wmClass = property(children[i], "WM_CLASS");
                // "instance\0class\0"
                const std::size_t split = wmClass.find('\0');
                const std::string classPart =
                    split == std::string::npos ? "" : wmClass.substr(split + 1, wmClass.find('\0', split + 1) - split - 1);
                if (classPart == className && isViewable(children[i]) &&
                    (title.empty() || property(children[i], "_NET_WM_NAME") == title))
                    found.push_back(children[i]);
                next.push_back(children[i]);
            }
        }
        pending = std::move(next);
    }
    return found;
}

void X11TestClient::moveWindow(xcb_window_t window, Point to) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom("_NET_MOVERESIZE_WINDOW");
    // Static gravity (the client's own corner), x and y given, from a pager
    // or user tool.
    message.data.data32[0] = 10 | (1 << 8) | (1 << 9) | (2 << 12);
    message.data.data32[1] = static_cast<std::uint32_t>(to.x);
    message.data.data32[2] = static_cast<std::uint32_t>(to.y);
    xcb_send_event(connection_, 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
}

void X11TestClient::closeWindow(xcb_window_t window) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom("WM_PROTOCOLS");
    message.data.data32[0] = atom("WM_DELETE_WINDOW");
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
}

std::optional<Rect> X11TestClient::geometry(xcb_window_t window) {
    Freed<xcb_get_geometry_reply_t> size{xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr)};
    Freed<xcb_translate_coordinates_reply_t> position{xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr)};
    if (!size || !position) return std::nullopt;
    return Rect{position->dst_x, position->dst_y, size->width, size->height};
}

bool X11TestClient::grabKey(std::uint8_t key, std::uint16_t modifiers) {
    xcb_generic_error_t* error = xcb_request_check(
        connection_, xcb_grab_key_checked(connection_, 1, root_, modifiers, key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    std::free(error);
    return error == nullptr;
}

void X11TestClient::ungrabKey(std::uint8_t key, std::uint16_t modifiers) {
    xcb_ungrab_key(connection_, key, root_, modifiers);
    xcb_flush(connection_);
}

bool X11TestClient::isGrabbedElsewhere(std::uint8_t key, std::uint16_t modifiers) {
    if (!grabKey(key, modifiers)) return true;
    ungrabKey(key, modifiers);
    return false;
}

bool X11TestClient::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        // Wake on X traffic, or look again shortly: the condition may
        // depend on another process (a D-Bus reply, a log line).
        pollfd fd{xcb_get_file_descriptor(connection_), POLLIN, 0};
        ::poll(&fd, 1, 20);
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) std::free(event);
    }
    return true;
}

}  // namespace tavi::test
