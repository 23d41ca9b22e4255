#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include "FakePortal.h"

namespace tavi::test {

// org.freedesktop.portal.GlobalShortcuts as a desktop that takes every
// preferred trigger as it is offered: its trigger description is the
// trigger itself ("ALT+a"), empty when none was offered. Version 2 adds
// ConfigureShortcuts. Controls for the tests (kFakePortalControl):
//   Activate(s id)                 the user presses the shortcut
//   ChangeShortcuts(a{ss} id→text) the user changes keys in the desktop's settings
class FakeGlobalShortcuts final : public FakePortalInterface {
public:
    // `bindReportsShortcuts` false: the bind's answer lists no shortcuts, as
    // some desktops answer; ListShortcuts does.
    FakeGlobalShortcuts(unsigned version, bool bindReportsShortcuts);

    QString name() const override { return QStringLiteral("org.freedesktop.portal.GlobalShortcuts"); }
    unsigned version() const override { return version_; }
    void call(const QDBusMessage& message, FakePortal& portal) override;
    bool control(const QDBusMessage& message, FakePortal& portal) override;

    // One shortcut: its id and properties, as the portal's a(sa{sv}) lists carry it.
    struct Shortcut {
        QString id;
        QVariantMap properties;
    };

private:
    QVariantMap listed() const;

    unsigned version_;
    bool bindReportsShortcuts_;
    QString session_;  // the one the last bind was made in
    QList<Shortcut> bound_;
};

}  // namespace tavi::test
