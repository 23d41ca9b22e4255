#include "app/Autostart.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

#include "core/UserDirectories.h"

#ifndef TAVI_COMMAND_RELATIVE_PATH
#define TAVI_COMMAND_RELATIVE_PATH "../../bin/tavi"
#endif

namespace tavi {
namespace {

constexpr std::string_view kEntryName = "org.morvel.Tavi.desktop";
constexpr mode_t kNewDirectoryMode = 0700;  // as the XDG base directory rules ask
constexpr mode_t kEntryMode = 0644;

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80            ? 1
                                   : (lead >> 5) == 0x06 ? 2
                                   : (lead >> 4) == 0x0E ? 3
                                   : (lead >> 3) == 0x1E ? 4
                                                         : 0;
        if (length == 0 || i + length > text.size()) return false;
        std::uint32_t value = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            value = (value << 6) | (next & 0x3F);
        }
        const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (value < smallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
        i += length;
    }
    return true;
}

// One argument of an Exec line: quoted when it holds a character the line
// reserves, with the characters that stay special inside quotes escaped.
std::string execArgument(std::string_view argument) {
    constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
    const bool quoted = argument.empty() || argument.find_first_of(kReserved) != std::string_view::npos;
    std::string out;
    if (quoted) out += '"';
    for (char c : argument) {
        if (quoted && (c == '"' || c == '`' || c == '$' || c == '\\')) out += '\\';
        out += c;
    }
    if (quoted) out += '"';
    return out;
}

// A desktop entry's string values escape the backslash once more.
std::string entryValue(std::string_view value) {
    std::string out;
    for (char c : value) {
        if (c == '\\') out += '\\';
        out += c;
    }
    return out;
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

std::string failure(const char* what, const std::filesystem::path& path, int error) {
    return std::string(what) + " " + path.string() + "：" + std::strerror(error);
}

// Creates `directory` and any missing parent private to the user; existing
// ones are left as they are.
bool makeDirectories(const std::filesystem::path& directory) {
    std::error_code error;
    if (std::filesystem::is_directory(directory, error)) return true;
    const std::filesystem::path parent = directory.parent_path();
    if (!parent.empty() && parent != directory && !makeDirectories(parent)) return false;
    if (::mkdir(directory.c_str(), kNewDirectoryMode) == 0) return true;
    if (errno != EEXIST) return false;
    // Made meanwhile by someone else, or something that is not a directory.
    if (std::filesystem::is_directory(directory, error)) return true;
    errno = ENOTDIR;
    return false;
}

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

std::optional<std::string> autostartEntryText(const std::filesystem::path& command) {
    const std::string& path = command.native();
    // A "%" would have to be written "%%", but GLib looks the program up
    // before it undoes that and would never find it: refused like the
    // control characters no Exec line can hold.
    for (unsigned char c : path) {
        if (c < 0x20 || c == 0x7F || c == '%') return std::nullopt;
    }
    if (!isValidUtf8(path)) return std::nullopt;
    // No DBusActivatable here: a desktop that honours it would start Tavi
    // through its bus name and ask it to activate, which opens the
    // translation window; at login Tavi must start quietly into the tray.
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tavi\n"
           "Comment=Translate selected, copied and typed text\n"
           "Comment[zh_CN]=划词、复制、截图与输入翻译\n"
           "Exec=" + entryValue(execArgument(path)) + "\n"
           "Icon=org.morvel.Tavi\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::optional<std::filesystem::path> taviCommandFor(const std::filesystem::path& running) {
    const auto isCommand = [](const std::filesystem::path& candidate) {
        std::error_code error;
        return std::filesystem::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0;
    };
    if (running.filename() == "tavi" && isCommand(running)) return running;
    const std::filesystem::path directory = running.parent_path();
    for (const std::filesystem::path& candidate :
         {directory / "tavi", (directory / TAVI_COMMAND_RELATIVE_PATH).lexically_normal()}) {
        if (isCommand(candidate)) return candidate;
    }
    return std::nullopt;
}

Autostart::Autostart(std::filesystem::path configDirectory, std::filesystem::path command)
    : entryFile_(std::move(configDirectory) / "autostart" / kEntryName), command_(std::move(command)) {}

Autostart Autostart::forCurrentUser() {
    std::error_code error;
    const std::filesystem::path running = std::filesystem::read_symlink("/proc/self/exe", error);
    std::optional<std::filesystem::path> command = error ? std::nullopt : taviCommandFor(running);
    return Autostart(userConfigDirectory(), command.value_or(std::filesystem::path()));
}

bool Autostart::isEnabled() const {
    std::ifstream in(entryFile_);
    if (!in) return false;
    bool inMainGroup = false;
    bool sawMainGroup = false;
    for (std::string line; std::getline(in, line);) {
        const std::string text = trimmed(line);
        if (text.empty() || text[0] == '#') continue;
        if (text[0] == '[') {
            inMainGroup = text == "[Desktop Entry]";
            sawMainGroup = sawMainGroup || inMainGroup;
            continue;
        }
        const auto equals = text.find('=');
        if (!inMainGroup || equals == std::string::npos) continue;
        const std::string key = trimmed(std::string_view(text).substr(0, equals));
        const std::string value = trimmed(std::string_view(text).substr(equals + 1));
        if (key == "Hidden" && value == "true") return false;
        if (key == "X-GNOME-Autostart-enabled" && value == "false") return false;
    }
    return sawMainGroup;
}

std::optional<std::string> Autostart::setEnabled(bool enabled) const { return enabled ? writeEntry() : removeEntry(); }

std::optional<std::string> Autostart::writeEntry() const {
    if (command_.empty()) return "找不到 tavi 命令，无法设置登录时启动";
    const std::optional<std::string> text = autostartEntryText(command_);
    if (!text) return "tavi 命令的路径含有自启动项无法表示的字符：" + command_.string();

    const std::filesystem::path directory = entryFile_.parent_path();
    if (!makeDirectories(directory)) return failure("无法创建自启动目录", directory, errno);
    // Written beside the entry and renamed over it, so that the session
    // never reads half an entry.
    std::string temporary = (directory / ("." + std::string(kEntryName) + ".XXXXXX")).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return failure("无法写入自启动项", entryFile_, errno);
    const bool written = writeAll(fd, *text) && ::fchmod(fd, kEntryMode) == 0 && ::fsync(fd) == 0;
    const int writeError = errno;
    if (::close(fd) != 0 || !written || ::rename(temporary.c_str(), entryFile_.c_str()) != 0) {
        const int error = written ? errno : writeError;
        ::unlink(temporary.c_str());
        return failure("无法写入自启动项", entryFile_, error);
    }
    return std::nullopt;
}

std::optional<std::string> Autostart::removeEntry() const {
    if (::unlink(entryFile_.c_str()) != 0 && errno != ENOENT) return failure("无法删除自启动项", entryFile_, errno);
    return std::nullopt;
}

}  // namespace tavi
