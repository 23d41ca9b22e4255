#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

namespace tavi::test {

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args, const EnvVars& env,
                           const std::filesystem::path& output) {
    std::vector<std::string> argv{program};
    argv.insert(argv.end(), args.begin(), args.end());
    pid_ = ::fork();
    if (pid_ != 0) return;
    const int out = output.empty() ? ::open("/dev/null", O_WRONLY) : ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(out, STDERR_FILENO);
    for (const auto& [name, value] : env) ::setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> pointers;
    for (std::string& arg : argv) pointers.push_back(arg.data());
    pointers.push_back(nullptr);
    ::execvp(program.c_str(), pointers.data());
    ::_exit(127);
}

ChildProcess::~ChildProcess() {
    if (!status_) waitForExit(true, 5s);
    if (!status_) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

std::optional<int> ChildProcess::waitForExit(bool terminate, std::chrono::milliseconds bound) {
    if (status_) return status_;
    if (terminate) ::kill(pid_, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (true) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            return status_;
        }
        if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
        std::this_thread::sleep_for(10ms);
    }
}

}  // namespace tavi::test
