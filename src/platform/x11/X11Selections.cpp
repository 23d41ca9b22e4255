#include "platform/x11/X11Selections.h"

#include <algorithm>
#include <chrono>

namespace tavi::x11 {
namespace {

using namespace std::chrono_literals;

// A receiver that stops taking increments is given up after this long.
constexpr EventLoop::Duration kIncrementTimeout = 10s;
constexpr std::size_t kPreferredChunk = 256u << 10;
// An abandoned transfer's owner that stays silent this long has stopped; one
// that keeps sending is cut off after the longer bound.
constexpr EventLoop::Duration kDrainStall = 2s;
constexpr EventLoop::Duration kDrainBound = 30s;

std::size_t elementCount(const SelectionData& data) {
    return data.bytes.size() / std::max<std::size_t>(1, data.format / 8);
}

SelectionReply replyWith(SelectionReply::Status status, std::uint64_t size = 0) {
    SelectionReply reply;
    reply.status = status;
    reply.size = size;
    return reply;
}

// Enough for any property Tavi accepts, in the 4-byte units GetProperty counts.
constexpr std::uint32_t kPropertyReadLength = X11Selections::kMaximumSize / 4 + 1;

}  // namespace

struct X11Selections::Conversion {
    xcb_atom_t selection;
    xcb_atom_t target;
    xcb_atom_t property;
    EventLoop::Duration bound;
    std::function<void(SelectionReply)> done;
    Subscription stall;  // the owner's answer, then each increment
    Subscription whole;  // the whole transfer in increments
    bool incremental = false;
    std::uint64_t announced = 0;
    bool receivedIncrement = false;
    bool ownerDone = false;  // it sent the empty increment that ends a transfer
    SelectionData received;
};

struct X11Selections::Drain {
    bool incremental;
    Subscription stall;
    Subscription whole;
};

struct X11Selections::OutgoingTransfer {
    xcb_window_t requestor;
    xcb_atom_t property;
    SelectionData data;
    std::size_t offset = 0;
    bool finished = false;
    Subscription deadline;
};

X11Selections::X11Selections(X11Connection& connection)
    : connection_(connection), self_(std::make_shared<X11Selections*>(this)) {
    // Stay well below the server's request limit, which counts 4-byte units.
    const std::size_t limit = static_cast<std::size_t>(xcb_get_maximum_request_length(connection_.raw())) * 4;
    chunkSize_ = std::min(kPreferredChunk, limit > 1024 ? limit - 1024 : limit / 2);
    events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

X11Selections::~X11Selections() {
    for (auto& conversion : conversions_) {
        conversion->stall.cancel();
        conversion->whole.cancel();
    }
}

xcb_window_t X11Selections::owner(xcb_atom_t selection) {
    auto answer = connection_.reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner_reply, xcb_get_selection_owner(connection_.raw(), selection));
    return answer ? answer->owner : xcb_window_t{XCB_WINDOW_NONE};
}

// Each conversion in flight gets a property of its own on our window, so that
// answers to several requests never mix; so does each abandoned transfer
// whose owner may still write.
xcb_atom_t X11Selections::freeProperty() {
    for (int n = 0;; ++n) {
        const xcb_atom_t property = connection_.atom("TAVI_SELECTION_" + std::to_string(n));
        const bool used = std::any_of(conversions_.begin(), conversions_.end(),
                                      [&](const auto& c) { return c->property == property; }) ||
                          draining_.contains(property) || retired_.contains(property);
        if (!used) return property;
    }
}

void X11Selections::convert(xcb_atom_t selection, xcb_atom_t target, EventLoop::Duration bound,
                            std::function<void(SelectionReply)> done, std::optional<SelectionData> parameter) {
    auto conversion = std::make_shared<Conversion>();
    conversion->selection = selection;
    conversion->target = target;
    conversion->property = freeProperty();
    conversion->bound = bound;
    conversion->done = std::move(done);
    armStallBound(conversion);
    conversions_.push_back(conversion);
    xcb_connection_t* c = connection_.raw();
    if (parameter) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, connection_.window(), conversion->property, parameter->type,
                            parameter->format, static_cast<std::uint32_t>(elementCount(*parameter)),
                            parameter->bytes.data());
    } else {
        xcb_delete_property(c, connection_.window(), conversion->property);
    }
    xcb_convert_selection(c, connection_.window(), selection, target, conversion->property, XCB_CURRENT_TIME);
    connection_.flush();
}

void X11Selections::armStallBound(const std::shared_ptr<Conversion>& conversion) {
    std::weak_ptr<X11Selections*> weak = self_;
    std::weak_ptr<Conversion> weakConversion = conversion;
    conversion->stall = connection_.loop().scheduleOnce(conversion->bound, [weak, weakConversion] {
        auto self = weak.lock();
        auto conversion = weakConversion.lock();
        if (self && conversion) (*self)->finish(conversion, replyWith(SelectionReply::Status::timedOut));
    });
}

