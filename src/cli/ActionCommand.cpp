// tavi show | selection | screenshot | clipboard | settings | quit: one of
// the running application's actions, sent over the session bus, starting the
// application first when none runs. Desktop shortcut settings bind these
// where global key grabs do not work (Wayland).
//
// libdbus, not Qt DBus, and loaded only here: the command line stays as
// light as it starts.

#include <dbus/dbus.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "app/DesktopActions.h"
#include "cli/Commands.h"
#include "cli/LibDbus.h"
#include "cli/TrayProgram.h"
#include "core/UserDirectories.h"

namespace tavi::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kStartBound = std::chrono::seconds(15);
constexpr int kCallBoundMs = 10000;
constexpr std::uintmax_t kLogKeptBytes = 1u << 20;

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

// Without an address libdbus would look for the per-user bus and then start
// a bus of its own for the X display: an action must start nothing.
bool sessionBusExpected() {
    if (isSet("DBUS_SESSION_BUS_ADDRESS")) return true;
    if (!isSet("XDG_RUNTIME_DIR")) return false;
    struct stat status {};
    return ::stat((std::string(std::getenv("XDG_RUNTIME_DIR")) + "/bus").c_str(), &status) == 0 &&
           S_ISSOCK(status.st_mode);
}

// Where a Tavi started here writes its log: it has no terminal.
std::filesystem::path logFile() { return userStateDirectory() / "tavi" / "tavi.log"; }

// Starts the tray application detached from this command's terminal and
// output (so that `$(tavi selection)` returns at once). Its pid, or -1.
pid_t startApplication(const std::filesystem::path& program, const std::filesystem::path& log) {
    std::error_code error;
    if (std::filesystem::create_directories(log.parent_path(), error)) ::chmod(log.parent_path().c_str(), 0700);
    if (std::filesystem::file_size(log, error) > kLogKeptBytes)
        std::filesystem::rename(log, log.string() + ".1", error);
    const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid();
        ::dup2(in, STDIN_FILENO);
        ::dup2(out >= 0 ? out : in, STDOUT_FILENO);
        ::dup2(out >= 0 ? out : in, STDERR_FILENO);
        char* const arguments[] = {const_cast<char*>("tavi"), nullptr};
        ::execv(program.c_str(), arguments);
        ::_exit(127);
    }
    if (out >= 0) ::close(out);
    if (in >= 0) ::close(in);
    return child;
}

std::string lastLine(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string line, last;
    while (std::getline(in, line))
        if (!line.empty()) last = line;
    return last;
}

// One private connection to the session bus, and what is asked over it.
class SessionBus {
public:
    SessionBus(const LibDbus& dbus, DBusConnection* connection) : dbus_(dbus), connection_(connection) {
        dbus_.dbus_connection_set_exit_on_disconnect(connection_, false);
    }
    ~SessionBus() {
        dbus_.dbus_connection_close(connection_);
        dbus_.dbus_connection_unref(connection_);
    }
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    bool applicationRuns() {
        DBusError error;
        dbus_.dbus_error_init(&error);
        const bool runs = dbus_.dbus_bus_name_has_owner(connection_, std::string(kApplicationBusName).c_str(), &error);
        dbus_.dbus_error_free(&error);
        return runs;
    }

    // Waits until the application owns its bus name, told by the bus; false
    // when the process ended first or the bound passed.
    bool waitForApplication(pid_t child) {
        const std::string rule = "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
                                 std::string(kApplicationBusName) + "'";
        dbus_.dbus_bus_add_match(connection_, rule.c_str(), nullptr);
        const auto deadline = Clock::now() + kStartBound;
        // Asked after the match is in place, so that a start in between is not missed.
        while (!applicationRuns()) {
            if (Clock::now() >= deadline || ::waitpid(child, nullptr, WNOHANG) == child) return false;
            // Wakes at the bus's signal, or looks again whether the process ended.
            dbus_.dbus_connection_read_write(connection_, 100);
            while (DBusMessage* message = dbus_.dbus_connection_pop_message(connection_))
                dbus_.dbus_message_unref(message);
        }
        return true;
    }

    // ActivateAction(name, [], {}); the error's text when it failed.
    std::optional<std::string> activate(const DesktopAction& action) {
        DBusMessage* call = dbus_.dbus_message_new_method_call(
            std::string(kApplicationBusName).c_str(), std::string(kApplicationObjectPath).c_str(),
            std::string(kApplicationInterface).c_str(), "ActivateAction");
        const std::string name(action.name);
        const char* nameText = name.c_str();
        DBusMessageIter arguments, parameter, platformData;
        dbus_.dbus_message_iter_init_append(call, &arguments);
        dbus_.dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &nameText);
        dbus_.dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "v", &parameter);
        dbus_.dbus_message_iter_close_container(&arguments, &parameter);
        dbus_.dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &platformData);
        dbus_.dbus_message_iter_close_container(&arguments, &platformData);

        DBusError error;
        dbus_.dbus_error_init(&error);
        DBusMessage* reply = dbus_.dbus_connection_send_with_reply_and_block(connection_, call, kCallBoundMs, &error);
        dbus_.dbus_message_unref(call);
        if (reply) {
            dbus_.dbus_message_unref(reply);
            return std::nullopt;
        }
        std::string text = error.message ? error.message : "未知错误";
        dbus_.dbus_error_free(&error);
        return text;
    }

private:
    const LibDbus& dbus_;
    DBusConnection* connection_;
};

}  // namespace

int runDesktopAction(const DesktopAction& action, const Arguments& args) {
    if (!args.empty()) return usageError("tavi " + std::string(action.subcommand) + " 不接受参数：" + args[0]);
    if (!sessionBusExpected()) {
        std::fputs("tavi: 没有 D-Bus 会话总线（DBUS_SESSION_BUS_ADDRESS 未设置），无法把操作发给 Tavi\n", stderr);
        return kExitFailure;
    }
    std::string why;
    const LibDbus* dbus = LibDbus::load(why);
    if (!dbus) {
        std::fprintf(stderr, "tavi: 无法载入 D-Bus 库（libdbus-1）：%s\n", why.c_str());
        return kExitFailure;
    }
    DBusError error;
    dbus->dbus_error_init(&error);
    DBusConnection* connection = dbus->dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    if (!connection) {
        std::fprintf(stderr, "tavi: 无法连接 D-Bus 会话总线：%s\n", error.message ? error.message : "未知错误");
        dbus->dbus_error_free(&error);
        return kExitFailure;
    }
    SessionBus bus(*dbus, connection);

    if (!bus.applicationRuns()) {
        if (action.command == MenuCommand::terminate) {
            std::fputs("tavi: Tavi 没有在运行\n", stderr);
            return kExitOk;
        }
        const std::optional<std::filesystem::path> program = trayProgram();
        if (!program) {
            reportMissingTrayProgram();
            return kExitFailure;
        }
        const std::filesystem::path log = logFile();
        const pid_t child = startApplication(*program, log);
        if (child < 0 || !bus.waitForApplication(child)) {
            const std::string last = lastLine(log);
            std::fprintf(stderr, "tavi: Tavi 没能启动（日志：%s）%s%s\n", log.c_str(), last.empty() ? "" : "：",
                         last.c_str());
            return kExitFailure;
        }
    }
    if (std::optional<std::string> failure = bus.activate(action)) {
        std::fprintf(stderr, "tavi: 无法把操作发给 Tavi：%s\n", failure->c_str());
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace tavi::cli
