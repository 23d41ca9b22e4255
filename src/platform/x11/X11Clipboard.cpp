#include "platform/x11/X11Clipboard.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>

#include "core/Utf8.h"

namespace tavi::x11 {
namespace {

using namespace std::chrono_literals;

// How long one owner gets to answer one request, and a whole snapshot.
constexpr EventLoop::Duration kTargetBound = 500ms;
constexpr auto kSnapshotBound = 2s;
// Target names are the owners' choice: the types remembered for them are
// bounded, far above what one clipboard offers.
constexpr std::size_t kTypesRemembered = 256;

// Targets that describe the selection or act on it rather than hold data.
bool isMetaTarget(std::string_view name) {
    static constexpr std::string_view kMeta[] = {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "DELETE",
                                                 "INSERT_SELECTION", "INSERT_PROPERTY", "INCR"};
    return std::find(std::begin(kMeta), std::end(kMeta), name) != std::end(kMeta);
}

}  // namespace

void readSelectionText(X11Connection& connection, X11Selections& selections, xcb_atom_t selection,
                       std::function<void(std::optional<std::string>)> done) {
    X11Selections* engine = &selections;
    selections.convert(selection, connection.atom("UTF8_STRING"), kTargetBound,
                       [engine, selection, done = std::move(done)](std::optional<SelectionData> utf8) mutable {
                           if (utf8) {
                               // Owners do not always keep their promise of UTF-8.
                               done(replacingInvalidUtf8(utf8->bytes));
                               return;
                           }
                           engine->convert(selection, XCB_ATOM_STRING, kTargetBound,
                                           [done = std::move(done)](std::optional<SelectionData> text) {
                                               if (text) done(latin1ToUtf8(text->bytes));
                                               else done(std::nullopt);
                                           });
                       });
}

X11Clipboard::X11Clipboard(X11Connection& connection, X11Selections& selections)
    : connection_(connection), selections_(selections), clipboard_(connection.atom("CLIPBOARD")) {
    xcb_connection_t* c = connection_.raw();
    const xcb_query_extension_reply_t* xfixes = xcb_get_extension_data(c, &xcb_xfixes_id);
    auto version = xfixes && xfixes->present
                       ? connection_.reply<xcb_xfixes_query_version_reply_t>(xcb_xfixes_query_version_reply,
                                                                             xcb_xfixes_query_version(c, 5, 0))
                       : nullptr;
    if (!version) {
        connection_.log()("The X server has no XFixes extension: copied text cannot be noticed.");
    } else {
        xfixesEventBase_ = xfixes->first_event;
        xcb_xfixes_select_selection_input(c, connection_.window(), clipboard_,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
    }
    connection_.flush();
}

void X11Clipboard::handle(const xcb_generic_event_t& event) {
    if (event.response_type != xfixesEventBase_ + XCB_XFIXES_SELECTION_NOTIFY) return;
    const auto& notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
    if (notify.selection == clipboard_) ++changeCount_;
}

void X11Clipboard::readText(std::function<void(std::optional<std::string>)> done) {
    readSelectionText(connection_, selections_, clipboard_, std::move(done));
}

struct X11Clipboard::SnapshotRead {
    std::function<void(ClipboardSnapshot)> done;
    std::vector<xcb_atom_t> targets;
    std::size_t next = 0;
    ClipboardItem item;
    std::chrono::steady_clock::time_point deadline;
};

void X11Clipboard::readSnapshot(std::function<void(ClipboardSnapshot)> done) {
    if (selections_.owner(clipboard_) == XCB_WINDOW_NONE) {
        connection_.loop().post([done = std::move(done)] { done(std::nullopt); });
        return;
    }
    auto read = std::make_shared<SnapshotRead>();
    read->done = std::move(done);
    read->deadline = std::chrono::steady_clock::now() + kSnapshotBound;
    selections_.convert(clipboard_, connection_.atom("TARGETS"), kTargetBound,
                        [this, read](std::optional<SelectionData> targets) {
                            if (targets && targets->format == 32) {
                                const auto* atoms = reinterpret_cast<const xcb_atom_t*>(targets->bytes.data());
                                read->targets.assign(atoms, atoms + targets->bytes.size() / 4);
                            } else {
                                // An owner that cannot list its targets may still have text.
                                read->targets = {connection_.atom("UTF8_STRING"), XCB_ATOM_STRING};
                            }
                            readNextTarget(read);
                        });
}

void X11Clipboard::readNextTarget(const std::shared_ptr<SnapshotRead>& read) {
    while (read->next < read->targets.size()) {
        const xcb_atom_t target = read->targets[read->next++];
        std::string name = connection_.atomName(target);
        if (name.empty() || isMetaTarget(name)) continue;
        if (std::chrono::steady_clock::now() > read->deadline) break;
        selections_.convert(clipboard_, target, kTargetBound,
                            [this, read, name = std::move(name)](std::optional<SelectionData> data) {
                                if (data && !data->bytes.empty()) {
                                    if (readTypes_.size() >= kTypesRemembered) readTypes_.clear();
                                    readTypes_[name] = {data->type, data->format};
                                    read->item.emplace_back(name, std::move(data->bytes));
                                }
                                readNextTarget(read);
                            });
        return;
    }
    // An owner without any data gives an empty list: the clipboard had items
    // of a kind, none readable.
    std::vector<ClipboardItem> items;
    if (!read->item.empty()) items.push_back(std::move(read->item));
    auto done = std::move(read->done);
    done(std::move(items));
}

void X11Clipboard::clear() { selections_.disown(clipboard_); }

void X11Clipboard::write(ClipboardItem item) {
    std::vector<X11Selections::Offer> offers;
    for (auto& [name, bytes] : item) {
        if (isMetaTarget(name)) continue;
        SelectionData data;
        const xcb_atom_t target = connection_.atom(name);
        if (target == XCB_ATOM_NONE) continue;
        if (auto seen = readTypes_.find(name); seen != readTypes_.end()) {
            data.type = seen->second.first;
            data.format = seen->second.second;
        } else {
            data.type = target;
        }
        data.bytes = std::move(bytes);
        offers.push_back({target, std::move(data)});
    }
    selections_.own(clipboard_, std::move(offers));
}

void X11Clipboard::writeText(std::string text) {
    const xcb_atom_t utf8 = connection_.atom("UTF8_STRING");
    std::vector<X11Selections::Offer> offers{
        {utf8, {text, utf8, 8}},
        {connection_.atom("text/plain;charset=utf-8"), {text, connection_.atom("text/plain;charset=utf-8"), 8}},
        {connection_.atom("TEXT"), {text, utf8, 8}},
    };
    if (auto latin1 = utf8ToLatin1(text)) {
        offers.push_back({XCB_ATOM_STRING, {*latin1, XCB_ATOM_STRING, 8}});
        offers.push_back({connection_.atom("text/plain"), {*latin1, connection_.atom("text/plain"), 8}});
    }
    selections_.own(clipboard_, std::move(offers));
}

X11PrimarySelection::X11PrimarySelection(X11Connection& connection, X11Selections& selections)
    : connection_(connection), selections_(selections) {}

void X11PrimarySelection::readSelectedText(std::function<void(std::optional<std::string>)> done) {
    readSelectionText(connection_, selections_, XCB_ATOM_PRIMARY, std::move(done));
}

}  // namespace tavi::x11
