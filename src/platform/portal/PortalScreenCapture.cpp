#include "platform/portal/PortalScreenCapture.h"

#include <QFile>
#include <QImage>
#include <QUrl>

#include <chrono>
#include <cstring>

namespace tavi::portal {
namespace {

using namespace std::chrono_literals;

const QString kScreenshot = QStringLiteral("org.freedesktop.portal.Screenshot");
// The desktop's picker waits for the user; one left open this long is
// given up (the next screenshot starts a new one anyway).
constexpr auto kPickerBound = 10min;

constexpr const char* kNoPicture = "桌面没有交给 Tavi 可读取的截图";

}  // namespace

PortalScreenCapture::PortalScreenCapture(QDBusConnection bus) : requests_(std::move(bus), QStringLiteral("tavi_shot")) {}

ScreenCaptureResult PortalScreenCapture::captureScreens() {
    return ScreenCaptureFailure{"Wayland 桌面只通过自己的截图工具交出屏幕画面"};
}

void PortalScreenCapture::pickRegion(std::function<void(RegionCaptureResult)> done) {
    const std::uint64_t pick = ++latest_;
    auto answer = [this, pick, done](RegionCaptureResult result) {
        if (pick == latest_) done(std::move(result));
    };
    const QVariantMap options{{QStringLiteral("interactive"), true}, {QStringLiteral("modal"), true}};
    requests_.request(
        kScreenshot, QStringLiteral("Screenshot"), {QString(), options}, kPickerBound,
        [answer](std::uint32_t response, const QVariantMap& results) {
            const QString uri = results.value(QStringLiteral("uri")).toString();
            // Whatever the answer, a file the desktop wrote goes.
            if (response == 0) return answer(takePortalPicture(uri));
            if (!uri.isEmpty()) takePortalPicture(uri);
            if (response == 1) return answer(ScreenCaptureCancelled{});
            answer(ScreenCaptureFailure{"桌面的截图工具没有完成截图"});
        },
        [answer](const QString& why) {
            if (why.startsWith(QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")) ||
                why.startsWith(QLatin1String("org.freedesktop.DBus.Error.UnknownInterface")) ||
                why.startsWith(QLatin1String("org.freedesktop.DBus.Error.UnknownMethod")))
                return answer(ScreenCaptureFailure{"这个桌面没有提供截图服务（xdg-desktop-portal 的 Screenshot 接口）"});
            answer(ScreenCaptureFailure{"桌面的截图服务出错（" + why.toStdString() + "）"});
        });
}

RegionCaptureResult takePortalPicture(const QString& uri) {
    const QUrl url(uri);
    if (!url.isLocalFile()) return ScreenCaptureFailure{kNoPicture};
    const QString path = url.toLocalFile();
    QImage picture(path);
    QFile::remove(path);
    if (picture.isNull()) return ScreenCaptureFailure{kNoPicture};
    picture = picture.convertToFormat(QImage::Format_RGB32);

    ScreenImage image;
    image.width = picture.width();
    image.height = picture.height();
    image.bytesPerLine = image.width * 4;
    image.screen.frame = {0, 0, image.width, image.height};
    image.screen.available = image.screen.frame;
    image.pixels.resize(static_cast<std::size_t>(image.bytesPerLine) * image.height);
    for (int row = 0; row < image.height; ++row)
        std::memcpy(image.pixels.data() + static_cast<std::size_t>(row) * image.bytesPerLine, picture.constScanLine(row),
                    static_cast<std::size_t>(image.bytesPerLine));
    return image;
}

}  // namespace tavi::portal