// Takes the conversion by value: callers often hold it only through the list
// that this erases it from.
void X11Selections::finish(std::shared_ptr<Conversion> conversion, SelectionReply reply) {
    auto found = std::find(conversions_.begin(), conversions_.end(), conversion);
    if (found == conversions_.end()) return;  // already answered
    conversions_.erase(found);
    conversion->stall.cancel();
    conversion->whole.cancel();
    if (conversion->incremental && !conversion->ownerDone && !reply.converted()) {
        drain(conversion->property, true);
    } else if (reply.status == SelectionReply::Status::timedOut) {
        // The owner may still answer late, into this property.
        drain(conversion->property, false);
    } else {
        xcb_delete_property(connection_.raw(), connection_.window(), conversion->property);
        connection_.flush();
    }
    auto done = std::move(conversion->done);
    if (done) done(std::move(reply));
}

// An owner that is still sending waits for each increment to be taken: take
// them, unread, so that it finishes (the next reader of its selection would
// otherwise find it stuck), and keep the property for it until it has.
void X11Selections::drain(xcb_atom_t property, bool incremental) {
    auto drain = std::make_unique<Drain>();
    drain->incremental = incremental;
    std::weak_ptr<X11Selections*> weak = self_;
    drain->stall = connection_.loop().scheduleOnce(kDrainStall, [weak, property] {
        if (auto self = weak.lock()) (*self)->endDrain(property, false);
    });
    drain->whole = connection_.loop().scheduleOnce(kDrainBound, [weak, property] {
        if (auto self = weak.lock()) (*self)->endDrain(property, false);
    });
    draining_[property] = std::move(drain);
    xcb_delete_property(connection_.raw(), connection_.window(), property);
    connection_.flush();
}

void X11Selections::drainIncrement(xcb_atom_t property) {
    // The size alone: the data is not wanted.
    auto value = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply,
        xcb_get_property(connection_.raw(), 0, connection_.window(), property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
    if (!value || value->type == XCB_ATOM_NONE) return;
    if (value->bytes_after == 0 && value->type != connection_.atom("INCR")) {
        endDrain(property, true);  // the empty increment: the owner is done
        return;
    }
    auto& drain = draining_.at(property);
    std::weak_ptr<X11Selections*> weak = self_;
    drain->stall = connection_.loop().scheduleOnce(kDrainStall, [weak, property] {
        if (auto self = weak.lock()) (*self)->endDrain(property, false);
    });
    xcb_delete_property(connection_.raw(), connection_.window(), property);
    connection_.flush();
}

void X11Selections::endDrain(xcb_atom_t property, bool ownerFinished) {
    auto found = draining_.find(property);
    if (found == draining_.end()) return;
    const bool incremental = found->second->incremental;
    draining_.erase(found);
    // A transfer that stopped half-way could wake up the moment the property
    // is deleted for another read and write into it: never use it again.
    if (incremental && !ownerFinished) retired_.insert(property);
    xcb_delete_property(connection_.raw(), connection_.window(), property);
    connection_.flush();
}

void X11Selections::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_SELECTION_NOTIFY:
        onSelectionNotify(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
        return;
    case XCB_PROPERTY_NOTIFY:
        onPropertyNotify(reinterpret_cast<const xcb_property_notify_event_t&>(event));
        return;
    case XCB_SELECTION_REQUEST:
        onSelectionRequest(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        return;
    case XCB_SELECTION_CLEAR: {
        const auto& clear = reinterpret_cast<const xcb_selection_clear_event_t&>(event);
        if (clear.owner != connection_.window() || !owned_.contains(clear.selection)) return;
        // Our own disown() before a new own() sends one too, and it may be
        // read only after that: a selection we hold again stays served.
        if (owner(clear.selection) != connection_.window()) owned_.erase(clear.selection);
        return;
    }
    default:
        return;
    }
}

void X11Selections::onSelectionNotify(const xcb_selection_notify_event_t& notify) {
    if (notify.requestor != connection_.window()) return;
    std::shared_ptr<Conversion> conversion;
    for (const auto& candidate : conversions_) {
        if (candidate->incremental || candidate->selection != notify.selection || candidate->target != notify.target)
            continue;
        if (notify.property == XCB_ATOM_NONE || notify.property == candidate->property) {
            conversion = candidate;
            break;
        }
    }
    if (!conversion) return;
    if (notify.property == XCB_ATOM_NONE) {
        finish(conversion, replyWith(SelectionReply::Status::refused));
        return;
    }
    auto property = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply, xcb_get_property(connection_.raw(), 1, connection_.window(), conversion->property,
                                                 XCB_GET_PROPERTY_TYPE_ANY, 0, kPropertyReadLength));
    if (!property || property->type == XCB_ATOM_NONE) {
        finish(conversion, replyWith(SelectionReply::Status::refused));
        return;
    }
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(property.get()));
    if (property->type == connection_.atom("INCR")) {
        // Deleting the property (done by the read) asks the owner for the
        // first increment. The size it announces is a lower bound.
        conversion->incremental = true;
        std::uint64_t announced = 0;
        if (property->format == 32 && length >= 4)
            announced = *static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()));
        if (announced > kMaximumSize) {
            finish(conversion, replyWith(SelectionReply::Status::tooLarge, announced));
            return;
        }
        conversion->announced = announced;
        std::weak_ptr<X11Selections*> weak = self_;
        std::weak_ptr<Conversion> weakConversion = conversion;
        conversion->whole = connection_.loop().scheduleOnce(kTransferBound, [weak, weakConversion] {
            auto self = weak.lock();
            auto conversion = weakConversion.lock();
            if (self && conversion) (*self)->finish(conversion, replyWith(SelectionReply::Status::timedOut));
        });
        armStallBound(conversion);
        return;
    }
    if (property->bytes_after > 0) {
        finish(conversion, replyWith(SelectionReply::Status::tooLarge, length + property->bytes_after));
        return;
    }
    SelectionReply reply;
    reply.status = SelectionReply::Status::converted;
    reply.data = {std::string(static_cast<const char*>(xcb_get_property_value(property.get())), length),
                  property->type, property->format};
    finish(conversion, std::move(reply));
}

