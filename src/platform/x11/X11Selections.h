#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/x11/X11Connection.h"

namespace tavi::x11 {

// Data of one selection target as it travels between X clients.
struct SelectionData {
    std::string bytes;
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t format = 8;
};

// How asking a selection's owner for a target ended.
struct SelectionReply {
    enum class Status {
        converted,  // `data` holds the answer
        refused,    // no owner, or the owner said no, or answered nonsense
        timedOut,   // the owner stopped answering, before or during a transfer
        tooLarge,   // the owner offered more than kMaximumSize: at least `size` bytes
    };
    Status status = Status::refused;
    SelectionData data;
    std::uint64_t size = 0;

    bool converted() const { return status == Status::converted; }
};

// The X selection protocol, both ways: asking a selection's owner for a
// target's data (large data arrives in increments), and owning a selection
// and serving its targets to other clients (large data leaves in increments).
//
// The owner of a selection is another program and may misbehave in any way:
// every read ends, within kTransferBound, in data or in a status.
//
// Owning thread only; answers arrive there, never from inside a call.
class X11Selections {
public:
    // Data larger than this is refused, whatever the owner offers.
    static constexpr std::size_t kMaximumSize = 64u << 20;
    // A transfer in increments, however steadily it progresses, ends after this.
    static constexpr EventLoop::Duration kTransferBound{5000};

    explicit X11Selections(X11Connection& connection);
    ~X11Selections();
    X11Selections(const X11Selections&) = delete;
    X11Selections& operator=(const X11Selections&) = delete;

    // Asks the owner of `selection` for `target`. `bound` is how long the
    // owner gets to answer, and then for each increment of a large answer.
    // `parameter` is put on the property the answer is asked into, for
    // targets that take one (SAVE_TARGETS).
    void convert(xcb_atom_t selection, xcb_atom_t target, EventLoop::Duration bound,
                 std::function<void(SelectionReply)> done, std::optional<SelectionData> parameter = std::nullopt);

    // The window owning `selection`, XCB_WINDOW_NONE for none.
    xcb_window_t owner(xcb_atom_t selection);

    struct Offer {
        xcb_atom_t target;
        SelectionData data;
    };
    // Takes `selection` and serves the offers (and TARGETS and TIMESTAMP)
    // until another client takes it or disown() is called.
    void own(xcb_atom_t selection, std::vector<Offer> offers);
    // Leaves `selection` without an owner, whoever held it.
    void disown(xcb_atom_t selection);
    // What Tavi serves on `selection`; nothing when it does not own it.
    const std::vector<Offer>* owned(xcb_atom_t selection) const;

private:
    struct Conversion;
    struct OutgoingTransfer;
    struct Drain;

    void handle(const xcb_generic_event_t& event);
    void onSelectionNotify(const xcb_selection_notify_event_t& notify);
    void onPropertyNotify(const xcb_property_notify_event_t& notify);
    void onSelectionRequest(const xcb_selection_request_event_t& request);
    bool serve(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void readIncrement(std::shared_ptr<Conversion> conversion);
    void finish(std::shared_ptr<Conversion> conversion, SelectionReply reply);
    void drain(xcb_atom_t property, bool incremental);
    void drainIncrement(xcb_atom_t property);
    void endDrain(xcb_atom_t property, bool ownerFinished);
    void armStallBound(const std::shared_ptr<Conversion>& conversion);
    xcb_atom_t freeProperty();
    void sendNextIncrement(OutgoingTransfer& transfer);

    X11Connection& connection_;
    std::vector<std::shared_ptr<Conversion>> conversions_;
    // Properties an abandoned transfer's owner may still write to: emptied
    // as it does, so that it finishes, and reused only once it has.
    std::map<xcb_atom_t, std::unique_ptr<Drain>> draining_;
    std::set<xcb_atom_t> retired_;
    std::map<xcb_atom_t, std::vector<Offer>> owned_;
    std::map<std::pair<xcb_window_t, xcb_atom_t>, std::unique_ptr<OutgoingTransfer>> outgoing_;
    std::size_t chunkSize_;
    Subscription events_;
    std::shared_ptr<X11Selections*> self_;
};

// ISO 8859-1 (the STRING target) to UTF-8, and back where every character fits.
std::string latin1ToUtf8(std::string_view latin1);
std::optional<std::string> utf8ToLatin1(std::string_view utf8);

}  // namespace tavi::x11
