#include "settings/FileSettingsStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>


#include "core/NotificationCenter.h"
#include "core/UserDirectories.h"
#include "settings/AppSettings.h"

namespace tavi {
namespace {

constexpr mode_t kPrivateDirectoryMode = 0700;
constexpr mode_t kPrivateFileMode = 0600;

// Creates every missing directory of `directory` private to the user.
bool makePrivateDirectories(const std::filesystem::path& directory) {
    std::error_code error;
    if (std::filesystem::is_directory(directory, error)) return true;
    if (directory.has_parent_path() && directory.parent_path() != directory &&
        !makePrivateDirectories(directory.parent_path()))
        return false;
    return ::mkdir(directory.c_str(), kPrivateDirectoryMode) == 0 || errno == EEXIST;
}

// The file as it is now. A missing file (or directory) is empty; one that
// exists but cannot be read gives nothing, so that it is never overwritten.
std::optional<std::string> readWholeFile(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return std::string();
        return std::nullopt;
    }
    std::string text;
    struct stat status {};
    if (::fstat(fd, &status) == 0 && status.st_size > 0) text.reserve(static_cast<std::size_t>(status.st_size));
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            text.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            ::close(fd);
            return std::nullopt;
        }
    }
    ::close(fd);
    return text;
}

// Replaces the file whole: a write cut short by a crash or a full disk
// leaves the old file in place. The new file starts private and is on disk
// before it takes the old one's name.
bool replaceFile(const std::filesystem::path& file, const std::string& text) {
    std::string temporary = file.string() + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return false;
    bool written = ::fchmod(fd, kPrivateFileMode) == 0;
    for (std::size_t done = 0; written && done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        written = n > 0;
        if (written) done += static_cast<std::size_t>(n);
    }
    written = written && ::fsync(fd) == 0;
    written = ::close(fd) == 0 && written;
    if (!written || ::rename(temporary.c_str(), file.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    // The rename itself is on disk once the folder is.
    if (const int folder = ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); folder >= 0) {
        ::fsync(folder);
        ::close(folder);
    }
    return true;
}

}  // namespace

// Read without the writers' lock: the file is only ever replaced whole, so a
// read sees one version of it or another, never a mixture.
FileSettingsStore::FileSettingsStore(std::filesystem::path file) : file_(std::move(file)) {
    if (std::optional<std::string> text = readWholeFile(file_)) entries_ = parseSettingsFile(*text);
}

FileSettingsStore::~FileSettingsStore() = default;

std::filesystem::path FileSettingsStore::defaultFilePath() {
    return userConfigDirectory() / "tavi" / "tavi.conf";
}

std::optional<StoredValue> FileSettingsStore::value(std::string_view key) const {
    if (auto it = unsaved_.find(key); it != unsaved_.end()) return it->second;
    if (auto it = entries_.find(key); it != entries_.end()) return it->second;
    return std::nullopt;
}

void FileSettingsStore::setValue(std::string_view key, const StoredValue& value) {
    unsaved_.insert_or_assign(std::string(key), value);
    persist();
}

void FileSettingsStore::remove(std::string_view key) {
    unsaved_.insert_or_assign(std::string(key), std::nullopt);
    persist();
}

void FileSettingsStore::reload() {
    // Unsaved changes stay on top of what is read (value() looks at them first).
    entries_.clear();
    if (std::optional<std::string> text = readWholeFile(file_)) entries_ = parseSettingsFile(*text);
}

// Makes sure the file exists with private permissions before secrets are
// written into it: the replacement takes over the existing file's permissions.
bool FileSettingsStore::prepareFile() {
    if (!makePrivateDirectories(file_.parent_path())) return false;
    const int fd = ::open(file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kPrivateFileMode);
    if (fd < 0) return false;
    struct stat status {};
    bool ok = ::fstat(fd, &status) == 0;
    if (ok && (status.st_mode & 077) != 0) ok = ::fchmod(fd, status.st_mode & 0700) == 0;
    ::close(fd);
    return ok;
}

// One writer's turn: the file as it is now, with every unsaved change on top.
bool FileSettingsStore::writeMerged() {
    const std::optional<std::string> current = readWholeFile(file_);
    if (!current) return false;
    SettingsFileEntries merged = parseSettingsFile(*current);
    for (const auto& [key, value] : unsaved_) {
        if (value) merged.insert_or_assign(key, *value);
        else if (auto it = merged.find(key); it != merged.end()) merged.erase(it);
    }
    const std::string text = formatSettingsFile(merged);
    if (!replaceFile(file_, text)) return false;
    entries_ = parseSettingsFile(text);  // as any later reader will see it
    return true;
}

void FileSettingsStore::persist() {
    bool saved = false;
    if (prepareFile()) {
        // Writers take turns for the whole read-merge-write round, so that
        // none of them replaces the file with a version that misses what
        // another one wrote a moment before.
        const int turn = ::open((file_.string() + ".writer").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kPrivateFileMode);
        if (turn >= 0) {
            while (::flock(turn, LOCK_EX) != 0 && errno == EINTR) {
            }
        }
        saved = writeMerged();
        if (turn >= 0) ::close(turn);
    }
    if (saved) unsaved_.clear();
    lastWriteSucceeded_ = saved;
}

std::optional<std::string> FileSettingsStore::lastWriteFailure() const {
    if (lastWriteSucceeded_) return std::nullopt;
    return "无法写入设置文件：" + file_.string();
}

AppSettings& AppSettings::shared() {
    // Never destroyed: other singletons may still read settings during exit.
    static AppSettings* const instance = [] {
        static FileSettingsStore* const store = new FileSettingsStore(FileSettingsStore::defaultFilePath());
        return new AppSettings(*store, NotificationCenter::defaultCenter());
    }();
    return *instance;
}

}  // namespace tavi
