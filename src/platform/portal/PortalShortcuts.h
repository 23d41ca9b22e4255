#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/ObserverList.h"
#include "platform/GlobalShortcuts.h"
#include "platform/KeyboardLayout.h"
#include "platform/portal/PortalRequests.h"

class QTimer;

namespace tavi::portal {

// The id the desktop knows Tavi by: its desktop file's name.
inline constexpr std::string_view kApplicationId = "org.morvel.Tavi";

// Global shortcuts through the desktop's org.freedesktop.portal.GlobalShortcuts,
// as Wayland desktops offer them: Tavi proposes, the desktop decides.
//
// One portal session per running Tavi, with every registration bound in it
// under its purpose's name. HotkeyManager's way of changing anything (drop
// all, register all again) reaches the portal as one bind, a moment later.
// A change of the proposals once bound asks the desktop to open its own
// shortcut settings (version 2 of the interface), or binds them in a new
// session (version 1, which binds once per session).
//
// Everything is asynchronous on the Qt loop; a portal that never answers
// leaves the shortcuts unbound but blocks nothing. Until the portal has
// told its version nothing is bound; when it turns out to offer no global
// shortcuts, or fails before the first session, the registrations go to
// `fallback` (the XWayland grabs) with one line in the log, and from then on
// everything does.
class PortalShortcuts final : public GlobalShortcuts {
public:
    using Log = std::function<void(std::string_view line)>;

    PortalShortcuts(QDBusConnection bus, GlobalShortcuts& fallback, KeyboardLayout& layout, Log log);
    ~PortalShortcuts() override;
    PortalShortcuts(const PortalShortcuts&) = delete;
    PortalShortcuts& operator=(const PortalShortcuts&) = delete;

    void installHandler(PressedHandler handler) override;
    std::optional<Handle> grab(std::uint32_t keyCode, std::uint32_t modifiers, std::uint32_t id,
                               const Purpose& purpose) override;
    void release(Handle handle) override;
    bool desktopHasFinalSay() const override { return stage_ != Stage::fallenBack; }
    std::optional<std::string> triggerText(std::string_view name) const override;
    Subscription onDesktopChanged(std::function<void()> changed) override;

private:
    struct Registration {
        std::uint32_t keyCode;
        std::uint32_t modifiers;
        std::uint32_t id;
        Purpose purpose;
        std::optional<Handle> fallbackHandle;
    };
    // One shortcut as bound: its id, description and preferred trigger.
    struct Binding {
        QString name;
        QString description;
        QString preferredTrigger;  // empty: none
        friend bool operator==(const Binding&, const Binding&) = default;
    };
    enum class Stage { probing, ready, fallenBack };
    using Answered = std::function<void(std::uint32_t response, const QVariantMap& results)>;
    using Failed = std::function<void(const QString& why)>;

    // Registers the application id, then reads the interface's version.
    void probe();
    void scheduleSync();
    // Brings the desktop in line with the registrations, one request at a time.
    void sync();
    std::vector<Binding> wanted() const;
    void createSessionAndBind(std::vector<Binding> bindings);
    void sessionFailed(const std::string& why);
    void bindShortcuts(std::vector<Binding> bindings);
    void listShortcuts();
    void closeSession();
    // The request in flight is over: what changed meanwhile is synced now.
    void settled();
    void fallBack(const std::string& line);
    void onSignal(const QDBusMessage& message);
    void takeTriggers(const QVariant& shortcuts);

    QDBusConnection bus_;
    PortalRequests requests_;
    GlobalShortcuts& fallback_;
    KeyboardLayout& layout_;
    Log log_;
    PressedHandler handler_;
    std::map<Handle, Registration> registrations_;
    Handle nextHandle_ = 1;
    ObserverList<> changed_;

    Stage stage_ = Stage::probing;
    std::uint32_t version_ = 0;
    QString session_;
    bool sessionEverCreated_ = false;
    bool busy_ = false;
    std::optional<std::vector<Binding>> bound_;  // what the session was last asked to bind
    std::map<std::string, std::string, std::less<>> triggers_;

    // Owns the signal sink, the pending calls and the timers: dropped first,
    // so that nothing calls back into a half-destroyed object.
    std::unique_ptr<QObject> owner_;
    SignalSink* sink_ = nullptr;
    QTimer* syncTimer_ = nullptr;
};

}  // namespace tavi::portal
