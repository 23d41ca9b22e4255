#include "settings/SettingsText.h"

#include <algorithm>
#include <type_traits>

#include "core/Utf8.h"
#include "settings/AppSettings.h"
#include "settings/CredentialInput.h"
#include "settings/HotkeyModel.h"
#include "settings/SettingsLookup.h"
#include "settings/SettingsSchema.h"

namespace tavi {
namespace {

constexpr std::string_view kUnsetSecret = "(未设置)";
constexpr std::string_view kMask = "********";
constexpr std::size_t kShownSecretTail = 4;
// Below this many characters even a 4-character tail gives away too much.
constexpr std::size_t kShortestPartlyShownSecret = 12;
// The largest key code the hot-key encoding can carry.
constexpr std::uint32_t kMaxKeyCode = 0xFFFF;
constexpr std::uint32_t kKnownModifiers =
    HotkeyModifier::command | HotkeyModifier::shift | HotkeyModifier::option | HotkeyModifier::control;

constexpr std::string_view kSecretKeys[] = {
    "openAIAPIKey",          "claudeAPIKey",   "deepLAPIKey", "googleAPIKey", "baiduSecretKey",
    "aliyunAccessKeySecret", "volcanoSecretAccessKey",
};

// Where each character starts (an invalid byte is a character of its own).
std::vector<std::size_t> characterStarts(std::string_view text) {
    std::vector<std::size_t> starts;
    for (std::size_t pos = 0; pos < text.size(); pos += decodeUtf8At(text, pos).length) starts.push_back(pos);
    return starts;
}

std::string languageList() {
    std::string list;
    for (Language language : allLanguages()) {
        if (!list.empty()) list += "、";
        list += rawValue(language);
    }
    return list;
}

AssignOutcome malformed(std::string_view key, std::string_view rule) {
    return {AssignOutcome::Kind::malformed, "设置项 " + std::string(key) + " 的值" + std::string(rule)};
}

AssignOutcome assigned() { return {AssignOutcome::Kind::assigned, {}}; }

AssignOutcome assignHotkeyText(AppSettings& settings, std::string_view key, std::string_view text) {
    const std::optional<HotkeyShortcut> shortcut = decodeHotkeyJson(text);
    if (!shortcut || shortcut->keyCode > kMaxKeyCode || (shortcut->modifiers & ~kKnownModifiers) != 0) {
        return malformed(key, R"(必须是 {"keyCode":17,"modifiers":2048} 形式的 JSON：)"
                              "keyCode 为 0 到 65535 的整数，"
                              "modifiers 为 256（⌘）、512（⇧）、2048（⌥）、4096（⌃）中若干项之和");
    }
    HotkeyAction action = HotkeyAction::openTranslationWindow;
    for (HotkeyAction candidate : allHotkeyActions())
        if (settingsKey(candidate) == key) action = candidate;
    if (auto refusal = assignHotkeyIfAccepted(settings, action, *shortcut))
        return {AssignOutcome::Kind::refused, std::move(*refusal)};
    return assigned();
}

}  // namespace

const std::vector<std::string_view>& settingKeys() {
    static const std::vector<std::string_view> keys = [] {
        std::vector<std::string_view> all;
        for (const SettingDescriptor& descriptor : settingDescriptors()) all.push_back(descriptor.key);
        return all;
    }();
    return keys;
}

bool isSettingKey(std::string_view key) { return findSettingDescriptor(key) != nullptr; }

bool isSecretSetting(std::string_view key) {
    return std::find(std::begin(kSecretKeys), std::end(kSecretKeys), key) != std::end(kSecretKeys);
}

std::string settingText(const AppSettings& settings, std::string_view key) {
    const SettingDescriptor* descriptor = findSettingDescriptor(key);
    if (!descriptor) return {};
    return std::visit(
        [&](const auto& property) -> std::string {
            const auto& value = settings.values().*property.field;
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::string>) return value;
            else if constexpr (std::is_same_v<T, Language>) return std::string(rawValue(value));
            else if constexpr (std::is_same_v<T, bool>) return value ? "true" : "false";
            else if constexpr (std::is_same_v<T, std::int64_t>) return std::to_string(value);
            else return encodeHotkeyJson(value);
        },
        descriptor->property);
}

std::string maskedSecret(std::string_view secret) {
    if (secret.empty()) return std::string(kUnsetSecret);
    const std::vector<std::size_t> starts = characterStarts(secret);
    if (starts.size() < kShortestPartlyShownSecret) return std::string(kMask);
    return std::string(kMask) + std::string(secret.substr(starts[starts.size() - kShownSecretTail]));
}

AssignOutcome assignSettingText(AppSettings& settings, std::string_view key, std::string_view text) {
    const SettingDescriptor* descriptor = findSettingDescriptor(key);
    if (!descriptor) return {AssignOutcome::Kind::malformed, "未知的设置项：" + std::string(key)};
    return std::visit(
        [&](const auto& property) -> AssignOutcome {
            using T = std::decay_t<decltype(settings.values().*property.field)>;
            if constexpr (std::is_same_v<T, std::string>) {
                if (isCredentialSetting(key)) {
                    CredentialInput input = cleanCredentialInput(text);
                    if (!input.value) return malformed(key, input.refusal);
                    (settings.*property.setter)(std::move(*input.value));
                    return assigned();
                }
                if (!isValidUtf8(text)) return malformed(key, "必须是有效的 UTF-8 文本");
                (settings.*property.setter)(std::string(text));
            } else if constexpr (std::is_same_v<T, Language>) {
                const std::optional<Language> language = languageFromRawValue(text);
                if (!language) return malformed(key, "必须是以下语言代码之一：" + languageList());
                (settings.*property.setter)(*language);
            } else if constexpr (std::is_same_v<T, bool>) {
                if (text != "true" && text != "false") return malformed(key, "只能是 true 或 false");
                (settings.*property.setter)(text == "true");
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                const std::optional<std::int64_t> number = parseWholeDecimal(text);
                if (!number)
                    return malformed(key, "必须是十进制整数（-9223372036854775808 到 9223372036854775807）");
                (settings.*property.setter)(*number);
            } else {
                return assignHotkeyText(settings, key, text);
            }
            return assigned();
        },
        descriptor->property);
}

}  // namespace tavi
