#include "app/TranslationPopupView.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>


namespace tavi {
namespace {

constexpr int kCopiedForMs = 2000;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// Laying out a wrapped label takes time in proportion to its text: past a
// few pages the popup would freeze for seconds. Long texts show their
// beginning; the copy button still copies the whole translation.
constexpr qsizetype kShownCharacters = 20000;

QString shown(std::string_view text) {
    QString whole = qt(text);
    if (whole.size() <= kShownCharacters) return whole;
    qsizetype cut = kShownCharacters;
    if (whole.at(cut - 1).isHighSurrogate()) --cut;
    return whole.left(cut) + QStringLiteral("…\n\n（全文共 %1 字，这里只显示开头的部分）").arg(whole.size());
}

QToolButton* makeButton(QWidget* parent, const QString& name) {
    auto* button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setIconSize(QSize(18, 18));
    button->setFixedSize(28, 28);
    button->setCursor(Qt::PointingHandCursor);
    button->setToolTip(name);
    button->setAccessibleName(name);
    return button;
}

QLabel* makeText(QWidget* parent, const char* objectName) {
    auto* label = new QLabel(parent);
    label->setObjectName(QString::fromLatin1(objectName));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}

}  // namespace

TranslationPopupView::TranslationPopupView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("popupView"));

    provider_ = new QLabel(this);
    provider_->setObjectName(QStringLiteral("provider"));
    languages_ = new QLabel(this);
    languages_->setObjectName(QStringLiteral("languages"));
    languages_->setTextFormat(Qt::PlainText);
    languages_->setMinimumWidth(0);
    languages_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    pin_ = makeButton(this, QStringLiteral("固定"));
    copy_ = makeButton(this, QStringLiteral("复制译文"));
    close_ = makeButton(this, QStringLiteral("关闭"));
    connect(pin_, &QToolButton::clicked, this, [this] { togglePin(); });
    connect(copy_, &QToolButton::clicked, this, [this] { copy(); });
    connect(close_, &QToolButton::clicked, this, [this] {
        if (actions_.onClose) actions_.onClose();
    });

    auto* header = new QHBoxLayout;
    header->setContentsMargins(16, 8, 8, 6);
    header->setSpacing(8);
    header->addWidget(provider_);
    header->addWidget(languages_, 1);
    header->addSpacing(4);
    header->addWidget(pin_);
    header->addWidget(copy_);
    header->addWidget(close_);

    auto* divider = new QFrame(this);
    divider->setObjectName(QStringLiteral("divider"));
    divider->setFixedHeight(1);

    auto* body = new QWidget;
    body->setObjectName(QStringLiteral("body"));
    translated_ = makeText(body, "translated");
    sourceCaption_ = new QLabel(QStringLiteral("原文"), body);
    sourceCaption_->setObjectName(QStringLiteral("caption"));
    source_ = makeText(body, "source");
    auto* texts = new QVBoxLayout(body);
    texts->setContentsMargins(16, 12, 16, 14);
    texts->setSpacing(0);
    texts->addWidget(translated_);
    texts->addSpacing(14);
    texts->addWidget(sourceCaption_);
    texts->addSpacing(4);
    texts->addWidget(source_);
    texts->addStretch(1);

    scroll_ = new QScrollArea(this);
    scroll_->setObjectName(QStringLiteral("scroll"));
    scroll_->setWidget(body);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(divider);
    layout->addWidget(scroll_, 1);

    applyTheme();
}

