#pragma once

#include <functional>

namespace tavi {

// Synthetic key presses into the focused application.
class KeySender {
public:
    virtual ~KeySender() = default;

    // Whether the focused application takes the copy shortcut as "copy".
    // Not where it means something else: a terminal emulator turns Control+C
    // into an interrupt of the program running in it.
    virtual bool focusedApplicationCopies() = 0;

    // Sends the copy shortcut (Control+C; Command+C on macOS) to the focused
    // application as if typed with no other key held, and calls `sent` on the
    // owning thread once it has been sent (or could not be).
    virtual void sendCopy(std::function<void()> sent) = 0;
};

}  // namespace tavi
