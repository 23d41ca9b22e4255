// tavi show | selection | screenshot | clipboard | settings | quit: one of
// the running application's actions, sent over the session bus, starting the
// application first when none runs. Desktop shortcut settings bind these
// where global key grabs do not work (Wayland).

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "app/DesktopActions.h"
#include "cli/Commands.h"
#include "cli/TrayProgram.h"

namespace tavi::cli {
namespace {

constexpr int kStartBoundMs = 15000;
constexpr int kCallBoundMs = 10000;
constexpr std::uintmax_t kLogKeptBytes = 1u << 20;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

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
std::filesystem::path logFile() {
    std::filesystem::path base;
    if (isSet("XDG_STATE_HOME") && std::getenv("XDG_STATE_HOME")[0] == '/') base = std::getenv("XDG_STATE_HOME");
    else if (isSet("HOME")) base = std::filesystem::path(std::getenv("HOME")) / ".local" / "state";
    else base = "/tmp";
    return base / "tavi" / "tavi.log";
}

// Starts the tray application detached from this command's terminal and
// output (so that `$(tavi selection)` returns at once). Its pid, or -1.
pid_t startApplication(const std::filesystem::path& program, const std::filesystem::path& log) {
    std::error_code error;
    std::filesystem::create_directories(log.parent_path(), error);
    ::chmod(log.parent_path().c_str(), 0700);
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

// Waits until the application owns its bus name; false when it ended first
// or the bound passed.
bool waitForApplication(QDBusConnection& bus, pid_t child) {
    QDBusServiceWatcher watcher(qt(kApplicationBusName), bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, [] { QCoreApplication::exit(0); });
    QTimer exited;
    QObject::connect(&exited, &QTimer::timeout, [child] {
        if (::waitpid(child, nullptr, WNOHANG) == child) QCoreApplication::exit(1);
    });
    exited.start(50);
    QTimer::singleShot(kStartBoundMs, [] { QCoreApplication::exit(1); });
    if (bus.interface()->isServiceRegistered(qt(kApplicationBusName))) return true;
    return QCoreApplication::exec() == 0;
}

}  // namespace

int runDesktopAction(const DesktopAction& action, const Arguments& args) {
    if (!args.empty()) return usageError("tavi " + std::string(action.subcommand) + " 不接受参数：" + args[0]);
    if (!sessionBusExpected()) {
        std::fputs("tavi: 没有 D-Bus 会话总线（DBUS_SESSION_BUS_ADDRESS 未设置），无法把操作发给 Tavi\n", stderr);
        return kExitFailure;
    }
    int argc = 1;
    char name[] = "tavi";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        std::fprintf(stderr, "tavi: 无法连接 D-Bus 会话总线：%s\n", bus.lastError().message().toUtf8().constData());
        return kExitFailure;
    }

    if (!bus.interface()->isServiceRegistered(qt(kApplicationBusName))) {
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
        if (child < 0 || !waitForApplication(bus, child)) {
            const std::string why = lastLine(log);
            std::fprintf(stderr, "tavi: Tavi 没能启动（日志：%s）%s%s\n", log.c_str(), why.empty() ? "" : "：",
                         why.c_str());
            return kExitFailure;
        }
    }

    QDBusMessage call = QDBusMessage::createMethodCall(qt(kApplicationBusName), qt(kApplicationObjectPath),
                                                       qt(kApplicationInterface), QStringLiteral("ActivateAction"));
    call << qt(action.name) << QVariantList() << QVariantMap();
    const QDBusMessage reply = bus.call(call, QDBus::Block, kCallBoundMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        std::fprintf(stderr, "tavi: 无法把操作发给 Tavi：%s\n", reply.errorMessage().toUtf8().constData());
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace tavi::cli
