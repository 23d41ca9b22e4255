#include "app/ApplicationService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include "app/DesktopActions.h"

namespace tavi {
namespace {

QString qt(std::string_view text) { return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())); }

}  // namespace

ApplicationService::ApplicationService(QObject* parent, std::function<void(MenuCommand)> perform)
    : QDBusAbstractAdaptor(parent), perform_(std::move(perform)) {}

void ApplicationService::Activate(const QVariantMap&) { perform_(MenuCommand::openDirectTranslation); }

void ApplicationService::Open(const QStringList&, const QVariantMap&) { perform_(MenuCommand::openDirectTranslation); }

void ApplicationService::ActivateAction(const QString& actionName, const QVariantList&, const QVariantMap&,
                                        const QDBusMessage& message) {
    const std::optional<MenuCommand> command = commandForAction(actionName.toStdString());
    if (!command) {
        message.setDelayedReply(true);
        QDBusConnection::sessionBus().send(
            message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("Tavi 没有这个操作：") + actionName));
        return;
    }
    perform_(*command);
}

bool publishApplicationService(QObject* owner, std::function<void(MenuCommand)> perform) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    new ApplicationService(owner, std::move(perform));
    if (!bus.registerObject(qt(kApplicationObjectPath), owner, QDBusConnection::ExportAdaptors)) return false;
    // Never queue behind, or take the name from, another running Tavi.
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = bus.interface()->registerService(
        qt(kApplicationBusName), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    return reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

bool applicationAlreadyRuns() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(qt(kApplicationBusName));
}

}  // namespace tavi
