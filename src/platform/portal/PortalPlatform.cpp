#include "platform/portal/PortalPlatform.h"

#include <QDBusConnection>

#include <cstdlib>
#include <cstring>

#include "platform/portal/PortalScreenCapture.h"
#include "platform/portal/PortalShortcuts.h"

namespace tavi::portal {
namespace {

class PortalPlatform final : public DesktopPlatform {
public:
    PortalPlatform(std::unique_ptr<DesktopPlatform> inner, QDBusConnection bus, std::function<void(std::string_view)> log)
        : inner_(std::move(inner)),
          shortcuts_(bus, inner_->shortcuts(), inner_->keyboardLayout(), std::move(log)),
          capture_(std::move(bus)) {}

    std::string name() const override { return inner_->name() + "+portal"; }
    GlobalShortcuts& shortcuts() override { return shortcuts_; }
    KeyboardLayout& keyboardLayout() override { return inner_->keyboardLayout(); }
    Clipboard& clipboard() override { return inner_->clipboard(); }
    SelectionReader& selection() override { return inner_->selection(); }
    KeySender& keySender() override { return inner_->keySender(); }
    Screens& screens() override { return inner_->screens(); }
    MouseDownMonitor& mouseDownMonitor() override { return inner_->mouseDownMonitor(); }
    ScreenCapture& screenCapture() override { return capture_; }
    bool hasCompositor() override { return inner_->hasCompositor(); }
    CaptureAbilities captureAbilities() override { return inner_->captureAbilities(); }

private:
    std::unique_ptr<DesktopPlatform> inner_;
    PortalShortcuts shortcuts_;
    PortalScreenCapture capture_;
};

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

}  // namespace

bool isWaylandSession() {
    const char* type = std::getenv("XDG_SESSION_TYPE");
    return isSet("WAYLAND_DISPLAY") || (type && std::strcmp(type, "wayland") == 0);
}

std::unique_ptr<DesktopPlatform> withPortal(std::unique_ptr<DesktopPlatform> platform,
                                                     std::function<void(std::string_view)> log) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        log("No session bus, so no desktop portal on this Wayland desktop: Tavi's hotkeys work through XWayland, "
            "only while an X11 window has the keyboard focus, and screenshots cannot be taken.");
        return platform;
    }
    return std::make_unique<PortalPlatform>(std::move(platform), std::move(bus), std::move(log));
}

}  // namespace tavi::portal
