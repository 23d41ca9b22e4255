// The stored-value lookups: AppSettings loaded from a store holding values of
// any type under any key. Records are separated by '\n': a byte picking the
// key, a byte picking the stored type, then the payload.
#include <cstring>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "core/NotificationCenter.h"
#include "settings/AppSettings.h"
#include "settings/HotkeyModel.h"
#include "settings/MemorySettingsStore.h"
#include "settings/SettingsLookup.h"
#include "settings/SettingsText.h"

using namespace tavi;

namespace {

StoredValue storedValue(std::uint8_t type, std::string_view payload) {
    switch (type % 6) {
    case 0: return std::string(payload);
    case 1: return StoredBytes{std::string(payload)};
    case 2: return !payload.empty() && (payload[0] & 1);
    case 3: {
        std::int64_t number = 0;
        std::memcpy(&number, payload.data(), std::min(payload.size(), sizeof number));
        return number;
    }
    case 4: {
        double number = 0;
        std::memcpy(&number, payload.data(), std::min(payload.size(), sizeof number));
        return number;
    }
    default: {
        std::vector<std::string> list;
        fuzz::Input items(reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size());
        while (!items.empty()) list.emplace_back(items.until(','));
        return list;
    }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    std::map<std::string, StoredValue, std::less<>> stored;
    while (!input.empty()) {
        const std::string_view record = input.until('\n');
        fuzz::Input fields(reinterpret_cast<const std::uint8_t*>(record.data()), record.size());
        const std::string key(settingKeys()[fields.byte() % settingKeys().size()]);
        const std::uint8_t type = fields.byte();
        stored.insert_or_assign(key, storedValue(type, fields.rest()));
    }

    MemorySettingsStore store(stored);
    NotificationCenter center;
    AppSettings settings(store, center);
    const AppSettingsValues& v = settings.values();
    // Hotkeys come only from bytes that decode, or are the defaults.
    const AppSettingsValues defaults;
    for (HotkeyAction action : allHotkeyActions()) {
        const auto it = stored.find(settingsKey(action));
        const std::optional<std::string> bytes = it == stored.end() ? std::nullopt : dataLookup(it->second);
        const std::optional<HotkeyShortcut> decoded = bytes ? decodeHotkeyJson(*bytes) : std::nullopt;
        fuzz::require(settings.hotkey(action) == decoded.value_or(shortcutFor(defaults, action)),
                      "a hotkey is what its bytes decode to, or its default");
    }
    for (std::string_view key : settingKeys()) (void)settingText(settings, key);
    // Only the removed provider's id is ever written back on load.
    fuzz::require(store.contents().size() == stored.size(), "loading writes no new keys");
    (void)v;

    for (const auto& [key, value] : stored) {
        if (const auto* text = std::get_if<std::string>(&value)) {
            if (const std::optional<std::int64_t> number = parseWholeDecimal(*text))
                fuzz::require(parseWholeDecimal(std::to_string(*number)) == number, "whole decimals round-trip");
        }
        (void)stringLookup(value);
        (void)booleanLookup(value);
        (void)booleanCast(value);
        (void)integerCast(value);
    }
    return 0;
}
