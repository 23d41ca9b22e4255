#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "settings/SettingsStore.h"

namespace tavi {

// The ways AppSettings reads a stored value (see AppSettings.h for the rules
// each follows). Empty means "use the default".

// A string; a number becomes its text, as a user-defaults string lookup does.
std::optional<std::string> stringLookup(const std::optional<StoredValue>& stored);

// User-defaults boolean semantics: never empty, a missing value is false.
bool booleanLookup(const std::optional<StoredValue>& stored);

// A boolean, or the texts "true" / "false".
std::optional<bool> booleanCast(const std::optional<StoredValue>& stored);

// An int64, or whole decimal text within the int64 range.
std::optional<std::int64_t> integerCast(const std::optional<StoredValue>& stored);

// Raw bytes only.
std::optional<std::string> dataLookup(const std::optional<StoredValue>& stored);

// An optional "-" followed by one or more ASCII digits, within int64.
std::optional<std::int64_t> parseWholeDecimal(std::string_view text);

}  // namespace tavi
