#pragma once

#include <sys/types.h>

#include <chrono>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "CliRunner.h"

namespace tavi::test {

using namespace std::chrono_literals;

// `tavi` started with no arguments, as the user starts it, in a settings
// folder of its own; its log goes to a file. TAVI_TRAY_WRAPPER, when set,
// names a program started in its place with the binary as its argument, to
// profile the tray; it must exec the tray in the end.
class TrayProcess {
public:
    // `configure` runs `tavi config set` before the start.
    TrayProcess(const EnvVars& environment, const std::vector<std::pair<std::string, std::string>>& settings = {});
    ~TrayProcess();
    TrayProcess(const TrayProcess&) = delete;
    TrayProcess& operator=(const TrayProcess&) = delete;

    pid_t pid() const { return process_->pid(); }
    // When the process was started (after the settings were written).
    std::chrono::steady_clock::time_point startedAt() const { return startedAt_; }
    std::string log() const;
    // Runs `tavi` with these arguments against the same settings.
    CliResult tavi(const std::vector<std::string>& args) const;
    const CliSandbox& sandbox() const { return sandbox_; }

    // Its StatusNotifierItem's bus name, once the tray watcher has it.
    std::optional<std::string> trayItem() const;
    // Whether the start has finished: Tavi puts up its tray item and grabs
    // its hotkeys in one go on its main thread, but the item may register
    // from Qt's D-Bus thread before that go is over. A call that the main
    // thread answers comes back only after it.
    bool started() const;
    // The menu as a tray host reads it after opening it: labels in order,
    // "---" for separators; and the item ids, for clicking.
    std::vector<std::string> menuLabels() const;
    bool clickMenu(const std::string& label) const;

    // Sends SIGTERM (when `terminate`) and returns the exit status, or
    // nothing when it had not ended within the bound.
    std::optional<int> waitForExit(bool terminate, std::chrono::milliseconds bound = 10s);

private:
    struct MenuItem {
        int id;
        std::string label;
    };
    std::vector<MenuItem> readMenu() const;

    CliSandbox sandbox_;
    std::filesystem::path logFile_;
    EnvVars environment_;
    std::chrono::steady_clock::time_point startedAt_;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace tavi::test
