#include "app/ScreenshotOverlayWindow.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <xcb/xcb.h>

#include <algorithm>
#include <cmath>

#include "app/Log.h"
#include "app/WindowStyle.h"

namespace tavi {
namespace {

// Smaller than this either way is a click, not a selection: the overlays
// stay for another try.
constexpr int kSmallestSelection = 4;
// How long the keyboard is asked for while another client holds it (the
// desktop, until the hotkey's keys are let go).
constexpr int kKeyboardRetryMs = 50;
constexpr int kKeyboardAttempts = 60;
// The screen outside the selection, darkened.
const QColor kDim(0, 0, 0, 110);
constexpr qreal kChipPaddingX = 10, kChipPaddingY = 5, kChipGap = 6;

}  // namespace

ScreenshotOverlayWindow::ScreenshotOverlayWindow(Captures captures, std::size_t index)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint),
      captures_(std::move(captures)),
      keyboardRetry_(new QTimer(this)) {
    const ScreenImage& image = captures_->at(index);
    frame_ = image.screen.frame;
    // The pixels stay in `captures_`, which this window holds.
    picture_ = QImage(image.pixels.data(), image.width, image.height, image.bytesPerLine, QImage::Format_RGB32);
    setObjectName(QStringLiteral("screenshotOverlay"));
    setWindowTitle(QStringLiteral("Tavi · 截图翻译"));
    setAccessibleName(QStringLiteral("截图选区"));
    setAccessibleDescription(QStringLiteral("拖动选择截图区域，按 Esc 取消"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
    setCursor(Qt::CrossCursor);
    setMouseTracking(false);
    keyboardRetry_->setInterval(kKeyboardRetryMs);
    connect(keyboardRetry_, &QTimer::timeout, this, [this] { holdKeyboard(); });
    placeOnMonitor();
}

ScreenshotOverlayWindow::~ScreenshotOverlayWindow() { dismiss(); }

void ScreenshotOverlayWindow::placeOnMonitor() {
    // Qt keeps each monitor's top-left corner where the desktop has it.
    QScreen* screen = nullptr;
    for (QScreen* candidate : QGuiApplication::screens())
        if (candidate->geometry().topLeft() == QPoint(frame_.x, frame_.y)) screen = candidate;
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
    } else {
        setGeometry(frame_.x, frame_.y, frame_.width, frame_.height);
    }
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return;
    const std::uint32_t geometry[] = {static_cast<std::uint32_t>(frame_.x), static_cast<std::uint32_t>(frame_.y),
                                      static_cast<std::uint32_t>(frame_.width),
                                      static_cast<std::uint32_t>(frame_.height)};
    xcb_configure_window(x11->connection(), static_cast<xcb_window_t>(winId()),
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         geometry);
}

void ScreenshotOverlayWindow::startSelection(
    std::function<void(const std::vector<ScreenImage>&, Rect, Rect)> selected, std::function<void()> cancel) {
    selected_ = std::move(selected);
    cancel_ = std::move(cancel);
    // Escape counts whichever of Tavi's windows the keys go to.
    if (!watchingKeys_) qApp->installEventFilter(this);
    watchingKeys_ = true;
    show();
    raise();
}

void ScreenshotOverlayWindow::holdKeyboard() {
    if (!isVisible() || holdingKeyboard_) return;
    QWindow* window = windowHandle();
    if (window && window->setKeyboardGrabEnabled(true)) {
        holdingKeyboard_ = true;
        keyboardRetry_->stop();
        return;
    }
    if (!keyboardRetry_->isActive()) {
        keyboardAttempts_ = 0;
        keyboardRetry_->start();
    } else if (++keyboardAttempts_ >= kKeyboardAttempts) {
        keyboardRetry_->stop();
        logLine("Another program holds the keyboard: Escape cannot close the screenshot overlay.");
    }
}

void ScreenshotOverlayWindow::dismiss() {
    keyboardRetry_->stop();
    if (holdingKeyboard_) {
        if (QWindow* window = windowHandle()) window->setKeyboardGrabEnabled(false);
        holdingKeyboard_ = false;
    }
    if (watchingKeys_) qApp->removeEventFilter(this);
    watchingKeys_ = false;
    dragStart_.reset();
    hide();
    picture_ = QImage();
    captures_.reset();
}

std::optional<Rect> ScreenshotOverlayWindow::selection() const {
    if (!dragStart_) return std::nullopt;
    const auto clampX = [this](int x) { return std::clamp(x, 0, frame_.width); };
    const auto clampY = [this](int y) { return std::clamp(y, 0, frame_.height); };
    const int left = clampX(std::min(dragStart_->x, dragEnd_.x)), right = clampX(std::max(dragStart_->x, dragEnd_.x));
    const int top = clampY(std::min(dragStart_->y, dragEnd_.y)), bottom = clampY(std::max(dragStart_->y, dragEnd_.y));
    return Rect{left, top, right - left, bottom - top};
}

Point ScreenshotOverlayWindow::devicePoint(QPointF logical) const {
    const qreal scale = devicePixelRatioF();
    return {static_cast<int>(std::lround(logical.x() * scale)), static_cast<int>(std::lround(logical.y() * scale))};
}

QRectF ScreenshotOverlayWindow::logicalRect(const Rect& device) const {
    const qreal scale = devicePixelRatioF();
    return {device.x / scale, device.y / scale, device.width / scale, device.height / scale};
}

bool ScreenshotOverlayWindow::eventFilter(QObject* watched, QEvent* event) {
    // A key reaches the window first, then its widgets: judged once, there.
    if (event->type() != QEvent::KeyPress || !watched->isWindowType()) return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (key.key() == Qt::Key_Escape) {
        if (auto cancel = cancel_) cancel();
        return true;
    }
    return onOtherKey_ && onOtherKey_(key);
}

void ScreenshotOverlayWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    dragStart_ = dragEnd_ = devicePoint(event->position());
    update();
}

