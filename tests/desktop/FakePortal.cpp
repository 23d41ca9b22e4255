#include "FakePortal.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tavi::test {
namespace {

const QString kPortalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

QJsonValue toJson(const QVariant& value);

QJsonValue toJson(const QDBusArgument& argument) {
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType: {
        QJsonArray items;
        argument.beginArray();
        while (!argument.atEnd()) items.append(toJson(argument));
        argument.endArray();
        return items;
    }
    case QDBusArgument::StructureType: {
        QJsonArray fields;
        argument.beginStructure();
        while (!argument.atEnd()) fields.append(toJson(argument));
        argument.endStructure();
        return fields;
    }
    case QDBusArgument::MapType: {
        QJsonObject entries;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QJsonValue key = toJson(argument);
            const QJsonValue value = toJson(argument);
            argument.endMapEntry();
            entries.insert(key.toVariant().toString(), value);
        }
        argument.endMap();
        return entries;
    }
    default: return toJson(argument.asVariant());
    }
}

QJsonValue toJson(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusArgument>())
        return toJson(value.value<QDBusArgument>());
    if (value.metaType() == QMetaType::fromType<QDBusVariant>()) return toJson(value.value<QDBusVariant>().variant());
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>()) return value.value<QDBusObjectPath>().path();
    if (value.metaType() == QMetaType::fromType<QVariantMap>()) {
        QJsonObject entries;
        const QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it) entries.insert(it.key(), toJson(it.value()));
        return entries;
    }
    if (value.metaType() == QMetaType::fromType<QVariantList>()) {
        QJsonArray items;
        for (const QVariant& item : value.toList()) items.append(toJson(item));
        return items;
    }
    if (value.metaType() == QMetaType::fromType<QStringList>()) return QJsonArray::fromStringList(value.toStringList());
    return QJsonValue::fromVariant(value);
}

}  // namespace

void FakeHostRegistry::call(const QDBusMessage& message, FakePortal& portal) {
    if (message.member() == QLatin1String("Register")) return portal.reply(message);
    portal.replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), message.member());
}

FakePortal::FakePortal(QDBusConnection bus, QString journal) : bus_(std::move(bus)), journal_(std::move(journal)) {}

void FakePortal::add(std::unique_ptr<FakePortalInterface> interface) { interfaces_.push_back(std::move(interface)); }

bool FakePortal::publish() {
    return bus_.registerVirtualObject(kPortalPath, this, QDBusConnection::SubPath) &&
           bus_.registerService(kPortalName);
}

QString FakePortal::callerPath(const QString& kind, const QDBusMessage& call, const QVariantMap& options,
                               const char* tokenKey) const {
    QString sender = call.service();
    sender.remove(0, 1).replace(QLatin1Char('.'), QLatin1Char('_'));
    static int unnamed = 0;
    QString token = options.value(QString::fromLatin1(tokenKey)).toString();
    if (token.isEmpty()) token = QStringLiteral("t%1").arg(++unnamed);
    return kPortalPath + QLatin1Char('/') + kind + QLatin1Char('/') + sender + QLatin1Char('/') + token;
}

QString FakePortal::requestPath(const QDBusMessage& call, const QVariantMap& options) const {
    return callerPath(QStringLiteral("request"), call, options, "handle_token");
}

QString FakePortal::openSession(const QDBusMessage& call, const QVariantMap& options) {
    const QString path = callerPath(QStringLiteral("session"), call, options, "session_handle_token");
    sessions_.insert(path);
    return path;
}

void FakePortal::reply(const QDBusMessage& call, const QVariantList& arguments) {
    bus_.send(call.createReply(arguments));
}

void FakePortal::replyError(const QDBusMessage& call, const QString& name, const QString& text) {
    bus_.send(call.createErrorReply(name, text));
}

void FakePortal::respond(const QString& request, unsigned response, const QVariantMap& results) {
    emitSignal(request, kRequest, QStringLiteral("Response"), {response, results});
}

void FakePortal::emitSignal(const QString& path, const QString& interface, const QString& member,
                            const QVariantList& arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, member);
    signal.setArguments(arguments);
    bus_.send(signal);
}

QString FakePortal::introspect(const QString&) const {
    QString xml;
    for (const auto& interface : interfaces_)
        xml += QStringLiteral("<interface name=\"%1\"><property name=\"version\" type=\"u\" access=\"read\"/></interface>")
                   .arg(interface->name());
    return xml;
}

bool FakePortal::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (message.type() != QDBusMessage::MethodCallMessage) return false;
    if (message.interface() == kFakePortalControl) {
        for (const auto& interface : interfaces_)
            if (interface->control(message, *this)) return true;
        replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), message.member());
        return true;
    }
    record(message);
    if (message.interface() == kProperties) {
        properties(message);
        return true;
    }
    if (message.interface() == kSession && message.member() == QLatin1String("Close")) {
        sessions_.remove(message.path());
        reply(message);
        return true;
    }
    if (message.interface() == kRequest && message.member() == QLatin1String("Close")) {
        reply(message);
        return true;
    }
    for (const auto& interface : interfaces_) {
        if (interface->name() == message.interface()) {
            interface->call(message, *this);
            return true;
        }
    }
    replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
               QStringLiteral("No such interface “%1”").arg(message.interface()));
    return true;
}

void FakePortal::properties(const QDBusMessage& message) {
    const QString wanted = message.arguments().value(0).toString();
    for (const auto& interface : interfaces_) {
        if (interface->name() != wanted) continue;
        if (message.member() == QLatin1String("GetAll"))
            return reply(message, {QVariantMap{{QStringLiteral("version"), interface->version()}}});
        if (message.member() == QLatin1String("Get") && message.arguments().value(1).toString() == QLatin1String("version"))
            return reply(message, {QVariant::fromValue(QDBusVariant(interface->version()))});
    }
    // What xdg-desktop-portal answers for an interface it lacks.
    replyError(message, QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"),
               QStringLiteral("No such interface “%1”").arg(wanted));
}

void FakePortal::record(const QDBusMessage& message) const {
    QJsonArray arguments;
    for (const QVariant& argument : message.arguments()) arguments.append(toJson(argument));
    const QJsonObject line{{QStringLiteral("sender"), message.service()},
                           {QStringLiteral("path"), message.path()},
                           {QStringLiteral("interface"), message.interface()},
                           {QStringLiteral("member"), message.member()},
                           {QStringLiteral("args"), arguments}};
    QFile file(journal_);
    if (file.open(QIODevice::Append)) file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
}

}  // namespace tavi::test
