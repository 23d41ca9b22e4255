#include "FakeScreenshot.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QUrl>

#include <algorithm>

namespace tavi::test {

FakeScreenshot::FakeScreenshot(QString folder) : folder_(std::move(folder)) {}

void FakeScreenshot::call(const QDBusMessage& message, FakePortal& portal) {
    if (message.member() != QLatin1String("Screenshot"))
        return portal.replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
                                 message.member());
    const QVariantMap options = qdbus_cast<QVariantMap>(message.arguments().value(1));
    const QString request = portal.requestPath(message, options);
    portal.reply(message, {QVariant::fromValue(QDBusObjectPath(request))});
    QVariantMap results;
    if (response_ == 0) results.insert(QStringLiteral("uri"), QUrl::fromLocalFile(savePicture()).toString());
    portal.respond(request, response_, results);
}

bool FakeScreenshot::control(const QDBusMessage& message, FakePortal& portal) {
    if (message.member() != QLatin1String("SetPick")) return false;
    lines_ = message.arguments().value(0).toString().split(QLatin1Char('\n'));
    response_ = message.arguments().value(1).toUInt();
    portal.reply(message);
    return true;
}

QString FakeScreenshot::savePicture() {
    QFont font(QStringLiteral("Noto Sans CJK SC"));
    font.setPixelSize(22);
    const QFontMetrics metrics(font);
    constexpr int kMargin = 24;
    int width = 0;
    for (const QString& line : lines_) width = std::max(width, metrics.horizontalAdvance(line));
    QImage picture(width + 2 * kMargin, static_cast<int>(lines_.size()) * metrics.lineSpacing() + 2 * kMargin,
                   QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setFont(font);
    painter.setPen(QColor(0x20, 0x20, 0x20));
    for (int i = 0; i < lines_.size(); ++i)
        painter.drawText(kMargin, kMargin + i * metrics.lineSpacing() + metrics.ascent(), lines_[i]);
    painter.end();
    const QString file = folder_ + QStringLiteral("/Screenshot %1.png").arg(++saved_);
    picture.save(file, "PNG");
    return file;
}

}  // namespace tavi::test
