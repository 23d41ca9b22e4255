#pragma once

#include <QWidget>

#include <array>

#include "app/WindowServices.h"
#include "core/Subscription.h"
#include "settings/HotkeyAction.h"

class QPushButton;

namespace tavi {

class HotkeyRecorder;
class ToneLabel;

// "快捷键": the four actions, each with a recorder for its global shortcut,
// and "恢复默认快捷键". A recorded shortcut must have a modifier and be free;
// a refused one leaves the setting as it was and says why under the rows.
// Where the desktop has the final say on the keys (Wayland's shortcuts
// portal), the recorders show the keys it reports and a line says so.
class HotkeysTab final : public QWidget {
public:
    explicit HotkeysTab(WindowServices services, QWidget* parent = nullptr);
    ~HotkeysTab() override;

protected:
    bool event(QEvent* event) override;

private:
    void record(HotkeyAction action, HotkeyShortcut candidate);
    void showHint(bool recording);
    void showMessage(const QString& message);
    void followSettings();
    void followDesktop();

    WindowServices services_;
    std::array<HotkeyRecorder*, kHotkeyActionCount> recorders_{};
    ToneLabel* desktopDecides_ = nullptr;
    ToneLabel* hint_ = nullptr;
    ToneLabel* message_ = nullptr;
    QPushButton* restore_ = nullptr;
    Subscription settingsChanges_;
    Subscription desktopChanges_;
};

}  // namespace tavi
