#include "app/PopupPlacement.h"

#include <cmath>

namespace tavi {
namespace {

constexpr int kPointerGap = 12;
constexpr int kLeftMargin = 8;

}  // namespace

std::optional<ScreenInfo> screenUnder(Point pointer, const std::vector<ScreenInfo>& screens) {
    for (const ScreenInfo& screen : screens)
        if (screen.frame.contains(pointer)) return screen;
    for (const ScreenInfo& screen : screens)
        if (screen.primary) return screen;
    if (!screens.empty()) return screens.front();
    return std::nullopt;
}

std::optional<Point> popupOrigin(Point pointer, Size popup, const std::vector<ScreenInfo>& screens, double scale) {
    const std::optional<ScreenInfo> screen = screenUnder(pointer, screens);
    if (!screen) return std::nullopt;
    const Rect& area = screen->available;
    const int gap = static_cast<int>(std::lround(kPointerGap * scale));
    const int margin = static_cast<int>(std::lround(kLeftMargin * scale));
    Point origin{pointer.x + gap, pointer.y + gap};
    if (origin.x + popup.width > area.right()) origin.x = pointer.x - popup.width - gap;
    if (origin.y + popup.height > area.bottom()) origin.y = pointer.y - popup.height - gap;
    if (origin.x < area.x) origin.x = area.x + margin;
    return origin;
}

}  // namespace tavi
