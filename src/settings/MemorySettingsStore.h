#pragma once

#include <functional>
#include <map>
#include <string>

#include "settings/SettingsStore.h"

namespace tavi {

// A settings domain that lives only in this process: tests, and the fallback
// when no file can be used.
class MemorySettingsStore : public SettingsStore {
public:
    MemorySettingsStore() = default;
    explicit MemorySettingsStore(std::map<std::string, StoredValue, std::less<>> initial);

    std::optional<StoredValue> value(std::string_view key) const override;
    void setValue(std::string_view key, const StoredValue& value) override;
    void remove(std::string_view key) override;

    const std::map<std::string, StoredValue, std::less<>>& contents() const { return values_; }

private:
    std::map<std::string, StoredValue, std::less<>> values_;
};

}  // namespace tavi
