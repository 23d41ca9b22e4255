#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/Language.h"
#include "core/NotificationCenter.h"
#include "core/ObserverList.h"
#include "core/Subscription.h"
#include "settings/AppSettingsValues.h"
#include "settings/HotkeyAction.h"
#include "settings/HotkeyShortcut.h"
#include "settings/SettingsStore.h"

namespace tavi {

// Every user preference, loaded once from the settings store when created
// and written back to it on every assignment (also when the value does not
// change). What another process writes later is seen after reloadFromStore().
//
// Reading the store (a value that cannot be read as the property's type is
// silently replaced by the default):
// - string properties: a string as it is, an empty one included; an integer
//   as its decimal text, a double in its shortest form, a boolean as "1" or
//   "0"; bytes or a string list give the default.
// - sourceLanguage / targetLanguage: the string, parsed as a raw value; an
//   unknown one gives auto / chinese.
// - deepLIsPro, clipboardMonitorEnabled (missing reads as false): a boolean
//   as it is; a number is true when non-zero; a string is true when it is
//   "true", "yes" or "1" in any letter case, false otherwise; anything else false.
// - autoTranslateOnCopy, showPopupNearCursor (default true): a boolean, or
//   the exact texts "true" / "false" that text-only backends give back;
//   anything else gives the default.
// - minTextLengthForAutoTranslate (default 2): an int64, or text that is an
//   optional "-" and decimal digits within the int64 range; anything else
//   (booleans, doubles, "+5", " 5", "2.0") gives the default. Any integer is
//   kept, 0 and negatives included.
// - the four hotkeys: bytes holding the JSON form (see decodeHotkeyJson); a
//   plain string, or bytes that do not decode, give the action's default.
// - activeProviderID "tencent" (a removed provider) becomes "openai", and
//   "openai" is written back at once. Creation writes nothing else.
//
// Main thread only: creation, reads, assignments and every notification.
class AppSettings {
public:
    // Posted on the notification centre after every hotkey assignment.
    static constexpr std::string_view hotkeysDidChange = "AppSettings.hotkeysDidChange";

    using ChangeObserver = std::function<void(std::string_view key)>;

    // Loads every property from the store. Both must outlive the settings.
    AppSettings(SettingsStore& store, NotificationCenter& center);
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;

    // The process-wide instance over the user's settings file and the default
    // notification centre, created on first use (defined with the file backend).
    static AppSettings& shared();

    const AppSettingsValues& values() const { return values_; }

    const std::string& activeProviderID() const { return values_.activeProviderID; }
    Language sourceLanguage() const { return values_.sourceLanguage; }
    Language targetLanguage() const { return values_.targetLanguage; }
    const std::string& openAIAPIKey() const { return values_.openAIAPIKey; }
    const std::string& openAIModel() const { return values_.openAIModel; }
    const std::string& openAIBaseURL() const { return values_.openAIBaseURL; }
    const std::string& claudeAPIKey() const { return values_.claudeAPIKey; }
    const std::string& claudeModel() const { return values_.claudeModel; }
    const std::string& deepLAPIKey() const { return values_.deepLAPIKey; }
    bool deepLIsPro() const { return values_.deepLIsPro; }
    const std::string& googleAPIKey() const { return values_.googleAPIKey; }
    const std::string& baiduAppID() const { return values_.baiduAppID; }
    const std::string& baiduSecretKey() const { return values_.baiduSecretKey; }
    const std::string& aliyunAccessKeyID() const { return values_.aliyunAccessKeyID; }
    const std::string& aliyunAccessKeySecret() const { return values_.aliyunAccessKeySecret; }
    const std::string& volcanoAccessKeyID() const { return values_.volcanoAccessKeyID; }
    const std::string& volcanoSecretAccessKey() const { return values_.volcanoSecretAccessKey; }
    bool clipboardMonitorEnabled() const { return values_.clipboardMonitorEnabled; }
    bool autoTranslateOnCopy() const { return values_.autoTranslateOnCopy; }
    bool showPopupNearCursor() const { return values_.showPopupNearCursor; }
    std::int64_t minTextLengthForAutoTranslate() const { return values_.minTextLengthForAutoTranslate; }
    HotkeyShortcut openTranslationWindowHotkey() const { return values_.openTranslationWindowHotkey; }
    HotkeyShortcut translateSelectedTextHotkey() const { return values_.translateSelectedTextHotkey; }
    HotkeyShortcut screenshotTranslationHotkey() const { return values_.screenshotTranslationHotkey; }
    HotkeyShortcut toggleClipboardMonitorHotkey() const { return values_.toggleClipboardMonitorHotkey; }

    void setActiveProviderID(std::string value);
    void setSourceLanguage(Language value);
    void setTargetLanguage(Language value);
    void setOpenAIAPIKey(std::string value);
    void setOpenAIModel(std::string value);
    void setOpenAIBaseURL(std::string value);
    void setClaudeAPIKey(std::string value);
    void setClaudeModel(std::string value);
    void setDeepLAPIKey(std::string value);
    void setDeepLIsPro(bool value);
    void setGoogleAPIKey(std::string value);
    void setBaiduAppID(std::string value);
    void setBaiduSecretKey(std::string value);
    void setAliyunAccessKeyID(std::string value);
    void setAliyunAccessKeySecret(std::string value);
    void setVolcanoAccessKeyID(std::string value);
    void setVolcanoSecretAccessKey(std::string value);
    void setClipboardMonitorEnabled(bool value);
    void setAutoTranslateOnCopy(bool value);
    void setShowPopupNearCursor(bool value);
    void setMinTextLengthForAutoTranslate(std::int64_t value);
    // Each hotkey setter writes the JSON form and posts hotkeysDidChange once.
    void setOpenTranslationWindowHotkey(HotkeyShortcut value);
    void setTranslateSelectedTextHotkey(HotkeyShortcut value);
    void setScreenshotTranslationHotkey(HotkeyShortcut value);
    void setToggleClipboardMonitorHotkey(HotkeyShortcut value);

    HotkeyShortcut hotkey(HotkeyAction action) const;
    void setHotkey(HotkeyAction action, HotkeyShortcut value);

    // Called with the property's key after an assignment or reset that
    // actually changed the value in memory (not on an equal assignment).
    Subscription observe(ChangeObserver observer);

    // Removes the key from the store and puts the default back in memory;
    // observers hear of it when the value changes, and a hotkey reset posts
    // hotkeysDidChange. Returns false (and does nothing) for an unknown key.
    bool reset(std::string_view key);

    // Reads every property from the store again, for a long-running process
    // whose settings another process (tavi config) may change. Observers hear
    // of each value that changed, and hotkeysDidChange is posted once when a
    // hotkey did; nothing is written back.
    void reloadFromStore();

    // Why the last assignment or reset could not be saved; nothing when it was.
    std::optional<std::string> lastWriteFailure() const { return store_.lastWriteFailure(); }

    // The store itself, for the few keys that are not properties (the startup
    // report's device id). The same one-thread rule applies.
    SettingsStore& store() const { return store_; }

private:
    AppSettingsValues loadAll();
    template <typename T>
    void assign(T AppSettingsValues::*field, std::string_view key, T value);
    void assignHotkey(HotkeyShortcut AppSettingsValues::*field, std::string_view key, HotkeyShortcut value);
    void announceChange(std::string_view key);

    SettingsStore& store_;
    NotificationCenter& center_;
    AppSettingsValues values_;
    ObserverList<std::string_view> observers_;
};

}  // namespace tavi
