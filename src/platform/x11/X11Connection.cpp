#include "platform/x11/X11Connection.h"

#include <cstdlib>

namespace tavi::x11 {
namespace {

// Atom names also come from other clients (the targets a clipboard owner
// offers, whatever it calls them), so the cache has a bound: past it, it
// starts afresh and the names still in use are asked for once more.
constexpr std::size_t kAtomsCached = 512;

}  // namespace

std::unique_ptr<X11Connection> X11Connection::open(EventLoop& loop, Log log, std::string& why) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    if (const int error = xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        const char* display = std::getenv("DISPLAY");
        why = "无法连接到 X 显示服务器 " + std::string(display ? display : "") + "（xcb 错误 " +
              std::to_string(error) + "）";
        return nullptr;
    }
    return std::unique_ptr<X11Connection>(new X11Connection(loop, std::move(log), connection, screenNumber));
}

X11Connection::X11Connection(EventLoop& loop, Log log, xcb_connection_t* connection, int screenNumber)
    : loop_(loop),
      log_(std::move(log)),
      connection_(connection),
      screenNumber_(screenNumber),
      self_(std::make_shared<X11Connection*>(this)) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber_ && screens.rem; ++i) xcb_screen_next(&screens);
    screen_ = screens.data;

    window_ = xcb_generate_id(connection_);
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    const std::string_view name = "Tavi selections";
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(name.size()), name.data());
    xcb_flush(connection_);

    std::weak_ptr<X11Connection*> weak = self_;
    readable_ = loop_.watchReadable(xcb_get_file_descriptor(connection_), [weak] {
        if (auto self = weak.lock()) (*self)->dispatch();
    });
}

X11Connection::~X11Connection() {
    readable_.cancel();
    xcb_disconnect(connection_);
}

xcb_atom_t X11Connection::atom(std::string_view name) {
    if (auto found = atoms_.find(name); found != atoms_.end()) return found->second;
    auto answer = reply<xcb_intern_atom_reply_t>(
        xcb_intern_atom_reply,
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    const xcb_atom_t value = answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
    if (value != XCB_ATOM_NONE) remember(std::string(name), value);
    return value;
}

std::string X11Connection::atomName(xcb_atom_t atom) {
    for (const auto& [name, value] : atoms_)
        if (value == atom) return name;
    auto answer = reply<xcb_get_atom_name_reply_t>(xcb_get_atom_name_reply, xcb_get_atom_name(connection_, atom));
    if (!answer) return {};
    std::string name(xcb_get_atom_name_name(answer.get()),
                     static_cast<std::size_t>(xcb_get_atom_name_name_length(answer.get())));
    remember(name, atom);
    return name;
}

void X11Connection::remember(std::string name, xcb_atom_t atom) {
    if (atoms_.size() >= kAtomsCached) atoms_.clear();
    atoms_.emplace(std::move(name), atom);
}

Subscription X11Connection::onEvent(std::function<void(const xcb_generic_event_t&)> handler) {
    return handlers_.add(std::move(handler));
}

void X11Connection::flush() {
    xcb_flush(connection_);
    scheduleDispatch();
}

bool X11Connection::hasCompositor() {
    const xcb_atom_t selection = atom("_NET_WM_CM_S" + std::to_string(screenNumber_));
    auto owner = reply<xcb_get_selection_owner_reply_t>(xcb_get_selection_owner_reply,
                                                        xcb_get_selection_owner(connection_, selection));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void X11Connection::scheduleDispatch() {
    if (dispatchScheduled_) return;
    dispatchScheduled_ = true;
    std::weak_ptr<X11Connection*> weak = self_;
    loop_.post([weak] {
        if (auto self = weak.lock()) (*self)->dispatch();
    });
}

void X11Connection::dispatch() {
    dispatchScheduled_ = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        std::unique_ptr<xcb_generic_event_t, EventDeleter> owned(event);
        handlers_.notify(*event);
    }
    xcb_flush(connection_);
    if (xcb_connection_has_error(connection_) && readable_.active()) {
        readable_.cancel();
        log_("The connection to the X server was lost: hotkeys and the clipboard stop working.");
    }
}

}  // namespace tavi::x11
