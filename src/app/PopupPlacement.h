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
//
// Everything is in the desktop's device pixels. `scale` is that screen's
// device pixels per logical pixel (1.5 on a panel at 144 dpi): the gap and
// the margin grow with it, like the popup itself, whose size on that screen
// `popup` is.
std::optional<Point> popupOrigin(Point pointer, Size popup, const std::vector<ScreenInfo>& screens,
                                 double scale = 1.0);

// The screen under `pointer`: the first whose frame holds it, else the
// primary one, else the first. Nothing without screens.
std::optional<ScreenInfo> screenUnder(Point pointer, const std::vector<ScreenInfo>& screens);

}  // namespace tavi
