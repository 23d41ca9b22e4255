#include "capture/SelectedTextCapture.h"

#include "core/Text.h"

namespace tavi {

struct SelectedTextCapture::Fallback {
    TextCallback done;
    ClipboardSnapshot snapshot;
    Subscription delay;
};

SelectedTextCapture::SelectedTextCapture(SelectionReader& selection, Clipboard& clipboard, KeySender& keys,
                                         EventLoop& loop)
    : selection_(selection),
      clipboard_(clipboard),
      keys_(keys),
      loop_(loop),
      self_(std::make_shared<SelectedTextCapture*>(this)) {}

SelectedTextCapture::~SelectedTextCapture() = default;

void SelectedTextCapture::captureSelectedText(TextCallback done) {
    std::weak_ptr<SelectedTextCapture*> weak = self_;
    selection_.readSelectedText([weak, done = std::move(done)](std::optional<std::string> selected) mutable {
        auto self = weak.lock();
        if (!self) return;
        std::string trimmed = selected ? trimWhitespaceAndNewlines(*selected) : std::string();
        if (!trimmed.empty()) {
            done(std::move(trimmed));
            return;
        }
        (*self)->copyFallback([done = std::move(done)](std::optional<std::string> copied) {
            std::string text = copied ? trimWhitespaceAndNewlines(*copied) : std::string();
            if (text.empty()) done(std::nullopt);
            else done(std::move(text));
        });
    });
}

void SelectedTextCapture::copyFallback(TextCallback done) {
    waiting_.push_back(std::move(done));
    if (!fallbackRunning_) startNextFallback();
}

void SelectedTextCapture::startNextFallback() {
    if (waiting_.empty()) return;
    fallbackRunning_ = true;
    auto run = std::make_shared<Fallback>();
    run->done = std::move(waiting_.front());
    waiting_.pop_front();

    std::weak_ptr<SelectedTextCapture*> weak = self_;
    clipboard_.readSnapshot([weak, run](ClipboardSnapshot snapshot) {
        auto self = weak.lock();
        if (!self) return;
        run->snapshot = std::move(snapshot);
        (*self)->keys_.sendCopy([weak, run] {
            auto self = weak.lock();
            if (!self) return;
            run->delay = (*self)->loop_.scheduleOnce(kCopyDelay, [weak, run] {
                auto self = weak.lock();
                if (!self) return;
                (*self)->clipboard_.readText([weak, run](std::optional<std::string> text) {
                    if (auto self = weak.lock()) (*self)->finishFallback(run, std::move(text));
                });
            });
        });
    });
}

void SelectedTextCapture::finishFallback(const std::shared_ptr<Fallback>& run, std::optional<std::string> text) {
    run->delay.cancel();  // it has fired; dropping it frees the task that holds `run`
    clipboard_.clear();
    if (run->snapshot)
        for (ClipboardItem& item : *run->snapshot) clipboard_.write(std::move(item));
    fallbackRunning_ = false;
    // Answer on a fresh turn of the loop, like every other answer here.
    loop_.post([done = std::move(run->done), text = std::move(text)]() mutable { done(std::move(text)); });
    startNextFallback();
}

}  // namespace tavi
