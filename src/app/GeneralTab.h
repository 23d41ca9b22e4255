#pragma once

#include <QWidget>

#include "app/WindowServices.h"

namespace tavi {

class GeneralTab final : public QWidget {
public:
    explicit GeneralTab(WindowServices services, QWidget* parent = nullptr);
    ~GeneralTab() override;

private:
    WindowServices services_;
};

}  // namespace tavi
