#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "CliRunner.h"

namespace tavi::test {

using namespace std::chrono_literals;

// Another program started by the test, running beside it until it ends or
// the test is over (it is then ended, SIGKILL if SIGTERM is not enough).
class ChildProcess {
public:
    // `output` receives its stdout and stderr; empty: /dev/null.
    ChildProcess(const std::string& program, const std::vector<std::string>& args, const EnvVars& env = {},
                 const std::filesystem::path& output = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    // Sends SIGTERM (when `terminate`) and returns the exit status (128 +
    // signal when a signal ended it), or nothing when it had not ended
    // within the bound.
    std::optional<int> waitForExit(bool terminate, std::chrono::milliseconds bound = 10s);

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

}  // namespace tavi::test
