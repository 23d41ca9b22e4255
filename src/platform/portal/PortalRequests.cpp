#include "platform/portal/PortalRequests.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QTimer>

namespace tavi::portal {
namespace {

const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kResponse = QStringLiteral("Response");

}  // namespace

PortalRequests::PortalRequests(QDBusConnection bus, QString tokenPrefix)
    : bus_(std::move(bus)), tokenPrefix_(std::move(tokenPrefix)), owner_(std::make_unique<QObject>()) {
    sink_ = new SignalSink([this](const QDBusMessage& message) { onResponse(message); });
    sink_->setParent(owner_.get());
}

PortalRequests::~PortalRequests() {
    for (const auto& [path, answered] : requests_)
        bus_.disconnect(QString(), path, kRequest, kResponse, sink_, SLOT(deliver(QDBusMessage)));
}

void PortalRequests::call(const QString& path, const QString& interface, const QString& method,
                          const QVariantList& arguments, std::function<void(const QDBusMessage& reply)> done) {
    QDBusMessage message = QDBusMessage::createMethodCall(kPortalService, path, interface, method);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message), owner_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner_.get(), [watcher, done = std::move(done)] {
        watcher->deleteLater();
        done(watcher->reply());
    });
}

void PortalRequests::request(const QString& interface, const QString& method, QVariantList arguments,
                             std::chrono::milliseconds bound, Answered answered, Failed failed) {
    const QString token = nextToken(QStringLiteral("request"));
    const QString path = objectPath(QStringLiteral("request"), token);
    QVariantMap options = arguments.last().toMap();
    options.insert(QStringLiteral("handle_token"), token);
    arguments.last() = options;
    bus_.connect(QString(), path, kRequest, kResponse, sink_, SLOT(deliver(QDBusMessage)));
    requests_.emplace(path, std::move(answered));
    // Where the Response is awaited: a portal older than the predicted paths
    // answers on a path of its own.
    auto awaited = std::make_shared<QString>(path);
    call(kPortalPath, interface, method, arguments, [this, awaited, failed](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage) {
            if (forget(*awaited)) failed(reply.errorName() + QStringLiteral(": ") + reply.errorMessage());
            return;
        }
        const QString actual = reply.arguments().value(0).value<QDBusObjectPath>().path();
        auto found = requests_.find(*awaited);
        if (actual.isEmpty() || actual == *awaited || found == requests_.end()) return;
        Answered moved = std::move(found->second);
        forget(*awaited);
        *awaited = actual;
        bus_.connect(QString(), actual, kRequest, kResponse, sink_, SLOT(deliver(QDBusMessage)));
        requests_.emplace(actual, std::move(moved));
    });
    QTimer::singleShot(bound, owner_.get(), [this, awaited, failed] {
        if (forget(*awaited)) failed(QStringLiteral("no response"));
    });
}

QString PortalRequests::nextToken(const QString& kind) {
    return tokenPrefix_ + QLatin1Char('_') + kind + QString::number(++tokens_);
}

QString PortalRequests::objectPath(const QString& kind, const QString& token) const {
    // The portal's paths name the caller by its unique bus name, without
    // the colon and with dots as underscores.
    QString sender = bus_.baseService();
    sender.remove(0, 1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return kPortalPath + QLatin1Char('/') + kind + QLatin1Char('/') + sender + QLatin1Char('/') + token;
}

void PortalRequests::onResponse(const QDBusMessage& message) {
    auto found = requests_.find(message.path());
    if (found == requests_.end()) return;
    Answered answered = std::move(found->second);
    forget(message.path());
    const QList<QVariant> arguments = message.arguments();
    answered(arguments.value(0).toUInt(), qdbus_cast<QVariantMap>(arguments.value(1)));
}

bool PortalRequests::forget(const QString& path) {
    bus_.disconnect(QString(), path, kRequest, kResponse, sink_, SLOT(deliver(QDBusMessage)));
    return requests_.erase(path) > 0;
}

}  // namespace tavi::portal
