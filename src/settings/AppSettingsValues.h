#pragma once

#include <cstdint>
#include <string>

#include "core/Language.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

// A plain copy of every setting. AppSettings owns the live one; providers get
// a snapshot taken on the owning thread when a request starts.
struct AppSettingsValues {
    std::string activeProviderID = "openai";
    Language sourceLanguage = Language::auto_;
    Language targetLanguage = Language::chinese;
    std::string openAIAPIKey;
    std::string openAIModel = "gpt-4o-mini";
    std::string openAIBaseURL = "https://api.openai.com";
    std::string claudeAPIKey;
    std::string claudeModel = "claude-haiku-4-5-20251001";
    std::string deepLAPIKey;
    bool deepLIsPro = false;
    std::string googleAPIKey;
    std::string baiduAppID;
    std::string baiduSecretKey;
    std::string aliyunAccessKeyID;
    std::string aliyunAccessKeySecret;
    std::string volcanoAccessKeyID;
    std::string volcanoSecretAccessKey;
    bool clipboardMonitorEnabled = false;
    bool autoTranslateOnCopy = true;
    bool showPopupNearCursor = true;
    std::int64_t minTextLengthForAutoTranslate = 2;
    HotkeyShortcut openTranslationWindowHotkey{17, HotkeyModifier::option};
    HotkeyShortcut translateSelectedTextHotkey{0, HotkeyModifier::option};
    HotkeyShortcut screenshotTranslationHotkey{1, HotkeyModifier::option};
    HotkeyShortcut toggleClipboardMonitorHotkey{8, HotkeyModifier::option};

    friend bool operator==(const AppSettingsValues&, const AppSettingsValues&) = default;
};

}  // namespace tavi
