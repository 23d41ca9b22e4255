#include "app/SettingsFileWatcher.h"

#include <sys/stat.h>

namespace tavi {
namespace {

constexpr int kSettleMs = 50;

}  // namespace

SettingsFileWatcher::SettingsFileWatcher(std::filesystem::path file, std::function<void()> changed)
    : file_(std::move(file)), changed_(std::move(changed)) {
    std::error_code error;
    // The folder must exist to be watched; it is private like the file.
    if (std::filesystem::create_directories(file_.parent_path(), error)) ::chmod(file_.parent_path().c_str(), 0700);
    watcher_.addPath(QString::fromStdString(file_.parent_path().string()));
    lastWrite_ = std::filesystem::last_write_time(file_, error);
    lastSize_ = std::filesystem::file_size(file_, error);

    settle_.setSingleShot(true);
    settle_.setInterval(kSettleMs);
    connect(&settle_, &QTimer::timeout, this, [this] { check(); });
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] { settle_.start(); });
}

void SettingsFileWatcher::check() {
    std::error_code error;
    const auto write = std::filesystem::last_write_time(file_, error);
    const auto size = error ? 0 : std::filesystem::file_size(file_, error);
    if (write == lastWrite_ && size == lastSize_) return;  // the lock file, a temporary file, ...
    lastWrite_ = write;
    lastSize_ = size;
    changed_();
}

}  // namespace tavi
