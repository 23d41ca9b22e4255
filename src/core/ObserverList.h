#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "core/Subscription.h"

namespace tavi {

// Observers of one event, called in the order they were added.
//
// Safe against re-entrancy on its own thread: an observer may add or remove
// observers (itself included) or notify again while being called. A removed
// observer is not called again, not even by the notification in progress; an
// observer added during a notification first hears the next one. A
// Subscription may outlive the list (it then does nothing).
// Not thread-safe: one owning thread.
template <typename... Args>
class ObserverList {
public:
    using Observer = std::function<void(Args...)>;

    ObserverList() : entries_(std::make_shared<Entries>()) {}
    ObserverList(const ObserverList&) = delete;
    ObserverList& operator=(const ObserverList&) = delete;

    Subscription add(Observer observer) {
        const std::uint64_t id = nextID_++;
        entries_->push_back({id, std::make_shared<Observer>(std::move(observer))});
        std::weak_ptr<Entries> weak = entries_;
        return Subscription([weak, id] {
            if (auto entries = weak.lock()) std::erase_if(*entries, [id](const Entry& e) { return e.id == id; });
        });
    }

    void notify(Args... args) const {
        // Work on a copy so that changes made by the observers cannot
        // invalidate the iteration; the liveness check below honours removals.
        const Entries snapshot = *entries_;
        const std::shared_ptr<Entries> keepAlive = entries_;
        for (const Entry& entry : snapshot) {
            if (!contains(*keepAlive, entry.id)) continue;
            (*entry.observer)(args...);
        }
    }

    bool empty() const { return entries_->empty(); }
    std::size_t size() const { return entries_->size(); }

private:
    struct Entry {
        std::uint64_t id;
        std::shared_ptr<Observer> observer;  // shared so it survives its own removal mid-call
    };
    using Entries = std::vector<Entry>;

    static bool contains(const Entries& entries, std::uint64_t id) {
        for (const Entry& e : entries)
            if (e.id == id) return true;
        return false;
    }

    std::shared_ptr<Entries> entries_;
    std::uint64_t nextID_ = 1;
};

}  // namespace tavi
