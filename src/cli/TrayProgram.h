#pragma once

#include <filesystem>
#include <optional>

namespace tavi::cli {

// The tray application's program: a program of its own, so that the command
// line never loads the GUI libraries. It sits beside this binary in a build
// tree and under libexec once installed.
std::optional<std::filesystem::path> trayProgram();

// Says on standard error that the tray program is missing.
void reportMissingTrayProgram();

}  // namespace tavi::cli
