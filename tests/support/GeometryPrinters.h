#pragma once

#include <ostream>

#include "platform/Geometry.h"

// Readable geometry in test failure messages.
namespace tavi {

inline void PrintTo(const Point& p, std::ostream* out) { *out << "(" << p.x << ", " << p.y << ")"; }
inline void PrintTo(const Rect& r, std::ostream* out) {
    *out << r.width << "x" << r.height << "+" << r.x << "+" << r.y;
}

}  // namespace tavi
