#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "TestFiles.h"

namespace tavi::test {

struct CliResult {
    int exitCode = -1;  // -1 when the process did not exit normally
    std::string out;
    std::string err;
    double wallSeconds = 0;  // from start to exit
    long peakRssKiB = 0;     // the child's maximum resident set size
};

using EnvVars = std::vector<std::pair<std::string, std::string>>;

// Runs a program with the given arguments, standard input and extra
// environment; captures both outputs. Kills it after `timeoutSeconds`.
CliResult runProgram(const std::string& program, const std::vector<std::string>& args, const std::string& input = "",
                     const EnvVars& env = {}, int timeoutSeconds = 60);

// The openssl command line with these arguments: what it printed, or an
// exception with its complaint when it failed.
std::string openssl(const std::vector<std::string>& args);

// What sends tavi's requests for production hosts to loopback fakes:
// TAVI_CONNECT_TO with the fakes' connect-to entries, then TAVI_CA_BUNDLE
// with the test authority.
EnvVars routedTo(const std::vector<std::string>& connectTo);

// A private XDG_CONFIG_HOME in which to run the tavi binary.
class CliSandbox {
public:
    CliResult run(const std::vector<std::string>& args, const std::string& input = "", const EnvVars& env = {}) const;

    const std::filesystem::path& configHome() const { return configHome_.path(); }
    std::filesystem::path configFile() const { return configHome_ / "tavi" / "tavi.conf"; }

private:
    TempDir configHome_{"tavi-cli"};
};

}  // namespace tavi::test
