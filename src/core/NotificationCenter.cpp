#include "core/NotificationCenter.h"

namespace tavi {

NotificationCenter::NotificationCenter() = default;
NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
    // Leaked on purpose: observers held in static objects may unsubscribe
    // during exit, after a function-local static would have been destroyed.
    static NotificationCenter* const center = new NotificationCenter;
    return *center;
}

Subscription NotificationCenter::addObserver(std::string_view name, Observer observer) {
    auto it = channels_.find(name);
    if (it == channels_.end()) it = channels_.emplace(std::string(name), std::make_shared<Channel>()).first;
    // Channels are never erased, so the Subscription's weak link into the
    // channel stays meaningful for the life of the centre.
    return it->second->add(std::move(observer));
}

void NotificationCenter::post(std::string_view name) {
    auto it = channels_.find(name);
    if (it == channels_.end()) return;
    // Hold the channel: an observer may add a new channel, which must not
    // pull the one being posted out from under us.
    const std::shared_ptr<Channel> channel = it->second;
    channel->notify();
}

}  // namespace tavi