void X11Selections::onPropertyNotify(const xcb_property_notify_event_t& notify) {
    if (notify.window == connection_.window() && notify.state == XCB_PROPERTY_NEW_VALUE) {
        if (draining_.contains(notify.atom)) {
            drainIncrement(notify.atom);
            return;
        }
        for (const auto& candidate : conversions_) {
            if (candidate->incremental && candidate->property == notify.atom) {
                readIncrement(candidate);  // a copy: the read may end the conversion
                return;
            }
        }
    }
    // Our window may be the requestor too, when Tavi reads what it serves.
    auto found = outgoing_.find({notify.window, notify.atom});
    if (found == outgoing_.end() || notify.state != XCB_PROPERTY_DELETE) return;
    if (found->second->finished) {
        outgoing_.erase(found);
        return;
    }
    sendNextIncrement(*found->second);
}

void X11Selections::readIncrement(std::shared_ptr<Conversion> conversion) {
    auto property = connection_.reply<xcb_get_property_reply_t>(
        xcb_get_property_reply, xcb_get_property(connection_.raw(), 1, connection_.window(), conversion->property,
                                                 XCB_GET_PROPERTY_TYPE_ANY, 0, kPropertyReadLength));
    if (!property) {
        finish(conversion, replyWith(SelectionReply::Status::refused));
        return;
    }
    if (property->type == XCB_ATOM_NONE) return;  // deleted again before we looked
    SelectionData& received = conversion->received;
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(property.get()));
    if (property->bytes_after > 0 || received.bytes.size() + length > kMaximumSize) {
        finish(conversion,
               replyWith(SelectionReply::Status::tooLarge, received.bytes.size() + length + property->bytes_after));
        return;
    }
    // Increments after the first must keep its type and format; mixed
    // pieces would make no sense together.
    if (conversion->receivedIncrement && (property->type != received.type || property->format != received.format)) {
        finish(conversion, replyWith(SelectionReply::Status::refused));
        return;
    }
    if (length == 0) {
        conversion->ownerDone = true;
        // The announced size is a lower bound: an owner that ends below it
        // broke off.
        if (received.bytes.size() < conversion->announced) {
            finish(conversion, replyWith(SelectionReply::Status::refused));
            return;
        }
        SelectionReply reply;
        reply.status = SelectionReply::Status::converted;
        reply.data = std::move(received);
        if (!conversion->receivedIncrement) {
            reply.data.type = property->type;
            reply.data.format = property->format;
        }
        finish(conversion, std::move(reply));
        return;
    }
    conversion->receivedIncrement = true;
    received.type = property->type;
    received.format = property->format;
    received.bytes.append(static_cast<const char*>(xcb_get_property_value(property.get())), length);
    armStallBound(conversion);
}

const std::vector<X11Selections::Offer>* X11Selections::owned(xcb_atom_t selection) const {
    auto found = owned_.find(selection);
    return found == owned_.end() ? nullptr : &found->second;
}

