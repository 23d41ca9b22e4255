#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "settings/SettingsStore.h"

namespace tavi {

// The text of the settings file: the INI dialect of QSettings' IniFormat,
// read and written by Tavi itself so that no entry can cost more to read than
// its own bytes. Files written by QSettings read the same as QSettings reads
// them, and what is written here reads back the same in QSettings.
//
// Keys are the full paths QSettings uses: "openAIModel" for the [General]
// group, "group/key" for any other group; they are kept so that a write
// leaves other groups of the file in place. A key is read under the name it
// keeps when written again: without empty path segments (leading, trailing
// or doubled slashes), and with a group spelt "general" in any case as
// "General".
//
// Values come back as text-only storage gives them: strings (booleans and
// numbers included, as "true", "5"), bytes for @ByteArray(...), and string
// lists for comma-separated values. Serialised Qt types (@Variant(...),
// @DateTime(...), @Rect(...), @Size(...), @Point(...)), @Invalid() and lists
// holding them are unreadable: they are left out, so they read as missing,
// and the next write drops them. Comments are not kept.
using SettingsFileEntries = std::map<std::string, StoredValue, std::less<>>;

SettingsFileEntries parseSettingsFile(std::string_view text);

// Groups in order ([General] first), keys sorted within a group.
std::string formatSettingsFile(const SettingsFileEntries& entries);

}  // namespace tavi
