// The settings file's text: whatever it holds parses, and what we write from
// it parses back to the same values.
#include "FuzzSupport.h"
#include "core/Utf8.h"
#include "settings/SettingsFileFormat.h"

using namespace tavi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const SettingsFileEntries first = parseSettingsFile(text);
    const std::string written = formatSettingsFile(first);
    const SettingsFileEntries second = parseSettingsFile(written);
    fuzz::require(second == first, "what is written reads back unchanged");
    for (const auto& [key, value] : first) fuzz::require(isValidUtf8(key), "keys are UTF-8");
    fuzz::require(formatSettingsFile(second) == written, "a written file writes back the same");
    return 0;
}
