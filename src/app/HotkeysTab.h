#pragma once

#include <QWidget>

#include "app/WindowServices.h"

namespace tavi {

class HotkeysTab final : public QWidget {
public:
    explicit HotkeysTab(WindowServices services, QWidget* parent = nullptr);
    ~HotkeysTab() override;

private:
    WindowServices services_;
};

}  // namespace tavi
