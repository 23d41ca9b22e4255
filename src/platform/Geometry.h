#pragma once

#include <cstdint>

namespace tavi {

// Global desktop coordinates in device pixels, y growing downwards (X11's
// convention; a backend on a y-up system converts at its edge).
struct Point {
    int x = 0;
    int y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    int width = 0;
    int height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

// Half-open: x <= px < x + width. right() and bottom() are the first
// coordinates outside, unlike QRect's.
struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int right() const { return x + width; }
    int bottom() const { return y + height; }
    bool contains(Point p) const { return p.x >= x && p.x < right() && p.y >= y && p.y < bottom(); }
    friend bool operator==(const Rect&, const Rect&) = default;
};

// One monitor: its whole frame and the part that panels and docks leave free.
struct ScreenInfo {
    Rect frame;
    Rect available;
    bool primary = false;
    friend bool operator==(const ScreenInfo&, const ScreenInfo&) = default;
};

// A top-level window as the platform names it (an X window id, ...).
using NativeWindowId = std::uint64_t;

}  // namespace tavi
