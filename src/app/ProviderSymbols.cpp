#include "app/ProviderSymbols.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <vector>

namespace tavi {
namespace {

// Every symbol is drawn on a 24-unit grid with a 1.6-unit round stroke, the
// weight of the popup's symbols, so that the two sets sit well together.
constexpr qreal kUnits = 24;
constexpr qreal kStroke = 1.6;

// A four-pointed sparkle with slightly rounded, concave sides.
QPainterPath sparkle(QPointF c, qreal r) {
    const qreal k = r * 0.16;
    QPainterPath path(QPointF(c.x(), c.y() - r));
    path.quadTo(c.x() + k, c.y() - k, c.x() + r, c.y());
    path.quadTo(c.x() + k, c.y() + k, c.x(), c.y() + r);
    path.quadTo(c.x() - k, c.y() + k, c.x() - r, c.y());
    path.quadTo(c.x() - k, c.y() - k, c.x(), c.y() - r);
    return path;
}

QPainterPath circle(QPointF c, qreal r) {
    QPainterPath path;
    path.addEllipse(c, r, r);
    return path;
}

void sparklesRectangleStack(QPainter& p, const QColor& color) {
    p.drawRoundedRect(QRectF(3, 8.5, 18, 12.5), 2.6, 2.6);
    p.drawLine(QPointF(5.5, 5.5), QPointF(18.5, 5.5));
    p.drawLine(QPointF(8, 2.8), QPointF(16, 2.8));
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawPath(sparkle(QPointF(10.6, 14.8), 3.9));
    p.drawPath(sparkle(QPointF(16.2, 12.2), 1.9));
}

void textBubble(QPainter& p) {
    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(2.8, 3.5, 18.4, 13.5), 4, 4);
    QPainterPath tail(QPointF(6.5, 16));
    tail.lineTo(6, 21);
    tail.lineTo(11.5, 16);
    tail.closeSubpath();
    p.drawPath(bubble.united(tail).simplified());
    p.drawLine(QPointF(7.2, 8.3), QPointF(16.8, 8.3));
    p.drawLine(QPointF(7.2, 12.2), QPointF(13.6, 12.2));
}

void globe(QPainter& p) {
    p.drawEllipse(QPointF(12, 12), 9, 9);
    p.drawEllipse(QPointF(12, 12), 3.8, 9);
    p.drawLine(QPointF(3, 12), QPointF(21, 12));
    // The two latitudes, bowed like the lines on a globe seen from a little above.
    QPainterPath latitudes(QPointF(4.6, 7.2));
    latitudes.quadTo(12, 9.6, 19.4, 7.2);
    latitudes.moveTo(4.6, 16.8);
    latitudes.quadTo(12, 19.2, 19.4, 16.8);
    p.drawPath(latitudes);
}

// A closed curve through `points`, smoothed as a Catmull-Rom spline.
QPainterPath smoothClosed(std::initializer_list<QPointF> list) {
    const std::vector<QPointF> points(list);
    const std::size_t n = points.size();
    QPainterPath path(points[0]);
    for (std::size_t i = 0; i < n; ++i) {
        const QPointF& p0 = points[(i + n - 1) % n];
        const QPointF& p1 = points[i];
        const QPointF& p2 = points[(i + 1) % n];
        const QPointF& p3 = points[(i + 2) % n];
        path.cubicTo(p1 + (p2 - p0) / 6, p2 - (p3 - p1) / 6, p2);
    }
    path.closeSubpath();
    return path;
}

void globeEuropeAfrica(QPainter& p, const QColor& color) {
    p.drawEllipse(QPointF(12, 12), 9, 9);
    const QPainterPath europe = smoothClosed({{6.6, 8.4}, {7.0, 6.6}, {8.8, 6.0}, {9.8, 4.6}, {11.8, 4.2}, {13.4, 5.2},
                                              {15.2, 4.6}, {17.0, 6.0}, {16.4, 7.6}, {14.6, 8.0}, {13.0, 7.6},
                                              {11.8, 8.8}, {10.2, 8.2}, {8.8, 9.0}});
    const QPainterPath africa = smoothClosed({{6.8, 12.2}, {8.4, 10.6}, {11.0, 10.4}, {12.6, 11.2}, {14.4, 11.0},
                                              {15.6, 12.4}, {17.6, 12.8}, {16.6, 14.6}, {15.2, 16.2}, {14.8, 18.2},
                                              {13.2, 20.0}, {12.0, 19.6}, {11.6, 17.4}, {11.2, 15.6}, {9.6, 15.0},
                                              {7.8, 14.2}});
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.setClipPath(circle(QPointF(12, 12), 8.2), Qt::IntersectClip);
    p.drawPath(europe);
    p.drawPath(africa);
}

void characterBookClosed(QPainter& p) {
    // The cover, with the pages' edge along the bottom.
    QPainterPath book(QPointF(5, 19));
    book.lineTo(5, 4.8);
    book.quadTo(5, 2.6, 7.2, 2.6);
    book.lineTo(19, 2.6);
    book.lineTo(19, 17);
    book.lineTo(7, 17);
    book.quadTo(5, 17, 5, 19);
    book.quadTo(5, 21.2, 7.2, 21.2);
    book.lineTo(19, 21.2);
    p.drawPath(book);
    // 文: the dot, the bar and the two crossing strokes.
    p.drawLine(QPointF(12, 5.4), QPointF(12, 6.6));
    p.drawLine(QPointF(8.6, 8.4), QPointF(15.4, 8.4));
    QPainterPath strokes(QPointF(10.2, 8.6));
    strokes.quadTo(11.4, 12.6, 15.6, 14.6);
    strokes.moveTo(13.8, 8.6);
    strokes.quadTo(12.6, 12.6, 8.4, 14.6);
    p.drawPath(strokes);
}

void cloud(QPainter& p) {
    QPainterPath shape = circle(QPointF(7.6, 14.4), 4.1);
    shape = shape.united(circle(QPointF(12.6, 10.6), 5.6));
    shape = shape.united(circle(QPointF(17.2, 14.1), 4.4));
    QPainterPath base;
    base.addRect(QRectF(7.6, 13.5, 9.6, 5));
    p.drawPath(shape.united(base).simplified());
}

void flame(QPainter& p) {
    QPainterPath outer(QPointF(12, 21.5));
    outer.cubicTo(7.8, 21.5, 5.0, 18.6, 5.2, 14.6);
    outer.cubicTo(5.4, 11.0, 8.4, 9.4, 9.2, 5.8);
    outer.cubicTo(11.2, 7.0, 12.2, 8.8, 12.2, 10.6);
    outer.cubicTo(13.4, 9.2, 14.0, 6.0, 13.0, 2.6);
    outer.cubicTo(16.6, 4.6, 19.0, 9.2, 18.8, 14.6);
    outer.cubicTo(18.6, 18.8, 15.8, 21.5, 12, 21.5);
    p.drawPath(outer);
    QPainterPath inner(QPointF(12, 21.5));
    inner.cubicTo(10.0, 21.5, 9.0, 19.9, 9.4, 18.1);
    inner.cubicTo(9.8, 16.3, 11.6, 15.6, 12.0, 13.4);
    inner.cubicTo(14.0, 14.8, 15.0, 16.8, 14.6, 18.6);
    inner.cubicTo(14.3, 20.4, 13.3, 21.5, 12, 21.5);
    p.drawPath(inner);
}

void puzzlepiece(QPainter& p) {
    QPainterPath shape;
    shape.addRoundedRect(QRectF(3.5, 7.5, 13.5, 13.5), 2, 2);
    shape = shape.united(circle(QPointF(10.25, 5.4), 2.6));
    shape = shape.united(circle(QPointF(19.1, 14.25), 2.6));
    p.drawPath(shape.simplified());
}

void eye(QPainter& p, bool slashed) {
    QPainterPath lids(QPointF(2.5, 12));
    lids.cubicTo(5.2, 7.4, 8.4, 5.4, 12, 5.4);
    lids.cubicTo(15.6, 5.4, 18.8, 7.4, 21.5, 12);
    lids.cubicTo(18.8, 16.6, 15.6, 18.6, 12, 18.6);
    lids.cubicTo(8.4, 18.6, 5.2, 16.6, 2.5, 12);
    p.drawPath(lids);
    p.drawEllipse(QPointF(12, 12), 3, 3);
    if (slashed) p.drawLine(QPointF(4.5, 3.5), QPointF(19.5, 20.5));
}

}  // namespace

void paintProviderSymbol(QPainter& painter, const QRectF& square, std::string_view symbolName, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / kUnits, square.height() / kUnits);
    painter.setPen(QPen(color, kStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    if (symbolName == "sparkles.rectangle.stack")
        sparklesRectangleStack(painter, color);
    else if (symbolName == "text.bubble")
        textBubble(painter);
    else if (symbolName == "globe.europe.africa")
        globeEuropeAfrica(painter, color);
    else if (symbolName == "globe")
        globe(painter);
    else if (symbolName == "character.book.closed")
        characterBookClosed(painter);
    else if (symbolName == "cloud")
        cloud(painter);
    else if (symbolName == "flame")
        flame(painter);
    else if (symbolName == "eye" || symbolName == "eye.slash")
        eye(painter, symbolName == "eye.slash");
    else
        puzzlepiece(painter);
    painter.restore();
}

QIcon providerSymbolIcon(std::string_view symbolName, const QColor& color, int size) {
    QIcon icon;
    for (int scale : {1, 2}) {
        QPixmap pixmap(size * scale, size * scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paintProviderSymbol(painter, QRectF(0, 0, size * scale, size * scale), symbolName, color);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace tavi
