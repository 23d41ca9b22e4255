#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/EventLoop.h"
#include "core/Subscription.h"
#include "platform/Clipboard.h"
#include "settings/AppSettingsValues.h"

namespace tavi {

// Watches the clipboard and hands newly copied text on for translation.
//
// Polls the clipboard's change counter every half second. A change is looked
// at once: its counter is remembered before any other test, so a change
// ignored now (monitor off, auto-translate off, no text, too short) is never
// reconsidered. Text that was already on the clipboard when monitoring
// started is never handed on.
//
// Owning thread only.
class ClipboardMonitor {
public:
    using SettingsSource = std::function<const AppSettingsValues&()>;
    // Receives the copied text untrimmed.
    using TextHandler = std::function<void(std::string text)>;

    static constexpr EventLoop::Duration kPollInterval{500};

    ClipboardMonitor(Clipboard& clipboard, EventLoop& loop, SettingsSource settings, TextHandler onText);
    ~ClipboardMonitor();
    ClipboardMonitor(const ClipboardMonitor&) = delete;
    ClipboardMonitor& operator=(const ClipboardMonitor&) = delete;

    void start();  // no effect while running
    void stop();
    bool isRunning() const { return timer_.active(); }

private:
    void check();
    void consider(const std::optional<std::string>& text);

    Clipboard& clipboard_;
    EventLoop& loop_;
    SettingsSource settings_;
    TextHandler onText_;
    Subscription timer_;
    std::int64_t lastChangeCount_;
    std::uint64_t generation_ = 0;
    // Lets answers that arrive after destruction do nothing.
    std::shared_ptr<ClipboardMonitor*> self_;
};

}  // namespace tavi
