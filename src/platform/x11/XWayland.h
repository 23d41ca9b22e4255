#pragma once

#include "platform/x11/X11Connection.h"

namespace tavi::x11 {

// Whether the X server is XWayland: X11 programs' window into a Wayland
// session, where X sees the pointer and the keyboard only while they are on
// X11 windows.
bool isXWayland(X11Connection& connection);

}  // namespace tavi::x11
