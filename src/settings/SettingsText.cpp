#include "settings/SettingsText.h"

#include <algorithm>
#include <type_traits>

#include "settings/AppSettings.h"
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

bool isContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Strict UTF-8: what the settings file stores as text must come back the same.
bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length;
        char32_t c;
        if (lead < 0x80) { ++i; continue; }
        if (lead >= 0xC2 && lead <= 0xDF) { length = 2; c = lead & 0x1F; }
        else if (lead >= 0xE0 && lead <= 0xEF) { length = 3; c = lead & 0x0F; }
        else if (lead >= 0xF0 && lead <= 0xF4) { length = 4; c = lead & 0x07; }
        else return false;
        if (i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k) {
            if (!isContinuationByte(text[i + k])) return false;
            c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        }
        if ((length == 3 && c < 0x800) || (length == 4 && c < 0x10000) || c > 0x10FFFF ||
            (c >= 0xD800 && c <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

// Start of the last `count` characters (a stray byte counts as one).
std::size_t tailStart(std::string_view text, std::size_t count) {
    std::size_t i = text.size();
    while (count > 0 && i > 0) {
        --i;
        std::size_t stepped = 0;
        while (i > 0 && isContinuationByte(text[i]) && stepped < 3) {
            --i;
            ++stepped;
        }
        --count;
    }
    return i;
}

std::size_t characterCount(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuationByte(c); }));
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
    if (characterCount(secret) < kShortestPartlyShownSecret) return std::string(kMask);
    return std::string(kMask) + std::string(secret.substr(tailStart(secret, kShownSecretTail)));
}

AssignOutcome assignSettingText(AppSettings& settings, std::string_view key, std::string_view text) {
    const SettingDescriptor* descriptor = findSettingDescriptor(key);
    if (!descriptor) return {AssignOutcome::Kind::malformed, "未知的设置项：" + std::string(key)};
    return std::visit(
        [&](const auto& property) -> AssignOutcome {
            using T = std::decay_t<decltype(settings.values().*property.field)>;
            if constexpr (std::is_same_v<T, std::string>) {
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
