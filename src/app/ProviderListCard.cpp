#include "app/ProviderListCard.h"

#include <QKeyEvent>
#include <QPainter>

#include "app/ProviderWidgets.h"
#include "app/WindowStyle.h"

namespace tavi {
namespace {

constexpr int kPadding = 10;
constexpr int kTileSize = 30;
constexpr int kTileGap = 10;
constexpr int kLineGap = 3;
constexpr int kCardWidth = 248;

const QString kCurrentTitle = QStringLiteral("当前使用中");
const QString kConfigured = QStringLiteral("已配置");
const QString kNotConfigured = QStringLiteral("未配置");

QFont nameFont(const QFont& base) {
    QFont font = base;
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont smallFont(const QFont& base) { return scaledFont(base, 0.88); }

}  // namespace

ProviderListCard::ProviderListCard(Identity identity, QWidget* parent)
    : QAbstractButton(parent), identity_(std::move(identity)) {
    setObjectName(QStringLiteral("providerCard-") + QString::fromStdString(identity_.providerID));
    setCheckable(true);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setToolTip(identity_.providerSubtitle);
    describe();
}

void ProviderListCard::setConfigured(bool configured) {
    if (configured == configured_) return;
    configured_ = configured;
    describe();
    update();
}

void ProviderListCard::setCurrent(bool current) {
    if (current == current_) return;
    current_ = current;
    describe();
    update();
}

void ProviderListCard::setSelected(bool selected) { setChecked(selected); }

void ProviderListCard::describe() {
    QStringList parts{identity_.providerName, identity_.providerSubtitle};
    if (current_) parts << kCurrentTitle;
    parts << (configured_ ? kConfigured : kNotConfigured);
    setAccessibleName(parts.join(QStringLiteral("，")));
}

QSize ProviderListCard::sizeHint() const {
    const int text = QFontMetrics(nameFont(font())).height() + kLineGap + QFontMetrics(smallFont(font())).height();
    return {kCardWidth, kPadding * 2 + std::max(text, kTileSize)};
}

QSize ProviderListCard::minimumSizeHint() const { return {kPadding * 3 + kTileSize + 80, sizeHint().height()}; }

void ProviderListCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const QRectF frame = QRectF(rect()).adjusted(1, 1, -1, -1);
    const bool keyboardFocus = hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange);

    // The surface: raised like the pane; the selected card washed with the
    // accent and outlined in it.
    painter.setPen(QPen(isSelected() ? style::accent(pal) : style::hairline(pal), isSelected() ? 1.5 : 1));
    painter.setBrush(style::cardBackground(pal));
    painter.drawRoundedRect(frame, style::kCornerRadius, style::kCornerRadius);
    if (isSelected() || underMouse()) {
        QColor wash = style::selectedBackground(pal);
        if (!isSelected()) wash.setAlphaF(wash.alphaF() * 0.45);
        painter.setPen(Qt::NoPen);
        painter.setBrush(wash);
        painter.drawRoundedRect(frame, style::kCornerRadius, style::kCornerRadius);
    }
    if (keyboardFocus) {
        painter.setPen(QPen(style::accent(pal), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), style::kCornerRadius, style::kCornerRadius);
    }

    const QColor accent = style::namedColor(QString::fromStdString(identity_.accentColor), pal);
    const QRectF tile(kPadding, (height() - kTileSize) / 2.0, kTileSize, kTileSize);
    ProviderSymbolTile::paint(painter, tile, identity_.symbolName, accent, pal);

    const QFont name = nameFont(font());
    const QFont small = smallFont(font());
    const QFontMetrics nameMetrics(name);
    const QFontMetrics smallMetrics(small);
    const int left = kPadding + kTileSize + kTileGap;
    const int right = width() - kPadding;
    const int textHeight = nameMetrics.height() + kLineGap + smallMetrics.height();
    const int top = (height() - textHeight) / 2;

    // First line: the name, the pill and, at the right edge, the configured
    // marker. When a large font leaves no room for all three the marker
    // moves to the end of the second line, and only then does the name give way.
    const QString marker = configured_ ? kConfigured : kNotConfigured;
    const int markerWidth = smallMetrics.horizontalAdvance(marker);
    const QSize pill = current_ ? StatusPill::sizeFor(kCurrentTitle, font()) : QSize();
    const int nameAndPill = nameMetrics.horizontalAdvance(identity_.providerName) + (current_ ? 6 + pill.width() : 0);
    const bool markerOnFirstLine = left + nameAndPill + 8 + markerWidth <= right;
    const int firstLineRight = markerOnFirstLine ? right - markerWidth - 8 : right;
    const int subtitleTop = top + nameMetrics.height() + kLineGap;

    const int nameRoom = firstLineRight - left - (current_ ? pill.width() + 6 : 0);
    const QString shownName = nameMetrics.elidedText(identity_.providerName, Qt::ElideRight, std::max(nameRoom, 0));
    painter.setFont(name);
    painter.setPen(style::text(pal));
    painter.drawText(QRect(left, top, nameRoom, nameMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter, shownName);
    if (current_) {
        const qreal x = left + nameMetrics.horizontalAdvance(shownName) + 6;
        const qreal y = top + (nameMetrics.height() - pill.height()) / 2.0;
        StatusPill::paint(painter, QRectF(QPointF(x, y), pill), kCurrentTitle, style::accent(pal), font());
    }

    QColor markerColor = configured_ ? style::success(pal) : style::secondaryText(pal);
    if (!configured_) markerColor.setAlphaF(0.35);
    painter.setFont(small);
    painter.setPen(markerColor);
    const QRect markerLine = markerOnFirstLine ? QRect(left, top, right - left, nameMetrics.height())
                                               : QRect(left, subtitleTop, right - left, smallMetrics.height());
    painter.drawText(markerLine, Qt::AlignRight | Qt::AlignVCenter, marker);

    // Second line: the subtitle, shortened with an ellipsis if it must be
    // (it is whole in the tooltip, the pane and the accessible name).
    const int subtitleRoom = right - left - (markerOnFirstLine ? 0 : markerWidth + 8);
    painter.setPen(style::secondaryText(pal));
    painter.drawText(QRect(left, subtitleTop, subtitleRoom, smallMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     smallMetrics.elidedText(identity_.providerSubtitle, Qt::ElideRight, subtitleRoom));
}

void ProviderListCard::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Left:
        if (onStep) onStep(-1);
        return;
    case Qt::Key_Down:
    case Qt::Key_Right:
        if (onStep) onStep(+1);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        click();
        return;
    default:
        QAbstractButton::keyPressEvent(event);
    }
}

}  // namespace tavi
