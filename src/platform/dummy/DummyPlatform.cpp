#include "platform/dummy/DummyPlatform.h"

namespace tavi::dummy {

void DummyShortcuts::installHandler(PressedHandler handler) {
    handler_ = std::move(handler);
    ++handlersInstalled_;
}

std::optional<GlobalShortcuts::Handle> DummyShortcuts::grab(std::uint32_t keyCode, std::uint32_t modifiers,
                                                            std::uint32_t id, const Purpose& purpose) {
    if (heldElsewhere_.contains({keyCode, modifiers})) return std::nullopt;
    const Handle handle = nextHandle_++;
    grabs_.emplace(handle, Grab{keyCode, modifiers, id, purpose.name});
    return handle;
}

std::optional<std::string> DummyShortcuts::triggerText(std::string_view name) const {
    auto found = triggers.find(name);
    if (found == triggers.end()) return std::nullopt;
    return found->second;
}

void DummyShortcuts::release(Handle handle) { grabs_.erase(handle); }

void DummyShortcuts::holdElsewhere(std::uint32_t keyCode, std::uint32_t modifiers) {
    heldElsewhere_.insert({keyCode, modifiers});
}

bool DummyShortcuts::press(std::uint32_t keyCode, std::uint32_t modifiers) {
    for (const auto& [handle, grab] : grabs_) {
        if (grab.keyCode == keyCode && grab.modifiers == modifiers) {
            report(grab.id);
            return true;
        }
    }
    return false;
}

void DummyShortcuts::report(std::uint32_t id) {
    if (handler_) handler_(id);
}

std::vector<DummyShortcuts::Grab> DummyShortcuts::grabs() const {
    std::vector<Grab> list;
    for (const auto& [handle, grab] : grabs_) list.push_back(grab);
    return list;
}

std::optional<std::uint32_t> DummyKeyboardLayout::keyPosition(std::uint32_t nativeKeyCode) {
    auto found = positions.find(nativeKeyCode);
    if (found == positions.end()) return std::nullopt;
    return found->second;
}

std::optional<std::string> DummyKeyboardLayout::keyName(std::uint32_t keyCode) {
    auto found = names.find(keyCode);
    if (found == names.end()) return std::nullopt;
    return found->second;
}

void DummyClipboard::readText(std::function<void(TextRead)> done) {
    if (oversized) {
        loop_.post([done = std::move(done), size = *oversized] { done(TextRead::oversized(size)); });
        return;
    }
    std::optional<std::string> text;
    for (const ClipboardItem& item : items_) {
        for (const auto& [type, bytes] : item) {
            if (type == "UTF8_STRING" || type == "text/plain;charset=utf-8") {
                text = bytes;
                break;
            }
        }
        if (text) break;
    }
    auto answer = [done = std::move(done), text = std::move(text)] { done({text, std::nullopt}); };
    if (readDelay > EventLoop::Duration::zero()) slowReads_.push_back(loop_.scheduleOnce(readDelay, std::move(answer)));
    else loop_.post(std::move(answer));
}

void DummyClipboard::readSnapshot(std::function<void(ClipboardSnapshotRead)> done) {
    ClipboardSnapshot snapshot;
    if (!items_.empty()) {
        snapshot.emplace();
        for (const ClipboardItem& item : items_) {
            ClipboardItem kept;
            for (const auto& entry : item)
                if (!entry.second.empty()) kept.push_back(entry);
            if (!kept.empty()) snapshot->push_back(std::move(kept));
        }
    }
    loop_.post([done = std::move(done), snapshot = std::move(snapshot), whole = !oversized] {
        done({snapshot, whole});
    });
}

void DummyClipboard::clear() {
    items_.clear();
    ++changeCount_;
}

void DummyClipboard::write(ClipboardItem item) {
    items_.push_back(std::move(item));
    ++changeCount_;
}

void DummyClipboard::writeText(std::string text) { write({{"UTF8_STRING", std::move(text)}}); }

void DummyClipboard::handOver(std::function<void()> done) {
    ++handOvers;
    loop_.post(std::move(done));
}

void DummyClipboard::copyFromElsewhere(std::vector<ClipboardItem> items) {
    items_ = std::move(items);
    ++changeCount_;
}

void DummyClipboard::copyTextFromElsewhere(std::string text) { copyFromElsewhere({{{"UTF8_STRING", std::move(text)}}}); }

void DummySelection::readSelectedText(std::function<void(TextRead)> done) {
    loop_.post([done = std::move(done), text = selectedText, oversized = oversized] { done({text, oversized}); });
}

void DummyKeySender::sendCopy(std::function<void()> sent) {
    ++copiesSent;
    if (onCopy) onCopy();
    loop_.post(std::move(sent));
}

std::optional<Rect> DummyScreens::windowFrame(NativeWindowId window) {
    auto found = windows.find(window);
    if (found == windows.end()) return std::nullopt;
    return found->second;
}

Subscription DummyMouseDownMonitor::watch(std::function<void(MouseDown)> onMouseDown) {
    if (!available) return {};
    return watchers_.add(std::move(onMouseDown));
}

}  // namespace tavi::dummy
