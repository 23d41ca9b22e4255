#pragma once

#include <QDBusAbstractAdaptor>
#include <QObject>
#include <QStringList>

namespace tavi::test {

// A minimal org.kde.StatusNotifierWatcher, as a desktop's panel provides it:
// it accepts item registrations, reports a host, and declares its properties
// in its introspection data (where Qt looks for a host).
class SniWatcher final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredStatusNotifierItems)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isStatusNotifierHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    explicit SniWatcher(QObject* parent);

    QStringList registeredStatusNotifierItems() const { return items_; }
    bool isStatusNotifierHostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

public slots:
    void RegisterStatusNotifierItem(const QString& service);
    void RegisterStatusNotifierHost(const QString& service);

signals:
    void StatusNotifierItemRegistered(const QString& service);
    void StatusNotifierItemUnregistered(const QString& service);
    void StatusNotifierHostRegistered();

private:
    QStringList items_;
};

}  // namespace tavi::test
