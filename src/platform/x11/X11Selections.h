#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
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

// The X selection protocol, both ways: asking a selection's owner for a
// target's data (large data arrives in increments), and owning a selection
// and serving its targets to other clients (large data leaves in increments).
//
// Owning thread only; answers arrive there.
class X11Selections {
public:
    // Data larger than this is refused, whatever the owner offers.
    static constexpr std::size_t kMaximumSize = 64u << 20;

    explicit X11Selections(X11Connection& connection);
    ~X11Selections();
    X11Selections(const X11Selections&) = delete;
    X11Selections& operator=(const X11Selections&) = delete;

    // Asks the owner of `selection` for `target`. Nothing when there is no
    // owner, the owner refuses, or it has not answered after `bound`.
    void convert(xcb_atom_t selection, xcb_atom_t target, EventLoop::Duration bound,
                 std::function<void(std::optional<SelectionData>)> done);

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

private:
    struct Conversion;
    struct OutgoingTransfer;

    void handle(const xcb_generic_event_t& event);
    void onSelectionNotify(const xcb_selection_notify_event_t& notify);
    void onPropertyNotify(const xcb_property_notify_event_t& notify);
    void onSelectionRequest(const xcb_selection_request_event_t& request);
    bool serve(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void readIncrement(const std::shared_ptr<Conversion>& conversion);
    void finish(const std::shared_ptr<Conversion>& conversion, std::optional<SelectionData> data);
    xcb_atom_t freeProperty();
    void sendNextIncrement(OutgoingTransfer& transfer);

    X11Connection& connection_;
    std::vector<std::shared_ptr<Conversion>> conversions_;
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
