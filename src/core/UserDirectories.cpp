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

std::filesystem::path userConfigDirectory() {
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && config[0] == '/') return config;
    return homeDirectory() / ".config";
}

}  // namespace tavi
