#include "core/Error.h"

namespace tavi {
namespace {

std::string withHost(std::string text, const std::string& host) {
    if (!host.empty()) text += "（" + host + "）";
    return text;
}

}  // namespace

std::string TransportError::description() const {
    switch (kind) {
    case Kind::timedOut: return withHost("请求超时，服务器没有及时响应", host);
    case Kind::hostNotFound: return withHost("找不到服务器，请检查网络或服务地址", host);
    case Kind::connectionRefused: return withHost("无法连接到服务器，连接被拒绝", host);
    case Kind::connectionLost: return withHost("网络连接已中断，未收到完整的响应", host);
    case Kind::tlsFailure: return withHost("无法建立安全连接（TLS 证书或握手失败）", host);
    case Kind::responseTooLarge: return withHost("服务器返回的内容过大，已停止接收", host);
    case Kind::invalidUrl: return "服务地址无效：" + detail;
    case Kind::unsafeHeader:
        return "请求头 " + detail + " 含有换行、回车或空字符等不允许的字符，请求未发送；请检查该服务的密钥等设置";
    case Kind::other: return withHost("网络请求失败", host);
    }
    return "网络请求失败";
}

std::string JsonError::description() const {
    switch (kind) {
    case Kind::malformed: return "服务器返回的内容不是有效的 JSON";
    case Kind::tooDeep: return "服务器返回的 JSON 嵌套层数过多";
    }
    return "服务器返回的内容不是有效的 JSON";
}

std::string describe(const Error& error) {
    return std::visit(
        [](const auto& e) -> std::string {
            if constexpr (std::is_same_v<std::decay_t<decltype(e)>, TranslationError>) {
                return e.errorDescription();
            } else {
                return e.description();
            }
        },
        error);
}

}  // namespace tavi
