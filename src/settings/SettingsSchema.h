#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/Language.h"
#include "settings/AppSettings.h"
#include "settings/AppSettingsValues.h"
#include "settings/HotkeyShortcut.h"

namespace tavi {

// One stored property of AppSettings: where it lives in the values and which
// setter assigns it (so generic code persists and announces like any caller).
template <typename T>
struct SettingProperty {
    T AppSettingsValues::*field;
    void (AppSettings::*setter)(T);
};

using AnySettingProperty = std::variant<SettingProperty<std::string>, SettingProperty<Language>, SettingProperty<bool>,
                                        SettingProperty<std::int64_t>, SettingProperty<HotkeyShortcut>>;

// How a missing or unusable stored value is replaced.
enum class SettingReadRule {
    string,         // string lookup, the default when missing
    language,       // string lookup, then a raw value; an unknown one gives the default
    boolean,        // user-defaults boolean semantics, missing is false
    booleanCast,    // object lookup then cast, the default when not a boolean
    integerCast,    // object lookup then cast, the default when not an integer
    hotkeyJson,     // data lookup then JSON decode, the default on any failure
};

struct SettingDescriptor {
    std::string_view key;
    AnySettingProperty property;
    SettingReadRule rule;
};

inline constexpr std::size_t kSettingCount = 25;

// Every stored property in declaration order.
const std::array<SettingDescriptor, kSettingCount>& settingDescriptors();

const SettingDescriptor* findSettingDescriptor(std::string_view key);

}  // namespace tavi
