#include "platform/x11/CopyShortcutRefusers.h"

#include <algorithm>
#include <cctype>

namespace tavi::x11 {
namespace {

// Programs that must never get the copy fallback's Control+C.
//
// Terminal emulators pass Control+C to the program running in them as an
// interrupt: a build, a test run or an editor session would be stopped by a
// hotkey meant to translate. What is selected in a terminal is always in
// PRIMARY, which Tavi reads first, so the fallback has nothing to add there.
//
// Emacs (and gVim) are no terminals, but Control+C is no copy there either:
// in Emacs it is a prefix key that would turn the user's next keystroke into
// a command. Both publish their active selection as PRIMARY too; the copy
// shortcuts they do know (M-w, C-Insert) copy the region between point and
// mark even when nothing is selected. They get nothing.
//
// Names as the programs set WM_CLASS (instance or class).
constexpr std::string_view kRefusers[] = {
    // Terminal emulators.
    "xterm", "uxterm", "urxvt", "rxvt", "urxvtc", "gnome-terminal", "gnome-terminal-server", "konsole",
    "xfce4-terminal", "mate-terminal", "lxterminal", "qterminal", "terminator", "tilix", "alacritty", "kitty",
    "org.wezfurlong.wezterm", "wezterm", "st", "st-256color", "terminology", "guake", "yakuake", "tilda",
    "cool-retro-term", "sakura", "termite", "roxterm", "eterm", "aterm", "mlterm", "lilyterm", "kgx",
    "org.gnome.console", "ptyxis", "org.gnome.ptyxis", "deepin-terminal", "foot", "footclient", "ghostty",
    "com.mitchellh.ghostty", "contour", "hyper", "tabby", "terminal",
    // Editors where Control+C is a prefix or a cancel.
    "emacs", "gvim",
};

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

}  // namespace

bool refusesCopyShortcut(std::string_view instance, std::string_view className) {
    return std::any_of(std::begin(kRefusers), std::end(kRefusers), [&](std::string_view name) {
        return equalIgnoringCase(name, instance) || equalIgnoringCase(name, className);
    });
}

}  // namespace tavi::x11
