#pragma once

#include <QWidget>

#include <string>
#include <vector>

#include "app/WindowServices.h"
#include "core/Subscription.h"

class QScrollArea;

namespace tavi {

class ProviderConfigView;
class ProviderListCard;

// "翻译服务": the providers as cards on the left, in the translation service's
// order, and the selected one's configuration on the right. Selecting a card
// only chooses what the pane shows; the pane's "设为当前服务商" changes the
// current provider. The selection starts at the current provider, and again
// each time the window is opened.
class ProvidersTab final : public QWidget {
public:
    explicit ProvidersTab(WindowServices services, QWidget* parent = nullptr);
    ~ProvidersTab() override;

    const std::string& selectedProviderID() const { return selectedProviderID_; }
    void selectProvider(const std::string& providerID);

    const std::vector<ProviderListCard*>& cards() const { return cards_; }
    ProviderConfigView& configView() const { return *configView_; }

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void step(int by);
    void showStates();

    WindowServices services_;
    std::string selectedProviderID_;
    std::vector<ProviderListCard*> cards_;
    bool reselectOnShow_ = false;
    QScrollArea* cardArea_ = nullptr;
    QScrollArea* paneArea_;
    ProviderConfigView* configView_ = nullptr;
    Subscription changes_;
};

}  // namespace tavi