void X11Selections::own(xcb_atom_t selection, std::vector<Offer> offers) {
    owned_[selection] = std::move(offers);
    xcb_set_selection_owner(connection_.raw(), connection_.window(), selection, XCB_CURRENT_TIME);
    if (owner(selection) != connection_.window()) {
        owned_.erase(selection);
        connection_.log()("Could not take the " + connection_.atomName(selection) + " selection.");
    }
}

void X11Selections::disown(xcb_atom_t selection) {
    owned_.erase(selection);
    xcb_set_selection_owner(connection_.raw(), XCB_WINDOW_NONE, selection, XCB_CURRENT_TIME);
    connection_.flush();
}

void X11Selections::onSelectionRequest(const xcb_selection_request_event_t& request) {
    if (request.owner != connection_.window()) return;
    // Clients from before ICCCM 2 name no property: the target doubles as one.
    const xcb_atom_t property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    const bool served = serve(request, property);

    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    notify.property = served ? property : xcb_atom_t{XCB_ATOM_NONE};
    xcb_send_event(connection_.raw(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&notify));
    connection_.flush();
}

bool X11Selections::serve(const xcb_selection_request_event_t& request, xcb_atom_t property) {
    auto owned = owned_.find(request.selection);
    if (owned == owned_.end()) return false;
    const std::vector<Offer>& offers = owned->second;
    xcb_connection_t* c = connection_.raw();

    if (request.target == connection_.atom("TARGETS")) {
        std::vector<xcb_atom_t> targets{connection_.atom("TARGETS"), connection_.atom("TIMESTAMP")};
        for (const Offer& offer : offers) targets.push_back(offer.target);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, request.requestor, property, XCB_ATOM_ATOM, 32,
                            static_cast<std::uint32_t>(targets.size()), targets.data());
        return true;
    }
    if (request.target == connection_.atom("TIMESTAMP")) {
        const std::uint32_t time = request.time;
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, request.requestor, property, XCB_ATOM_INTEGER, 32, 1, &time);
        return true;
    }
    auto offer = std::find_if(offers.begin(), offers.end(), [&](const Offer& o) { return o.target == request.target; });
    if (offer == offers.end()) return false;

    const SelectionData& data = offer->data;
    if (data.bytes.size() <= chunkSize_) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, request.requestor, property, data.type, data.format,
                            static_cast<std::uint32_t>(elementCount(data)), data.bytes.data());
        return true;
    }
    // Too large for one request: announce the size and hand the data over in
    // increments, each when the requestor has deleted the previous one.
    const std::uint32_t size = static_cast<std::uint32_t>(data.bytes.size());
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, request.requestor, XCB_CW_EVENT_MASK, &mask);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, request.requestor, property, connection_.atom("INCR"), 32, 1, &size);
    auto transfer = std::make_unique<OutgoingTransfer>();
    transfer->requestor = request.requestor;
    transfer->property = property;
    transfer->data = data;
    std::weak_ptr<X11Selections*> weak = self_;
    const auto key = std::make_pair(request.requestor, property);
    transfer->deadline = connection_.loop().scheduleOnce(kIncrementTimeout, [weak, key] {
        if (auto self = weak.lock()) (*self)->outgoing_.erase(key);
    });
    outgoing_[key] = std::move(transfer);
    return true;
}

void X11Selections::sendNextIncrement(OutgoingTransfer& transfer) {
    const SelectionData& data = transfer.data;
    const std::size_t unit = std::max<std::size_t>(1, data.format / 8);
    const std::size_t length = std::min(chunkSize_ / unit * unit, data.bytes.size() - transfer.offset);
    xcb_change_property(connection_.raw(), XCB_PROP_MODE_REPLACE, transfer.requestor, transfer.property, data.type,
                        data.format, static_cast<std::uint32_t>(length / unit), data.bytes.data() + transfer.offset);
    transfer.offset += length;
    // The empty increment after the last one ends the transfer.
    if (length == 0) transfer.finished = true;
    connection_.flush();
}

std::string latin1ToUtf8(std::string_view latin1) {
    std::string utf8;
    utf8.reserve(latin1.size());
    for (unsigned char c : latin1) {
        if (c < 0x80) {
            utf8.push_back(static_cast<char>(c));
        } else {
            utf8.push_back(static_cast<char>(0xC0 | (c >> 6)));
            utf8.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return utf8;
}

std::optional<std::string> utf8ToLatin1(std::string_view utf8) {
    std::string latin1;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x80) {
            latin1.push_back(static_cast<char>(c));
        } else if ((c == 0xC2 || c == 0xC3) && i + 1 < utf8.size() &&
                   (static_cast<unsigned char>(utf8[i + 1]) & 0xC0) == 0x80) {
            latin1.push_back(static_cast<char>(((c & 0x03) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3F)));
            ++i;
        } else {
            return std::nullopt;
        }
    }
    return latin1;
}

}  // namespace tavi::x11
