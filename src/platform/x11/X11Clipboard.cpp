#include "platform/x11/X11Clipboard.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>

#include "core/Utf8.h"

namespace tavi::x11 {
namespace {

using namespace std::chrono_literals;

// How long an owner gets to answer one request, and then each increment of
// a large answer.
constexpr EventLoop::Duration kTargetBound = 500ms;
// A whole snapshot, every type of the clipboard read one after another.
constexpr auto kSnapshotBound = 5s;
// More types than any program offers for one copy; an owner listing more is
// not taken at its word.
constexpr std::size_t kMaximumSnapshotTargets = 64;
// How long the clipboard manager gets to take the clipboard when Tavi exits.
constexpr EventLoop::Duration kHandOverBound = 750ms;
// Target names are the owners' choice: the types remembered for them are
// bounded, far above what one clipboard offers.
constexpr std::size_t kTypesRemembered = 256;

// Targets that describe the selection or act on it rather than hold data.
bool isMetaTarget(std::string_view name) {
    static constexpr std::string_view kMeta[] = {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "DELETE",
                                                 "INSERT_SELECTION", "INSERT_PROPERTY", "INCR"};
    return std::find(std::begin(kMeta), std::end(kMeta), name) != std::end(kMeta);
}

// Text as UTF-8 from an answer in 8-bit units: STRING is Latin-1, anything
// else claims UTF-8 (owners do not always keep that promise).
std::optional<std::string> textOf(const SelectionReply& reply) {
    if (!reply.converted() || reply.data.format != 8) return std::nullopt;
    if (reply.data.type == XCB_ATOM_STRING) return latin1ToUtf8(reply.data.bytes);
    return replacingInvalidUtf8(reply.data.bytes);
}

}  // namespace

void readSelectionText(X11Connection& connection, X11Selections& selections, xcb_atom_t selection,
                       std::function<void(TextRead)> done) {
    X11Selections* engine = &selections;
    selections.convert(selection, connection.atom("UTF8_STRING"), kTargetBound,
                       [engine, selection, done = std::move(done)](SelectionReply utf8) mutable {
                           if (utf8.status == SelectionReply::Status::tooLarge)
                               return done(TextRead::oversized(utf8.size));
                           if (std::optional<std::string> text = textOf(utf8)) return done(TextRead::of(*text));
                           // An owner that stopped answering will not answer
                           // the older target either.
                           if (utf8.status == SelectionReply::Status::timedOut) return done(TextRead::nothing());
                           engine->convert(selection, XCB_ATOM_STRING, kTargetBound,
                                           [done = std::move(done)](SelectionReply latin1) {
                                               if (latin1.status == SelectionReply::Status::tooLarge)
                                                   return done(TextRead::oversized(latin1.size));
                                               std::optional<std::string> text = textOf(latin1);
                                               done(text ? TextRead::of(*text) : TextRead::nothing());
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

void X11Clipboard::readText(std::function<void(TextRead)> done) {
    readSelectionText(connection_, selections_, clipboard_, std::move(done));
}

struct X11Clipboard::SnapshotRead {
    std::function<void(ClipboardSnapshotRead)> done;
    std::vector<xcb_atom_t> targets;
    std::size_t next = 0;
    ClipboardItem item;
    bool whole = true;
    std::chrono::steady_clock::time_point deadline;
};

void X11Clipboard::readSnapshot(std::function<void(ClipboardSnapshotRead)> done) {
    if (selections_.owner(clipboard_) == XCB_WINDOW_NONE) {
        connection_.loop().post([done = std::move(done)] { done({std::nullopt, true}); });
        return;
    }
    auto read = std::make_shared<SnapshotRead>();
    read->done = std::move(done);
    read->deadline = std::chrono::steady_clock::now() + kSnapshotBound;
    selections_.convert(clipboard_, connection_.atom("TARGETS"), kTargetBound, [this, read](SelectionReply targets) {
        if (targets.converted() && targets.data.format == 32) {
            const auto* atoms = reinterpret_cast<const xcb_atom_t*>(targets.data.bytes.data());
            for (std::size_t i = 0; i < targets.data.bytes.size() / 4; ++i) {
                if (atoms[i] == XCB_ATOM_NONE ||
                    std::find(read->targets.begin(), read->targets.end(), atoms[i]) != read->targets.end())
                    continue;
                if (read->targets.size() == kMaximumSnapshotTargets) {
                    read->whole = false;
                    break;
                }
                read->targets.push_back(atoms[i]);
            }
        } else {
            // An owner that cannot list its targets may still have text.
            read->targets = {connection_.atom("UTF8_STRING"), XCB_ATOM_STRING};
        }
        readNextTarget(read);
    });
}

void X11Clipboard::readNextTarget(const std::shared_ptr<SnapshotRead>& read) {
    while (read->next < read->targets.size()) {
        if (std::chrono::steady_clock::now() > read->deadline) {
            read->whole = false;
            break;
        }
        const xcb_atom_t target = read->targets[read->next++];
        std::string name = connection_.atomName(target);
        if (name.empty() || isMetaTarget(name)) continue;
        selections_.convert(clipboard_, target, kTargetBound,
                            [this, read, name = std::move(name)](SelectionReply reply) {
                                if (reply.converted() && !reply.data.bytes.empty()) {
                                    if (readTypes_.size() >= kTypesRemembered) readTypes_.clear();
                                    readTypes_[name] = {reply.data.type, reply.data.format};
                                    read->item.emplace_back(name, std::move(reply.data.bytes));
                                } else if (reply.status != SelectionReply::Status::refused) {
                                    read->whole = false;  // there was data, and it could not be had
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
    done({std::move(items), read->whole});
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

void X11Clipboard::handOver(std::function<void()> done) {
    const std::vector<X11Selections::Offer>* offers = selections_.owned(clipboard_);
    const xcb_atom_t manager = connection_.atom("CLIPBOARD_MANAGER");
    if (!offers || offers->empty() || selections_.owner(manager) == XCB_WINDOW_NONE) {
        connection_.loop().post(std::move(done));
        return;
    }
    // The desktops' convention (ICCCM and freedesktop's clipboard manager
    // convention): ask the manager to convert SAVE_TARGETS with the list
    // of targets to keep; it reads them from us while we wait, takes the
    // clipboard over and answers.
    std::vector<xcb_atom_t> targets;
    for (const X11Selections::Offer& offer : *offers) targets.push_back(offer.target);
    SelectionData parameter{std::string(reinterpret_cast<const char*>(targets.data()), targets.size() * 4),
                            XCB_ATOM_ATOM, 32};
    selections_.convert(manager, connection_.atom("SAVE_TARGETS"), kHandOverBound,
                        [done = std::move(done)](const SelectionReply&) { done(); }, std::move(parameter));
}

X11PrimarySelection::X11PrimarySelection(X11Connection& connection, X11Selections& selections)
    : connection_(connection), selections_(selections) {}

void X11PrimarySelection::readSelectedText(std::function<void(TextRead)> done) {
    readSelectionText(connection_, selections_, XCB_ATOM_PRIMARY, std::move(done));
}

}  // namespace tavi::x11
