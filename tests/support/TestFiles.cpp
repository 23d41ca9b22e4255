#include "TestFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tavi::test {

TempDir::TempDir(std::string_view stem) : creator_(::getpid()) {
    std::string pattern = (std::filesystem::temp_directory_path() / (std::string(stem) + "-XXXXXX")).string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed for " + pattern);
    path_ = pattern;
}

TempDir::~TempDir() {
    if (::getpid() != creator_) return;
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

}  // namespace tavi::test
