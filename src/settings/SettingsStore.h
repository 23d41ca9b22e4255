#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tavi {

// Raw bytes, kept apart from text so that a data lookup can tell them from a
// string that happens to hold the same characters.
struct StoredBytes {
    std::string bytes;

    friend bool operator==(const StoredBytes&, const StoredBytes&) = default;
};

// What a settings backend can hold under one key. Text-only backends give
// most values back as std::string; the lookups in AppSettings account for it.
using StoredValue = std::variant<std::string, bool, std::int64_t, double, StoredBytes, std::vector<std::string>>;

// The persisted key-value domain behind AppSettings.
class SettingsStore {
public:
    virtual ~SettingsStore() = default;

    // Empty when the key is missing.
    virtual std::optional<StoredValue> value(std::string_view key) const = 0;
    // Persists at once. A backend that cannot persist keeps the value for
    // this process and reports nothing: a setting never fails to assign.
    virtual void setValue(std::string_view key, const StoredValue& value) = 0;
    virtual void remove(std::string_view key) = 0;

    // Forgets what was read, so that the next reads see the values as other
    // processes have left them. Changes not yet saved are kept.
    virtual void reload() {}

    // Why the last write or removal did not reach durable storage, in words
    // for the user; nothing when it did (or the backend keeps no files).
    virtual std::optional<std::string> lastWriteFailure() const { return std::nullopt; }
};

}  // namespace tavi
