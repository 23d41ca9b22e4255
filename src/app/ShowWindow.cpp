#include "app/ShowWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace tavi {

void showWindow(QWidget& window) {
    if (!window.isVisible()) {
        const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen) screen = QGuiApplication::primaryScreen();
        if (screen) {
            // A window's own size, at least what its layout needs.
            window.resize(window.size().expandedTo(window.minimumSizeHint()));
            QRect frame(QPoint(), window.size());
            frame.moveCenter(screen->availableGeometry().center());
            window.move(frame.topLeft());
        }
        window.show();
    }
    // A window that is minimised or behind others comes forward as it is.
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

}  // namespace tavi
