#include "app/GeneralTab.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>

#include "app/FormCard.h"
#include "app/WindowStyle.h"
#include "core/TranslationService.h"
#include "settings/AppSettings.h"

namespace tavi {
namespace {

// What the spin box offers; a stored value outside (tavi config takes any
// integer) is shown as it is rather than cut to fit.
constexpr int kMinLengthLowest = 0;
constexpr int kMinLengthHighest = 1000;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

QComboBox* makeLanguagePicker(const char* objectName) {
    auto* picker = new QComboBox;
    picker->setObjectName(QString::fromLatin1(objectName));
    for (Language language : allLanguages())
        picker->addItem(qt(flag(language)) + QLatin1Char(' ') + qt(displayName(language)), qt(rawValue(language)));
    picker->setMaxVisibleItems(static_cast<int>(kLanguageCount));
    return picker;
}

// Selects the item holding `data` without telling the connected setter.
void showChoice(QComboBox* picker, const QString& data) {
    const int index = picker->findData(data);
    if (index == picker->currentIndex()) return;
    const QSignalBlocker quiet(picker);
    picker->setCurrentIndex(index);
}

void showChecked(QCheckBox* box, bool checked) {
    if (box->isChecked() == checked) return;
    const QSignalBlocker quiet(box);
    box->setChecked(checked);
}

QLabel* makeParagraph(QLabel* label, const char* objectName) {
    label->setObjectName(QString::fromLatin1(objectName));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

}  // namespace

QString captureAbilitiesStatement(const CaptureAbilities& abilities) {
    const bool reads = abilities.readsSelection;
    const bool copies = abilities.sendsCopyShortcut;
    if (abilities.throughXWayland) {
        const QString reach = reads && copies ? QStringLiteral("读取选中文字和模拟复制都只对 X11（XWayland）程序有效。")
                              : reads        ? QStringLiteral("只能读取 X11（XWayland）程序中选中的文字，无法模拟复制。")
                              : copies       ? QStringLiteral("无法读取选中文字，只能向 X11（XWayland）程序模拟复制。")
                                             : QStringLiteral("无法读取选中文字，也无法模拟复制。");
        return QStringLiteral("在此 Wayland 会话中：") + reach +
               QStringLiteral("要翻译其他程序中选中的文字，请在桌面的键盘设置中为命令 tavi selection 设置一个快捷键。");
    }
    if (reads && copies) return QStringLiteral("在此 X11 会话中：可以读取选中文字，也可以模拟复制。");
    if (reads) return QStringLiteral("在此 X11 会话中：可以读取选中文字，但 X 服务器缺少 XTest 扩展，无法模拟复制。");
    if (copies) return QStringLiteral("在此 X11 会话中：无法直接读取选中文字，只能模拟复制后读取剪贴板。");
    return QStringLiteral("在此会话中：无法读取选中文字，也无法模拟复制。");
}

GeneralTab::GeneralTab(WindowServices services, QWidget* parent)
    : GeneralTab(std::move(services), Autostart::forCurrentUser(), parent) {}

GeneralTab::GeneralTab(WindowServices services, Autostart autostart, QWidget* parent)
    : QWidget(parent), services_(std::move(services)), autostart_(std::move(autostart)) {
    setObjectName(QStringLiteral("generalTab"));
    buildLayout();
    AppSettings* settings = &services_.settings;

    connect(provider_, &QComboBox::currentIndexChanged, this, [this, settings] {
        if (provider_->currentIndex() >= 0) settings->setActiveProviderID(provider_->currentData().toString().toStdString());
    });
    const auto connectLanguage = [this, settings](QComboBox* picker, void (AppSettings::*set)(Language)) {
        connect(picker, &QComboBox::currentIndexChanged, this, [settings, picker, set] {
            if (const auto language = languageFromRawValue(picker->currentData().toString().toStdString()))
                (settings->*set)(*language);
        });
    };
    connectLanguage(sourceLanguage_, &AppSettings::setSourceLanguage);
    connectLanguage(targetLanguage_, &AppSettings::setTargetLanguage);
    connect(popupNearCursor_, &QCheckBox::toggled, this, [settings](bool on) { settings->setShowPopupNearCursor(on); });
    // The application starts or stops the monitor when this setting changes.
    connect(clipboardMonitor_, &QCheckBox::toggled, this,
            [settings](bool on) { settings->setClipboardMonitorEnabled(on); });
    connect(autoTranslate_, &QCheckBox::toggled, this, [settings](bool on) { settings->setAutoTranslateOnCopy(on); });
    connect(minLength_, &QSpinBox::valueChanged, this,
            [settings](int value) { settings->setMinTextLengthForAutoTranslate(value); });
    connect(launchAtLogin_, &QCheckBox::toggled, this, [this](bool on) { setAutostart(on); });

    followSettings();
    settingsChanges_ = settings->observe([this](std::string_view) { followSettings(); });
    showCaptureAbilities();
    showAutostart();
}

GeneralTab::~GeneralTab() = default;

void GeneralTab::buildLayout() {
    provider_ = new QComboBox;
    provider_->setObjectName(QStringLiteral("activeProviderID"));
    for (const auto& provider : TranslationService::providers())
        provider_->addItem(qt(provider->name()), qt(provider->id()));
    sourceLanguage_ = makeLanguagePicker("sourceLanguage");
    targetLanguage_ = makeLanguagePicker("targetLanguage");
    const int pickerWidth = std::max({provider_->sizeHint().width(), sourceLanguage_->sizeHint().width(), 180});
    for (QComboBox* picker : {provider_, sourceLanguage_, targetLanguage_}) picker->setMinimumWidth(pickerWidth);

    auto* translation = new FormCard;
    translation->addLabeledRow(QStringLiteral("翻译服务"), provider_);
    translation->addLabeledRow(QStringLiteral("源语言"), sourceLanguage_);
    translation->addLabeledRow(QStringLiteral("目标语言"), targetLanguage_);

    const auto makeCheckBox = [](const QString& text, const char* objectName) {
        auto* box = new QCheckBox(text);
        box->setObjectName(QString::fromLatin1(objectName));
        box->setAccessibleName(text);
        return box;
    };
    popupNearCursor_ = makeCheckBox(QStringLiteral("浮窗显示在鼠标附近"), "showPopupNearCursor");
    clipboardMonitor_ = makeCheckBox(QStringLiteral("启用剪贴板监听"), "clipboardMonitorEnabled");
    autoTranslate_ = makeCheckBox(QStringLiteral("复制后自动翻译"), "autoTranslateOnCopy");
    minLength_ = new QSpinBox;
    minLength_->setObjectName(QStringLiteral("minTextLengthForAutoTranslate"));
    minLength_->setAccessibleName(QStringLiteral("最少字符数"));
    minLength_->setRange(kMinLengthLowest, kMinLengthHighest);
    minLengthLabel_ = new QLabel(QStringLiteral("最少字符数："));
    minLengthLabel_->setBuddy(minLength_);

    auto* behaviour = new FormCard;
    behaviour->addRow()->addWidget(popupNearCursor_);
    behaviour->addRow()->addWidget(clipboardMonitor_);
    QBoxLayout* autoRow = behaviour->addRow();
    autoRow->addWidget(autoTranslate_);
    autoRow->addStretch(1);
    autoRow->addWidget(minLengthLabel_);
    autoRow->addWidget(minLength_);

    auto* permission = new FormCard;
    QBoxLayout* permissionRow = permission->addRow(true);
    auto* permissionTitle = new QLabel(QStringLiteral("辅助功能权限"));
    QFont titleFont = permissionTitle->font();
    titleFont.setWeight(QFont::DemiBold);
    permissionTitle->setFont(titleFont);
    permissionRow->addWidget(permissionTitle);
    auto* purpose = new ToneLabel(style::secondaryText);
    makeParagraph(purpose, "accessibilityPurpose")->setText(QStringLiteral("辅助功能权限用于读取选中文字和模拟复制操作"));
    permissionRow->addWidget(purpose);
    captureStatement_ = makeParagraph(new QLabel, "captureStatement");
    // The command to bind is in it: let it be copied.
    captureStatement_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    permissionRow->addWidget(captureStatement_);

    auto* startup = new FormCard;
    QBoxLayout* startupRow = startup->addRow(true);
    launchAtLogin_ = makeCheckBox(QStringLiteral("登录时启动"), "launchAtLogin");
    autostartFailure_ = new ToneLabel(style::failure);
    makeParagraph(autostartFailure_, "autostartFailure");
    autostartFailure_->hide();
    startupRow->addWidget(launchAtLogin_);
    startupRow->addWidget(autostartFailure_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin);
    layout->setSpacing(style::kSpacing);
    for (FormCard* card : {translation, behaviour, permission, startup}) layout->addWidget(card);
    layout->addStretch(1);

    setTabOrder(provider_, sourceLanguage_);
    setTabOrder(sourceLanguage_, targetLanguage_);
    setTabOrder(targetLanguage_, popupNearCursor_);
    setTabOrder(popupNearCursor_, clipboardMonitor_);
    setTabOrder(clipboardMonitor_, autoTranslate_);
    setTabOrder(autoTranslate_, minLength_);
    setTabOrder(minLength_, launchAtLogin_);
}

void GeneralTab::followSettings() {
    const AppSettings& settings = services_.settings;
    const QString providerID = qt(settings.activeProviderID());
    showChoice(provider_, providerID);
    // An identifier none of the services has (written by hand) shows as
    // itself until one is chosen.
    provider_->setPlaceholderText(providerID);
    showChoice(sourceLanguage_, qt(rawValue(settings.sourceLanguage())));
    showChoice(targetLanguage_, qt(rawValue(settings.targetLanguage())));
    showChecked(popupNearCursor_, settings.showPopupNearCursor());
    showChecked(clipboardMonitor_, settings.clipboardMonitorEnabled());
    showChecked(autoTranslate_, settings.autoTranslateOnCopy());
    minLength_->setEnabled(settings.autoTranslateOnCopy());
    minLengthLabel_->setEnabled(settings.autoTranslateOnCopy());

    const auto stored = static_cast<int>(
        std::clamp<std::int64_t>(settings.minTextLengthForAutoTranslate(), INT_MIN, INT_MAX));
    const int lowest = std::min(kMinLengthLowest, stored);
    const int highest = std::max(kMinLengthHighest, stored);
    if (minLength_->value() != stored || minLength_->minimum() != lowest || minLength_->maximum() != highest) {
        const QSignalBlocker quiet(minLength_);
        minLength_->setRange(lowest, highest);
        minLength_->setValue(stored);
    }
}

void GeneralTab::showCaptureAbilities() {
    captureStatement_->setText(captureAbilitiesStatement(services_.desktop.captureAbilities()));
}

void GeneralTab::showAutostart() { showChecked(launchAtLogin_, autostart_.isEnabled()); }

void GeneralTab::setAutostart(bool enabled) {
    const std::optional<std::string> failure = autostart_.setEnabled(enabled);
    autostartFailure_->setText(failure ? qt(*failure) : QString());
    autostartFailure_->setVisible(failure.has_value());
    showAutostart();
}

void GeneralTab::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Another program, or the desktop's startup settings, may have changed
    // the entry meanwhile.
    showAutostart();
    showCaptureAbilities();
}

bool GeneralTab::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    keepWrappedTextWhole(this, event);
    return handled;
}

}  // namespace tavi
