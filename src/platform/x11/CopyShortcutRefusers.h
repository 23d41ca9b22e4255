#pragma once

#include <string_view>

namespace tavi::x11 {

// Whether a window whose WM_CLASS is (instance, class) belongs to a program
// in which Control+C is not "copy", compared without regard to case on both
// parts.
bool refusesCopyShortcut(std::string_view instance, std::string_view className);

}  // namespace tavi::x11
