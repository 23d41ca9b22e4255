#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/NotificationCenter.h"
#include "settings/AppSettings.h"
#include "settings/MemorySettingsStore.h"

namespace tavi::test {

// A store in memory that records every write and removal, in order.
class RecordingStore : public MemorySettingsStore {
public:
    using MemorySettingsStore::MemorySettingsStore;
    void setValue(std::string_view key, const StoredValue& value) override {
        writes.emplace_back(key);
        MemorySettingsStore::setValue(key, value);
    }
    void remove(std::string_view key) override {
        removals.emplace_back(key);
        MemorySettingsStore::remove(key);
    }
    std::vector<std::string> writes;
    std::vector<std::string> removals;
};

// AppSettings over a RecordingStore that starts with `initial`, counting the
// hotkey announcements from before the settings are read and listing the keys
// whose value changed.
struct SettingsHarness {
    explicit SettingsHarness(std::map<std::string, StoredValue, std::less<>> initial = {})
        : store(std::move(initial)) {}

    RecordingStore store;
    NotificationCenter center;
    int posts = 0;
    Subscription hotkeyPosts = center.addObserver(AppSettings::hotkeysDidChange, [this] { ++posts; });
    AppSettings settings{store, center};
    std::vector<std::string> changed;
    Subscription changes = settings.observe([this](std::string_view key) { changed.emplace_back(key); });
};

}  // namespace tavi::test
