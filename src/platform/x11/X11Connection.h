#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "core/EventLoop.h"
#include "core/ObserverList.h"

namespace tavi::x11 {

using Log = std::function<void(std::string_view line)>;

struct EventDeleter {
    void operator()(void* event) const { std::free(event); }
};
template <typename T>
using XcbReply = std::unique_ptr<T, EventDeleter>;

// Tavi's own connection to the X server, apart from Qt's: the desktop backend
// grabs keys, watches selections and sends key presses through it, and its
// events are dispatched on the owning thread's loop.
//
// Owning thread only.
class X11Connection {
public:
    // Nothing when no X server can be reached (`why` says what happened).
    static std::unique_ptr<X11Connection> open(EventLoop& loop, Log log, std::string& why);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return screen_->root; }
    int screenNumber() const { return screenNumber_; }
    // An unmapped window of our own that owns selections and receives
    // converted selection data.
    xcb_window_t window() const { return window_; }
    EventLoop& loop() const { return loop_; }
    const Log& log() const { return log_; }

    // Interned atoms, asked for once each while they stay in a bounded cache.
    xcb_atom_t atom(std::string_view name);
    std::string atomName(xcb_atom_t atom);

    // Every event read from the server goes to every handler, in the order
    // they were added; a handler looks at the ones it cares about.
    [[nodiscard]] Subscription onEvent(std::function<void(const xcb_generic_event_t&)> handler);

    // Sends what is buffered and, on a later turn of the loop, dispatches
    // events that a reply may have pulled into xcb's queue: the socket will
    // not report them as readable again.
    void flush();

    // Whether the server holds a selection owned by a compositing manager.
    bool hasCompositor();

    // Waits for a request's reply and dispatches any events read meanwhile
    // on a later turn of the loop.
    template <typename Reply, typename Cookie, typename Fetch>
    XcbReply<Reply> reply(Fetch fetch, Cookie cookie) {
        XcbReply<Reply> answer(fetch(connection_, cookie, nullptr));
        scheduleDispatch();
        return answer;
    }

private:
    X11Connection(EventLoop& loop, Log log, xcb_connection_t* connection, int screenNumber);
    void dispatch();
    void scheduleDispatch();
    void remember(std::string name, xcb_atom_t atom);

    EventLoop& loop_;
    Log log_;
    xcb_connection_t* connection_;
    int screenNumber_;
    xcb_screen_t* screen_ = nullptr;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::map<std::string, xcb_atom_t, std::less<>> atoms_;
    ObserverList<const xcb_generic_event_t&> handlers_;
    Subscription readable_;
    bool dispatchScheduled_ = false;
    std::shared_ptr<X11Connection*> self_;
};

}  // namespace tavi::x11
