#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Clipboard.h"
#include "platform/GlobalShortcuts.h"
#include "platform/KeySender.h"
#include "platform/KeyboardLayout.h"
#include "platform/MouseDownMonitor.h"
#include "platform/ScreenCapture.h"
#include "platform/Screens.h"
#include "platform/SelectionReader.h"

namespace tavi {

class EventLoop;

// What Tavi can do with other programs' text in this session.
struct CaptureAbilities {
    bool readsSelection = false;     // the text selected in other programs
    bool sendsCopyShortcut = false;  // the copy fallback's synthetic Control+C
    // A Wayland session seen through XWayland: both reach X11 programs only.
    bool throughXWayland = false;
};

// One desktop backend: everything Tavi needs from the desktop, one small
// interface per concern. A new desktop is a new folder under src/platform
// implementing this, and a line in openDesktopPlatform().
class DesktopPlatform {
public:
    virtual ~DesktopPlatform() = default;

    virtual std::string name() const = 0;
    virtual GlobalShortcuts& shortcuts() = 0;
    virtual KeyboardLayout& keyboardLayout() = 0;
    virtual Clipboard& clipboard() = 0;
    virtual SelectionReader& selection() = 0;
    virtual KeySender& keySender() = 0;
    virtual Screens& screens() = 0;
    virtual MouseDownMonitor& mouseDownMonitor() = 0;
    virtual ScreenCapture& screenCapture() = 0;
    // Whether a compositor draws translucent windows (rounded corners, fades).
    virtual bool hasCompositor() = 0;
    virtual CaptureAbilities captureAbilities() = 0;
};

struct DesktopPlatformResult {
    std::unique_ptr<DesktopPlatform> platform;
    std::string failure;  // why none could be opened, in one line for the user
};

// Why no desktop backend can start in this session, in one line for the
// user; nothing when one can. Cheap enough to ask before any window exists.
std::optional<std::string> desktopUnavailable();

// Picks the backend for the session Tavi runs in (ask desktopUnavailable()
// first for the reason when there is none). Backends write what the
// user may need to know (a hotkey another program holds, ...) to `log`.
DesktopPlatformResult openDesktopPlatform(EventLoop& loop, std::function<void(std::string_view)> log);

}  // namespace tavi
