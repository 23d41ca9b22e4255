#include "TestApplication.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace tavi::test {

TestApplication::TestApplication() {
    connection_ = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection_)) throw std::runtime_error("no X server");
    if (::pipe(wake_) != 0) throw std::runtime_error("pipe");
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    const std::uint32_t values[] = {screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 100, 100, 600, 400, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                      values);
    const char name[] = "Test editor";
    const char wmClass[] = "editor\0TestEditor";
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        sizeof name - 1, name);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        sizeof wmClass, wmClass);
    // Placed where asked (user-specified position and size), so that tests
    // know where a click lands on it.
    std::uint32_t normalHints[18] = {1 | 2, 100, 100, 600, 400};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                        32, 18, normalHints);
    // Like any toolkit's window: it takes the keyboard focus when given it.
    const std::uint32_t hints[9] = {1 /* InputHint */, 1 /* input */};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, 9,
                        hints);
    xcb_map_window(connection_, window_);
    xcb_flush(connection_);
    thread_ = std::thread([this] { serve(); });
}

TestApplication::~TestApplication() {
    stopping_ = true;
    const char byte = 0;
    [[maybe_unused]] auto written = ::write(wake_[1], &byte, 1);
    thread_.join();
    xcb_destroy_window(connection_, window_);
    xcb_disconnect(connection_);
    ::close(wake_[0]);
    ::close(wake_[1]);
}

xcb_atom_t TestApplication::atom(const std::string& name) {
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr);
    const xcb_atom_t value = reply ? reply->atom : 0;
    std::free(reply);
    return value;
}

void TestApplication::setSelectedText(std::string text) {
    std::lock_guard guard(mutex_);
    selectedText_ = std::move(text);
}

void TestApplication::own(const std::string& selection, Targets targets) {
    const xcb_atom_t name = atom(selection);
    {
        std::lock_guard guard(mutex_);
        owned_[name] = std::move(targets);
    }
    xcb_set_selection_owner(connection_, window_, name, XCB_CURRENT_TIME);
    // Answered only once the server has made us the owner: a reader asking
    // right after this returns finds us.
    owns(selection);
}

bool TestApplication::owns(const std::string& selection) {
    xcb_get_selection_owner_reply_t* reply =
        xcb_get_selection_owner_reply(connection_, xcb_get_selection_owner(connection_, atom(selection)), nullptr);
    const bool ours = reply && reply->owner == window_;
    std::free(reply);
    return ours;
}

void TestApplication::setServing(std::size_t incrementSize, Fault fault) {
    std::lock_guard guard(mutex_);
    incrementSize_ = incrementSize;
    fault_ = fault;
}

bool TestApplication::answer(const xcb_selection_request_event_t& request) {
    auto owned = owned_.find(request.selection);
    if (owned == owned_.end()) return false;
    const xcb_atom_t targetsAtom = atom("TARGETS");
    if (request.target == targetsAtom) {
        std::vector<xcb_atom_t> atoms{targetsAtom};
        for (const auto& [name, bytes] : owned->second) atoms.push_back(atom(name));
        if (fault_ == Fault::oddTargets) {
            for (std::uint32_t i = 0; i < 5000; ++i) atoms.push_back(i % 3 == 0 ? 0u : 0x1FFFFFFFu - i % 7);
            atoms.insert(atoms.end(), atoms.begin(), atoms.begin() + 2);
        }
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property, XCB_ATOM_ATOM, 32,
                            static_cast<std::uint32_t>(atoms.size()), atoms.data());
        return true;
    }
    if (fault_ == Fault::refuse) return false;
    for (const auto& [name, bytes] : owned->second) {
        if (atom(name) != request.target) continue;
        if (fault_ == Fault::wrongFormat) {
            std::string padded = bytes + std::string((4 - bytes.size() % 4) % 4, '\0');
            xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                                request.target, 32, static_cast<std::uint32_t>(padded.size() / 4), padded.data());
            return true;
        }
        if (incrementSize_ == 0 || bytes.size() <= incrementSize_) {
            xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                                request.target, 8, static_cast<std::uint32_t>(bytes.size()), bytes.data());
            return true;
        }
        // Too large for one property: announce the size, then one increment
        // each time the requestor has deleted the last.
        std::uint32_t announced = static_cast<std::uint32_t>(bytes.size());
        if (fault_ == Fault::underAnnounce) announced /= 2;
        if (fault_ == Fault::announceTooMuch) announced = 100u << 20;
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection_, request.requestor, XCB_CW_EVENT_MASK, &mask);
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property, atom("INCR"), 32,
                            1, &announced);
        transfers_[{request.requestor, request.property}] = {bytes, request.target};
        return true;
    }
    return false;
}

