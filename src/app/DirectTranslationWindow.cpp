#include "app/DirectTranslationWindow.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QResizeEvent>
#include <QShortcut>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTextCursor>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "app/PopupIcons.h"
#include "app/WindowStyle.h"
#include "core/TranslationService.h"
#include "platform/DesktopPlatform.h"
#include "settings/AppSettings.h"
#include "settings/HotkeyModel.h"

namespace tavi {
namespace {

constexpr QSize kDefaultSize(640, 480);
constexpr std::uint32_t kReturnKeyCode = 36;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// Ctrl+Return in the symbols the application writes shortcuts with: "⌃↩".
QString translateKeys() { return qt(shortcutDisplay({kReturnKeyCode, HotkeyModifier::control})); }

Language languageAt(const QComboBox* picker) {
    const int row = picker->currentIndex();
    return row >= 0 ? allLanguages()[static_cast<std::size_t>(row)] : Language::auto_;
}

QComboBox* makePicker(QWidget* parent, const char* objectName, const QString& name) {
    auto* picker = new QComboBox(parent);
    picker->setObjectName(QLatin1String(objectName));
    picker->setAccessibleName(name);
    picker->setToolTip(name);
    picker->setMaxVisibleItems(static_cast<int>(kLanguageCount));
    int widest = 0;
    for (Language language : allLanguages()) {
        const QString item = qt(flag(language)) + QStringLiteral("  ") + qt(displayName(language));
        picker->addItem(item);
        widest = std::max(widest, picker->fontMetrics().horizontalAdvance(item));
    }
    // QComboBox measures its items by their bounding boxes, which come out
    // short for the colour-emoji flags, and the longest name got cut off.
    QStyleOptionComboBox option;
    option.initFrom(picker);
    picker->setMinimumWidth(
        picker->style()->sizeFromContents(QStyle::CT_ComboBox, &option, QSize(widest, 0), picker).width());
    return picker;
}

// Two arrows, one above the other, pointing opposite ways; drawn like the
// popup's symbols on an 18-unit grid, at twice the size for dense screens.
QIcon swapIcon(const QPalette& colours) {
    QIcon icon;
    for (auto [mode, group] :
         {std::pair(QIcon::Normal, QPalette::Active), std::pair(QIcon::Disabled, QPalette::Disabled)}) {
        for (int scale : {1, 2}) {
            QPixmap pixmap(18 * scale, 18 * scale);
            pixmap.fill(Qt::transparent);
            QPainter painter(&pixmap);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.scale(scale, scale);
            painter.setPen(QPen(colours.color(group, QPalette::ButtonText), 1.6, Qt::SolidLine, Qt::RoundCap,
                                Qt::RoundJoin));
            painter.drawPolyline(QPolygonF{QPointF(3, 6), QPointF(15, 6), QPointF(11.5, 2.5)});
            painter.drawPolyline(QPolygonF{QPointF(15, 12), QPointF(3, 12), QPointF(6.5, 15.5)});
            painter.end();
            icon.addPixmap(pixmap, mode);
        }
    }
    return icon;
}

}  // namespace

DirectTranslationWindow::DirectTranslationWindow(WindowServices services)
    : QWidget(nullptr),
      services_(std::move(services)),
      source_(new QPlainTextEdit(this)),
      sourcePicker_(makePicker(this, "sourceLanguage", QStringLiteral("源语言"))),
      swap_(new QToolButton(this)),
      targetPicker_(makePicker(this, "targetLanguage", QStringLiteral("目标语言"))),
      hint_(new QLabel(translateKeys() + QStringLiteral(" 快捷翻译"), this)),
      translate_(new QPushButton(QStringLiteral("翻译(&T)"), this)),
      status_(new QLabel(this)),
      copy_(new QPushButton(this)),
      output_(new QPlainTextEdit(this)),
      typingPause_(new QTimer(this)),
      preferredSize_(kDefaultSize) {
    setObjectName(QStringLiteral("directTranslationWindow"));
    setWindowTitle(QStringLiteral("Tavi · 直接翻译"));
    setAccessibleName(windowTitle());

    source_->setObjectName(QStringLiteral("source"));
    source_->setPlaceholderText(QStringLiteral("在此输入或粘贴文本…"));
    source_->setAccessibleName(QStringLiteral("原文"));
    source_->setAccessibleDescription(source_->placeholderText());
    source_->setTabChangesFocus(true);

    swap_->setObjectName(QStringLiteral("swap"));
    swap_->setIconSize(QSize(18, 18));
    // Square, and as tall as the pickers on either side.
    const int pickerHeight = sourcePicker_->sizeHint().height();
    swap_->setFixedSize(pickerHeight + 6, pickerHeight);
    swap_->setAccessibleName(QStringLiteral("交换语言"));
    swap_->setToolTip(QStringLiteral("交换源语言和目标语言"));
    swap_->setFocusPolicy(Qt::StrongFocus);

    hint_->setObjectName(QStringLiteral("hint"));
    hint_->setAccessibleName(QStringLiteral("快捷键提示"));
    translate_->setObjectName(QStringLiteral("translate"));
    translate_->setAccessibleName(QStringLiteral("翻译"));
    translate_->setToolTip(QStringLiteral("立即翻译（%1）").arg(translateKeys()));

    output_->setObjectName(QStringLiteral("output"));
    output_->setReadOnly(true);
    output_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    output_->setPlaceholderText(QStringLiteral("译文会显示在这里"));
    output_->setAccessibleName(QStringLiteral("译文"));
    output_->setTabChangesFocus(true);

    status_->setObjectName(QStringLiteral("status"));
    status_->setAccessibleName(QStringLiteral("翻译状态"));
    status_->setTextFormat(Qt::PlainText);
    // Ignored width: a long provider name never widens the window.
    status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    copy_->setObjectName(QStringLiteral("copy"));
    copy_->setAccessibleName(QStringLiteral("复制译文"));
    copy_->setIconSize(QSize(16, 16));

    typingPause_->setSingleShot(true);
    typingPause_->setInterval(kTypingPause);

    auto* bar = new QHBoxLayout;
    bar->setSpacing(8);
    bar->addWidget(sourcePicker_);
    bar->addWidget(swap_);
    bar->addWidget(targetPicker_);
    bar->addStretch(1);
    bar->addWidget(hint_);
    bar->addSpacing(4);
    bar->addWidget(translate_);

    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(4, 0, 0, 0);
    footer->addWidget(status_, 1);
    footer->addWidget(copy_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin - 4);
    layout->setSpacing(style::kSpacing);
    layout->addWidget(source_, 1);
    layout->addLayout(bar);
    layout->addWidget(output_, 1);
    layout->addLayout(footer);

    // The order things are done in: write, choose the languages, send, read,
    // copy.
    setTabOrder(source_, sourcePicker_);
    setTabOrder(sourcePicker_, swap_);
    setTabOrder(swap_, targetPicker_);
    setTabOrder(targetPicker_, translate_);
    setTabOrder(translate_, output_);
    setTabOrder(output_, copy_);

    connect(source_, &QPlainTextEdit::textChanged, this, [this] { textEdited(); });
    connect(typingPause_, &QTimer::timeout, this, [this] {
        const Query query = currentQuery();
        if (query.text.empty()) return showEmpty();
        // Typing that ends where it began (a character added and taken away)
        // asks nothing new.
        if (inFlight_ ? *inFlight_ == query : shown_ == Shown::result && shownFor_ == query) return refresh();
        send(query);
    });
    for (QComboBox* picker : {sourcePicker_, targetPicker_})
        connect(picker, &QComboBox::activated, this, [this] { pickerChosen(); });
    connect(swap_, &QToolButton::clicked, this, [this] { swapLanguages(); });
    connect(translate_, &QPushButton::clicked, this, [this] { translateNow(); });
    connect(copy_, &QPushButton::clicked, this, [this] { copy(); });

    auto* shortcut = new QShortcut(this);
    shortcut->setKeys({QKeySequence(Qt::CTRL | Qt::Key_Return), QKeySequence(Qt::CTRL | Qt::Key_Enter)});
    connect(shortcut, &QShortcut::activated, this, [this] { translateNow(); });

    settingsObservation_ = services_.settings.observe([this](std::string_view key) { settingsChanged(key); });
    showSettingsLanguages();
    applyTheme();
    // As wide as the wider of its two texts, so that "已复制" moves nothing.
    int copyWidth = 0;
    for (bool copied : {true, false}) {
        setCopied(copied);
        copyWidth = std::max(copyWidth, copy_->sizeHint().width());
    }
    copy_->setMinimumWidth(copyWidth);
    refresh();
    source_->setFocus();
}

DirectTranslationWindow::~DirectTranslationWindow() = default;

QSize DirectTranslationWindow::sizeHint() const { return preferredSize_; }

void DirectTranslationWindow::resizeEvent(QResizeEvent* event) {
    // The size the user gave the window is the one it opens with next time.
    if (isVisible()) preferredSize_ = event->size();
    QWidget::resizeEvent(event);
}

DirectTranslationWindow::OutputState DirectTranslationWindow::outputState() const {
    if (inFlight_) return OutputState::loading;
    switch (shown_) {
    case Shown::result: return OutputState::result;
    case Shown::error: return OutputState::error;
    case Shown::nothing: break;
    }
    return OutputState::empty;
}

DirectTranslationWindow::Query DirectTranslationWindow::currentQuery() const {
    return {source_->toPlainText().trimmed().toStdString(), languageAt(sourcePicker_), languageAt(targetPicker_)};
}

void DirectTranslationWindow::textEdited() {
    // Text wiped away leaves nothing to show a translation of; anything else
    // waits for the pause, the last result staying in view meanwhile.
    if (source_->toPlainText().trimmed().isEmpty()) {
        typingPause_->stop();
        return showEmpty();
    }
    typingPause_->start();
    refresh();
}

void DirectTranslationWindow::translateNow() {
    typingPause_->stop();
    Query query = currentQuery();
    if (query.text.empty()) return showEmpty();
    send(std::move(query));
}

void DirectTranslationWindow::pickerChosen() {
    const Language from = languageAt(sourcePicker_);
    const Language to = languageAt(targetPicker_);
    AppSettings& settings = services_.settings;
    if (settings.sourceLanguage() != from) settings.setSourceLanguage(from);
    if (settings.targetLanguage() != to) settings.setTargetLanguage(to);
    swap_->setEnabled(from != Language::auto_);
    // Through the pause too: stepping through a picker with the arrow keys
    // sends one request for where it stops, not one per language passed.
    if (!currentQuery().text.empty()) typingPause_->start();
    refresh();
}

void DirectTranslationWindow::swapLanguages() {
    const Language from = languageAt(sourcePicker_);
    const Language to = languageAt(targetPicker_);
    // Detection has no language to become the target.
    if (from == Language::auto_) return;
    // With the pair turned round, the translation in view is what makes
    // sense to translate back; anything else stays as typed.
    const bool translationBecomesSource = shown_ == Shown::result && shownFor_ == currentQuery();
    services_.settings.setSourceLanguage(to);
    services_.settings.setTargetLanguage(from);
    showSettingsLanguages();
    if (translationBecomesSource) {
        // Through a cursor rather than setPlainText, so that Ctrl+Z brings
        // the earlier text back.
        QTextCursor cursor(source_->document());
        cursor.select(QTextCursor::Document);
        cursor.insertText(qt(shownTranslation_));
    }
    translateNow();
}

void DirectTranslationWindow::settingsChanged(std::string_view key) {
    if (key != "sourceLanguage" && key != "targetLanguage") return;
    // Changed elsewhere (another window, `tavi config`): the pickers follow,
    // and the result in view shows as not current; nothing is sent until the
    // user types or asks.
    showSettingsLanguages();
    refresh();
}

void DirectTranslationWindow::showSettingsLanguages() {
    const AppSettings& settings = services_.settings;
    sourcePicker_->setCurrentIndex(static_cast<int>(index(settings.sourceLanguage())));
    targetPicker_->setCurrentIndex(static_cast<int>(index(settings.targetLanguage())));
    swap_->setEnabled(settings.sourceLanguage() != Language::auto_);
}

void DirectTranslationWindow::send(Query query) {
    const std::uint64_t generation = ++generation_;
    inFlight_ = query;
    AppSettingsValues settings = services_.settings.values();
    settings.sourceLanguage = query.from;
    settings.targetLanguage = query.to;
    std::string text = query.text;
    QPointer<DirectTranslationWindow> self(this);
    services_.translation.translate(std::move(text), settings,
                                    [self, generation, query = std::move(query)](Result<TranslationResult> outcome) {
                                        if (self) self->finished(generation, query, std::move(outcome));
                                    });
    refresh();
}

void DirectTranslationWindow::finished(std::uint64_t generation, Query query, Result<TranslationResult> outcome) {
    // A later request, or text cleared meanwhile, owns the output now.
    if (generation != generation_) return;
    inFlight_.reset();
    shownFor_ = std::move(query);
    if (outcome.ok()) {
        const TranslationResult& result = outcome.value();
        shown_ = Shown::result;
        shownTranslation_ = result.translatedText;
        resultLine_ = qt(result.provider);
        // A service may report detection itself as the language (Google's
        // "en" reads back as `auto`): that tells nothing, so it is left out.
        if (result.detectedLanguage && *result.detectedLanguage != Language::auto_)
            resultLine_ += QStringLiteral(" · 检测为") + qt(displayName(*result.detectedLanguage));
        output_->setPlainText(qt(result.translatedText));
    } else {
        shown_ = Shown::error;
        shownTranslation_.clear();
        resultLine_.clear();
        output_->setPlainText(qt(describe(outcome.error())));
    }
    // The answer is shown even when the text has changed since it was asked
    // for (the next request is then already waiting for the typing to
    // pause): refresh() marks it as not current, in the secondary colour,
    // until the answer for the text as it stands arrives.
    ++copyGeneration_;
    setCopied(false);
    refresh();
}

void DirectTranslationWindow::showEmpty() {
    ++generation_;  // whatever is still on its way is for text that is gone
    inFlight_.reset();
    shown_ = Shown::nothing;
    shownTranslation_.clear();
    resultLine_.clear();
    output_->clear();
    refresh();
}

void DirectTranslationWindow::refresh() {
    if (inFlight_) status_->setText(QStringLiteral("正在翻译…"));
    else status_->setText(resultLine_);
    copy_->setEnabled(shown_ == Shown::result);

    const char* tone = "normal";
    if (shown_ == Shown::error) tone = "failure";
    else if (shown_ == Shown::result && shownFor_ != currentQuery()) tone = "stale";
    if (output_->property("tone").toByteArray() != tone) {
        output_->setProperty("tone", QByteArray(tone));
        output_->style()->unpolish(output_);
        output_->style()->polish(output_);
    }
}

void DirectTranslationWindow::copy() {
    if (shown_ != Shown::result) return;
    Clipboard& clipboard = services_.desktop.clipboard();
    clipboard.clear();
    clipboard.writeText(shownTranslation_);
    setCopied(true);
    const int generation = ++copyGeneration_;
    QTimer::singleShot(kCopiedConfirmation, this, [this, generation] {
        // A later copy or a new result owns the confirmation by now.
        if (generation == copyGeneration_) setCopied(false);
    });
}

void DirectTranslationWindow::setCopied(bool copied) {
    copied_ = copied;
    copy_->setText(copied ? QStringLiteral("已复制") : QStringLiteral("复制(&C)"));
    copy_->setIcon(copied ? copiedIcon_ : copyIcon_);
}

void DirectTranslationWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !applyingTheme_ && style::isDark(palette()) != darkTheme_)
        applyTheme();
}

