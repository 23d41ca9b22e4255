#include "FakePortalProcess.h"

#include <sstream>
#include <thread>

namespace tavi::test {
namespace {

const std::string kName = "org.freedesktop.portal.Desktop";

bool nameOwned() {
    const CliResult answer =
        runProgram("/usr/bin/dbus-send", {"--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                                          "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                                          "string:" + kName},
                   "", {}, 10);
    return answer.out.find("true") != std::string::npos;
}

}  // namespace

FakePortalProcess::FakePortalProcess(const Options& options) : journal_(dir_ / "journal") {
    std::vector<std::string> args{"fake-portal", journal_.string()};
    if (options.globalShortcutsVersion)
        args.push_back("--global-shortcuts=" + std::to_string(*options.globalShortcutsVersion));
    if (!options.bindReportsShortcuts) args.push_back("--bind-without-shortcuts");
    if (options.screenshot) {
        std::filesystem::create_directory(picturesFolder());
        args.push_back("--screenshot=" + picturesFolder().string());
    }
    process_ = std::make_unique<ChildProcess>(TAVI_DESKTOP_HELPER_PATH, args, EnvVars{}, dir_ / "log");
    ready_ = runProgram(TAVI_DESKTOP_HELPER_PATH, {"wait-bus-name", kName, "10"}, "", {}, 20).exitCode == 0;
}

FakePortalProcess::~FakePortalProcess() {
    process_.reset();
    // The next test's portal takes the name only once the bus has let it go.
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (nameOwned() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(20ms);
}

std::vector<Json> FakePortalProcess::calls(std::string_view member) const {
    std::vector<Json> calls;
    std::istringstream lines(readFile(journal_));
    std::string line;
    while (std::getline(lines, line)) {
        Json call = Json::parse(line, nullptr, false);
        if (call.is_discarded()) continue;  // a line being written
        if (member.empty() || call.value("member", "") == member) calls.push_back(std::move(call));
    }
    return calls;
}

bool FakePortalProcess::control(const std::string& member, const std::vector<std::string>& arguments) const {
    std::vector<std::string> args{"--session", "--print-reply", "--dest=" + kName, "/org/freedesktop/portal/desktop",
                                  "org.morvel.Tavi.Test.FakePortal." + member};
    args.insert(args.end(), arguments.begin(), arguments.end());
    return runProgram("/usr/bin/dbus-send", args, "", {}, 10).exitCode == 0;
}

}  // namespace tavi::test
