#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <functional>

#include "app/StatusMenu.h"

namespace tavi {

// org.freedesktop.Application for the running Tavi: Activate and Open show
// the translation window; ActivateAction runs one of the desktop actions
// (see DesktopActions.h). Calls arrive on the main thread.
class ApplicationService final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationService(QObject* parent, std::function<void(MenuCommand)> perform);

public slots:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    // The message itself comes last (it is not part of the signature), to
    // answer an unknown action with an error.
    void ActivateAction(const QString& actionName, const QVariantList& parameter, const QVariantMap& platformData,
                        const QDBusMessage& message);

private:
    std::function<void(MenuCommand)> perform_;
};

// Takes the bus name for this process and serves the interface on it.
// False when another Tavi holds the name (or there is no session bus).
bool publishApplicationService(QObject* owner, std::function<void(MenuCommand)> perform);

// Whether a Tavi already runs on this session bus.
bool applicationAlreadyRuns();

}  // namespace tavi
