#pragma once

#include <QWidget>

#include "app/WindowServices.h"

class QTabWidget;

namespace tavi {

// "Tavi · 偏好设置": the general, providers and hotkeys tabs. Every edit is
// written at once; what another process changes meanwhile shows at once.
class SettingsWindow final : public QWidget {
public:
    explicit SettingsWindow(WindowServices services);
    ~SettingsWindow() override;

    QTabWidget& tabs() const { return *tabs_; }

private:
    QTabWidget* tabs_;
};

}  // namespace tavi
