#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "core/ObserverList.h"
#include "core/Subscription.h"

namespace tavi {

// Named notifications without sender or payload, delivered synchronously on
// the posting thread.
//
// Owning thread only: the centre, its observers and their Subscriptions are
// used on one thread (the main thread for defaultCenter()). Observers may add
// and remove observers, and post, while a post is running.
class NotificationCenter {
public:
    using Observer = std::function<void()>;

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // The process-wide centre, created on first use and never destroyed.
    static NotificationCenter& defaultCenter();

    // The observer is called on every later post of `name` until the
    // returned Subscription is destroyed or cancelled.
    Subscription addObserver(std::string_view name, Observer observer);

    // Calls the observers of `name` in the order they were added.
    void post(std::string_view name);

private:
    using Channel = ObserverList<>;
    std::map<std::string, std::shared_ptr<Channel>, std::less<>> channels_;
};

}  // namespace tavi
