#include "app/HotkeyRecorder.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QStyle>
#include <QStyleOptionButton>

#include <algorithm>
#include <initializer_list>

#include "app/StatusMenu.h"
#include "app/WindowStyle.h"
#include "platform/KeyboardLayout.h"
#include "settings/HotkeyModel.h"

namespace tavi {
namespace {

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

const QString kListening = QStringLiteral("按下新快捷键");

// The modifier a key is, when it is one: Qt may or may not count a
// modifier key being pressed or released in the event's own state.
std::uint32_t modifierOfKey(int key) {
    switch (key) {
    case Qt::Key_Control: return HotkeyModifier::control;
    case Qt::Key_Alt: return HotkeyModifier::option;
    case Qt::Key_Shift: return HotkeyModifier::shift;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R: return HotkeyModifier::command;
    default: return 0;
    }
}

// Keys that only change what other keys do: pressed alone they complete no
// shortcut, so listening goes on.
bool isModifierKey(int key) {
    switch (key) {
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Shift:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_Mode_switch:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock: return true;
    default: return false;
    }
}

}  // namespace

QString shortcutText(HotkeyShortcut shortcut) {
    return shortcut.modifiers == 0 ? QStringLiteral("未设置") : qt(shortcutDisplay(shortcut));
}

std::uint32_t hotkeyModifiersFromQt(Qt::KeyboardModifiers modifiers) {
    std::uint32_t bits = 0;
    if (modifiers & Qt::ControlModifier) bits |= HotkeyModifier::control;
    if (modifiers & Qt::AltModifier) bits |= HotkeyModifier::option;
    if (modifiers & Qt::ShiftModifier) bits |= HotkeyModifier::shift;
    if (modifiers & Qt::MetaModifier) bits |= HotkeyModifier::command;
    return bits;
}

HotkeyRecorder::HotkeyRecorder(HotkeyAction action, KeyboardLayout& layout,
                               std::function<void(bool suspended)> suspendHotkeys, QWidget* parent)
    : QPushButton(parent), action_(action), layout_(layout), suspendHotkeys_(std::move(suspendHotkeys)) {
    setObjectName(qt(rawValue(action)));
    setFocusPolicy(Qt::StrongFocus);
    setAutoDefault(false);
    connect(this, &QPushButton::clicked, this, [this] {
        if (recording_) cancelRecording();
        else startRecording();
    });
    refresh();
}

HotkeyRecorder::~HotkeyRecorder() {
    // The owner may be half gone by now: let go of the keyboard and give the
    // hotkeys back without telling anyone.
    blockSignals(true);
    stopRecording();
}

void HotkeyRecorder::setShortcut(HotkeyShortcut shortcut) {
    shortcut_ = shortcut;
    refresh();
}

void HotkeyRecorder::setDesktopTrigger(std::optional<std::string> trigger) {
    if (desktopTrigger_ == trigger) return;
    desktopTrigger_ = std::move(trigger);
    refresh();
}

void HotkeyRecorder::startRecording() {
    if (recording_) return;
    recording_ = true;
    held_ = 0;
    if (suspendHotkeys_) suspendHotkeys_(true);
    setFocus(Qt::OtherFocusReason);
    grabKeyboard();
    refresh();
    emit recordingChanged(true);
}

void HotkeyRecorder::cancelRecording() { stopRecording(); }

void HotkeyRecorder::stopRecording() {
    if (!recording_) return;
    recording_ = false;
    held_ = 0;
    releaseKeyboard();
    if (suspendHotkeys_) suspendHotkeys_(false);
    refresh();
    emit recordingChanged(false);
}

bool HotkeyRecorder::event(QEvent* event) {
    if (recording_) {
        switch (event->type()) {
        case QEvent::ShortcutOverride:
            // Every key is the recorder's while it listens, none a shortcut
            // of the window's.
            event->accept();
            return true;
        case QEvent::KeyPress:
            // Tab and Backtab too, which would otherwise move the focus.
            keyPressEvent(static_cast<QKeyEvent*>(event));
            return true;
        default: break;
        }
    }
    return QPushButton::event(event);
}

void HotkeyRecorder::keyPressEvent(QKeyEvent* event) {
    const bool startKey = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                          event->key() == Qt::Key_Space;
    if (!recording_) {
        if (startKey && event->modifiers() == Qt::NoModifier) {
            startRecording();
            event->accept();
            return;
        }
        QPushButton::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->isAutoRepeat()) return;
    const std::uint32_t modifiers = hotkeyModifiersFromQt(event->modifiers());
    if (isModifierKey(event->key())) {
        showHeldModifiers(modifiers | modifierOfKey(event->key()));
        return;
    }
    if (event->key() == Qt::Key_Escape && modifiers == 0) {
        cancelRecording();
        return;
    }
    // Told while the hotkeys are still let go, so that taking them back
    // grabs the new combination at once.
    if (const std::optional<std::uint32_t> position = layout_.keyPosition(event->nativeScanCode()))
        emit shortcutRecorded(HotkeyShortcut{*position, modifiers});
    else
        emit keyRefused();
    stopRecording();
}

void HotkeyRecorder::keyReleaseEvent(QKeyEvent* event) {
    if (!recording_) {
        QPushButton::keyReleaseEvent(event);
        return;
    }
    event->accept();
    if (isModifierKey(event->key()))
        showHeldModifiers(hotkeyModifiersFromQt(event->modifiers()) & ~modifierOfKey(event->key()));
}

void HotkeyRecorder::focusOutEvent(QFocusEvent* event) {
    stopRecording();
    QPushButton::focusOutEvent(event);
}

void HotkeyRecorder::hideEvent(QHideEvent* event) {
    stopRecording();
    QPushButton::hideEvent(event);
}

void HotkeyRecorder::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) refresh();
}

void HotkeyRecorder::showHeldModifiers(std::uint32_t modifiers) {
    held_ = modifiers;
    refresh();
}

void HotkeyRecorder::refresh() {
    const QString current = qt(hotkeyText(shortcut_, desktopTrigger_));
    if (!recording_) setText(current);
    else if (held_ == 0) setText(kListening);
    else setText(qt(modifierDisplay(held_)) + QStringLiteral("…"));
    setAccessibleName(qt(title(action_)) + QStringLiteral("：") + current);
    setAccessibleDescription(recording_ ? kListening : QString());

    // The listening recorder stands out in the accent colour; otherwise it
    // keeps the palette it inherits. (Each change comes back here once.)
    if (recording_) {
        const QColor accent = style::accent(palette());
        if (palette().color(QPalette::ButtonText) != accent) {
            QPalette tinted = palette();
            tinted.setColor(QPalette::ButtonText, accent);
            setPalette(tinted);
        }
    } else if (palette().resolveMask() != 0) {
        setPalette(QPalette());
    }
}

QSize HotkeyRecorder::sizeHint() const {
    // As wide as the longest text it shows, so that it keeps its width and
    // the recorders of all rows line up.
    QStyleOptionButton option;
    initStyleOption(&option);
    int widest = fontMetrics().horizontalAdvance(text());
    for (const QString& sample : {kListening, QStringLiteral("⌃⌥⇧⌘Space")})
        widest = std::max(widest, fontMetrics().horizontalAdvance(sample));
    const QSize plain = QPushButton::sizeHint();
    const QSize contents(widest + 2 * style::kSpacing, fontMetrics().height());
    const int width = style()->sizeFromContents(QStyle::CT_PushButton, &option, contents, this).width();
    return {std::max(width, plain.width()), plain.height()};
}

}  // namespace tavi
