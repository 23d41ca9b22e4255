#include "FakeGlobalShortcuts.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDateTime>

Q_DECLARE_METATYPE(tavi::test::FakeGlobalShortcuts::Shortcut)

namespace tavi::test {

QDBusArgument& operator<<(QDBusArgument& argument, const FakeGlobalShortcuts::Shortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, FakeGlobalShortcuts::Shortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

namespace {

const QString kUnknownMethod = QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod");

QString pathArgument(const QDBusMessage& message, int index) {
    return message.arguments().value(index).value<QDBusObjectPath>().path();
}

}  // namespace

FakeGlobalShortcuts::FakeGlobalShortcuts(unsigned version, bool bindReportsShortcuts)
    : version_(version), bindReportsShortcuts_(bindReportsShortcuts) {
    qDBusRegisterMetaType<Shortcut>();
    qDBusRegisterMetaType<QList<Shortcut>>();
}

QVariantMap FakeGlobalShortcuts::listed() const {
    return {{QStringLiteral("shortcuts"), QVariant::fromValue(bound_)}};
}

void FakeGlobalShortcuts::call(const QDBusMessage& message, FakePortal& portal) {
    const QString member = message.member();
    const QVariantList arguments = message.arguments();
    if (member == QLatin1String("CreateSession")) {
        const QVariantMap options = qdbus_cast<QVariantMap>(arguments.value(0));
        const QString request = portal.requestPath(message, options);
        const QString session = portal.openSession(message, options);
        portal.reply(message, {QVariant::fromValue(QDBusObjectPath(request))});
        // The handle is a string, for historical reasons.
        portal.respond(request, 0, {{QStringLiteral("session_handle"), session}});
        return;
    }
    const QString session = pathArgument(message, 0);
    if (!portal.isSessionOpen(session)) {
        return portal.replyError(message, QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"),
                                 QStringLiteral("Invalid session"));
    }
    if (member == QLatin1String("BindShortcuts")) {
        const QString request = portal.requestPath(message, qdbus_cast<QVariantMap>(arguments.value(3)));
        session_ = session;
        bound_.clear();
        for (const Shortcut& offered : qdbus_cast<QList<Shortcut>>(arguments.value(1))) {
            const QString trigger = offered.properties.value(QStringLiteral("preferred_trigger")).toString();
            bound_.push_back({offered.id,
                              {{QStringLiteral("description"), offered.properties.value(QStringLiteral("description"))},
                               {QStringLiteral("trigger_description"), trigger}}});
        }
        portal.reply(message, {QVariant::fromValue(QDBusObjectPath(request))});
        portal.respond(request, 0, bindReportsShortcuts_ ? listed() : QVariantMap());
        return;
    }
    if (member == QLatin1String("ListShortcuts")) {
        const QString request = portal.requestPath(message, qdbus_cast<QVariantMap>(arguments.value(1)));
        portal.reply(message, {QVariant::fromValue(QDBusObjectPath(request))});
        portal.respond(request, 0, listed());
        return;
    }
    if (member == QLatin1String("ConfigureShortcuts") && version_ >= 2) return portal.reply(message);
    portal.replyError(message, kUnknownMethod, member);
}

bool FakeGlobalShortcuts::control(const QDBusMessage& message, FakePortal& portal) {
    const QString member = message.member();
    const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
    if (member == QLatin1String("Activate")) {
        const QVariantList event{QVariant::fromValue(QDBusObjectPath(session_)), message.arguments().value(0),
                                 static_cast<qulonglong>(QDateTime::currentMSecsSinceEpoch()), QVariantMap()};
        portal.emitSignal(path, name(), QStringLiteral("Activated"), event);
        portal.emitSignal(path, name(), QStringLiteral("Deactivated"), event);
    } else if (member == QLatin1String("ChangeShortcuts")) {
        const auto changes = qdbus_cast<QMap<QString, QString>>(message.arguments().value(0));
        for (Shortcut& shortcut : bound_)
            if (changes.contains(shortcut.id))
                shortcut.properties[QStringLiteral("trigger_description")] = changes.value(shortcut.id);
        portal.emitSignal(path, name(), QStringLiteral("ShortcutsChanged"),
                          {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(bound_)});
    } else {
        return false;
    }
    portal.reply(message);
    return true;
}

}  // namespace tavi::test
