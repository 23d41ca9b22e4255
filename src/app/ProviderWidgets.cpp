#include "app/ProviderWidgets.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/ProviderSymbols.h"
#include "app/WindowStyle.h"

namespace tavi {
namespace {

QColor withAlpha(QColor color, qreal alpha) {
    color.setAlphaF(color.alphaF() * alpha);
    return color;
}

}  // namespace

QFont scaledFont(const QFont& base, qreal factor) {
    QFont font = base;
    if (base.pointSizeF() > 0)
        font.setPointSizeF(base.pointSizeF() * factor);
    else
        font.setPixelSize(qRound(base.pixelSize() * factor));
    return font;
}

ProviderSymbolTile::ProviderSymbolTile(std::string symbolName, std::string accentColor, int size, QWidget* parent)
    : QWidget(parent), symbolName_(std::move(symbolName)), accentColor_(std::move(accentColor)) {
    setFixedSize(size, size);
}

void ProviderSymbolTile::paint(QPainter& painter, const QRectF& rect, std::string_view symbolName,
                               const QColor& accent, const QPalette& palette) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(accent, style::isDark(palette) ? 0.22 : 0.13));
    const qreal radius = rect.width() * 0.26;
    painter.drawRoundedRect(rect, radius, radius);
    const qreal inset = rect.width() * 0.2;
    paintProviderSymbol(painter, rect.adjusted(inset, inset, -inset, -inset), symbolName, accent);
    painter.restore();
}

void ProviderSymbolTile::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, QRectF(rect()), symbolName_, style::namedColor(QString::fromStdString(accentColor_), palette()),
          palette());
}

StatusPill::StatusPill(const QString& title, std::function<QColor(const QPalette&)> tint, QWidget* parent)
    : QLabel(title, parent), tint_(std::move(tint)) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QFont StatusPill::pillFont(const QFont& base) {
    QFont font = scaledFont(base, 0.85);
    font.setWeight(QFont::Medium);
    return font;
}

QSize StatusPill::sizeFor(const QString& title, const QFont& base) {
    const QFontMetrics metrics(pillFont(base));
    const int height = metrics.height() + 4;
    return {metrics.horizontalAdvance(title) + height, height};
}

void StatusPill::paint(QPainter& painter, const QRectF& rect, const QString& title, const QColor& tint,
                       const QFont& base) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(tint, 0.16));
    painter.drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
    painter.setPen(tint);
    painter.setFont(pillFont(base));
    painter.drawText(rect, Qt::AlignCenter, title);
    painter.restore();
}

QSize StatusPill::sizeHint() const { return sizeFor(text(), font()); }

void StatusPill::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QSize size = sizeHint();
    const QRectF pill(QPointF(0, (height() - size.height()) / 2.0), size);
    paint(painter, pill, text(), tint_(palette()), font());
}

LabeledField::LabeledField(const QString& title, QWidget* content, QWidget* parent)
    : QWidget(parent), title_(new QLabel(title, this)), content_(content) {
    QFont font = title_->font();
    font.setWeight(QFont::DemiBold);
    title_->setFont(font);
    title_->setBuddy(content);
    if (content->accessibleName().isEmpty()) content->setAccessibleName(title);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(title_);
    layout->addWidget(content);
    applyColors();
}

QString LabeledField::title() const { return title_->text(); }

void LabeledField::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) applyColors();
    QWidget::changeEvent(event);
}

void LabeledField::applyColors() {
    QPalette palette = title_->palette();
    palette.setColor(QPalette::WindowText, style::text(this->palette()));
    title_->setPalette(palette);
}

SecretLineEdit::SecretLineEdit(QWidget* parent) : QLineEdit(parent), reveal_(new QToolButton(this)) {
    setEchoMode(QLineEdit::Password);
    // Keep secrets out of input-method history and predictions.
    setInputMethodHints(Qt::ImhSensitiveData | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    reveal_->setCheckable(true);
    reveal_->setAutoRaise(true);
    reveal_->setCursor(Qt::ArrowCursor);
    reveal_->setFocusPolicy(Qt::TabFocus);
    reveal_->setIconSize(QSize(16, 16));
    connect(reveal_, &QToolButton::toggled, this, [this](bool on) { setRevealed(on); });
    setTextMargins(0, 0, 26, 0);
    updateButton();
}

void SecretLineEdit::setRevealed(bool revealed) {
    setEchoMode(revealed ? QLineEdit::Normal : QLineEdit::Password);
    reveal_->setChecked(revealed);
    updateButton();
}

void SecretLineEdit::resizeEvent(QResizeEvent* event) {
    QLineEdit::resizeEvent(event);
    const int side = std::min(height() - 4, 24);
    reveal_->setGeometry(width() - side - 3, (height() - side) / 2, side, side);
}

void SecretLineEdit::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) updateButton();
    QLineEdit::changeEvent(event);
}

void SecretLineEdit::updateButton() {
    const bool shown = revealed();
    const QString name = shown ? QStringLiteral("隐藏密钥") : QStringLiteral("显示密钥");
    reveal_->setAccessibleName(name);
    reveal_->setToolTip(name);
    reveal_->setIcon(providerSymbolIcon(shown ? "eye.slash" : "eye", style::secondaryText(palette()), 16));
}

}  // namespace tavi
