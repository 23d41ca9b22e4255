#include "app/TrayIcon.h"

#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

#include "app/AppIcon.h"

namespace tavi {

TrayIcon::TrayIcon(std::function<std::vector<MenuEntry>()> entries, std::function<void(MenuCommand)> chosen,
                   std::function<void()> used)
    : entries_(std::move(entries)), chosen_(std::move(chosen)), used_(std::move(used)), menu_(std::make_unique<QMenu>()) {
    menu_->setAccessibleName(QStringLiteral("Tavi"));
    connect(menu_.get(), &QMenu::aboutToShow, this, &TrayIcon::rebuildMenu);
    // The menu is built when it opens; an empty one would not open at all.
    rebuildMenu();
}

TrayIcon::~TrayIcon() = default;

bool TrayIcon::show() {
    icon_ = std::make_unique<QSystemTrayIcon>(appIcon());
    icon_->setToolTip(QStringLiteral("Tavi"));
    icon_->setContextMenu(menu_.get());
    // A left click opens the menu too, as a status-bar item does.
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        used_();
        if (reason == QSystemTrayIcon::Trigger) menu_->popup(QCursor::pos());
    });
    icon_->show();
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayIcon::rebuildMenu() {
    if (icon_) used_();
    menu_->clear();
    for (const MenuEntry& entry : entries_()) {
        if (entry.separator) {
            menu_->addSeparator();
            continue;
        }
        QAction* action = menu_->addAction(QString::fromStdString(entry.title));
        if (entry.keyEquivalent)
            action->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + QChar::fromLatin1(entry.keyEquivalent).toUpper()));
        const MenuCommand command = entry.command;
        // Queued: the menu finishes closing before the action runs.
        connect(action, &QAction::triggered, this, [this, command] { chosen_(command); }, Qt::QueuedConnection);
    }
}

}  // namespace tavi
