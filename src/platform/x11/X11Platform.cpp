#include "platform/x11/X11Platform.h"

#include <cstdlib>
#include <cstring>

#include "platform/x11/XWayland.h"

namespace tavi::x11 {

X11Platform::X11Platform(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection)),
      xWayland_(isXWayland(*connection_)),
      keyboard_(*connection_),
      shortcuts_(*connection_, keyboard_),
      selections_(*connection_),
      clipboard_(*connection_, selections_),
      primary_(*connection_, selections_),
      keySender_(*connection_, keyboard_, shortcuts_, xWayland_),
      screens_(*connection_, xWayland_),
      mouse_(*connection_, xWayland_),
      capture_(*connection_, screens_) {}

CaptureAbilities X11Platform::captureAbilities() {
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    const char* session = std::getenv("XDG_SESSION_TYPE");
    const bool throughXWayland =
        xWayland_ || (wayland && *wayland) || (session && std::strcmp(session, "wayland") == 0);
    return {true, keySender_.available(), throughXWayland};
}

}  // namespace tavi::x11
