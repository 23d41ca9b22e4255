#pragma once

#include "platform/Geometry.h"

class QWidget;

namespace tavi {

// Device pixels per logical pixel of the screen whose top-left corner is at
// `topLeft` in device pixels (Qt keeps each screen's corner where the desktop
// has it and scales from there); the primary screen's when none is.
double scaleOfScreenAt(Point topLeft);

// Moves a frameless top-level window so that its top-left corner is exactly
// at `origin` in the desktop's device pixels, on the screen whose top-left
// corner is `screenTopLeft` and whose scale is `scale`. Qt alone places
// windows in logical pixels, which at 1.5x cannot reach every device pixel;
// the X server is then asked for the exact place, on Qt's own connection so
// that the request follows Qt's.
void moveToDevicePixels(QWidget& window, Point origin, Point screenTopLeft, double scale);

// Whether the native window is one of Tavi's own: its windows, menus and
// the tray icon it embeds in a panel (all made by Qt's connection).
bool isOwnNativeWindow(NativeWindowId window);

}  // namespace tavi
