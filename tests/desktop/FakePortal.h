#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <vector>

namespace tavi::test {

class FakePortal;

// One interface of the fake portal. Add one by implementing this in files of
// its own and adding it in DesktopHelper's fake-portal command.
class FakePortalInterface {
public:
    virtual ~FakePortalInterface() = default;
    // "org.freedesktop.portal.GlobalShortcuts"; its `version` property.
    virtual QString name() const = 0;
    virtual unsigned version() const = 0;
    // A call of one of its methods (on the portal object or on a session it
    // opened): answers it through `portal`, an error for an unknown method.
    virtual void call(const QDBusMessage& message, FakePortal& portal) = 0;
    // A test's control call (interface kFakePortalControl): plays the
    // desktop, emitting the interface's signals. False when not its member.
    virtual bool control(const QDBusMessage& message, FakePortal& portal) {
        static_cast<void>(message);
        static_cast<void>(portal);
        return false;
    }
};

// org.freedesktop.host.portal.Registry: host applications register their id.
class FakeHostRegistry final : public FakePortalInterface {
public:
    QString name() const override { return QStringLiteral("org.freedesktop.host.portal.Registry"); }
    unsigned version() const override { return 1; }
    void call(const QDBusMessage& message, FakePortal& portal) override;
};

// The interface on the portal's object through which tests play the desktop.
inline const QString kFakePortalControl = QStringLiteral("org.morvel.Tavi.Test.FakePortal");

// org.freedesktop.portal.Desktop at /org/freedesktop/portal/desktop, as
// xdg-desktop-portal serves it, with the interfaces added to it, plus the
// Request and Session objects under it. Every call but the tests' controls
// is written to the journal file as one JSON line:
//   {"sender":":1.7","path":"...","interface":"...","member":"...","args":[...]}
// with D-Bus structures as arrays and dictionaries as objects.
class FakePortal final : public QDBusVirtualObject {
public:
    FakePortal(QDBusConnection bus, QString journal);

    void add(std::unique_ptr<FakePortalInterface> interface);
    // Serves the object and takes the portal's bus name.
    bool publish();

    // For the interfaces: the object paths a caller predicts from the
    // tokens in its options, answers, and the desktop's signals.
    QString requestPath(const QDBusMessage& call, const QVariantMap& options) const;
    QString openSession(const QDBusMessage& call, const QVariantMap& options);
    bool isSessionOpen(const QString& path) const { return sessions_.contains(path); }
    void reply(const QDBusMessage& call, const QVariantList& arguments = {});
    void replyError(const QDBusMessage& call, const QString& name, const QString& text);
    // Request.Response on `request`.
    void respond(const QString& request, unsigned response, const QVariantMap& results);
    void emitSignal(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QString callerPath(const QString& kind, const QDBusMessage& call, const QVariantMap& options,
                       const char* tokenKey) const;
    void record(const QDBusMessage& message) const;
    void properties(const QDBusMessage& message);

    QDBusConnection bus_;
    QString journal_;
    std::vector<std::unique_ptr<FakePortalInterface>> interfaces_;
    QSet<QString> sessions_;
};

}  // namespace tavi::test
