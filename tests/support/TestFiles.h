#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace tavi::test {

// A private folder under the system's temporary directory, removed with all
// it holds when the object goes, but only by the process that made it: a
// forked child that ends without exec must not pull it from its parent.
class TempDir {
public:
    explicit TempDir(std::string_view stem = "tavi-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
    pid_t creator_;
};

// The whole file, byte for byte; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);
// Replaces the file with `content`, making the folders above it first.
void writeFile(const std::filesystem::path& path, std::string_view content);
// The permission bits, or a test failure and 0 when there is no such file.
mode_t modeOf(const std::filesystem::path& path);

}  // namespace tavi::test
