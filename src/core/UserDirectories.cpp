#include "core/UserDirectories.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace tavi {

std::filesystem::path homeDirectory() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir)
        return found->pw_dir;
    return "/";
}

namespace {

// The XDG base directory rules ignore a relative (or empty) value.
std::filesystem::path baseDirectory(const char* variable, const std::filesystem::path& fallback) {
    if (const char* value = std::getenv(variable); value && value[0] == '/') return value;
    return homeDirectory() / fallback;
}

}  // namespace

std::filesystem::path userConfigDirectory() { return baseDirectory("XDG_CONFIG_HOME", ".config"); }

std::filesystem::path userStateDirectory() { return baseDirectory("XDG_STATE_HOME", ".local/state"); }

}  // namespace tavi
