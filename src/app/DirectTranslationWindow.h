#pragma once

#include <QWidget>

#include "app/WindowServices.h"

namespace tavi {

// "Tavi · 直接翻译": text typed or pasted here is translated in place.
class DirectTranslationWindow final : public QWidget {
public:
    explicit DirectTranslationWindow(WindowServices services);
    ~DirectTranslationWindow() override;

private:
    WindowServices services_;
};

}  // namespace tavi
