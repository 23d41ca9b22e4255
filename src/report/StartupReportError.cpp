#include "report/StartupReportError.h"

namespace tavi {

StartupReportError StartupReportError::signingFailed(std::string detail) {
    return {Kind::signingFailed, std::move(detail), 0};
}
StartupReportError StartupReportError::invalidResponse(long status) { return {Kind::invalidResponse, {}, status}; }
StartupReportError StartupReportError::invalidPrivateKey() { return {Kind::invalidPrivateKey, {}, 0}; }
StartupReportError StartupReportError::invalidPrivateKeyFormat() { return {Kind::invalidPrivateKeyFormat, {}, 0}; }

std::string StartupReportError::errorDescription() const {
    switch (kind_) {
    case Kind::signingFailed: return "启动上报签名失败：" + detail_;
    case Kind::invalidResponse: return "启动上报接口返回异常状态码：" + std::to_string(status_);
    case Kind::invalidPrivateKey: return "启动上报私钥无效";
    case Kind::invalidPrivateKeyFormat: return "启动上报私钥格式无效";
    }
    return {};
}

}  // namespace tavi
