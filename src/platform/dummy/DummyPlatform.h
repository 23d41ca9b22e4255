#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/EventLoop.h"
#include "core/ObserverList.h"
#include "platform/DesktopPlatform.h"
#include "platform/dummy/DummyScreenCapture.h"

namespace tavi::dummy {

// An in-memory desktop for tests: every concern behaves like a real desktop's
// (answers arrive later, on the loop) and exposes what happened to it and
// hooks that play the user and other programs.

class DummyShortcuts final : public GlobalShortcuts {
public:
    struct Grab {
        std::uint32_t keyCode;
        std::uint32_t modifiers;
        std::uint32_t id;
        std::string name;  // the purpose's
    };

    void installHandler(PressedHandler handler) override;
    std::optional<Handle> grab(std::uint32_t keyCode, std::uint32_t modifiers, std::uint32_t id,
                               const Purpose& purpose) override;
    void release(Handle handle) override;
    bool desktopHasFinalSay() const override { return desktopDecides; }
    std::optional<std::string> triggerText(std::string_view name) const override;
    Subscription onDesktopChanged(std::function<void()> changed) override { return changed_.add(std::move(changed)); }

    // A desktop that decides the keys itself, and what it reports for each
    // purpose's name; tell the observers with desktopChanged().
    bool desktopDecides = false;
    std::map<std::string, std::string, std::less<>> triggers;
    void desktopChanged() { changed_.notify(); }

    // Another program holds this combination: grabbing it is refused.
    void holdElsewhere(std::uint32_t keyCode, std::uint32_t modifiers);
    // The user presses a combination; true when a grab caught it.
    bool press(std::uint32_t keyCode, std::uint32_t modifiers);
    // Reports an id directly, as a desktop may for a grab just released.
    void report(std::uint32_t id);

    std::vector<Grab> grabs() const;
    int handlersInstalled() const { return handlersInstalled_; }

private:
    PressedHandler handler_;
    ObserverList<> changed_;
    int handlersInstalled_ = 0;
    std::map<Handle, Grab> grabs_;
    std::set<std::pair<std::uint32_t, std::uint32_t>> heldElsewhere_;
    Handle nextHandle_ = 1;
};

class DummyKeyboardLayout final : public KeyboardLayout {
public:
    std::optional<std::string> keyName(std::uint32_t keyCode) override;
    std::optional<std::uint32_t> keyPosition(std::uint32_t nativeKeyCode) override;
    std::map<std::uint32_t, std::string> names;
    std::map<std::uint32_t, std::uint32_t> positions;  // native key code -> stored position
};

class DummyClipboard final : public Clipboard {
public:
    explicit DummyClipboard(EventLoop& loop) : loop_(loop) {}

    std::int64_t changeCount() const override { return changeCount_; }
    void readText(std::function<void(TextRead)> done) override;
    void readSnapshot(std::function<void(ClipboardSnapshotRead)> done) override;
    void clear() override;
    void write(ClipboardItem item) override;
    void writeText(std::string text) override;
    void handOver(std::function<void()> done) override;

    // Another program copies: its items replace the clipboard's.
    void copyFromElsewhere(std::vector<ClipboardItem> items);
    void copyTextFromElsewhere(std::string text);
    const std::vector<ClipboardItem>& items() const { return items_; }

    // The owner offers more than a reader takes: reads see only its size.
    std::optional<std::uint64_t> oversized;
    // A slow owner: text reads answer this long after they were asked.
    EventLoop::Duration readDelay{0};
    int handOvers = 0;

private:
    EventLoop& loop_;
    std::vector<Subscription> slowReads_;
    std::vector<ClipboardItem> items_;
    std::int64_t changeCount_ = 0;
};

class DummySelection final : public SelectionReader {
public:
    explicit DummySelection(EventLoop& loop) : loop_(loop) {}
    void readSelectedText(std::function<void(TextRead)> done) override;
    std::optional<std::string> selectedText;
    std::optional<std::uint64_t> oversized;

private:
    EventLoop& loop_;
};

class DummyKeySender final : public KeySender {
public:
    explicit DummyKeySender(EventLoop& loop) : loop_(loop) {}
    bool focusedApplicationCopies() override { return focusCopies; }
    void sendCopy(std::function<void()> sent) override;
    // False: the focused application is a terminal, where Control+C interrupts.
    bool focusCopies = true;
    // What the focused application does on the copy shortcut.
    std::function<void()> onCopy;
    int copiesSent = 0;

private:
    EventLoop& loop_;
};

class DummyScreens final : public Screens {
public:
    std::optional<Point> pointerPosition() override { return pointer; }
    std::vector<ScreenInfo> screens() override { return monitors; }
    std::optional<Rect> windowFrame(NativeWindowId window) override;

    std::optional<Point> pointer = Point{100, 100};
    std::vector<ScreenInfo> monitors{{{0, 0, 1920, 1080}, {0, 0, 1920, 1080}, true}};
    std::map<NativeWindowId, Rect> windows;
};

class DummyMouseDownMonitor final : public MouseDownMonitor {
public:
    Subscription watch(std::function<void(MouseDown)> onMouseDown) override;
    void click(Point at, NativeWindowId window = 0) { watchers_.notify({at, window}); }
    bool available = true;

private:
    ObserverList<MouseDown> watchers_;
};

class DummyPlatform final : public DesktopPlatform {
public:
    explicit DummyPlatform(EventLoop& loop)
        : clipboardBackend(loop), selectionBackend(loop), keySenderBackend(loop) {}

    std::string name() const override { return "dummy"; }
    GlobalShortcuts& shortcuts() override { return shortcutsBackend; }
    KeyboardLayout& keyboardLayout() override { return layoutBackend; }
    Clipboard& clipboard() override { return clipboardBackend; }
    SelectionReader& selection() override { return selectionBackend; }
    KeySender& keySender() override { return keySenderBackend; }
    Screens& screens() override { return screensBackend; }
    MouseDownMonitor& mouseDownMonitor() override { return mouseBackend; }
    ScreenCapture& screenCapture() override { return captureBackend; }
    bool hasCompositor() override { return compositor; }
    CaptureAbilities captureAbilities() override { return abilities; }

    DummyShortcuts shortcutsBackend;
    DummyKeyboardLayout layoutBackend;
    DummyClipboard clipboardBackend;
    DummySelection selectionBackend;
    DummyKeySender keySenderBackend;
    DummyScreens screensBackend;
    DummyMouseDownMonitor mouseBackend;
    DummyScreenCapture captureBackend;
    bool compositor = false;
    CaptureAbilities abilities{true, true, false};
};

}  // namespace tavi::dummy
