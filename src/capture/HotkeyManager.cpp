#include "capture/HotkeyManager.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace tavi {

HotkeyManager::HotkeyManager(GlobalShortcuts& desktop) : desktop_(desktop) {}

void HotkeyManager::setup() {
    {
        std::lock_guard guard(lock_);
        if (isSetup_) return;
        // Set before, and whatever the outcome of, the installation.
        isSetup_ = true;
    }
    desktop_.installHandler([this](std::uint32_t id) { dispatch(id); });
}

std::uint32_t HotkeyManager::registerHotkey(std::uint32_t keyCode, std::uint32_t modifiers, Callback callback,
                                            const GlobalShortcuts::Purpose& purpose) {
    std::lock_guard guard(lock_);
    const std::uint32_t id = nextID_;
    if (id == std::numeric_limits<std::uint32_t>::max()) {
        // Ids are never reused, so running out of them is a bug somewhere.
        std::fputs("tavi: hotkey ids exhausted\n", stderr);
        std::abort();
    }
    ++nextID_;
    std::optional<GlobalShortcuts::Handle> handle = desktop_.grab(keyCode, modifiers, id, purpose);
    hotkeys_.insert_or_assign(id, Registration{handle, std::move(callback)});
    return id;
}

void HotkeyManager::unregisterAll() {
    std::map<std::uint32_t, Registration> removed;
    {
        std::lock_guard guard(lock_);
        removed.swap(hotkeys_);
    }
    for (const auto& [id, registration] : removed)
        if (registration.handle) desktop_.release(*registration.handle);
}

void HotkeyManager::dispatch(std::uint32_t id) {
    Callback callback;
    {
        std::lock_guard guard(lock_);
        auto found = hotkeys_.find(id);
        if (found == hotkeys_.end()) return;  // removed a moment ago
        callback = found->second.callback;
    }
    if (callback) callback();
}

}  // namespace tavi
