#pragma once

#include <QImage>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"

class QKeyEvent;
class QTimer;

namespace tavi {

// One monitor's cover while the user drags out a screenshot: borderless,
// above every window, showing the picture taken of the monitor just before
// (dimmed, the selection bright, its size in device pixels beside it) with
// the prompt "拖动选择截图区域" and a crosshair.
class ScreenshotOverlayWindow final : public QWidget {
    Q_OBJECT

public:
    using Captures = std::shared_ptr<const std::vector<ScreenImage>>;
    // `captures` every monitor's picture; this window covers the one at `index`.
    ScreenshotOverlayWindow(Captures captures, std::size_t index);
    ~ScreenshotOverlayWindow() override;

    // The monitor, as the capture has it, in the desktop's device pixels.
    const Rect& screenFrame() const { return frame_; }
    // The selection dragged out so far, in the monitor's device pixels from
    // its top-left corner, cut at its edges; nothing before a drag.
    std::optional<Rect> selection() const;

    // Run first when a selection is made (to dismiss every overlay).
    void setOnBeginCapture(std::function<void()> action) { onBeginCapture_ = std::move(action); }
    // Keys other than Escape while overlays are open: true when taken.
    void setOnOtherKey(std::function<bool(const QKeyEvent&)> action) { onOtherKey_ = std::move(action); }
    // Shows the window and waits for a drag: `selected` hears the pictures,
    // the monitor's frame and the selection; Escape pressed anywhere calls
    // `cancel` instead.
    void startSelection(std::function<void(const std::vector<ScreenImage>&, Rect screen, Rect selection)> selected,
                        std::function<void()> cancel);
    // Takes the keyboard for Escape. Until the keys of the hotkey that
    // started the screenshot are let go the desktop holds the keyboard, so
    // it tries again for a while.
    void holdKeyboard();
    // Hides the window, stops watching keys and lets go of the keyboard and
    // the picture.
    void dismiss();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    // Exactly on the monitor, in device pixels, whatever Qt's logical
    // geometry rounds to.
    void placeOnMonitor();
    Point devicePoint(QPointF logical) const;
    QRectF logicalRect(const Rect& device) const;
    void paintChip(QPainter& painter, const QString& text, QPointF anchor, bool centred);

    Captures captures_;
    QImage picture_;
    Rect frame_;
    std::optional<Point> dragStart_;
    Point dragEnd_;
    bool watchingKeys_ = false;
    bool holdingKeyboard_ = false;
    int keyboardAttempts_ = 0;
    QTimer* keyboardRetry_;
    std::function<void()> onBeginCapture_;
    std::function<bool(const QKeyEvent&)> onOtherKey_;
    std::function<void(const std::vector<ScreenImage>&, Rect, Rect)> selected_;
    std::function<void()> cancel_;
};

}  // namespace tavi
