#include "platform/portal/PortalShortcuts.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QTimer>

#include <algorithm>
#include <chrono>

#include "platform/portal/PortalRequests.h"
#include "platform/portal/PortalTrigger.h"

namespace tavi::portal {
namespace {

using namespace std::chrono_literals;

const QString& kPath = kPortalPath;
const QString kShortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");
const QString kRegistry = QStringLiteral("org.freedesktop.host.portal.Registry");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

// Registrations that change together (HotkeyManager drops all and
// registers all again) are bound once, this long after the last change.
constexpr auto kSettleDelay = 50ms;
// A request the desktop has not answered by then is given up, so that later
// changes are bound; the bind may wait for the user in a dialog.
constexpr auto kResponseBound = 120s;

constexpr std::string_view kThroughXWayland =
    "Tavi's hotkeys work through XWayland, only while an X11 window has the keyboard focus; ";
constexpr std::string_view kAdvice =
    "bind `tavi selection` (and `tavi show`, `tavi screenshot`, `tavi clipboard`) to keys in the desktop's "
    "keyboard settings instead.";

std::string text(const QString& value) { return value.toStdString(); }
QString qt(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

// One entry of the portal's a(sa{sv}) lists of shortcuts.
struct Shortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Shortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Shortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

}  // namespace
}  // namespace tavi::portal

Q_DECLARE_METATYPE(tavi::portal::Shortcut)

namespace tavi::portal {

PortalShortcuts::PortalShortcuts(QDBusConnection bus, GlobalShortcuts& fallback, KeyboardLayout& layout, Log log)
    : bus_(std::move(bus)),
      requests_(bus_, QStringLiteral("tavi")),
      fallback_(fallback),
      layout_(layout),
      log_(std::move(log)),
      owner_(std::make_unique<QObject>()) {
    qDBusRegisterMetaType<Shortcut>();
    qDBusRegisterMetaType<QList<Shortcut>>();
    sink_ = new SignalSink([this](const QDBusMessage& message) { onSignal(message); });
    sink_->setParent(owner_.get());
    syncTimer_ = new QTimer(owner_.get());
    syncTimer_->setSingleShot(true);
    syncTimer_->setInterval(kSettleDelay);
    QObject::connect(syncTimer_, &QTimer::timeout, owner_.get(), [this] { sync(); });
    for (const char* signal : {"Activated", "ShortcutsChanged"})
        bus_.connect(QString(), kPath, kShortcuts, QString::fromLatin1(signal), sink_, SLOT(deliver(QDBusMessage)));
    probe();
}

PortalShortcuts::~PortalShortcuts() {
    owner_.reset();
    // The desktop ends the session with the connection; ending it now, when
    // Tavi quits, needs no answer.
    if (!session_.isEmpty())
        bus_.send(QDBusMessage::createMethodCall(kPortalService, session_, kSession, QStringLiteral("Close")));
}

void PortalShortcuts::installHandler(PressedHandler handler) {
    handler_ = handler;
    fallback_.installHandler(std::move(handler));
}

std::optional<GlobalShortcuts::Handle> PortalShortcuts::grab(std::uint32_t keyCode, std::uint32_t modifiers,
                                                             std::uint32_t id, const Purpose& purpose) {
    Registration registration{keyCode, modifiers, id, purpose, std::nullopt};
    if (stage_ == Stage::fallenBack) {
        // No hotkey set: nothing to grab on X11.
        if (modifiers == 0) return std::nullopt;
        registration.fallbackHandle = fallback_.grab(keyCode, modifiers, id, purpose);
        if (!registration.fallbackHandle) return std::nullopt;
    }
    const Handle handle = nextHandle_++;
    registrations_.emplace(handle, std::move(registration));
    scheduleSync();
    return handle;
}

void PortalShortcuts::release(Handle handle) {
    auto found = registrations_.find(handle);
    if (found == registrations_.end()) return;
    if (found->second.fallbackHandle) fallback_.release(*found->second.fallbackHandle);
    registrations_.erase(found);
    scheduleSync();
}

std::optional<std::string> PortalShortcuts::triggerText(std::string_view name) const {
    if (stage_ == Stage::fallenBack) return std::nullopt;
    auto found = triggers_.find(name);
    if (found == triggers_.end() || found->second.empty()) return std::nullopt;
    return found->second;
}

Subscription PortalShortcuts::onDesktopChanged(std::function<void()> changed) {
    return changed_.add(std::move(changed));
}

void PortalShortcuts::probe() {
    // A host application is known to the portal by the id it registers
    // before its first request; a portal without the registry tells it
    // apart by other means, so its refusal changes nothing.
    requests_.call(kPath, kRegistry, QStringLiteral("Register"), {qt(kApplicationId), QVariantMap()}, [this](const QDBusMessage&) {
        requests_.call(kPath, kProperties, QStringLiteral("Get"), {kShortcuts, QStringLiteral("version")},
             [this](const QDBusMessage& reply) {
                 if (reply.type() != QDBusMessage::ReplyMessage) {
                     const QString error = reply.errorName();
                     const bool silent = error == QLatin1String("org.freedesktop.DBus.Error.NoReply") ||
                                         error == QLatin1String("org.freedesktop.DBus.Error.Timeout");
                     return fallBack((silent ? "The desktop's portal did not answer (" + text(reply.errorMessage()) + "): "
                                             : std::string("This Wayland desktop offers no global shortcuts portal: ")) +
                                     std::string(kThroughXWayland) + std::string(kAdvice));
                 }
                 version_ = reply.arguments().value(0).value<QDBusVariant>().variant().toUInt();
                 stage_ = Stage::ready;
                 sync();
             });
    });
}

void PortalShortcuts::scheduleSync() {
    if (stage_ == Stage::ready) syncTimer_->start();
}

std::vector<PortalShortcuts::Binding> PortalShortcuts::wanted() const {
    // In registration order; a name registered twice is bound once, as last registered.
    std::vector<Binding> bindings;
    std::vector<const Registration*> ordered;
    for (const auto& [handle, registration] : registrations_) ordered.push_back(&registration);
    std::sort(ordered.begin(), ordered.end(), [](auto* a, auto* b) { return a->id < b->id; });
    for (const Registration* registration : ordered) {
        const QString name = registration->purpose.name.empty()
                                 ? QStringLiteral("hotkey-%1").arg(registration->id)
                                 : qt(registration->purpose.name);
        std::erase_if(bindings, [&](const Binding& b) { return b.name == name; });
        const std::optional<std::string> trigger = portalTrigger(
            registration->keyCode, registration->modifiers,
            [this](std::uint32_t keyCode) { return layout_.keyName(keyCode); });
        bindings.push_back({name, qt(registration->purpose.description), trigger ? qt(*trigger) : QString()});
    }
    return bindings;
}

void PortalShortcuts::sync() {
    if (stage_ != Stage::ready || busy_) return;
    std::vector<Binding> bindings = wanted();
    if (bindings.empty() || (!session_.isEmpty() && bound_ == bindings)) return;
    if (session_.isEmpty()) return createSessionAndBind(std::move(bindings));
    const auto names = [](const std::vector<Binding>& list) {
        std::vector<std::pair<QString, QString>> out;
        for (const Binding& b : list) out.emplace_back(b.name, b.description);
        return out;
    };
    if (version_ >= 2 && bound_ && names(*bound_) == names(bindings)) {
        // Only the proposed keys changed: the desktop's own dialog lets the
        // user take them (or not). What it decides comes as ShortcutsChanged.
        bound_ = std::move(bindings);
        const QVariantList arguments{QVariant::fromValue(QDBusObjectPath(session_)), QString(), QVariantMap()};
        requests_.call(kPath, kShortcuts, QStringLiteral("ConfigureShortcuts"), arguments, [this](const QDBusMessage& reply) {
            if (reply.type() != QDBusMessage::ReplyMessage)
                log_("The desktop did not open its shortcut settings: " + text(reply.errorMessage()));
        });
        return;
    }
    // A session binds once: the new proposals go to a new one.
    closeSession();
    createSessionAndBind(std::move(bindings));
}

void PortalShortcuts::createSessionAndBind(std::vector<Binding> bindings) {
    busy_ = true;
    const QString sessionToken = requests_.nextToken(QStringLiteral("session"));
    requests_.request(
        kShortcuts, QStringLiteral("CreateSession"),
        {QVariantMap{{QStringLiteral("session_handle_token"), sessionToken}}}, kResponseBound,
        [this, sessionToken, bindings = std::move(bindings)](std::uint32_t response, const QVariantMap& results) {
            if (response != 0)
                return sessionFailed("the desktop refused a session (response " + std::to_string(response) + ")");
            // Older portals give the handle as a string, newer ones as a path.
            const QVariant handle = results.value(QStringLiteral("session_handle"));
            session_ = handle.metaType() == QMetaType::fromType<QDBusObjectPath>()
                           ? handle.value<QDBusObjectPath>().path()
                           : handle.toString();
            if (session_.isEmpty()) session_ = requests_.objectPath(QStringLiteral("session"), sessionToken);
            sessionEverCreated_ = true;
            bus_.connect(QString(), session_, kSession, QStringLiteral("Closed"), sink_, SLOT(deliver(QDBusMessage)));
            bindShortcuts(bindings);
        },
        [this](const QString& why) { sessionFailed("no session (" + text(why) + ")"); });
}

void PortalShortcuts::sessionFailed(const std::string& why) {
    busy_ = false;
    // A portal that never gave a session is no better than none.
    if (!sessionEverCreated_)
        return fallBack("Global shortcuts portal: " + why + "; " + std::string(kThroughXWayland) + std::string(kAdvice));
    log_("Global shortcuts portal: " + why + ".");
}

void PortalShortcuts::bindShortcuts(std::vector<Binding> bindings) {
    busy_ = true;
    QList<Shortcut> shortcuts;
    for (const Binding& binding : bindings) {
        QVariantMap properties{{QStringLiteral("description"), binding.description}};
        // A hotkey set to nothing is listed without a proposal.
        if (!binding.preferredTrigger.isEmpty())
            properties.insert(QStringLiteral("preferred_trigger"), binding.preferredTrigger);
        shortcuts.push_back({binding.name, properties});
    }
    // Recorded before the answer, so that the same proposals are not bound
    // again when the user cancels the desktop's dialog.
    bound_ = std::move(bindings);
    requests_.request(
        kShortcuts, QStringLiteral("BindShortcuts"),
        {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(shortcuts), QString(), QVariantMap()},
        kResponseBound,
        [this](std::uint32_t response, const QVariantMap& results) {
            if (response != 0) log_("The desktop did not bind Tavi's shortcuts (response " + std::to_string(response) + ").");
            if (results.contains(QStringLiteral("shortcuts"))) {
                takeTriggers(results.value(QStringLiteral("shortcuts")));
                return settled();
            }
            // Some desktops answer the bind without the shortcuts: ask for them.
            if (response == 0) return listShortcuts();
            settled();
        },
        [this](const QString& why) {
            log_("Global shortcuts portal: the bind failed (" + text(why) + ").");
            settled();
        });
}

void PortalShortcuts::listShortcuts() {
    requests_.request(
        kShortcuts, QStringLiteral("ListShortcuts"), {QVariant::fromValue(QDBusObjectPath(session_)), QVariantMap()},
        kResponseBound,
        [this](std::uint32_t, const QVariantMap& results) {
            if (results.contains(QStringLiteral("shortcuts"))) takeTriggers(results.value(QStringLiteral("shortcuts")));
            settled();
        },
        [this](const QString&) { settled(); });
}

void PortalShortcuts::closeSession() {
    bus_.disconnect(QString(), session_, kSession, QStringLiteral("Closed"), sink_, SLOT(deliver(QDBusMessage)));
    requests_.call(session_, kSession, QStringLiteral("Close"), {}, [](const QDBusMessage&) {});
    session_.clear();
    bound_.reset();
}

void PortalShortcuts::settled() {
    busy_ = false;
    sync();
}

void PortalShortcuts::fallBack(const std::string& line) {
    stage_ = Stage::fallenBack;
    log_(line);
    for (auto& [handle, registration] : registrations_) {
        if (registration.modifiers != 0)
            registration.fallbackHandle =
                fallback_.grab(registration.keyCode, registration.modifiers, registration.id, registration.purpose);
    }
    triggers_.clear();
    changed_.notify();
}

void PortalShortcuts::takeTriggers(const QVariant& shortcuts) {
    const QList<Shortcut> reported = qdbus_cast<QList<Shortcut>>(shortcuts);
    triggers_.clear();
    for (const Shortcut& shortcut : reported)
        triggers_[text(shortcut.id)] = text(shortcut.properties.value(QStringLiteral("trigger_description")).toString());
    changed_.notify();
}

void PortalShortcuts::onSignal(const QDBusMessage& message) {
    const QList<QVariant> arguments = message.arguments();
    if (message.interface() == kSession) {
        // The desktop ended the session: the next change binds in a new one.
        if (message.path() != session_) return;
        session_.clear();
        bound_.reset();
        return;
    }
    if (message.interface() != kShortcuts || arguments.isEmpty()) return;
    if (arguments.value(0).value<QDBusObjectPath>().path() != session_ || session_.isEmpty()) return;
    if (message.member() == QLatin1String("ShortcutsChanged")) return takeTriggers(arguments.value(1));
    if (message.member() != QLatin1String("Activated")) return;
    const std::string name = text(arguments.value(1).toString());
    std::optional<std::uint32_t> id;
    for (const auto& [handle, registration] : registrations_)
        if (registration.purpose.name == name && (!id || registration.id > *id)) id = registration.id;
    if (id && handler_) handler_(*id);
}


}  // namespace tavi::portal
