#include "app/AppIcon.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace tavi {

QIcon appIcon() {
    static const QIcon icon = [] {
        QIcon rendered;
        QSvgRenderer svg(QStringLiteral(":/icons/org.morvel.Tavi.svg"));
        // A tray host picks the closest size; rendering each one keeps the
        // small sizes crisp instead of scaled down from a large bitmap.
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
            QPixmap pixmap(size, size);
            pixmap.fill(Qt::transparent);
            QPainter painter(&pixmap);
            painter.setRenderHint(QPainter::Antialiasing);
            svg.render(&painter);
            painter.end();
            rendered.addPixmap(pixmap);
        }
        return rendered;
    }();
    return icon;
}

}  // namespace tavi
