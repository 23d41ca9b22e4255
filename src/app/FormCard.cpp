#include "app/FormCard.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include "app/WindowStyle.h"

namespace tavi {
namespace {

constexpr int kRowHorizontalMargin = 14;
constexpr int kRowVerticalMargin = 10;

// The line between two rows, indented like the rows' text.
class Hairline final : public QWidget {
public:
    explicit Hairline(QWidget* parent) : QWidget(parent) {
        setFixedHeight(1);
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect().adjusted(kRowHorizontalMargin, 0, 0, 0), style::hairline(palette()));
    }
};

}  // namespace

FormCard::FormCard(QWidget* parent) : QFrame(parent), rows_(new QVBoxLayout(this)) {
    rows_->setContentsMargins(1, 1, 1, 1);  // inside the border
    rows_->setSpacing(0);
}

QBoxLayout* FormCard::addRow(bool vertical) {
    if (rows_->count() > 0) rows_->addWidget(new Hairline(this));
    auto* row = new QWidget(this);
    auto* layout = new QBoxLayout(vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight, row);
    layout->setContentsMargins(kRowHorizontalMargin, kRowVerticalMargin, kRowHorizontalMargin, kRowVerticalMargin);
    layout->setSpacing(vertical ? style::kSpacing / 2 : style::kSpacing);
    rows_->addWidget(row);
    return layout;
}

void FormCard::addLabeledRow(const QString& title, QWidget* control) {
    QBoxLayout* row = addRow();
    auto* label = new QLabel(title);
    label->setBuddy(control);
    if (control->accessibleName().isEmpty()) control->setAccessibleName(title);
    row->addWidget(label);
    row->addStretch(1);
    row->addWidget(control);
}

void FormCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(style::hairline(palette()), 1));
    painter.setBrush(style::cardBackground(palette()));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), style::kCornerRadius, style::kCornerRadius);
}

void keepWrappedTextWhole(QWidget* page, const QEvent* event) {
    if (event->type() != QEvent::Resize && event->type() != QEvent::LayoutRequest) return;
    QLayout* layout = page->layout();
    if (!layout || !layout->hasHeightForWidth()) return;
    const int needed = layout->totalHeightForWidth(page->width());
    if (needed > 0 && needed != page->minimumHeight()) page->setMinimumHeight(needed);
}

ToneLabel::ToneLabel(Tone tone, QWidget* parent) : QLabel(parent), tone_(tone) { applyTone(); }

void ToneLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) applyTone();
}

void ToneLabel::applyTone() {
    // The tone follows the window colour, which the parent still hands down
    // when this label sets its text colour: setting an equal colour again
    // would only come back here.
    const QColor color = tone_(palette());
    if (palette().color(QPalette::WindowText) == color) return;
    QPalette tinted = palette();
    tinted.setColor(QPalette::WindowText, color);
    setPalette(tinted);
}

}  // namespace tavi
