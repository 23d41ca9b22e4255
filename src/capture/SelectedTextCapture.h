#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/EventLoop.h"
#include "platform/Clipboard.h"
#include "platform/KeySender.h"
#include "platform/SelectionReader.h"
#include "platform/TextRead.h"

namespace tavi {

// Reads the text selected in the application the user works in: first the
// desktop's own selection, and where that gives nothing, by sending the copy
// shortcut and reading the clipboard, after which the user's clipboard is
// put back.
//
// Owning thread only; every answer arrives there, never from inside the call.
class SelectedTextCapture {
public:
    using TextCallback = std::function<void(TextRead)>;

    // How long the application gets to answer the copy shortcut.
    static constexpr EventLoop::Duration kCopyDelay{150};

    SelectedTextCapture(SelectionReader& selection, Clipboard& clipboard, KeySender& keys, EventLoop& loop);
    ~SelectedTextCapture();
    SelectedTextCapture(const SelectedTextCapture&) = delete;
    SelectedTextCapture& operator=(const SelectedTextCapture&) = delete;

    // The selection, trimmed of white space and line breaks; the copy fallback
    // when that is empty. Nothing when both give no text; the size alone when
    // the text is larger than Tavi reads.
    void captureSelectedText(TextCallback done);

    // Sends the copy shortcut, waits kCopyDelay, reads the clipboard's text
    // and restores every item and type the clipboard held before (a
    // clipboard that was empty is left empty). The text read is returned even
    // when the shortcut copied nothing: it is then what was there before.
    // Fallbacks run one after another, so that one never snapshots what
    // another has just copied and the user's clipboard always comes back.
    //
    // Nothing is sent, and nothing returned, where the shortcut would do
    // harm (the focused application does not copy on it) or the clipboard
    // could not be saved whole (it would not come back).
    void copyFallback(TextCallback done);

private:
    struct Fallback;
    void startNextFallback();
    void finishFallback(const std::shared_ptr<Fallback>& run, TextRead text);

    SelectionReader& selection_;
    Clipboard& clipboard_;
    KeySender& keys_;
    EventLoop& loop_;
    std::deque<TextCallback> waiting_;
    bool fallbackRunning_ = false;
    std::shared_ptr<SelectedTextCapture*> self_;
};

// What the user is told when the selection was larger than Tavi reads.
std::string selectionTooLargeMessage(std::uint64_t bytes);

}  // namespace tavi
