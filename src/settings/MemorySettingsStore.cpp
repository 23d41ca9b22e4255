#include "settings/MemorySettingsStore.h"

#include <utility>

namespace tavi {

MemorySettingsStore::MemorySettingsStore(std::map<std::string, StoredValue, std::less<>> initial)
    : values_(std::move(initial)) {}

std::optional<StoredValue> MemorySettingsStore::value(std::string_view key) const {
    auto it = values_.find(key);
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

void MemorySettingsStore::setValue(std::string_view key, const StoredValue& value) {
    values_.insert_or_assign(std::string(key), value);
}

void MemorySettingsStore::remove(std::string_view key) {
    auto it = values_.find(key);
    if (it != values_.end()) values_.erase(it);
}

}  // namespace tavi
