#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/Subscription.h"

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

    // What a combination is for, as desktops that list applications'
    // shortcuts in their own settings show it.
    struct Purpose {
        std::string name;         // stable from run to run: "translate-selected-text"
        std::string description;  // for the user: "翻译选中文字"
    };

    virtual ~GlobalShortcuts() = default;

    // The one handler that hears the id of every pressed combination.
    virtual void installHandler(PressedHandler handler) = 0;

    // Asks the desktop for the combination on behalf of `id`. Nothing when the
    // desktop refused it: another program holds it, or this keyboard has no
    // such key. A refusal is logged by the backend, naming the combination.
    virtual std::optional<Handle> grab(std::uint32_t keyCode, std::uint32_t modifiers, std::uint32_t id,
                                       const Purpose& purpose) = 0;
    virtual void release(Handle handle) = 0;

    // Whether the desktop rather than Tavi decides which keys start which
    // action (a Wayland desktop's shortcuts portal). The stored combinations
    // are then only proposals; a shortcut without modifiers (no hotkey) is
    // grabbed all the same, without a proposal, so that the user can give it
    // keys in the desktop's settings; and what the desktop reports is what
    // Tavi shows.
    virtual bool desktopHasFinalSay() const { return false; }
    // The desktop's own text for the keys that start `name` ("Alt+A");
    // nothing while it reports none.
    virtual std::optional<std::string> triggerText(std::string_view name) const {
        static_cast<void>(name);
        return std::nullopt;
    }
    // Called whenever the two answers above may have changed.
    [[nodiscard]] virtual Subscription onDesktopChanged(std::function<void()> changed) {
        static_cast<void>(changed);
        return {};
    }
};

}  // namespace tavi
