#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/DesktopPlatform.h"

namespace tavi::portal {

// Whether Tavi runs in a Wayland session (through XWayland).
bool isWaylandSession();

// `platform` with its global shortcuts and its screenshots taken over by the
// desktop's portal (PortalShortcuts, PortalScreenCapture), everything else
// as it was. Without a session bus there is no portal to ask: `platform`
// comes back as it is and the log says so.
std::unique_ptr<DesktopPlatform> withPortal(std::unique_ptr<DesktopPlatform> platform,
                                                     std::function<void(std::string_view)> log);

}  // namespace tavi::portal
