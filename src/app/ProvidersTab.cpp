#include "app/ProvidersTab.h"

namespace tavi {

ProvidersTab::ProvidersTab(WindowServices services, QWidget* parent) : QWidget(parent), services_(std::move(services)) {}

ProvidersTab::~ProvidersTab() = default;

}  // namespace tavi
