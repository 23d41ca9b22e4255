#pragma once

#include <QWidget>

#include "app/WindowServices.h"

namespace tavi {

class ProvidersTab final : public QWidget {
public:
    explicit ProvidersTab(WindowServices services, QWidget* parent = nullptr);
    ~ProvidersTab() override;

private:
    WindowServices services_;
};

}  // namespace tavi
