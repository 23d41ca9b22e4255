#pragma once

#include <QFileSystemWatcher>
#include <QTimer>

#include <filesystem>
#include <functional>

namespace tavi {

// Notices changes another process (tavi config) makes to the settings file.
// The file is replaced as a whole on every write, so its folder is watched;
// bursts of changes are reported once, shortly after they settle.
class SettingsFileWatcher final : public QObject {
public:
    SettingsFileWatcher(std::filesystem::path file, std::function<void()> changed);

private:
    void check();

    std::filesystem::path file_;
    std::function<void()> changed_;
    QFileSystemWatcher watcher_;
    QTimer settle_;
    std::filesystem::file_time_type lastWrite_{};
    std::uintmax_t lastSize_ = 0;
};

}  // namespace tavi
