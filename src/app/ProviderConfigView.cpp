#include "app/ProviderConfigView.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QUrl>
#include <QVBoxLayout>

#include <variant>

#include "app/ProviderWidgets.h"
#include "app/WindowStyle.h"
#include "core/TranslationService.h"
#include "settings/AppSettings.h"
#include "settings/SettingsSchema.h"

namespace tavi {
namespace {

constexpr int kHeadTileSize = 44;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

template <typename T>
const SettingProperty<T>& settingProperty(const ProviderField& field) {
    return std::get<SettingProperty<T>>(findSettingDescriptor(field.settingKey)->property);
}

QLabel* makeLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QFrame* makeDivider(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setObjectName(QStringLiteral("divider"));
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    return line;
}

}  // namespace

ProviderConfigView::ProviderConfigView(std::string providerID, AppSettings& settings, QWidget* parent)
    : QWidget(parent), providerID_(std::move(providerID)), settings_(settings) {
    setObjectName(QStringLiteral("providerConfig"));
    if (TranslationService::provider(providerID_) && !providerFields(providerID_).empty())
        build();
    else
        buildUnsupported();
    applyColors();
    changes_ = settings_.observe([this](std::string_view key) { settingChanged(key); });
}

ProviderConfigView::~ProviderConfigView() = default;

void ProviderConfigView::buildUnsupported() {
    unsupported_ = makeLabel(QStringLiteral("暂不支持配置此服务商"), this);
    unsupported_->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin);
    layout->addWidget(unsupported_);
}

void ProviderConfigView::build() {
    const ProviderMetadata& metadata = providerMetadata(providerID_);
    const QString name = qt(TranslationService::provider(providerID_)->name());
    setAccessibleName(name);

    // The head: symbol, name and subtitle, and the current state at the right.
    auto* tile = new ProviderSymbolTile(std::string(metadata.symbolName), std::string(metadata.accentColor),
                                        kHeadTileSize, this);
    auto* title = makeLabel(name, this);
    title->setObjectName(QStringLiteral("providerName"));
    title->setFont([&] {
        QFont font = scaledFont(this->font(), 1.3);
        font.setWeight(QFont::DemiBold);
        return font;
    }());
    subtitle_ = makeLabel(qt(metadata.subtitle), this);
    subtitle_->setObjectName(QStringLiteral("providerSubtitle"));
    title->setWordWrap(false);
    auto* names = new QVBoxLayout;
    names->setSpacing(2);
    names->addWidget(title);
    names->addWidget(subtitle_);

    currentPill_ = new StatusPill(QStringLiteral("当前正在使用"), style::success, this);
    makeCurrent_ = new QPushButton(QStringLiteral("设为当前服务商"), this);
    makeCurrent_->setAccessibleName(makeCurrent_->text());
    connect(makeCurrent_, &QPushButton::clicked, this, [this] { settings_.setActiveProviderID(providerID_); });

    auto* head = new QHBoxLayout;
    head->setSpacing(style::kSpacing);
    head->addWidget(tile);
    head->addLayout(names, 1);
    head->addWidget(currentPill_, 0, Qt::AlignTop | Qt::AlignRight);
    head->addWidget(makeCurrent_, 0, Qt::AlignTop | Qt::AlignRight);

    // The hint, and where the service issues its keys.
    helper_ = makeLabel(qt(metadata.helper), this);
    helper_->setObjectName(QStringLiteral("providerHelper"));
    auto* about = new QVBoxLayout;
    about->setSpacing(4);
    about->addWidget(helper_);
    if (metadata.learnMoreURL) {
        learnMore_ = new QPushButton(QStringLiteral("查看配置文档"), this);
        learnMore_->setObjectName(QStringLiteral("learnMore"));
        learnMore_->setAccessibleName(learnMore_->text());
        learnMore_->setAccessibleDescription(qt(*metadata.learnMoreURL));
        learnMore_->setToolTip(qt(*metadata.learnMoreURL));
        learnMore_->setCursor(Qt::PointingHandCursor);
        learnMore_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        const QUrl url(qt(*metadata.learnMoreURL));
        connect(learnMore_, &QPushButton::clicked, this, [url] { QDesktopServices::openUrl(url); });
        about->addWidget(learnMore_, 0, Qt::AlignLeft);
    }

    auto* fields = new QVBoxLayout;
    fields->setSpacing(style::kSpacing + 2);
    for (const ProviderField& field : providerFields(providerID_))
        fields->addWidget(new LabeledField(qt(field.title), makeControl(field), this));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin);
    layout->setSpacing(style::kSpacing + 2);
    layout->addLayout(head);
    layout->addSpacing(4);
    layout->addLayout(about);
    layout->addWidget(makeDivider(this));
    layout->addLayout(fields);
    layout->addStretch();

    showCurrent();
    for (const BoundField& bound : fields_) showValue(bound);
}

