#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

#include "app/StatusMenu.h"

class QMenu;
class QSystemTrayIcon;

namespace tavi {

// Tavi's icon in the tray: a StatusNotifierItem where the desktop has a
// watcher, an XEmbed icon otherwise. Its menu is built afresh each time it
// opens.
class TrayIcon final : public QObject {
public:
    // `used` hears every click on the icon and every opening of its menu.
    TrayIcon(std::function<std::vector<MenuEntry>()> entries, std::function<void(MenuCommand)> chosen,
             std::function<void()> used);
    ~TrayIcon() override;

    // False when the desktop has no tray at all.
    bool show();

private:
    void rebuildMenu();

    std::function<std::vector<MenuEntry>()> entries_;
    std::function<void(MenuCommand)> chosen_;
    std::function<void()> used_;
    std::unique_ptr<QMenu> menu_;
    std::unique_ptr<QSystemTrayIcon> icon_;
};

}  // namespace tavi
