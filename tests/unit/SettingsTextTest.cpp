#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "SettingsHarness.h"
#include "settings/CredentialInput.h"
#include "settings/SettingsText.h"

namespace tavi {
namespace {

using Kind = AssignOutcome::Kind;

// Writes `text` to `key` as `tavi config set` does.
AssignOutcome assign(test::SettingsHarness& h, std::string_view key, std::string_view text) {
    return assignSettingText(h.settings, key, text);
}

// The keys are the file's (FileSettingsStoreTest) and the command's (ConfigCliTest
// pins the start of `config list`); which are secret decides what the list masks.
TEST(SettingsText, KeysAreExactAndTheServicesSecretsAreMasked) {
    ASSERT_EQ(settingKeys().size(), 25u);
    for (std::string_view key :
         {"", "openaiapikey", "openTranslationWindow", "activeProviderID ", "General/openAIModel"}) {
        EXPECT_FALSE(isSettingKey(key)) << key;
    }
    const std::vector<std::string_view> secrets = {"openAIAPIKey", "claudeAPIKey", "deepLAPIKey", "googleAPIKey",
                                                   "baiduSecretKey", "aliyunAccessKeySecret", "volcanoSecretAccessKey"};
    for (std::string_view key : settingKeys()) {
        EXPECT_TRUE(isSettingKey(key)) << key;
        EXPECT_EQ(isSecretSetting(key), std::find(secrets.begin(), secrets.end(), key) != secrets.end()) << key;
    }
}

// `tavi config set` of a hotkey's key reaches that action's shortcut and no other.
TEST(SettingsText, EachHotkeyKeyAssignsItsOwnAction) {
    const std::pair<const char*, HotkeyAction> keys[] = {
        {"openTranslationWindowHotkey", HotkeyAction::openTranslationWindow},
        {"translateSelectedTextHotkey", HotkeyAction::translateSelectedText},
        {"screenshotTranslationHotkey", HotkeyAction::screenshotTranslation},
        {"toggleClipboardMonitorHotkey", HotkeyAction::toggleClipboardMonitor},
    };
    for (const auto& [key, action] : keys) {
        test::SettingsHarness c;
        ASSERT_EQ(assign(c, key, R"({"keyCode":49,"modifiers":4608})").kind, Kind::assigned) << key;
        for (HotkeyAction other : allHotkeyActions())
            EXPECT_EQ(c.settings.hotkey(other) == HotkeyShortcut({49, 0x1200}), other == action) << key;
    }
}

TEST(SettingsText, MaskedSecretsShowAtMostTheLastFourCharacters) {
    EXPECT_EQ(maskedSecret(""), "(未设置)");
    EXPECT_EQ(maskedSecret("x"), "********");
    EXPECT_EQ(maskedSecret("abcdefghijk"), "********");  // 11: fully masked
    EXPECT_EQ(maskedSecret("abcdefghijkl"), "********ijkl");
    EXPECT_EQ(maskedSecret("sk-proj-0123456789abcdef"), "********cdef");
    // Characters, not bytes: the tail never splits one, and short
    // multi-byte secrets count as short.
    EXPECT_EQ(maskedSecret("密钥密钥密钥密钥密钥密"), "********");
    EXPECT_EQ(maskedSecret("密钥密钥密钥密钥abc钥"), "********abc钥");
    EXPECT_EQ(maskedSecret("0123456789密钥密钥"), "********密钥密钥");
}

TEST(SettingsText, MalformedTextNamesTheKeyAndTheAcceptedForms) {
    struct Case {
        const char* key;
        std::string text;
        const char* message;
    };
    const char* kBoolean = "设置项 deepLIsPro 的值只能是 true 或 false";
    const char* kInteger =
        "设置项 minTextLengthForAutoTranslate 的值必须是十进制整数（-9223372036854775808 到 9223372036854775807）";
    const char* kLanguage =
        "设置项 targetLanguage 的值必须是以下语言代码之一：auto、zh、zh-TW、en、ja、ko、fr、de、es、pt、it、ru、ar、th、vi";
    const char* kHotkey =
        "设置项 openTranslationWindowHotkey 的值必须是 {\"keyCode\":17,\"modifiers\":2048} 形式的 JSON："
        "keyCode 为 0 到 65535 的整数，modifiers 为 256（⌘）、512（⇧）、2048（⌥）、4096（⌃）中若干项之和";
    const Case cases[] = {
        {"deepLIsPro", "TRUE", kBoolean},
        {"deepLIsPro", "1", kBoolean},
        {"deepLIsPro", "yes", kBoolean},
        {"deepLIsPro", "", kBoolean},
        {"deepLIsPro", "true ", kBoolean},
        {"minTextLengthForAutoTranslate", "9223372036854775808", kInteger},
        {"minTextLengthForAutoTranslate", "2.0", kInteger},
        {"minTextLengthForAutoTranslate", "+3", kInteger},
        {"minTextLengthForAutoTranslate", "", kInteger},
        {"minTextLengthForAutoTranslate", "٣", kInteger},
        {"targetLanguage", "ZH", kLanguage},
        {"targetLanguage", "zh-Hant", kLanguage},
        {"targetLanguage", "", kLanguage},
        {"openTranslationWindowHotkey", R"({"keyCode":65536,"modifiers":2048})", kHotkey},
        {"openTranslationWindowHotkey", R"({"keyCode":17,"modifiers":2049})", kHotkey},
        {"openTranslationWindowHotkey", R"({"keyCode":17,"modifiers":1024})", kHotkey},
        {"openTranslationWindowHotkey", R"({"keyCode":17})", kHotkey},
        {"openTranslationWindowHotkey", R"({"keyCode":-1,"modifiers":2048})", kHotkey},
        {"openTranslationWindowHotkey", "⌥T", kHotkey},
        {"openTranslationWindowHotkey", "", kHotkey},
        {"openAIAPIKey", std::string("sk-\xff\xfe"), "设置项 openAIAPIKey 的值必须是有效的 UTF-8 文本"},
        {"openAIModel", std::string("\xed\xa0\x80"), "设置项 openAIModel 的值必须是有效的 UTF-8 文本"},
        {"noSuchKey", "x", "未知的设置项：noSuchKey"},
    };
    for (const Case& tc : cases) {
        test::SettingsHarness c;
        const AppSettingsValues before = c.settings.values();
        const AssignOutcome outcome = assign(c, tc.key, tc.text);
        EXPECT_EQ(outcome.kind, Kind::malformed) << tc.key << " " << tc.text;
        EXPECT_EQ(outcome.message, tc.message) << tc.key << " " << tc.text;
        EXPECT_EQ(c.settings.values(), before);
        EXPECT_TRUE(c.store.contents().empty());
        EXPECT_EQ(c.posts, 0);
    }
}

// A pasted credential just works; one that would split a request header is
// refused. Other string settings are stored as given.
TEST(SettingsText, CredentialsAreTrimmedAndRefusedWithControlCharactersInside) {
    const std::pair<const char*, std::string> stored[][2] = {
        {{"openAIAPIKey", "  sk-test\r\n"}, {"openAIAPIKey", "sk-test"}},
        {{"baiduAppID", "\u3000 2015063000000001\t\n"}, {"baiduAppID", "2015063000000001"}},
        {{"openAIBaseURL", " http://127.0.0.1:8080/v1 \n"}, {"openAIBaseURL", "http://127.0.0.1:8080/v1"}},
        {{"claudeModel", " \n "}, {"claudeModel", ""}},
        {{"deepLAPIKey", "key with inner blanks:fx"}, {"deepLAPIKey", "key with inner blanks:fx"}},
        {{"activeProviderID", " openai\n"}, {"activeProviderID", " openai\n"}},
    };
    for (const auto& [input, expected] : stored) {
        test::SettingsHarness c;
        ASSERT_EQ(assign(c, input.first, input.second).kind, Kind::assigned) << input.first;
        EXPECT_EQ(settingText(c.settings, expected.first), expected.second) << input.first;
        EXPECT_EQ(c.store.value(expected.first), StoredValue(expected.second)) << input.first;
    }
    const std::pair<const char*, std::string> refused[] = {
        {"claudeAPIKey", "sk-ant-test\r\nX-Injected: yes"}, {"volcanoSecretAccessKey", "a\tb"},
        {"googleAPIKey", std::string("AIza\0tail", 9)},     {"aliyunAccessKeySecret", "a\x7f" "b"},
        {"aliyunAccessKeyID", "LTAI\u0085x"},               {"openAIBaseURL", "https://a.b/\nv1"},
    };
    for (const auto& [key, text] : refused) {
        test::SettingsHarness c;
        const AssignOutcome outcome = assign(c, key, text);
        EXPECT_EQ(outcome.kind, Kind::malformed) << key;
        EXPECT_EQ(outcome.message, "设置项 " + std::string(key) + " 的值不能含有换行、回车、制表符等控制字符");
        EXPECT_TRUE(c.store.contents().empty()) << key;
    }
    EXPECT_TRUE(isCredentialSetting("volcanoAccessKeyID"));
    EXPECT_FALSE(isCredentialSetting("activeProviderID"));
}

}  // namespace
}  // namespace tavi
