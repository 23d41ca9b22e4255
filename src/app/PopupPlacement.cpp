#include "app/PopupPlacement.h"

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

std::optional<Point> popupOrigin(Point pointer, Size popup, const std::vector<ScreenInfo>& screens) {
    const std::optional<ScreenInfo> screen = screenUnder(pointer, screens);
    if (!screen) return std::nullopt;
    const Rect& area = screen->available;
    Point origin{pointer.x + kPointerGap, pointer.y + kPointerGap};
    if (origin.x + popup.width > area.right()) origin.x = pointer.x - popup.width - kPointerGap;
    if (origin.y + popup.height > area.bottom()) origin.y = pointer.y - popup.height - kPointerGap;
    if (origin.x < area.x) origin.x = area.x + kLeftMargin;
    return origin;
}

}  // namespace tavi
