#include "app/TranslationPopupWindow.h"

#include <QCloseEvent>
#include <QMouseEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>

#include "app/NativeWindows.h"
#include "app/PopupPlacement.h"
#include "app/TranslationPopupView.h"

namespace tavi {
namespace {

constexpr qreal kCornerRadius = 12;

}  // namespace

TranslationPopupWindow::TranslationPopupWindow(DesktopPlatform& desktop)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                           Qt::X11BypassWindowManagerHint),
      desktop_(desktop),
      view_(new TranslationPopupView(this)),
      fade_(new QPropertyAnimation(this, "windowOpacity", this)),
      pinnedDismissal_(new QTimer(this)),
      rounded_(desktop.hasCompositor()) {
    setObjectName(QStringLiteral("translationPopup"));
    setWindowTitle(QStringLiteral("Tavi"));
    setAccessibleName(QStringLiteral("Tavi 翻译结果"));
    // Shown without activation, and not focused by a click on its buttons
    // either: the application the user works in keeps the keyboard. Text
    // in it is still selected with the mouse and copied with its button or
    // its context menu.
    setAttribute(Qt::WA_ShowWithoutActivating);
    // Only a compositor draws the transparent corners; without one they
    // would come out black, so the panel stays square.
    setAttribute(Qt::WA_TranslucentBackground, rounded_);
    setFixedSize(kSize.width, kSize.height);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(view_);

    pinnedDismissal_->setSingleShot(true);
    pinnedDismissal_->setInterval(kTrayGraceMs);
    connect(pinnedDismissal_, &QTimer::timeout, this, [this] { dismiss(); });

    fade_->setDuration(kFadeMs);
    connect(fade_, &QPropertyAnimation::finished, this, [this] {
        if (!fadingOut_) return;
        fadingOut_ = false;
        hide();
        setWindowOpacity(1.0);
    });
}

TranslationPopupWindow::~TranslationPopupWindow() = default;

void TranslationPopupWindow::show(const TranslationResult& result, Point pointer) {
    QPointer<TranslationPopupWindow> weak(this);
    pinned_ = false;
    pinnedDismissal_->stop();
    view_->setResult(result, {
                                 // A click elsewhere still closes a pinned
                                 // popup; one at Tavi's tray does not.
                                 [weak](bool pinned) {
                                     if (weak) weak->pinned_ = pinned;
                                 },
                                 [weak] {
                                     if (weak) weak->dismiss();
                                 },
                                 [this](const std::string& text) {
                                     desktop_.clipboard().clear();
                                     desktop_.clipboard().writeText(text);
                                 },
                             });
    place(pointer);
    // Watching before the window maps: a click the moment it appears counts.
    watchOutsideClicks();
    if (!isVisible() || fadingOut_) {
        fade_->stop();
        const bool wasShown = isVisible();
        fadingOut_ = false;
        if (!wasShown) {
            setWindowOpacity(0.0);
            QWidget::show();
            fade_->setStartValue(0.0);
            fade_->setEndValue(1.0);
            fade_->start();
        } else {
            setWindowOpacity(1.0);  // a fade-out was under way: stay
        }
        raise();
    }
}

void TranslationPopupWindow::place(Point pointer) {
    const std::vector<ScreenInfo> screens = desktop_.screens().screens();
    const std::optional<ScreenInfo> screen = screenUnder(pointer, screens);
    if (!screen) {
        if (const QScreen* primary = QGuiApplication::primaryScreen()) {
            QRect centred(QPoint(), size());
            centred.moveCenter(primary->availableGeometry().center());
            move(centred.topLeft());
        }
        return;
    }
    // Placed in the device pixels of the screen under the pointer, with the
    // size the popup has on that screen.
    const Point corner{screen->frame.x, screen->frame.y};
    const double scale = scaleOfScreenAt(corner);
    const Size size{static_cast<int>(std::lround(kSize.width * scale)), static_cast<int>(std::lround(kSize.height * scale))};
    const Point origin = *popupOrigin(pointer, size, screens, scale);
    moveToDevicePixels(*this, origin, corner, scale);
}

void TranslationPopupWindow::dismiss() {
    outsideClickMonitor_.cancel();
    pinnedDismissal_->stop();
    if (!isVisible() || fadingOut_) return;
    fadingOut_ = true;
    fade_->stop();
    fade_->setStartValue(windowOpacity());
    fade_->setEndValue(0.0);
    fade_->start();
}

void TranslationPopupWindow::watchOutsideClicks() {
    outsideClickMonitor_.cancel();
    QPointer<TranslationPopupWindow> weak(this);
    outsideClickMonitor_ = desktop_.mouseDownMonitor().watch([weak](MouseDown down) {
        if (weak) weak->outsideClick(down);
    });
}

void TranslationPopupWindow::outsideClick(const MouseDown& down) {
    if (!isVisible()) return;
    // X reports every click, in Tavi's own windows too (its menus, the tray
    // icon it embeds in a panel): those are no clicks outside.
    if (isOwnNativeWindow(down.window)) return;
    // Where the X server has the window, not Qt: Qt's idea of a frameless
    // tool window's position can be stale after the window manager moved it.
    const std::optional<Rect> frame = desktop_.screens().windowFrame(static_cast<NativeWindowId>(winId()));
    const QRect qtFrame = frameGeometry();
    const Rect where = frame.value_or(Rect{qtFrame.x(), qtFrame.y(), qtFrame.width(), qtFrame.height()});
    if (!down.unseen && where.contains(down.at)) return;
    if (pinned_) {
        if (std::chrono::steady_clock::now() - trayUsedAt_ < std::chrono::milliseconds(kTrayGraceMs)) return;
        pinnedDismissal_->start();  // unless the tray speaks up meanwhile
        return;
    }
    QMetaObject::invokeMethod(this, [weak = QPointer<TranslationPopupWindow>(this)] {
        if (weak) weak->dismiss();
    }, Qt::QueuedConnection);
}

void TranslationPopupWindow::trayUsed() {
    trayUsedAt_ = std::chrono::steady_clock::now();
    pinnedDismissal_->stop();
}

void TranslationPopupWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor background = palette().color(QPalette::Window);
    const bool dark = background.lightness() < 128;
    const QColor card = dark ? QColor(0x2A, 0x2A, 0x2E) : QColor(0xFF, 0xFF, 0xFF);
    const QColor border = dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 46);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(border, 1));
    painter.setBrush(card);
    if (rounded_) painter.drawRoundedRect(bounds, kCornerRadius, kCornerRadius);
    else painter.drawRect(bounds);
}

void TranslationPopupWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) dragOffset_ = event->globalPosition().toPoint() - pos();
}

void TranslationPopupWindow::mouseMoveEvent(QMouseEvent* event) {
    if (dragOffset_ && (event->buttons() & Qt::LeftButton)) move(event->globalPosition().toPoint() - *dragOffset_);
}

void TranslationPopupWindow::mouseReleaseEvent(QMouseEvent*) { dragOffset_.reset(); }

void TranslationPopupWindow::closeEvent(QCloseEvent* event) {
    // Any request to close fades out the same way.
    event->ignore();
    dismiss();
}

}  // namespace tavi
