#include "app/HotkeysTab.h"

namespace tavi {

HotkeysTab::HotkeysTab(WindowServices services, QWidget* parent) : QWidget(parent), services_(std::move(services)) {}

HotkeysTab::~HotkeysTab() = default;

}  // namespace tavi
