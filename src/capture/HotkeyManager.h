#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/GlobalShortcuts.h"

namespace tavi {

// Makes key combinations call back into Tavi while another program has the
// focus. Each registration gets an id that is never reused; the desktop
// reports the id of a pressed combination and the manager calls the callback
// registered under it.
//
// The lock guards the map, the id counter and the setup flag. No desktop call
// but the grab itself runs under it, and callbacks run with it released, so a
// callback may register or unregister hotkeys. Callbacks run on the thread
// the desktop reports presses on (the main thread).
class HotkeyManager {
public:
    using Callback = std::function<void()>;

    explicit HotkeyManager(GlobalShortcuts& desktop);
    HotkeyManager(const HotkeyManager&) = delete;
    HotkeyManager& operator=(const HotkeyManager&) = delete;

    // Installs the handler for pressed combinations, once.
    void setup();

    // Registers the combination (stored key code and modifier bits) and
    // returns its id. A combination the desktop refuses (another program
    // holds it) is kept all the same and simply never fires. `purpose` names
    // it for desktops that list it in their own settings.
    std::uint32_t registerHotkey(std::uint32_t keyCode, std::uint32_t modifiers, Callback callback,
                                 const GlobalShortcuts::Purpose& purpose = {});

    // What the desktop says about the keys (see GlobalShortcuts).
    bool desktopHasFinalSay() const { return desktop_.desktopHasFinalSay(); }
    std::optional<std::string> triggerText(std::string_view name) const { return desktop_.triggerText(name); }

    // Drops every registration; ids keep counting from where they were.
    void unregisterAll();

private:
    struct Registration {
        std::optional<GlobalShortcuts::Handle> handle;
        Callback callback;
    };

    void dispatch(std::uint32_t id);

    GlobalShortcuts& desktop_;
    std::mutex lock_;
    std::map<std::uint32_t, Registration> hotkeys_;
    std::uint32_t nextID_ = 1;
    bool isSetup_ = false;
};

}  // namespace tavi