QWidget* ProviderConfigView::makeControl(const ProviderField& field) {
    BoundField bound{&field};
    QWidget* control = nullptr;
    if (field.kind == ProviderFieldKind::toggle) {
        auto* toggle = new QCheckBox(qt(field.text), this);
        toggle->setAccessibleName(toggle->text());
        toggle->setAccessibleDescription(qt(field.title));
        connect(toggle, &QCheckBox::toggled, this, [this, f = &field](bool on) { write(*f, on); });
        bound.toggle = toggle;
        control = toggle;
    } else {
        QLineEdit* edit = field.kind == ProviderFieldKind::secure ? new SecretLineEdit(this) : new QLineEdit(this);
        edit->setPlaceholderText(qt(field.text));
        edit->setAccessibleName(qt(field.title));
        edit->setAccessibleDescription(edit->placeholderText());
        connect(edit, &QLineEdit::textEdited, this,
                [this, f = &field](const QString& text) { write(*f, text.toStdString()); });
        bound.edit = edit;
        control = edit;
    }
    fields_.push_back(bound);
    return control;
}

void ProviderConfigView::write(const ProviderField& field, bool value) {
    (settings_.*settingProperty<bool>(field).setter)(value);
}

void ProviderConfigView::write(const ProviderField& field, std::string value) {
    (settings_.*settingProperty<std::string>(field).setter)(std::move(value));
}

void ProviderConfigView::settingChanged(std::string_view key) {
    if (key == "activeProviderID") showCurrent();
    for (const BoundField& bound : fields_)
        if (bound.field->settingKey == key) showValue(bound);
}

void ProviderConfigView::showCurrent() {
    if (!makeCurrent_) return;
    const bool current = settings_.activeProviderID() == providerID_;
    currentPill_->setVisible(current);
    makeCurrent_->setVisible(!current);
}

void ProviderConfigView::showValue(const BoundField& bound) {
    if (bound.toggle) {
        const QSignalBlocker quiet(bound.toggle);
        bound.toggle->setChecked(settings_.values().*settingProperty<bool>(*bound.field).field);
        return;
    }
    // The user's own edits come back here as they are saved: leave the field
    // alone then, so that the cursor, selection and undo stay where they are.
    const QString value = QString::fromStdString(settings_.values().*settingProperty<std::string>(*bound.field).field);
    if (bound.edit->text() == value) return;
    // A change from elsewhere while the user is in the field keeps the cursor
    // where it was, as far as the new text reaches.
    const int cursor = bound.edit->cursorPosition();
    bound.edit->setText(value);
    if (bound.edit->hasFocus()) bound.edit->setCursorPosition(std::min<int>(cursor, static_cast<int>(value.size())));
}

void ProviderConfigView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(style::hairline(palette()), 1));
    painter.setBrush(style::cardBackground(palette()));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), style::kCornerRadius, style::kCornerRadius);
}

void ProviderConfigView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) applyColors();
    QWidget::changeEvent(event);
}

void ProviderConfigView::applyColors() {
    const QPalette& own = palette();
    const auto recolor = [](QWidget* widget, QPalette::ColorRole role, const QColor& color) {
        if (!widget) return;
        QPalette palette = widget->palette();
        palette.setColor(role, color);
        widget->setPalette(palette);
    };
    recolor(subtitle_, QPalette::WindowText, style::secondaryText(own));
    recolor(helper_, QPalette::WindowText, style::secondaryText(own));
    recolor(unsupported_, QPalette::WindowText, style::secondaryText(own));
    for (QFrame* divider : findChildren<QFrame*>(QStringLiteral("divider")))
        recolor(divider, QPalette::Window, style::hairline(own));
    if (learnMore_)
        learnMore_->setStyleSheet(
            QStringLiteral("QPushButton#learnMore { border: none; padding: 2px 0; color: %1; }"
                           "QPushButton#learnMore:hover, QPushButton#learnMore:focus { text-decoration: underline; }")
                .arg(style::accent(own).name()));
}

}  // namespace tavi
