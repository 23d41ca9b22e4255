#include "settings/CredentialInput.h"

#include <algorithm>
#include <iterator>

#include "core/Text.h"
#include "core/Utf8.h"

namespace tavi {
namespace {

constexpr std::string_view kCredentialKeys[] = {
    "openAIAPIKey",      "openAIModel",        "openAIBaseURL",         "claudeAPIKey",
    "claudeModel",       "deepLAPIKey",        "googleAPIKey",          "baiduAppID",
    "baiduSecretKey",    "aliyunAccessKeyID",  "aliyunAccessKeySecret", "volcanoAccessKeyID",
    "volcanoSecretAccessKey",
};

bool isControlCharacter(char32_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

}  // namespace

bool isCredentialSetting(std::string_view key) {
    return std::find(std::begin(kCredentialKeys), std::end(kCredentialKeys), key) != std::end(kCredentialKeys);
}

CredentialInput cleanCredentialInput(std::string_view text) {
    if (!isValidUtf8(text)) return {std::nullopt, "必须是有效的 UTF-8 文本"};
    std::string trimmed = trimWhitespaceAndNewlines(text);
    for (std::size_t pos = 0; pos < trimmed.size();) {
        const Utf8Scalar scalar = decodeUtf8At(trimmed, pos);
        if (isControlCharacter(scalar.value)) return {std::nullopt, "不能含有换行、回车、制表符等控制字符"};
        pos += scalar.length;
    }
    return {std::move(trimmed), {}};
}

}  // namespace tavi
