#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "app/DesktopActions.h"
#include "cli/Commands.h"

#ifndef TAVI_VERSION
#define TAVI_VERSION "0.0.0"
#endif

using namespace tavi::cli;

int main(int argc, char** argv) {
    // A closed pipe on standard output must end in an error code, not a signal.
    std::signal(SIGPIPE, SIG_IGN);

    const Arguments args(argv + 1, argv + argc);
    try {
        if (args.empty()) return runTrayApplication(argv[0]);
        if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
            std::fputs(helpText().c_str(), stdout);
            return kExitOk;
        }
        if (args[0] == "--version" || args[0] == "-V") {
            std::puts("tavi " TAVI_VERSION);
            return kExitOk;
        }
        const Arguments rest(args.begin() + 1, args.end());
        if (args[0] == "translate") return runTranslate(rest);
        if (args[0] == "config") return runConfig(rest);
        if (args[0] == "providers") return runProviders(rest);
        if (const tavi::DesktopAction* action = tavi::actionForSubcommand(args[0])) return runDesktopAction(*action, rest);
        if (args[0] == "report") return runReport(rest);
        return usageError("未知的命令：" + args[0]);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tavi: 内部错误：%s\n", e.what());
        return kExitFailure;
    }
}
