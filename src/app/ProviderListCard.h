#pragma once

#include <QAbstractButton>

#include <functional>
#include <string>

namespace tavi {

// One provider in the providers tab's list: its symbol in its accent colour,
// name, subtitle, the "当前使用中" pill when it is the current provider and
// whether it is configured. The card paints all of it itself, so that a
// screen reader meets one element whose name says everything.
//
// Clicking the card (or Space) selects it; the arrow keys ask for the
// neighbouring card. The tab owns the selection: the card only shows it.
class ProviderListCard final : public QAbstractButton {
public:
    struct Identity {
        std::string providerID;
        QString providerName;
        QString providerSubtitle;
        std::string symbolName;
        std::string accentColor;
    };

    explicit ProviderListCard(Identity identity, QWidget* parent = nullptr);

    const std::string& providerID() const { return identity_.providerID; }
    bool isConfigured() const { return configured_; }
    bool isCurrent() const { return current_; }
    bool isSelected() const { return isChecked(); }

    void setConfigured(bool configured);
    void setCurrent(bool current);
    void setSelected(bool selected);

    // -1 for the card above, +1 for the one below.
    std::function<void(int step)> onStep;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void nextCheckState() override {}

private:
    void describe();

    Identity identity_;
    bool configured_ = false;
    bool current_ = false;
};

}  // namespace tavi
