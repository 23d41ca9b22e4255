#pragma once

#include <QDBusConnection>

#include <cstdint>

#include "platform/ScreenCapture.h"
#include "platform/portal/PortalRequests.h"

namespace tavi::portal {

// Screenshots through the desktop's org.freedesktop.portal.Screenshot: the
// desktop shows its own region picker, saves the picture to a file and
// names it; Tavi reads it and deletes it at once (it is the user's screen,
// maybe private). What X11 could show Tavi of a Wayland desktop would miss
// every Wayland window.
class PortalScreenCapture final : public ScreenCapture {
public:
    explicit PortalScreenCapture(QDBusConnection bus);

    // Whole monitors are not Tavi's to read here.
    ScreenCaptureResult captureScreens() override;
    bool picksRegion() const override { return true; }
    // Only the latest pick is answered: an earlier one still open is dropped.
    void pickRegion(std::function<void(RegionCaptureResult)> done) override;

private:
    PortalRequests requests_;
    std::uint64_t latest_ = 0;
};

// The picture in the file a portal named by `uri`, which is then deleted
// whatever it held; or why there is none.
RegionCaptureResult takePortalPicture(const QString& uri);

}  // namespace tavi::portal
