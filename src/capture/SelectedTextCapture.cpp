#include "capture/SelectedTextCapture.h"

#include "core/Text.h"

namespace tavi {

struct SelectedTextCapture::Fallback {
    TextCallback done;
    ClipboardSnapshot snapshot;
    bool copySent = false;
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
    selection_.readSelectedText([weak, done = std::move(done)](TextRead selected) mutable {
        auto self = weak.lock();
        if (!self) return;
        // Too large is an answer: the user did select something.
        if (selected.tooLarge) return done(std::move(selected));
        std::string trimmed = selected.text ? trimWhitespaceAndNewlines(*selected.text) : std::string();
        if (!trimmed.empty()) return done(TextRead::of(std::move(trimmed)));
        (*self)->copyFallback([done = std::move(done)](TextRead copied) {
            if (copied.tooLarge) return done(std::move(copied));
            std::string text = copied.text ? trimWhitespaceAndNewlines(*copied.text) : std::string();
            done(text.empty() ? TextRead::nothing() : TextRead::of(std::move(text)));
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

    // Where Control+C would interrupt a program rather than copy, whatever
    // is selected there is in the selection already: send nothing.
    if (!keys_.focusedApplicationCopies()) {
        finishFallback(run, TextRead::nothing());
        return;
    }
    std::weak_ptr<SelectedTextCapture*> weak = self_;
    clipboard_.readSnapshot([weak, run](ClipboardSnapshotRead saved) {
        auto self = weak.lock();
        if (!self) return;
        // What could not be saved could not be put back either.
        if (!saved.whole) return (*self)->finishFallback(run, TextRead::nothing());
        run->snapshot = std::move(saved.snapshot);
        run->copySent = true;
        (*self)->keys_.sendCopy([weak, run] {
            auto self = weak.lock();
            if (!self) return;
            run->delay = (*self)->loop_.scheduleOnce(kCopyDelay, [weak, run] {
                auto self = weak.lock();
                if (!self) return;
                (*self)->clipboard_.readText([weak, run](TextRead text) {
                    if (auto self = weak.lock()) (*self)->finishFallback(run, std::move(text));
                });
            });
        });
    });
}

void SelectedTextCapture::finishFallback(const std::shared_ptr<Fallback>& run, TextRead text) {
    run->delay.cancel();  // it has fired; dropping it frees the task that holds `run`
    if (run->copySent) {
        clipboard_.clear();
        if (run->snapshot)
            for (ClipboardItem& item : *run->snapshot) clipboard_.write(std::move(item));
    }
    fallbackRunning_ = false;
    // Answer on a fresh turn of the loop, like every other answer here.
    loop_.post([done = std::move(run->done), text = std::move(text)]() mutable { done(std::move(text)); });
    startNextFallback();
}

std::string selectionTooLargeMessage(std::uint64_t bytes) {
    return "选中的文本太大（至少 " + describeByteSize(bytes) + "），无法读取，请选择较短的一段文字";
}

}  // namespace tavi
