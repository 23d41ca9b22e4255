#include "TrayProcess.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace tavi::test {
namespace {

std::unique_ptr<ChildProcess> startTray(const EnvVars& environment, const std::filesystem::path& log) {
    const std::string binary = TAVI_BINARY_PATH;
    // A profiler's wrapper execs the tray itself: pid() and the tray item
    // lookup stay Tavi's own process.
    if (const char* wrapper = std::getenv("TAVI_TRAY_WRAPPER"); wrapper && *wrapper)
        return std::make_unique<ChildProcess>(wrapper, std::vector<std::string>{binary}, environment, log);
    return std::make_unique<ChildProcess>(binary, std::vector<std::string>{}, environment, log);
}

}  // namespace

TrayProcess::TrayProcess(const EnvVars& environment, const std::vector<std::pair<std::string, std::string>>& settings)
    : environment_(environment) {
    for (const auto& [key, value] : settings) sandbox_.run({"config", "set", key, value});
    logFile_ = sandbox_.configHome().parent_path() / ("tray-" + std::to_string(::getpid()) + ".log");
    EnvVars all = environment;
    all.emplace_back("XDG_CONFIG_HOME", sandbox_.configHome().string());
    startedAt_ = std::chrono::steady_clock::now();
    process_ = startTray(all, logFile_);
}

TrayProcess::~TrayProcess() {
    process_.reset();
    std::error_code error;
    std::filesystem::remove(logFile_, error);
}

std::string TrayProcess::log() const { return readFile(logFile_); }

CliResult TrayProcess::tavi(const std::vector<std::string>& args) const { return sandbox_.run(args, "", environment_); }

std::optional<int> TrayProcess::waitForExit(bool terminate, std::chrono::milliseconds bound) {
    return process_->waitForExit(terminate, bound);
}

namespace {

CliResult dbusSend(const std::vector<std::string>& args) {
    std::vector<std::string> all{"--session", "--print-reply=literal"};
    all.insert(all.end(), args.begin(), args.end());
    return runProgram("/usr/bin/dbus-send", all, "", {}, 10);
}

}  // namespace

std::optional<std::string> TrayProcess::trayItem() const {
    // The watcher lists items by the unique bus name they registered with;
    // ours is the connection whose process is this one.
    const CliResult items = dbusSend({"--dest=org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                      "org.freedesktop.DBus.Properties.Get",
                                      "string:org.kde.StatusNotifierWatcher",
                                      "string:RegisteredStatusNotifierItems"});
    std::istringstream words(items.out);
    std::string word;
    while (words >> word) {
        if (word.rfind(":1.", 0) != 0) continue;
        const CliResult owner = dbusSend({"--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:" + word});
        if (owner.out.find("uint32 " + std::to_string(pid())) != std::string::npos) return word;
    }
    return std::nullopt;
}

bool TrayProcess::started() const {
    const std::optional<std::string> item = trayItem();
    if (!item) return false;
    return dbusSend({"--dest=" + *item, "/StatusNotifierItem", "org.freedesktop.DBus.Properties.Get",
                     "string:org.kde.StatusNotifierItem", "string:Title"})
               .exitCode == 0;
}

std::vector<TrayProcess::MenuItem> TrayProcess::readMenu() const {
    const std::optional<std::string> item = trayItem();
    if (!item) return {};
    // A host announces the opening, then reads the freshly built menu.
    dbusSend({"--dest=" + *item, "/MenuBar", "com.canonical.dbusmenu.AboutToShow", "int32:0"});
    const CliResult layout = dbusSend({"--dest=" + *item, "/MenuBar", "com.canonical.dbusmenu.GetLayout", "int32:0",
                                       "int32:-1", "array:string:label,type"});
    // Literal output lists each child as "struct { int32 ID array [ dict entry( label variant LABEL ) ... ] ... }".
    std::vector<MenuItem> menu;
    const std::string& text = layout.out;
    std::size_t at = text.find("array [");  // the root's own properties
    while ((at = text.find("struct {", at)) != std::string::npos) {
        at += 8;
        std::istringstream fields(text.substr(at, 64));
        std::string type;
        int id = 0;
        fields >> type >> id;
        MenuItem entry{id, ""};
        const std::size_t end = text.find("struct {", at);
        const std::string body = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
        if (body.find("separator") != std::string::npos) {
            entry.label = "---";
        } else if (std::size_t label = body.find("label"); label != std::string::npos) {
            label = body.find("variant", label);
            if (label != std::string::npos) {
                std::size_t begin = label + 8;
                while (begin < body.size() && body[begin] == ' ') ++begin;
                // The label runs to the end of its line, where dbus-send
                // pads and closes the dict entry with ")".
                std::size_t stop = body.find("\n", begin);
                std::string value = body.substr(begin, stop - begin);
                while (!value.empty() && (value.back() == ' ' || value.back() == ')')) value.pop_back();
                entry.label = value;
            }
        }
        menu.push_back(entry);
    }
    return menu;
}

std::vector<std::string> TrayProcess::menuLabels() const {
    std::vector<std::string> labels;
    for (const MenuItem& item : readMenu()) labels.push_back(item.label);
    return labels;
}

bool TrayProcess::clickMenu(const std::string& label) const {
    const std::optional<std::string> item = trayItem();
    for (const MenuItem& entry : readMenu()) {
        if (entry.label != label) continue;
        const CliResult sent = dbusSend({"--dest=" + *item, "/MenuBar", "com.canonical.dbusmenu.Event",
                                         "int32:" + std::to_string(entry.id), "string:clicked", "variant:int32:0",
                                         "uint32:0"});
        return sent.exitCode == 0;
    }
    return false;
}

}  // namespace tavi::test
