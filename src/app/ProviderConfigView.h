#pragma once

#include <QWidget>

#include <string>
#include <vector>

#include "app/ProviderMetadata.h"
#include "core/Subscription.h"

class QLabel;
class QPushButton;
class QCheckBox;
class QLineEdit;

namespace tavi {

class AppSettings;
class StatusPill;

// The configuration of one provider: its head (symbol, name, subtitle, hint,
// "当前正在使用" or "设为当前服务商", the link to its key console) and its
// fields, each written to the settings on every edit and following what
// changes them elsewhere. An id outside the seven shows only
// "暂不支持配置此服务商".
class ProviderConfigView final : public QWidget {
public:
    ProviderConfigView(std::string providerID, AppSettings& settings, QWidget* parent = nullptr);
    ~ProviderConfigView() override;

    const std::string& providerID() const { return providerID_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct BoundField {
        const ProviderField* field;
        QLineEdit* edit = nullptr;
        QCheckBox* toggle = nullptr;
    };

    void buildUnsupported();
    void build();
    QWidget* makeControl(const ProviderField& field);
    void write(const ProviderField& field, bool value);
    void write(const ProviderField& field, std::string value);
    void settingChanged(std::string_view key);
    void showCurrent();
    void showValue(const BoundField& bound);
    void applyColors();

    std::string providerID_;
    AppSettings& settings_;
    QLabel* subtitle_ = nullptr;
    QLabel* helper_ = nullptr;
    QLabel* unsupported_ = nullptr;
    StatusPill* currentPill_ = nullptr;
    QPushButton* makeCurrent_ = nullptr;
    QPushButton* learnMore_ = nullptr;
    std::vector<BoundField> fields_;
    Subscription changes_;
};

}  // namespace tavi