void TranslationPopupView::applyTheme() {
    // Follow the desktop's light or dark palette.
    const QColor window = palette().color(QPalette::Window);
    const bool dark = window.lightness() < 128;
    textColor_ = dark ? QColor(0xEE, 0xEE, 0xF0) : QColor(0x1D, 0x1D, 0x1F);
    const QString secondary = dark ? QStringLiteral("#A1A1A6") : QStringLiteral("#6E6E73");
    const QString hairline = dark ? QStringLiteral("rgba(255,255,255,0.12)") : QStringLiteral("rgba(0,0,0,0.10)");
    const QString hover = dark ? QStringLiteral("rgba(255,255,255,0.10)") : QStringLiteral("rgba(0,0,0,0.06)");
    const QString accent = dark ? QStringLiteral("#5E9BFF") : QStringLiteral("#2F6FE4");
    setStyleSheet(QStringLiteral(
                      "#popupView, #body, #scroll { background: transparent; }"
                      "#provider { color: %1; font-size: 13px; font-weight: 600; }"
                      "#languages { color: %2; font-size: 12px; }"
                      "#divider { background: %3; }"
                      "#translated { color: %1; font-size: 16px; }"
                      "#caption { color: %2; font-size: 11px; }"
                      "#source { color: %2; font-size: 13px; }"
                      "QToolButton { border: none; border-radius: 6px; background: transparent; }"
                      "QToolButton:hover { background: %4; }"
                      "QToolButton:checked { background: %4; }"
                      "QScrollBar:vertical { background: transparent; width: 8px; margin: 2px; }"
                      "QScrollBar::handle:vertical { background: %3; border-radius: 2px; min-height: 24px; }"
                      "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
                      "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"
                      "QLabel { selection-background-color: %5; selection-color: white; }")
                      .arg(textColor_.name(), secondary, hairline, hover, accent));
    for (PopupSymbol symbol : kPopupSymbols) icons_[static_cast<std::size_t>(symbol)] = popupIcon(symbol, textColor_);
    close_->setIcon(icon(PopupSymbol::close));
    pin_->setIcon(icon(isPinned_ ? PopupSymbol::pinned : PopupSymbol::pin));
    copy_->setIcon(icon(copied_ ? PopupSymbol::checkmark : PopupSymbol::copy));
}

QString TranslationPopupView::languageLine(const TranslationResult& result) {
    QString from = qt(displayName(result.sourceLanguage));
    if (result.detectedLanguage) {
        const QString detected = qt(displayName(*result.detectedLanguage));
        from = result.sourceLanguage == Language::auto_ ? from + QStringLiteral("（") + detected + QStringLiteral("）")
                                                         : from + QStringLiteral(" · 检测为") + detected;
    }
    return from + QStringLiteral(" → ") + qt(displayName(result.targetLanguage));
}

void TranslationPopupView::setResult(const TranslationResult& result, Actions actions) {
    result_ = result;
    actions_ = std::move(actions);
    provider_->setText(qt(result.provider));
    const QString languages = languageLine(result);
    languages_->setText(languages);
    languages_->setToolTip(languages);
    translated_->setText(shown(result.translatedText));
    source_->setText(shown(result.sourceText));
    sourceCaption_->setVisible(!result.sourceText.empty());
    scroll_->verticalScrollBar()->setValue(0);
    isPinned_ = false;
    pin_->setIcon(icon(PopupSymbol::pin));
    ++copyGeneration_;
    setCopied(false);
}

void TranslationPopupView::copy() {
    if (actions_.onCopy) actions_.onCopy(result_.translatedText);
    setCopied(true);
    const int generation = ++copyGeneration_;
    QTimer::singleShot(kCopiedForMs, this, [this, generation] {
        // A later copy or a new result owns the confirmation by now.
        if (generation == copyGeneration_) setCopied(false);
    });
}

void TranslationPopupView::setCopied(bool copied) {
    copied_ = copied;
    copy_->setIcon(icon(copied ? PopupSymbol::checkmark : PopupSymbol::copy));
    copy_->setToolTip(copied ? QStringLiteral("已复制") : QStringLiteral("复制译文"));
}

void TranslationPopupView::togglePin() {
    isPinned_ = !isPinned_;
    pin_->setIcon(icon(isPinned_ ? PopupSymbol::pinned : PopupSymbol::pin));
    pin_->setToolTip(isPinned_ ? QStringLiteral("取消固定") : QStringLiteral("固定"));
    if (actions_.onPin) actions_.onPin(isPinned_);
}

}  // namespace tavi
