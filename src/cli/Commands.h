#pragma once

#include <string>
#include <vector>

namespace tavi::cli {

// Exit codes of the tavi command.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the work was tried and failed (or was refused)
inline constexpr int kExitUsage = 2;    // the command line itself was wrong

using Arguments = std::vector<std::string>;

int runTranslate(const Arguments& args);
int runConfig(const Arguments& args);
int runProviders(const Arguments& args);
int runReport(const Arguments& args);

}  // namespace tavi::cli

namespace tavi {
struct DesktopAction;
}

namespace tavi::cli {

// Sends one of the running application's actions, starting it first.
int runDesktopAction(const DesktopAction& action, const Arguments& args);

// Replaces this process with the tray application; returns only when it
// cannot be started.
int runTrayApplication(const char* argv0);

// Prints "tavi: <message>" and a pointer to --help on standard error.
int usageError(const std::string& message);

std::string helpText();

}  // namespace tavi::cli
