#pragma once

#include <QIcon>

namespace tavi {

// Tavi's own icon (a speech bubble holding 文), rendered from the SVG built
// into the program at the sizes panels ask for.
QIcon appIcon();

}  // namespace tavi
