#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace tavi::portal {

inline const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");

// Qt D-Bus delivers signals to slots only: this one hands them on.
class SignalSink final : public QObject {
    Q_OBJECT

public:
    explicit SignalSink(std::function<void(const QDBusMessage&)> handler) : handler_(std::move(handler)) {}

public slots:
    void deliver(const QDBusMessage& message) { handler_(message); }

private:
    std::function<void(const QDBusMessage&)> handler_;
};

// Calls to the desktop portal, on the Qt loop, for one user of it. The
// portal answers most methods twice: the call returns a Request object at
// once, and the Request's Response signal brings the answer when the
// desktop (often the user, in a dialog of the desktop's) has one.
//
// Answers come only while this object lives: destroying it drops the calls
// and requests still open.
class PortalRequests {
public:
    using Answered = std::function<void(std::uint32_t response, const QVariantMap& results)>;
    using Failed = std::function<void(const QString& why)>;

    // `tokenPrefix` keeps this user's request tokens apart from another's
    // on the same connection.
    PortalRequests(QDBusConnection bus, QString tokenPrefix);
    ~PortalRequests();
    PortalRequests(const PortalRequests&) = delete;
    PortalRequests& operator=(const PortalRequests&) = delete;

    // A plain method call on the portal's service; `done` hears the reply
    // or the error.
    void call(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments,
              std::function<void(const QDBusMessage& reply)> done);

    // A portal request on the portal object: the options (the last argument)
    // get a handle token, and the Response is listened for on the path that
    // predicts before the call goes out, so that a quick answer is not
    // missed. `failed` hears an error reply, or that no Response came within
    // `bound`.
    void request(const QString& interface, const QString& method, QVariantList arguments,
                 std::chrono::milliseconds bound, Answered answered, Failed failed);

    // A fresh token, and the path of the Request or Session object the
    // portal makes for it ("request" or "session").
    QString nextToken(const QString& kind);
    QString objectPath(const QString& kind, const QString& token) const;

    // Parent for this user's own Qt objects: they go with the requests.
    QObject* owner() const { return owner_.get(); }

private:
    void onResponse(const QDBusMessage& message);
    bool forget(const QString& path);

    QDBusConnection bus_;
    QString tokenPrefix_;
    std::uint64_t tokens_ = 0;
    std::map<QString, Answered> requests_;  // by request object path
    // Owns the sink, the pending calls and the timers.
    std::unique_ptr<QObject> owner_;
    SignalSink* sink_ = nullptr;
};

}  // namespace tavi::portal
