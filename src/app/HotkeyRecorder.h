#pragma once

#include <QPushButton>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "settings/HotkeyAction.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

class KeyboardLayout;

// "⌥A", or "未设置" for a shortcut without modifiers (no hotkey).
QString shortcutText(HotkeyShortcut shortcut);

// Qt's modifier state as hot-key modifier bits: Control → ⌃, Alt → ⌥,
// Shift → ⇧, Meta (the Super or Windows key) → ⌘; keypad and group-switch
// states are dropped.
std::uint32_t hotkeyModifiersFromQt(Qt::KeyboardModifiers modifiers);

// Shows one action's shortcut and records a new one: a click, Enter or Space
// starts listening ("按下新快捷键"), the next key with its modifiers is the
// candidate, Escape alone cancels. While it listens it holds the keyboard
// and the global hotkeys are let go, so that pressing the current
// combination reaches it instead of starting the action. Listening ends
// with the recorded key, Escape, another click, lost focus, hiding or
// destruction; the hotkeys are taken back each time.
class HotkeyRecorder final : public QPushButton {
    Q_OBJECT

public:
    HotkeyRecorder(HotkeyAction action, KeyboardLayout& layout, std::function<void(bool suspended)> suspendHotkeys,
                   QWidget* parent = nullptr);
    ~HotkeyRecorder() override;

    HotkeyAction action() const { return action_; }
    HotkeyShortcut shortcut() const { return shortcut_; }
    // The shortcut shown when not listening.
    void setShortcut(HotkeyShortcut shortcut);
    // What the desktop reports as this action's keys, where the desktop
    // decides them: shown instead of the shortcut. Nothing: the shortcut.
    void setDesktopTrigger(std::optional<std::string> trigger);

    bool isRecording() const { return recording_; }
    void startRecording();
    void cancelRecording();

    QSize sizeHint() const override;

signals:
    void recordingChanged(bool recording);
    // A key with the modifiers held: whether it may become the shortcut is
    // the owner's decision.
    void shortcutRecorded(tavi::HotkeyShortcut candidate);
    // A key that has no stored position (and could never be grabbed).
    void keyRefused();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void stopRecording();
    void showHeldModifiers(std::uint32_t modifiers);
    void refresh();

    HotkeyAction action_;
    KeyboardLayout& layout_;
    std::function<void(bool)> suspendHotkeys_;
    HotkeyShortcut shortcut_;
    std::optional<std::string> desktopTrigger_;
    bool recording_ = false;
    std::uint32_t held_ = 0;
};

}  // namespace tavi