void TestApplication::sendNextIncrement(xcb_window_t requestor, xcb_atom_t property) {
    auto found = transfers_.find({requestor, property});
    if (found == transfers_.end()) return;
    Transfer& transfer = found->second;
    const bool stall = transfer.sent == 1 && (fault_ == Fault::stallAfterFirst || fault_ == Fault::vanishMidway);
    if (stall) {
        if (fault_ == Fault::vanishMidway) xcb_destroy_window(connection_, window_);
        transfers_.erase(found);
        xcb_flush(connection_);
        return;
    }
    std::size_t length = std::min(incrementSize_, transfer.bytes.size() - transfer.offset);
    if (fault_ == Fault::stopEarly && transfer.offset >= transfer.bytes.size() / 2) length = 0;
    const xcb_atom_t type = fault_ == Fault::changeTypeMidway && transfer.sent == 1 ? xcb_atom_t{XCB_ATOM_STRING} : transfer.type;
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, requestor, property, type, 8,
                        static_cast<std::uint32_t>(length), transfer.bytes.data() + transfer.offset);
    transfer.offset += length;
    ++transfer.sent;
    if (length == 0) transfers_.erase(found);
    xcb_flush(connection_);
}

void TestApplication::actAsClipboardManager() { own("CLIPBOARD_MANAGER", {}); }

std::vector<std::string> TestApplication::savedTargets() {
    std::lock_guard guard(mutex_);
    return savedTargets_;
}

std::string TestApplication::atomName(xcb_atom_t atom) {
    xcb_get_atom_name_reply_t* reply = xcb_get_atom_name_reply(connection_, xcb_get_atom_name(connection_, atom), nullptr);
    std::string name = reply ? std::string(xcb_get_atom_name_name(reply), xcb_get_atom_name_name_length(reply)) : "";
    std::free(reply);
    return name;
}

// Reads one target of the clipboard into a property of our window and waits
// for the answer here, on the serving thread: a manager does nothing else
// meanwhile. Small data only, as the tests give.
std::optional<std::string> TestApplication::convertClipboard(xcb_atom_t target) {
    const xcb_atom_t property = atom("TAVI_TEST_SAVED");
    xcb_convert_selection(connection_, window_, atom("CLIPBOARD"), target, property, XCB_CURRENT_TIME);
    xcb_flush(connection_);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
        xcb_generic_event_t* event = xcb_poll_for_event(connection_);
        if (!event) {
            pollfd fd{xcb_get_file_descriptor(connection_), POLLIN, 0};
            ::poll(&fd, 1, 10);
            continue;
        }
        const bool answered = (event->response_type & 0x7F) == XCB_SELECTION_NOTIFY;
        const bool converted = answered && reinterpret_cast<xcb_selection_notify_event_t*>(event)->property == property;
        std::free(event);
        if (!answered) continue;
        if (!converted) return std::nullopt;
        xcb_get_property_reply_t* value = xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 1, window_, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1 << 20),
            nullptr);
        std::optional<std::string> bytes;
        if (value) bytes = std::string(static_cast<const char*>(xcb_get_property_value(value)),
                                       static_cast<std::size_t>(xcb_get_property_value_length(value)));
        std::free(value);
        return bytes;
    }
    return std::nullopt;
}

