#include "core/TranslationError.h"

namespace tavi {

TranslationError TranslationError::apiKeyMissing(std::string providerName) {
    return {Kind::apiKeyMissing, std::move(providerName)};
}
TranslationError TranslationError::networkError(std::string underlyingDescription) {
    return {Kind::networkError, std::move(underlyingDescription)};
}
TranslationError TranslationError::apiError(std::string message) {
    return {Kind::apiError, std::move(message)};
}
TranslationError TranslationError::invalidResponse() { return {Kind::invalidResponse, {}}; }
TranslationError TranslationError::rateLimited() { return {Kind::rateLimited, {}}; }
TranslationError TranslationError::unsupportedLanguage() { return {Kind::unsupportedLanguage, {}}; }

std::string TranslationError::errorDescription() const {
    switch (kind_) {
    case Kind::apiKeyMissing: return payload_ + " API Key 未设置";
    case Kind::networkError: return "网络错误：" + payload_;
    case Kind::apiError: return payload_;
    case Kind::invalidResponse: return "服务器返回了无效的响应";
    case Kind::rateLimited: return "请求过于频繁，请稍后再试";
    case Kind::unsupportedLanguage: return "不支持的语言组合";
    }
    return {};
}

}  // namespace tavi
