#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavi {

// Starting Tavi when the user logs in ("登录时启动"): an XDG autostart entry,
// <config directory>/autostart/org.morvel.Tavi.desktop, that runs the tavi
// command of this installation with no arguments.
class Autostart {
public:
    // The entry under `configDirectory` (the user's $XDG_CONFIG_HOME) that
    // starts `command`; an empty command cannot be enabled.
    Autostart(std::filesystem::path configDirectory, std::filesystem::path command);

    // This user's entry, starting the tavi command of the running installation.
    static Autostart forCurrentUser();

    // The entry exists and the desktop has not switched it off (Hidden=true,
    // or X-GNOME-Autostart-enabled=false from a desktop's startup settings).
    bool isEnabled() const;

    // Writes the entry, replacing any, or removes it. Returns the reason on
    // failure; removing an entry that is not there is no failure.
    std::optional<std::string> setEnabled(bool enabled) const;

    const std::filesystem::path& entryFile() const { return entryFile_; }

private:
    std::optional<std::string> writeEntry() const;
    std::optional<std::string> removeEntry() const;

    std::filesystem::path entryFile_;
    std::filesystem::path command_;
};

// The entry's text for `command`, or nothing when a desktop entry cannot
// name that path (control characters, bytes that are not UTF-8).
std::optional<std::string> autostartEntryText(const std::filesystem::path& command);

// The tavi command that belongs with the executable `running`: itself when
// it is tavi, else the tavi beside it (a build tree) or at its installed
// place relative to the tray application. Nothing when there is none.
std::optional<std::filesystem::path> taviCommandFor(const std::filesystem::path& running);

}  // namespace tavi
