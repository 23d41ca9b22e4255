#pragma once

#include <functional>

namespace tavi {

class AppSettings;
class DesktopPlatform;
class TranslationService;

// What the settings and translation windows work with. All of it lives
// longer than the windows.
struct WindowServices {
    AppSettings& settings;
    TranslationService& translation;
    DesktopPlatform& desktop;
    // True while a shortcut is being recorded: the global hotkeys are let go
    // so that pressing the current combination records it.
    std::function<void(bool suspended)> suspendHotkeys;
};

}  // namespace tavi
