#pragma once

#include <string>
#include <string_view>

#include "core/ProviderEnvironment.h"
#include "settings/SettingsStore.h"

namespace tavi {

// Where the installation's identifier lives in the settings store. It is not
// one of the user's settings: the report makes it, and `tavi config get` /
// `tavi config unset` show and remove it.
inline constexpr std::string_view kStartupReportDeviceIdKey = "startupReportDeviceId";

// The identifier kept in the store; empty when there is none (an empty text
// counts as none).
std::string storedStartupReportDeviceId(const SettingsStore& store);

// The kept identifier; without one, a fresh version-4 UUID (36 characters,
// upper-case) that is stored first, so every later report of this
// installation carries the same one until the key is removed.
std::string startupReportDeviceId(SettingsStore& store, const ProviderEnvironment& environment);

}  // namespace tavi
