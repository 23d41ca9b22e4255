#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "settings/SettingsFileFormat.h"
#include "settings/SettingsStore.h"

namespace tavi {

// The user's settings file, $XDG_CONFIG_HOME/tavi/tavi.conf (~/.config when
// XDG_CONFIG_HOME is unset, empty or relative): an INI file in QSettings'
// IniFormat, one key per property in its [General] group, read and written
// with Tavi's own codec (SettingsFileFormat.h) and replaced whole (written to
// a private temporary file, synced, renamed over the old one). Needs no Qt, so
// the command line starts without it.
//
// - The file holds API secrets: its directory is created 0700 and the file
//   0600 before anything is written; an existing file loses any group or
//   other permission bits at the first write.
// - Nothing is touched on disk until the first write, so reading settings
//   never creates a file.
// - Every write and removal is synced at once. Writers of all tavi
//   processes take turns (flock on "<file>.writer"), and each turn reads the
//   file as it is now, applies our changes and replaces it, so keys written
//   meanwhile by another process survive. No cached view of the file is ever
//   trusted: QSettings' size-and-time change detection could take a file
//   replaced between its read and its stat for one it had already read.
// - Text-only storage: booleans, integers and doubles come back as strings
//   ("true", "5") once they went through the file; bytes and lists of two or
//   more strings keep their type (a one-element list comes back as a string,
//   an empty one as missing). Serialised Qt types (@Variant(...) and the
//   like) are never decoded and read as missing.
// - A file that cannot be written (read-only directory, disk full) never
//   throws: the unsaved values stay in memory for this process, are tried
//   again with every later write, and lastWriteSucceeded() tells. Unreadable
//   content (garbage) loads as missing keys and is replaced at the next write;
//   a file that exists but cannot be read at all is never overwritten.
// - One owning thread.
class FileSettingsStore : public SettingsStore {
public:
    explicit FileSettingsStore(std::filesystem::path file);
    ~FileSettingsStore() override;
    FileSettingsStore(const FileSettingsStore&) = delete;
    FileSettingsStore& operator=(const FileSettingsStore&) = delete;

    // Where the user's settings live, from the environment of this process.
    static std::filesystem::path defaultFilePath();

    const std::filesystem::path& filePath() const { return file_; }

    std::optional<StoredValue> value(std::string_view key) const override;
    void setValue(std::string_view key, const StoredValue& value) override;
    void remove(std::string_view key) override;
    void reload() override;

    // Whether the last write or removal reached the file.
    bool lastWriteSucceeded() const { return lastWriteSucceeded_; }
    std::optional<std::string> lastWriteFailure() const override;

private:
    bool prepareFile();
    bool writeMerged();
    void persist();

    std::filesystem::path file_;
    // The file as last read or written by this store.
    SettingsFileEntries entries_;
    // Changes not yet known to be on disk; an empty value is a removal.
    std::map<std::string, std::optional<StoredValue>, std::less<>> unsaved_;
    bool lastWriteSucceeded_ = true;
};

}  // namespace tavi