void ScreenshotOverlayWindow::mouseMoveEvent(QMouseEvent* event) {
    if (!dragStart_) return;
    dragEnd_ = devicePoint(event->position());
    update();
}

void ScreenshotOverlayWindow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !dragStart_) return;
    dragEnd_ = devicePoint(event->position());
    const Rect chosen = *selection();
    dragStart_.reset();
    update();
    if (chosen.width < kSmallestSelection || chosen.height < kSmallestSelection) return;
    // Dismissing lets go of the pictures: keep them, and the actions, for the call.
    const Captures captures = captures_;
    const auto selected = selected_;
    const Rect frame = frame_;
    if (onBeginCapture_) onBeginCapture_();
    if (selected && captures) selected(*captures, frame, chosen);
}

void ScreenshotOverlayWindow::paintChip(QPainter& painter, const QString& text, QPointF anchor, bool centred) {
    const QFontMetricsF metrics(painter.font());
    QRectF chip(QPointF(), QSizeF(metrics.horizontalAdvance(text) + 2 * kChipPaddingX,
                                  metrics.height() + 2 * kChipPaddingY));
    if (centred) chip.moveCenter(anchor);
    else chip.moveTopLeft(anchor);
    // Kept on the monitor.
    chip.moveLeft(std::clamp(chip.left(), 0.0, std::max(0.0, width() - chip.width())));
    chip.moveTop(std::clamp(chip.top(), 0.0, std::max(0.0, height() - chip.height())));
    QColor background = palette().color(QPalette::Window);
    background.setAlpha(235);
    painter.setPen(Qt::NoPen);
    painter.setBrush(background);
    painter.drawRoundedRect(chip, style::kCornerRadius, style::kCornerRadius);
    painter.setPen(style::text(palette()));
    painter.drawText(chip, Qt::AlignCenter, text);
}

void ScreenshotOverlayWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (!picture_.isNull()) {
        const qreal scale = devicePixelRatioF();
        painter.drawImage(QRectF(0, 0, picture_.width() / scale, picture_.height() / scale), picture_);
    }
    const std::optional<Rect> chosen = selection();
    const QRectF bright = chosen ? logicalRect(*chosen) : QRectF();
    QPainterPath dimmed;
    dimmed.addRect(QRectF(rect()));
    if (chosen) dimmed.addRect(bright);  // odd-even: the selection stays bright
    painter.fillPath(dimmed, kDim);

    painter.setRenderHint(QPainter::Antialiasing);
    if (!chosen) {
        QFont font = painter.font();
        font.setPointSizeF(font.pointSizeF() * 1.25);
        painter.setFont(font);
        paintChip(painter, QStringLiteral("拖动选择截图区域"), QRectF(rect()).center(), true);
        return;
    }
    QPen border(style::accent(palette()), 1);
    border.setCosmetic(true);
    painter.setPen(border);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(bright.adjusted(0.5, 0.5, -0.5, -0.5));

    const QString size = QStringLiteral("%1 × %2").arg(chosen->width).arg(chosen->height);
    const qreal chipHeight = QFontMetricsF(painter.font()).height() + 2 * kChipPaddingY;
    // Below the selection; above it at the monitor's foot; inside at the worst.
    QPointF anchor(bright.left(), bright.bottom() + kChipGap);
    if (anchor.y() + chipHeight > height()) anchor.setY(bright.top() - kChipGap - chipHeight);
    if (anchor.y() < 0) anchor = bright.topLeft() + QPointF(kChipGap, kChipGap);
    paintChip(painter, size, anchor, false);
}

}  // namespace tavi
