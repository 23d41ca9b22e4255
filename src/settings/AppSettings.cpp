#include "settings/AppSettings.h"

#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "settings/HotkeyModel.h"
#include "settings/SettingsLookup.h"
#include "settings/SettingsSchema.h"

namespace tavi {
namespace {

using V = AppSettingsValues;

// A provider with this identifier was removed; its users move to the default.
constexpr std::string_view kRemovedProviderID = "tencent";

template <typename T>
constexpr SettingProperty<T> property(T AppSettingsValues::*field, void (AppSettings::*setter)(T)) {
    return {field, setter};
}

StoredValue storedForm(const std::string& value) { return value; }
StoredValue storedForm(Language value) { return std::string(rawValue(value)); }
StoredValue storedForm(bool value) { return value; }
StoredValue storedForm(std::int64_t value) { return value; }

// Reads one property from the store into `values`, falling back to the
// default already there.
void load(const SettingDescriptor& descriptor, const SettingsStore& store, AppSettingsValues& values) {
    const std::optional<StoredValue> stored = store.value(descriptor.key);
    std::visit(
        [&](const auto& property) {
            auto& target = values.*property.field;
            using T = std::decay_t<decltype(target)>;
            if constexpr (std::is_same_v<T, std::string>) {
                if (auto text = stringLookup(stored)) target = std::move(*text);
            } else if constexpr (std::is_same_v<T, Language>) {
                if (auto text = stringLookup(stored))
                    if (auto language = languageFromRawValue(*text)) target = *language;
            } else if constexpr (std::is_same_v<T, bool>) {
                if (descriptor.rule == SettingReadRule::boolean) target = booleanLookup(stored);
                else if (auto flag = booleanCast(stored)) target = *flag;
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                if (auto number = integerCast(stored)) target = *number;
            } else if constexpr (std::is_same_v<T, HotkeyShortcut>) {
                if (auto data = dataLookup(stored))
                    if (auto shortcut = decodeHotkeyJson(*data)) target = *shortcut;
            }
        },
        descriptor.property);
}

}  // namespace

const std::array<SettingDescriptor, kSettingCount>& settingDescriptors() {
    using A = AppSettings;
    using R = SettingReadRule;
    static const std::array<SettingDescriptor, kSettingCount> descriptors{{
        {"activeProviderID", property(&V::activeProviderID, &A::setActiveProviderID), R::string},
        {"sourceLanguage", property(&V::sourceLanguage, &A::setSourceLanguage), R::language},
        {"targetLanguage", property(&V::targetLanguage, &A::setTargetLanguage), R::language},
        {"openAIAPIKey", property(&V::openAIAPIKey, &A::setOpenAIAPIKey), R::string},
        {"openAIModel", property(&V::openAIModel, &A::setOpenAIModel), R::string},
        {"openAIBaseURL", property(&V::openAIBaseURL, &A::setOpenAIBaseURL), R::string},
        {"claudeAPIKey", property(&V::claudeAPIKey, &A::setClaudeAPIKey), R::string},
        {"claudeModel", property(&V::claudeModel, &A::setClaudeModel), R::string},
        {"deepLAPIKey", property(&V::deepLAPIKey, &A::setDeepLAPIKey), R::string},
        {"deepLIsPro", property(&V::deepLIsPro, &A::setDeepLIsPro), R::boolean},
        {"googleAPIKey", property(&V::googleAPIKey, &A::setGoogleAPIKey), R::string},
        {"baiduAppID", property(&V::baiduAppID, &A::setBaiduAppID), R::string},
        {"baiduSecretKey", property(&V::baiduSecretKey, &A::setBaiduSecretKey), R::string},
        {"aliyunAccessKeyID", property(&V::aliyunAccessKeyID, &A::setAliyunAccessKeyID), R::string},
        {"aliyunAccessKeySecret", property(&V::aliyunAccessKeySecret, &A::setAliyunAccessKeySecret), R::string},
        {"volcanoAccessKeyID", property(&V::volcanoAccessKeyID, &A::setVolcanoAccessKeyID), R::string},
        {"volcanoSecretAccessKey", property(&V::volcanoSecretAccessKey, &A::setVolcanoSecretAccessKey), R::string},
        {"clipboardMonitorEnabled", property(&V::clipboardMonitorEnabled, &A::setClipboardMonitorEnabled), R::boolean},
        {"autoTranslateOnCopy", property(&V::autoTranslateOnCopy, &A::setAutoTranslateOnCopy), R::booleanCast},
        {"showPopupNearCursor", property(&V::showPopupNearCursor, &A::setShowPopupNearCursor), R::booleanCast},
        {"minTextLengthForAutoTranslate",
         property(&V::minTextLengthForAutoTranslate, &A::setMinTextLengthForAutoTranslate), R::integerCast},
        {"openTranslationWindowHotkey",
         property(&V::openTranslationWindowHotkey, &A::setOpenTranslationWindowHotkey), R::hotkeyJson},
        {"translateSelectedTextHotkey",
         property(&V::translateSelectedTextHotkey, &A::setTranslateSelectedTextHotkey), R::hotkeyJson},
        {"screenshotTranslationHotkey",
         property(&V::screenshotTranslationHotkey, &A::setScreenshotTranslationHotkey), R::hotkeyJson},
        {"toggleClipboardMonitorHotkey",
         property(&V::toggleClipboardMonitorHotkey, &A::setToggleClipboardMonitorHotkey), R::hotkeyJson},
    }};
    return descriptors;
}

const SettingDescriptor* findSettingDescriptor(std::string_view key) {
    for (const SettingDescriptor& descriptor : settingDescriptors())
        if (descriptor.key == key) return &descriptor;
    return nullptr;
}

AppSettings::AppSettings(SettingsStore& store, NotificationCenter& center) : store_(store), center_(center) {
    values_ = loadAll();
}

AppSettingsValues AppSettings::loadAll() {
    AppSettingsValues values;
    // Declaration order covers the creation order that matters: the provider
    // first (with its migration), the hotkeys last in action order.
    for (const SettingDescriptor& descriptor : settingDescriptors()) load(descriptor, store_, values);
    if (values.activeProviderID == kRemovedProviderID) {
        values.activeProviderID = AppSettingsValues{}.activeProviderID;
        store_.setValue("activeProviderID", storedForm(values.activeProviderID));
    }
    return values;
}

void AppSettings::reloadFromStore() {
    store_.reload();
    AppSettingsValues fresh = loadAll();
    std::vector<std::string_view> changed;
    bool hotkeyChanged = false;
    for (const SettingDescriptor& descriptor : settingDescriptors()) {
        std::visit(
            [&](const auto& property) {
                if (values_.*property.field == fresh.*property.field) return;
                values_.*property.field = std::move(fresh.*property.field);
                changed.push_back(descriptor.key);
                using T = std::decay_t<decltype(values_.*property.field)>;
                if constexpr (std::is_same_v<T, HotkeyShortcut>) hotkeyChanged = true;
            },
            descriptor.property);
    }
    for (std::string_view key : changed) announceChange(key);
    if (hotkeyChanged) center_.post(hotkeysDidChange);
}

template <typename T>
void AppSettings::assign(T AppSettingsValues::*field, std::string_view key, T value) {
    const bool changed = !(values_.*field == value);
    values_.*field = std::move(value);
    // Written even when unchanged: the store is the record of the last assignment.
    store_.setValue(key, storedForm(values_.*field));
    if (changed) announceChange(key);
}

void AppSettings::assignHotkey(HotkeyShortcut AppSettingsValues::*field, std::string_view key, HotkeyShortcut value) {
    const bool changed = values_.*field != value;
    values_.*field = value;
    store_.setValue(key, StoredBytes{encodeHotkeyJson(value)});
    if (changed) announceChange(key);
    // Once per assignment, changed or not: re-registration is cheap and the
    // listeners rely on hearing every assignment.
    center_.post(hotkeysDidChange);
}

void AppSettings::announceChange(std::string_view key) { observers_.notify(key); }

Subscription AppSettings::observe(ChangeObserver observer) { return observers_.add(std::move(observer)); }

void AppSettings::setActiveProviderID(std::string value) {
    assign(&V::activeProviderID, "activeProviderID", std::move(value));
}
void AppSettings::setSourceLanguage(Language value) {
    assign(&V::sourceLanguage, "sourceLanguage", value);
}
void AppSettings::setTargetLanguage(Language value) {
    assign(&V::targetLanguage, "targetLanguage", value);
}
void AppSettings::setOpenAIAPIKey(std::string value) {
    assign(&V::openAIAPIKey, "openAIAPIKey", std::move(value));
}
void AppSettings::setOpenAIModel(std::string value) {
    assign(&V::openAIModel, "openAIModel", std::move(value));
}
void AppSettings::setOpenAIBaseURL(std::string value) {
    assign(&V::openAIBaseURL, "openAIBaseURL", std::move(value));
}
void AppSettings::setClaudeAPIKey(std::string value) {
    assign(&V::claudeAPIKey, "claudeAPIKey", std::move(value));
}
void AppSettings::setClaudeModel(std::string value) {
    assign(&V::claudeModel, "claudeModel", std::move(value));
}
void AppSettings::setDeepLAPIKey(std::string value) {
    assign(&V::deepLAPIKey, "deepLAPIKey", std::move(value));
}
void AppSettings::setDeepLIsPro(bool value) {
    assign(&V::deepLIsPro, "deepLIsPro", value);
}
void AppSettings::setGoogleAPIKey(std::string value) {
    assign(&V::googleAPIKey, "googleAPIKey", std::move(value));
}
void AppSettings::setBaiduAppID(std::string value) {
    assign(&V::baiduAppID, "baiduAppID", std::move(value));
}
void AppSettings::setBaiduSecretKey(std::string value) {
    assign(&V::baiduSecretKey, "baiduSecretKey", std::move(value));
}
void AppSettings::setAliyunAccessKeyID(std::string value) {
    assign(&V::aliyunAccessKeyID, "aliyunAccessKeyID", std::move(value));
}
void AppSettings::setAliyunAccessKeySecret(std::string value) {
    assign(&V::aliyunAccessKeySecret, "aliyunAccessKeySecret", std::move(value));
}
void AppSettings::setVolcanoAccessKeyID(std::string value) {
    assign(&V::volcanoAccessKeyID, "volcanoAccessKeyID", std::move(value));
}
void AppSettings::setVolcanoSecretAccessKey(std::string value) {
    assign(&V::volcanoSecretAccessKey, "volcanoSecretAccessKey", std::move(value));
}
void AppSettings::setClipboardMonitorEnabled(bool value) {
    assign(&V::clipboardMonitorEnabled, "clipboardMonitorEnabled", value);
}
void AppSettings::setAutoTranslateOnCopy(bool value) {
    assign(&V::autoTranslateOnCopy, "autoTranslateOnCopy", value);
}
void AppSettings::setShowPopupNearCursor(bool value) {
    assign(&V::showPopupNearCursor, "showPopupNearCursor", value);
}
void AppSettings::setMinTextLengthForAutoTranslate(std::int64_t value) {
    assign(&V::minTextLengthForAutoTranslate, "minTextLengthForAutoTranslate", value);
}
void AppSettings::setOpenTranslationWindowHotkey(HotkeyShortcut value) {
    assignHotkey(&V::openTranslationWindowHotkey, "openTranslationWindowHotkey", value);
}
void AppSettings::setTranslateSelectedTextHotkey(HotkeyShortcut value) {
    assignHotkey(&V::translateSelectedTextHotkey, "translateSelectedTextHotkey", value);
}
void AppSettings::setScreenshotTranslationHotkey(HotkeyShortcut value) {
    assignHotkey(&V::screenshotTranslationHotkey, "screenshotTranslationHotkey", value);
}
void AppSettings::setToggleClipboardMonitorHotkey(HotkeyShortcut value) {
    assignHotkey(&V::toggleClipboardMonitorHotkey, "toggleClipboardMonitorHotkey", value);
}

HotkeyShortcut AppSettings::hotkey(HotkeyAction action) const { return shortcutFor(values_, action); }

void AppSettings::setHotkey(HotkeyAction action, HotkeyShortcut value) {
    switch (action) {
    case HotkeyAction::openTranslationWindow: setOpenTranslationWindowHotkey(value); return;
    case HotkeyAction::translateSelectedText: setTranslateSelectedTextHotkey(value); return;
    case HotkeyAction::screenshotTranslation: setScreenshotTranslationHotkey(value); return;
    case HotkeyAction::toggleClipboardMonitor: setToggleClipboardMonitorHotkey(value); return;
    }
}

bool AppSettings::reset(std::string_view key) {
    const SettingDescriptor* descriptor = findSettingDescriptor(key);
    if (!descriptor) return false;
    store_.remove(descriptor->key);
    static const AppSettingsValues defaults;
    const bool isHotkey = std::holds_alternative<SettingProperty<HotkeyShortcut>>(descriptor->property);
    const bool changed = std::visit(
        [&](const auto& property) {
            const bool differs = !(values_.*property.field == defaults.*property.field);
            values_.*property.field = defaults.*property.field;
            return differs;
        },
        descriptor->property);
    if (changed) announceChange(descriptor->key);
    if (isHotkey) center_.post(hotkeysDidChange);
    return true;
}

}  // namespace tavi
