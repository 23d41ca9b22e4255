#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace tavi {

// System-wide key combinations that reach Tavi while another program has the
// keyboard focus. Combinations are given as stored: key codes are the ANSI
// hardware positions and modifiers the bits of HotkeyModifier, whatever the
// desktop; the backend maps them to its own codes.
//
// Owning thread only; the handler is called there.
class GlobalShortcuts {
public:
    using PressedHandler = std::function<void(std::uint32_t id)>;
    using Handle = std::uint64_t;

    virtual ~GlobalShortcuts() = default;

    // The one handler that hears the id of every pressed combination.
    virtual void installHandler(PressedHandler handler) = 0;

    // Asks the desktop for the combination on behalf of `id`. Nothing when the
    // desktop refused it: another program holds it, or this keyboard has no
    // such key. A refusal is logged by the backend, naming the combination.
    virtual std::optional<Handle> grab(std::uint32_t keyCode, std::uint32_t modifiers, std::uint32_t id) = 0;
    virtual void release(Handle handle) = 0;
};

}  // namespace tavi
