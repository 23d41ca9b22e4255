#include "app/HotkeysTab.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/DesktopActions.h"
#include "app/FormCard.h"
#include "app/HotkeyRecorder.h"
#include "app/WindowStyle.h"
#include "platform/DesktopPlatform.h"
#include "settings/AppSettings.h"
#include "settings/HotkeyModel.h"

namespace tavi {
namespace {

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

const QString kIdleHint = QStringLiteral("点击快捷键即可录制新的组合键，按 Esc 取消。");

ToneLabel* makeNote(ToneLabel::Tone tone, const char* objectName) {
    auto* label = new ToneLabel(tone);
    label->setObjectName(QString::fromLatin1(objectName));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

}  // namespace

HotkeysTab::HotkeysTab(WindowServices services, QWidget* parent) : QWidget(parent), services_(std::move(services)) {
    setObjectName(QStringLiteral("hotkeysTab"));

    auto* rows = new FormCard;
    for (HotkeyAction action : allHotkeyActions()) {
        auto* recorder = new HotkeyRecorder(action, services_.desktop.keyboardLayout(), services_.suspendHotkeys);
        recorders_[static_cast<std::size_t>(action)] = recorder;
        rows->addLabeledRow(qt(title(action)), recorder);
        connect(recorder, &HotkeyRecorder::shortcutRecorded, this,
                [this, action](HotkeyShortcut candidate) { record(action, candidate); });
        connect(recorder, &HotkeyRecorder::keyRefused, this,
                [this] { showMessage(QStringLiteral("无法识别这个按键，请换一个。")); });
        connect(recorder, &HotkeyRecorder::recordingChanged, this, [this](bool recording) { showHint(recording); });
    }

    desktopDecides_ = makeNote(style::secondaryText, "desktopDecides");
    desktopDecides_->setText(QStringLiteral("在这个桌面上，快捷键最终由系统设置决定。"));
    hint_ = makeNote(style::secondaryText, "recorderHint");
    showHint(false);
    message_ = makeNote(style::failure, "hotkeyMessage");
    message_->hide();

    restore_ = new QPushButton(QStringLiteral("恢复默认快捷键"));
    restore_->setObjectName(QStringLiteral("restoreDefaults"));
    restore_->setAccessibleName(restore_->text());
    restore_->setAutoDefault(false);
    connect(restore_, &QPushButton::clicked, this, [this] {
        restoreDefaultHotkeys(services_.settings);
        showMessage(QString());
    });

    auto* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(restore_);
    buttonRow->addStretch(1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin);
    layout->setSpacing(style::kSpacing);
    layout->addWidget(rows);
    layout->addWidget(desktopDecides_);
    layout->addWidget(hint_);
    layout->addWidget(message_);
    // The button stays at the foot of the tab, where the hint and the
    // message coming and going do not move it.
    layout->addStretch(1);
    layout->addLayout(buttonRow);

    followSettings();
    followDesktop();
    settingsChanges_ = services_.settings.observe([this](std::string_view) { followSettings(); });
    desktopChanges_ = services_.desktop.shortcuts().onDesktopChanged([this] { followDesktop(); });
}

HotkeysTab::~HotkeysTab() {
    // Destroying the widgets below takes the focus from a listening
    // recorder, which stops it: too late to tell this tab.
    for (HotkeyRecorder* recorder : recorders_) disconnect(recorder, nullptr, this, nullptr);
}

void HotkeysTab::record(HotkeyAction action, HotkeyShortcut candidate) {
    const std::optional<std::string> refusal = assignHotkeyIfAccepted(services_.settings, action, candidate);
    showMessage(refusal ? qt(*refusal) : QString());
    // An accepted shortcut equal to the old one changes nothing to observe.
    followSettings();
}

void HotkeysTab::showHint(bool recording) {
    // One recorder stops listening before the next one starts.
    hint_->setText(recording ? qt(kHotkeyRecorderHint) : kIdleHint);
}

void HotkeysTab::showMessage(const QString& message) {
    message_->setText(message);
    message_->setVisible(!message.isEmpty());
}

void HotkeysTab::followSettings() {
    for (HotkeyRecorder* recorder : recorders_) {
        const HotkeyShortcut current = services_.settings.hotkey(recorder->action());
        if (recorder->shortcut() != current) recorder->setShortcut(current);
    }
}

void HotkeysTab::followDesktop() {
    GlobalShortcuts& shortcuts = services_.desktop.shortcuts();
    desktopDecides_->setVisible(shortcuts.desktopHasFinalSay());
    for (HotkeyRecorder* recorder : recorders_)
        recorder->setDesktopTrigger(shortcuts.triggerText(actionForHotkey(recorder->action()).name));
}

bool HotkeysTab::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    keepWrappedTextWhole(this, event);
    return handled;
}

}  // namespace tavi