void DirectTranslationWindow::applyTheme() {
    // On the widgets themselves rather than the window: a window-wide style
    // sheet would take over the pickers and buttons too, which then lose
    // the desktop style's look and measure their contents too narrow.
    applyingTheme_ = true;
    const QPalette& colours = palette();
    darkTheme_ = style::isDark(colours);
    const QString secondary = style::secondaryText(colours).name();
    const QString editor =
        QStringLiteral("QPlainTextEdit { background: %1; border: 1px solid %2; border-radius: %3px;"
                       "  padding: 6px; font-size: 15px; color: %4; }"
                       "QPlainTextEdit:focus { border-color: %5; }"
                       "QPlainTextEdit[tone=\"stale\"] { color: %6; }"
                       "QPlainTextEdit[tone=\"failure\"] { color: %7; }")
            .arg(style::cardBackground(colours).name(QColor::HexArgb), style::hairline(colours).name(QColor::HexArgb))
            .arg(style::kCornerRadius)
            .arg(style::text(colours).name(), style::accent(colours).name(), secondary, style::failure(colours).name());
    source_->setStyleSheet(editor);
    output_->setStyleSheet(editor);
    const QString caption = QStringLiteral("color: %1;").arg(secondary);
    hint_->setStyleSheet(caption);
    status_->setStyleSheet(caption);
    swap_->setIcon(swapIcon(colours));
    // Drawn once per theme: every fresh icon would leave its pixmaps in Qt's
    // process-wide pixmap cache.
    copyIcon_ = popupIcon(PopupSymbol::copy, colours.color(QPalette::Active, QPalette::ButtonText));
    const QIcon dimmed = popupIcon(PopupSymbol::copy, colours.color(QPalette::Disabled, QPalette::ButtonText));
    for (const QSize& size : dimmed.availableSizes()) copyIcon_.addPixmap(dimmed.pixmap(size), QIcon::Disabled);
    copiedIcon_ = popupIcon(PopupSymbol::checkmark, style::success(colours));
    setCopied(copied_);
    applyingTheme_ = false;
}

}  // namespace tavi
