#include "CliRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include "TestCertificates.h"

extern char** environ;

namespace tavi::test {
namespace {

void closeQuietly(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

}  // namespace

CliResult runProgram(const std::string& program, const std::vector<std::string>& args, const std::string& input,
                     const EnvVars& env, int timeoutSeconds) {
    int in[2], out[2], err[2];
    if (::pipe2(in, O_CLOEXEC) || ::pipe2(out, O_CLOEXEC) || ::pipe2(err, O_CLOEXEC)) {
        throw std::runtime_error("pipe failed");
    }
    std::vector<std::string> argStorage{program};
    argStorage.insert(argStorage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argStorage) argv.push_back(a.data());
    argv.push_back(nullptr);

    const auto started = std::chrono::steady_clock::now();
    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        ::dup2(err[1], 2);
        for (const auto& [name, value] : env) ::setenv(name.c_str(), value.c_str(), 1);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    int writeFd = in[1], outFd = out[0], errFd = err[0];
    ::fcntl(writeFd, F_SETFL, O_NONBLOCK);
    if (input.empty()) closeQuietly(writeFd);

    CliResult result;
    std::size_t written = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    bool killed = false;
    while (outFd >= 0 || errFd >= 0) {
        pollfd fds[3];
        int n = 0;
        if (outFd >= 0) fds[n++] = {outFd, POLLIN, 0};
        if (errFd >= 0) fds[n++] = {errFd, POLLIN, 0};
        if (writeFd >= 0) fds[n++] = {writeFd, POLLOUT, 0};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            ::kill(pid, SIGKILL);
            killed = true;
            break;
        }
        if (::poll(fds, n, static_cast<int>(left.count())) < 0) continue;
        for (int i = 0; i < n; ++i) {
            if (!fds[i].revents) continue;
            if (fds[i].fd == writeFd) {
                const ssize_t w = ::write(writeFd, input.data() + written, input.size() - written);
                if (w > 0) written += static_cast<std::size_t>(w);
                if (w < 0 || written == input.size()) closeQuietly(writeFd);
                continue;
            }
            char buffer[65536];
            const ssize_t r = ::read(fds[i].fd, buffer, sizeof buffer);
            std::string& sink = fds[i].fd == outFd ? result.out : result.err;
            if (r > 0) {
                sink.append(buffer, static_cast<std::size_t>(r));
            } else {
                closeQuietly(fds[i].fd == outFd ? outFd : errFd);
            }
        }
    }
    closeQuietly(writeFd);
    closeQuietly(outFd);
    closeQuietly(errFd);
    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    result.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    result.peakRssKiB = usage.ru_maxrss;
    result.exitCode = !killed && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

std::string openssl(const std::vector<std::string>& args) {
    const CliResult r = runProgram("/usr/bin/openssl", args);
    if (r.exitCode != 0) throw std::runtime_error("openssl " + args[0] + " failed: " + r.err);
    return r.out;
}

EnvVars routedTo(const std::vector<std::string>& connectTo) {
    std::string joined;
    for (const std::string& entry : connectTo) joined += (joined.empty() ? "" : ",") + entry;
    return {{"TAVI_CONNECT_TO", joined}, {"TAVI_CA_BUNDLE", TestCertificates::instance().caPath()}};
}

CliResult CliSandbox::run(const std::vector<std::string>& args, const std::string& input, const EnvVars& env) const {
    EnvVars all{{"XDG_CONFIG_HOME", configHome().string()}, {"HOME", configHome().string()}};
    all.insert(all.end(), env.begin(), env.end());
    return runProgram(TAVI_BINARY_PATH, args, input, all);
}

}  // namespace tavi::test
