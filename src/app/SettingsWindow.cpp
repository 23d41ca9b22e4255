#include "app/SettingsWindow.h"

#include <QTabWidget>
#include <QVBoxLayout>

#include "app/GeneralTab.h"
#include "app/HotkeysTab.h"
#include "app/ProvidersTab.h"

namespace tavi {

SettingsWindow::SettingsWindow(WindowServices services) : QWidget(nullptr), tabs_(new QTabWidget(this)) {
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(QStringLiteral("Tavi · 偏好设置"));
    setAccessibleName(windowTitle());
    tabs_->setDocumentMode(true);
    tabs_->addTab(new GeneralTab(services), QStringLiteral("通用"));
    tabs_->addTab(new ProvidersTab(services), QStringLiteral("翻译服务"));
    tabs_->addTab(new HotkeysTab(services), QStringLiteral("快捷键"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabs_);
    // Room for the providers' cards beside their pane without wrapping.
    resize(760, 560);
}

SettingsWindow::~SettingsWindow() = default;

}  // namespace tavi
