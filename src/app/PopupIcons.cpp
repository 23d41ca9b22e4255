#include "app/PopupIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace tavi {
namespace {

// Drawn on an 18-unit grid at twice the pixel size for sharp edges on
// high-density screens.
constexpr int kUnits = 18;

void draw(QPainter& p, PopupSymbol symbol, const QColor& color) {
    QPen pen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    switch (symbol) {
    case PopupSymbol::copy:
        p.drawRoundedRect(QRectF(6.5, 6.5, 8.5, 9.5), 1.8, 1.8);
        {
            // The sheet behind, showing above and left of the front one.
            QPainterPath back;
            back.moveTo(3.5, 12.5);
            back.lineTo(3.5, 5);
            back.quadTo(3.5, 3.5, 5, 3.5);
            back.lineTo(11, 3.5);
            back.quadTo(12.5, 3.5, 12.5, 5);
            p.drawPath(back);
        }
        return;
    case PopupSymbol::checkmark:
        pen.setWidthF(2.0);
        p.setPen(pen);
        p.drawPolyline(QPolygonF{QPointF(3.5, 9.5), QPointF(7.2, 13.2), QPointF(14.5, 5)});
        return;
    case PopupSymbol::close:
        p.drawLine(QPointF(4.5, 4.5), QPointF(13.5, 13.5));
        p.drawLine(QPointF(13.5, 4.5), QPointF(4.5, 13.5));
        return;
    case PopupSymbol::pin:
    case PopupSymbol::pinned: {
        // A push pin seen from the side, leaning right.
        p.translate(9, 9);
        p.rotate(40);
        p.translate(-9, -9);
        QPainterPath head;
        head.moveTo(7, 2.5);
        head.lineTo(7, 7.5);
        head.lineTo(4.5, 10.5);
        head.lineTo(13.5, 10.5);
        head.lineTo(11, 7.5);
        head.lineTo(11, 2.5);
        head.closeSubpath();
        // Pinned, the head is filled in.
        if (symbol == PopupSymbol::pinned) p.setBrush(color);
        p.drawPath(head);
        p.drawLine(QPointF(6, 2.5), QPointF(12, 2.5));
        p.drawLine(QPointF(9, 10.5), QPointF(9, 16));
        return;
    }
    }
}

}  // namespace

QIcon popupIcon(PopupSymbol symbol, const QColor& color) {
    QIcon icon;
    for (int scale : {1, 2}) {
        QPixmap pixmap(kUnits * scale, kUnits * scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        draw(painter, symbol, color);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace tavi
