#include "report/StartupReportDeployment.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tavi {
namespace {

// A real key file holds some 1,600 characters; this keeps a wrong path (a
// device, a log file) from being read without end.
constexpr std::size_t kMaxKeyFileBytes = 64 * 1024;

std::optional<std::string_view> environmentValue(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return std::string_view(value);
}

std::variant<std::string, StartupReportError> readKeyFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    if (file) {
        char buffer[4096];
        while (file.read(buffer, sizeof buffer) || file.gcount() > 0) {
            text.append(buffer, static_cast<std::size_t>(file.gcount()));
            if (text.size() > kMaxKeyFileBytes) return StartupReportError::signingFailed("私钥文件过大：" + path);
        }
    }
    if (!file.eof()) return StartupReportError::signingFailed("无法读取私钥文件：" + path);
    return std::string(withoutFinalLineBreak(text));
}

}  // namespace

std::string_view withoutFinalLineBreak(std::string_view text) {
    if (text.ends_with("\r\n")) return text.substr(0, text.size() - 2);
    if (text.ends_with('\n')) return text.substr(0, text.size() - 1);
    return text;
}

std::string StartupReportDeployment::reportUrl() const {
    const std::string_view base = endpoint.ends_with('/') ? std::string_view(endpoint).substr(0, endpoint.size() - 1)
                                                          : std::string_view(endpoint);
    return std::string(base) + "/api/report";
}

std::variant<StartupReportDeployment, StartupReportError> StartupReportDeployment::resolve(
    const StartupReportBuild& build) {
    StartupReportDeployment deployment;
    deployment.endpoint = environmentValue("TAVI_REPORT_URL").value_or(build.endpoint);

    if (const auto keyFile = environmentValue("TAVI_REPORT_KEY_FILE")) {
        if (!keyFile->empty()) {
            auto text = readKeyFile(std::string(*keyFile));
            if (auto* error = std::get_if<StartupReportError>(&text)) return std::move(*error);
            deployment.privateKeyText = std::move(std::get<std::string>(text));
        }
    } else if (build.hasPrivateKey) {
        deployment.privateKeyText = std::string(withoutFinalLineBreak(build.privateKeyText));
    }
    return deployment;
}

std::variant<StartupReportDeployment, StartupReportError> StartupReportDeployment::fromBuildAndEnvironment() {
    return resolve(startupReportBuild());
}

}  // namespace tavi
