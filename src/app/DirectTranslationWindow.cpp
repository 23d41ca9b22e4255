#include "app/DirectTranslationWindow.h"

namespace tavi {

DirectTranslationWindow::DirectTranslationWindow(WindowServices services)
    : QWidget(nullptr), services_(std::move(services)) {
    setObjectName(QStringLiteral("directTranslationWindow"));
    setWindowTitle(QStringLiteral("Tavi · 直接翻译"));
    setAccessibleName(windowTitle());
}

DirectTranslationWindow::~DirectTranslationWindow() = default;

}  // namespace tavi
