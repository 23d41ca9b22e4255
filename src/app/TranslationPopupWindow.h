#pragma once

#include <QPoint>
#include <QWidget>

#include <chrono>
#include <optional>

#include "core/Subscription.h"
#include "core/TranslationResult.h"
#include "platform/DesktopPlatform.h"

class QPropertyAnimation;
class QTimer;

namespace tavi {

class TranslationPopupView;

// The floating panel every translation is shown in. It opens next to the
// pointer without taking the focus from the application the user works in,
// fades in and out, and closes at the next left or right click outside it,
// pinned or not.
class TranslationPopupWindow final : public QWidget {
public:
    static constexpr Size kSize{400, 300};
    static constexpr int kFadeMs = 150;

    explicit TranslationPopupWindow(DesktopPlatform& desktop);
    ~TranslationPopupWindow() override;

    // Shows `result` next to `pointer` (desktop pixels). A popup already
    // shown is refilled and moved without fading.
    void show(const TranslationResult& result, Point pointer);
    void dismiss();

    // The user is at Tavi's tray icon or its menu. Where a panel draws them
    // (a StatusNotifierItem host), a click there is a click in another
    // program, told apart only by this word from the tray a moment before
    // or after it: a pinned popup stays.
    void trayUsed();
    static constexpr int kTrayGraceMs = 500;

protected:
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    // Dragging the background (the header, the margins) moves the popup.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void place(Point pointer);
    void watchOutsideClicks();
    void outsideClick(const MouseDown& down);

    DesktopPlatform& desktop_;
    TranslationPopupView* view_;
    QPropertyAnimation* fade_;
    bool fadingOut_ = false;
    bool pinned_ = false;
    std::chrono::steady_clock::time_point trayUsedAt_;
    QTimer* pinnedDismissal_;
    bool rounded_;
    Subscription outsideClickMonitor_;
    std::optional<QPoint> dragOffset_;
};

}  // namespace tavi
