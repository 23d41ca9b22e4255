#pragma once

#include <functional>
#include <vector>

#include "app/StatusMenu.h"
#include "core/TranslationResult.h"
#include "platform/Geometry.h"

namespace tavi {

// The windows and the tray icon, as the application delegate drives them.
// The Qt shell implements it; tests record what it was asked to do.
class ShellUi {
public:
    virtual ~ShellUi() = default;

    // Puts Tavi's icon in the tray. `entries` is asked for the menu each time
    // it opens; `chosen` hears the entry the user picked. False when the
    // desktop has no tray.
    virtual bool installStatusItem(std::function<std::vector<MenuEntry>()> entries,
                                   std::function<void(MenuCommand)> chosen) = 0;

    // Shows the single popup with `result` next to `pointer`.
    virtual void showPopup(const TranslationResult& result, Point pointer) = 0;

    virtual void showDirectTranslationWindow() = 0;
    virtual void showSettingsWindow() = 0;
    // Covers every screen with a selection overlay; the recognised text comes
    // back through AppDelegate::translateAndShow.
    virtual void startScreenshot() = 0;
    // Ends the application's event loop; the process then exits 0.
    virtual void quit() = 0;
};

}  // namespace tavi
