#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "cli/Commands.h"

#ifndef TAVI_TRAY_RELATIVE_PATH
#define TAVI_TRAY_RELATIVE_PATH "../libexec/tavi/tavi-tray"
#endif

namespace tavi::cli {
namespace {

// The tray application is a program of its own, so that the command line
// never loads the GUI libraries. It sits beside this binary in a build tree
// and under libexec once installed.
std::vector<std::filesystem::path> trayCandidates() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return {};
    const std::filesystem::path directory = self.parent_path();
    return {directory / "tavi-tray", (directory / TAVI_TRAY_RELATIVE_PATH).lexically_normal()};
}

}  // namespace

int runTrayApplication(const char* argv0) {
    for (const std::filesystem::path& candidate : trayCandidates()) {
        if (::access(candidate.c_str(), X_OK) != 0) continue;
        char* const arguments[] = {const_cast<char*>(argv0), nullptr};
        ::execv(candidate.c_str(), arguments);
        std::fprintf(stderr, "tavi: 无法启动托盘程序 %s：%s\n", candidate.c_str(), std::strerror(errno));
        return kExitFailure;
    }
    std::fputs("tavi: 找不到托盘程序 tavi-tray（应与 tavi 在同一目录，或在 ../libexec/tavi/ 下）\n", stderr);
    return kExitFailure;
}

}  // namespace tavi::cli
