#include "app/GeneralTab.h"

namespace tavi {

GeneralTab::GeneralTab(WindowServices services, QWidget* parent) : QWidget(parent), services_(std::move(services)) {}

GeneralTab::~GeneralTab() = default;

}  // namespace tavi
