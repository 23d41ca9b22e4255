#include "capture/ClipboardMonitor.h"

#include <algorithm>

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

void ClipboardMonitor::stop() {
    timer_.cancel();
    // A read still under way belongs to the monitoring just stopped.
    ++generation_;
}

void ClipboardMonitor::check() {
    const std::int64_t count = clipboard_.changeCount();
    if (count == lastChangeCount_) return;
    lastChangeCount_ = count;

    const AppSettingsValues& settings = settings_();
    if (!settings.clipboardMonitorEnabled || !settings.autoTranslateOnCopy) return;

    std::weak_ptr<ClipboardMonitor*> weak = self_;
    clipboard_.readText([weak, generation = generation_](TextRead read) {
        auto self = weak.lock();
        if (!self || (*self)->generation_ != generation) return;
        (*self)->consider(read.text);
    });
}

void ClipboardMonitor::consider(const std::optional<std::string>& text) {
    if (!text) return;
    if (trimWhitespaceAndNewlines(*text).empty()) return;
    // The untrimmed text is measured on purpose: blanks around a single
    // letter make it long enough. Counting stops at the minimum, so that a
    // huge copy costs no more than a short one here.
    const std::int64_t minimum = settings_().minTextLengthForAutoTranslate;
    const auto enough = static_cast<std::size_t>(std::max<std::int64_t>(minimum, 0));
    const auto length = static_cast<std::int64_t>(countGraphemeClusters(*text, enough));
    if (length < minimum) return;
    std::weak_ptr<ClipboardMonitor*> weak = self_;
    loop_.post([weak, generation = generation_, copied = *text] {
        auto self = weak.lock();
        if (self && (*self)->generation_ == generation && (*self)->onText_) (*self)->onText_(copied);
    });
}

}  // namespace tavi
