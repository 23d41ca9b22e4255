#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/Commands.h"
#include "cli/TrayProgram.h"

#ifndef TAVI_TRAY_RELATIVE_PATH
#define TAVI_TRAY_RELATIVE_PATH "../libexec/tavi/tavi-tray"
#endif

namespace tavi::cli {

std::optional<std::filesystem::path> trayProgram() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    const std::filesystem::path directory = self.parent_path();
    for (const std::filesystem::path& candidate :
         {directory / "tavi-tray", (directory / TAVI_TRAY_RELATIVE_PATH).lexically_normal()})
        if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    return std::nullopt;
}

void reportMissingTrayProgram() {
    std::fputs("tavi: 找不到托盘程序 tavi-tray（应与 tavi 在同一目录，或在 ../libexec/tavi/ 下）\n", stderr);
}

int runTrayApplication(const char* argv0) {
    const std::optional<std::filesystem::path> program = trayProgram();
    if (!program) {
        reportMissingTrayProgram();
        return kExitFailure;
    }
    char* const arguments[] = {const_cast<char*>(argv0), nullptr};
    ::execv(program->c_str(), arguments);
    std::fprintf(stderr, "tavi: 无法启动托盘程序 %s：%s\n", program->c_str(), std::strerror(errno));
    return kExitFailure;
}

}  // namespace tavi::cli
