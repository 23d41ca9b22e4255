#pragma once

#include <QFrame>
#include <QLabel>

class QBoxLayout;
class QVBoxLayout;

namespace tavi {

// A raised, rounded group of settings rows on the window background, rows
// parted by hairlines, in the colours of the current palette.
class FormCard final : public QFrame {
public:
    explicit FormCard(QWidget* parent = nullptr);

    // Adds an empty row below the others (a hairline goes between rows) and
    // returns its layout, horizontal or vertical, to be filled.
    QBoxLayout* addRow(bool vertical = false);
    // A row of `title` on the left and `control` on the right; the title is
    // the control's buddy, and its accessible name unless it has one.
    void addLabeledRow(const QString& title, QWidget* control);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* rows_;
};

// Keeps `page` at least as tall as its layout needs at its current width,
// so that wrapped paragraphs are never cut when the window is narrow: call
// it from the page's event() for every event.
void keepWrappedTextWhole(QWidget* page, const QEvent* event);

// A label in one of the palette-aware tones of WindowStyle (secondary text,
// failure, ...), kept when the desktop switches between light and dark.
class ToneLabel final : public QLabel {
public:
    using Tone = QColor (*)(const QPalette&);
    ToneLabel(Tone tone, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyTone();
    Tone tone_;
};

}  // namespace tavi
