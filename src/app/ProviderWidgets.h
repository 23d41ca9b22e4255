#pragma once

#include <QColor>
#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QWidget>

#include <functional>
#include <string>

class QToolButton;

namespace tavi {

// `base` grown or shrunk by `factor`, whether it was given in points or pixels.
QFont scaledFont(const QFont& base, qreal factor);

// A provider's symbol on a softly tinted rounded square, in its accent colour
// (a catalog colour name, resolved against the current palette).
class ProviderSymbolTile final : public QWidget {
public:
    ProviderSymbolTile(std::string symbolName, std::string accentColor, int size, QWidget* parent = nullptr);

    // The same tile painted into `rect` of another widget (the list cards draw
    // themselves, so that each is one element for screen readers).
    static void paint(QPainter& painter, const QRectF& rect, std::string_view symbolName, const QColor& accent,
                      const QPalette& palette);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::string symbolName_;
    std::string accentColor_;
};

// A small capsule: a short status text on a light wash of its tint. A label
// underneath, so that screen readers read it as text.
class StatusPill final : public QLabel {
public:
    // The tint follows the palette: it is asked for again at every paint.
    StatusPill(const QString& title, std::function<QColor(const QPalette&)> tint, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    static QFont pillFont(const QFont& base);
    static QSize sizeFor(const QString& title, const QFont& base);
    static void paint(QPainter& painter, const QRectF& rect, const QString& title, const QColor& tint,
                      const QFont& base);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::function<QColor(const QPalette&)> tint_;
};

// A title above a control; the title names the control for screen readers
// unless the control has a name of its own.
class LabeledField final : public QWidget {
public:
    LabeledField(const QString& title, QWidget* content, QWidget* parent = nullptr);

    QString title() const;
    QWidget* content() const { return content_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColors();

    QLabel* title_;
    QWidget* content_;
};

// A line edit for a secret: masked, with an eye button at its end that shows
// or hides the text. The button takes keyboard focus like any other control.
class SecretLineEdit final : public QLineEdit {
public:
    explicit SecretLineEdit(QWidget* parent = nullptr);

    bool revealed() const { return echoMode() == QLineEdit::Normal; }
    void setRevealed(bool revealed);
    QToolButton& revealButton() const { return *reveal_; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateButton();

    QToolButton* reveal_;
};

}  // namespace tavi
