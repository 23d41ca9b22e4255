#pragma once

#include <optional>
#include <vector>

#include "platform/Geometry.h"

namespace tavi {

// Where the popup's top-left corner goes for a pointer at `pointer`, on the
// free area of the screen under it: 12 px right of and below the pointer,
// flipped to the left when it would cross the right edge, above when it would
// cross the bottom, and kept 8 px inside the left edge. The top edge is not
// checked: a popup flipped above a pointer near the top may stick out.
// Nothing when there is no screen at all (the caller centres the popup).
std::optional<Point> popupOrigin(Point pointer, Size popup, const std::vector<ScreenInfo>& screens);

// The screen under `pointer`: the first whose frame holds it, else the
// primary one, else the first. Nothing without screens.
std::optional<ScreenInfo> screenUnder(Point pointer, const std::vector<ScreenInfo>& screens);

}  // namespace tavi
