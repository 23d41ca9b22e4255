#pragma once

#include <functional>
#include <utility>

namespace tavi {

// Keeps an observer registered for as long as it lives. Destroying it, or
// calling cancel(), removes the observer; after that the observer is never
// called again, even by a post that is already running. Move-only.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            cancel();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { cancel(); }

    void cancel() {
        if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
    }
    bool active() const { return static_cast<bool>(cancel_); }

private:
    std::function<void()> cancel_;
};

}  // namespace tavi
