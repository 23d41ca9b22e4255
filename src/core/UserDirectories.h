#pragma once

#include <filesystem>

namespace tavi {

// The user's home directory: $HOME, or the user database's entry when HOME
// is unset or empty (a stripped environment); "/" when neither knows.
std::filesystem::path homeDirectory();

// $XDG_CONFIG_HOME when it is an absolute path; otherwise (unset, empty or
// relative, which the XDG base directory rules say to ignore) ~/.config.
std::filesystem::path userConfigDirectory();

// $XDG_STATE_HOME by the same rule; otherwise ~/.local/state.
std::filesystem::path userStateDirectory();

}  // namespace tavi