bool TestApplication::saveClipboard(const xcb_selection_request_event_t& request) {
    // The targets to save are listed on the requestor's property.
    xcb_get_property_reply_t* list = xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, request.requestor, request.property, XCB_ATOM_ATOM, 0, 1024), nullptr);
    std::vector<xcb_atom_t> targets;
    if (list) {
        const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(list));
        targets.assign(atoms, atoms + xcb_get_property_value_length(list) / 4);
    }
    std::free(list);
    Targets saved;
    std::vector<std::string> names;
    for (xcb_atom_t target : targets) {
        names.push_back(atomName(target));
        if (std::optional<std::string> bytes = convertClipboard(target)) saved.emplace_back(names.back(), *bytes);
    }
    {
        std::lock_guard guard(mutex_);
        savedTargets_ = names;
    }
    own("CLIPBOARD", saved);
    return true;
}

std::vector<std::string> TestApplication::keyPresses() {
    std::lock_guard guard(mutex_);
    return keyPresses_;
}

void TestApplication::serve() {
    pollfd fds[2] = {{xcb_get_file_descriptor(connection_), POLLIN, 0}, {wake_[0], POLLIN, 0}};
    while (!stopping_) {
        ::poll(fds, 2, 1000);
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
            handle(event);
            std::free(event);
        }
    }
}

void TestApplication::handle(xcb_generic_event_t* event) {
    switch (event->response_type & 0x7F) {
    case XCB_KEY_PRESS: {
        auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
        {
            std::lock_guard guard(mutex_);
            keyPresses_.push_back(std::to_string(press->detail) + "/" + std::to_string(press->state));
        }
        // Control+C, and nothing else held: copy the selected text.
        constexpr std::uint8_t kKeyC = 54;
        if (press->detail == kKeyC && (press->state & 0xFF) == XCB_MOD_MASK_CONTROL) {
            std::string text;
            {
                std::lock_guard guard(mutex_);
                text = selectedText_;
            }
            ++copies_;
            own("CLIPBOARD", {{"UTF8_STRING", text}, {"TEXT", text}});
        }
        return;
    }
    case XCB_SELECTION_CLEAR: {
        auto* clear = reinterpret_cast<xcb_selection_clear_event_t*>(event);
        std::lock_guard guard(mutex_);
        owned_.erase(clear->selection);
        return;
    }
    case XCB_SELECTION_REQUEST: {
        const auto& request = *reinterpret_cast<xcb_selection_request_event_t*>(event);
        bool served = false;
        if (request.target == atom("SAVE_TARGETS")) {
            served = saveClipboard(request);
        } else {
            std::lock_guard guard(mutex_);
            if (fault_ == Fault::silent) return;
            served = answer(request);
        }
        xcb_selection_notify_event_t notify{};
        notify.response_type = XCB_SELECTION_NOTIFY;
        notify.time = request.time;
        notify.requestor = request.requestor;
        notify.selection = request.selection;
        notify.target = request.target;
        notify.property = served ? request.property : xcb_atom_t{XCB_ATOM_NONE};
        xcb_send_event(connection_, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<char*>(&notify));
        xcb_flush(connection_);
        return;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto& notify = *reinterpret_cast<xcb_property_notify_event_t*>(event);
        if (notify.state != XCB_PROPERTY_DELETE) return;
        std::lock_guard guard(mutex_);
        sendNextIncrement(notify.window, notify.atom);
        return;
    }
    default:
        return;
    }
}

std::string textOfSize(std::size_t size) {
    std::string text;
    text.reserve(size);
    const std::string_view line = "The quick brown fox jumps over the lazy dog. 敏捷的棕色狐狸跳过了懒狗。\n";
    while (text.size() + line.size() <= size) text += line;
    text.append(size - text.size(), 'x');
    return text;
}

}  // namespace tavi::test
