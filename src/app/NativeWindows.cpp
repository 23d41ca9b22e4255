#include "app/NativeWindows.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <xcb/xcb.h>

#include <cmath>

namespace tavi {

double scaleOfScreenAt(Point topLeft) {
    for (const QScreen* screen : QGuiApplication::screens())
        if (screen->geometry().topLeft() == QPoint(topLeft.x, topLeft.y)) return screen->devicePixelRatio();
    const QScreen* primary = QGuiApplication::primaryScreen();
    return primary ? primary->devicePixelRatio() : 1.0;
}

void moveToDevicePixels(QWidget& window, Point origin, Point screenTopLeft, double scale) {
    const auto toLogical = [scale](int device, int corner) {
        return corner + static_cast<int>(std::floor((device - corner) / scale));
    };
    // First where Qt can put it, so that Qt knows the screen and the size
    // the window has there.
    window.move(toLogical(origin.x, screenTopLeft.x), toLogical(origin.y, screenTopLeft.y));
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const std::uint32_t position[] = {static_cast<std::uint32_t>(origin.x), static_cast<std::uint32_t>(origin.y)};
    xcb_configure_window(x11->connection(), id, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, position);
    xcb_flush(x11->connection());
}

bool isOwnNativeWindow(NativeWindowId window) {
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection() || window == 0) return false;
    // X hands every client a range of resource ids of its own.
    const xcb_setup_t* setup = xcb_get_setup(x11->connection());
    const auto id = static_cast<std::uint32_t>(window);
    return (id & ~setup->resource_id_mask) == (setup->resource_id_base & ~setup->resource_id_mask);
}

}  // namespace tavi
