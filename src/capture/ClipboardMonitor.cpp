#include "capture/ClipboardMonitor.h"

#include "core/Text.h"

namespace tavi {

ClipboardMonitor::ClipboardMonitor(Clipboard& clipboard, EventLoop& loop, SettingsSource settings, TextHandler onText)
    : clipboard_(clipboard),
      loop_(loop),
      settings_(std::move(settings)),
      onText_(std::move(onText)),
      lastChangeCount_(clipboard.changeCount()),
      self_(std::make_shared<ClipboardMonitor*>(this)) {}

ClipboardMonitor::~ClipboardMonitor() = default;

void ClipboardMonitor::start() {
    if (timer_.active()) return;
    lastChangeCount_ = clipboard_.changeCount();
    std::weak_ptr<ClipboardMonitor*> weak = self_;
    timer_ = loop_.scheduleRepeating(kPollInterval, [this, weak] {
        if (weak.expired()) return;
        check();
    });
}

void ClipboardMonitor::stop() { timer_.cancel(); }

void ClipboardMonitor::check() {
    const std::int64_t count = clipboard_.changeCount();
    if (count == lastChangeCount_) return;
    lastChangeCount_ = count;

    const AppSettingsValues& settings = settings_();
    if (!settings.clipboardMonitorEnabled || !settings.autoTranslateOnCopy) return;

    std::weak_ptr<ClipboardMonitor*> weak = self_;
    clipboard_.readText([weak](std::optional<std::string> text) {
        if (auto self = weak.lock()) (*self)->consider(text);
    });
}

void ClipboardMonitor::consider(const std::optional<std::string>& text) {
    if (!text) return;
    if (trimWhitespaceAndNewlines(*text).empty()) return;
    // The untrimmed text is measured on purpose: blanks around a single
    // letter make it long enough.
    const auto length = static_cast<std::int64_t>(countGraphemeClusters(*text));
    if (length < settings_().minTextLengthForAutoTranslate) return;
    loop_.post([handler = onText_, copied = *text] {
        if (handler) handler(copied);
    });
}

}  // namespace tavi
