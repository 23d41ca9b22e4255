#pragma once

#include <functional>

namespace tavi {

// Synthetic key presses into the focused application.
class KeySender {
public:
    virtual ~KeySender() = default;

    // Sends the copy shortcut (Control+C; Command+C on macOS) to the focused
    // application as if typed with no other key held, and calls `sent` on the
    // owning thread once it has been sent (or could not be).
    virtual void sendCopy(std::function<void()> sent) = 0;
};

}  // namespace tavi
