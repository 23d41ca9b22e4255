#pragma once

class QWidget;

namespace tavi {

// Brings one of Tavi's windows to the user: centred on the screen under the
// pointer when it is not shown yet, where it is when it is; then raised and
// given the keyboard focus.
void showWindow(QWidget& window);

}  // namespace tavi
