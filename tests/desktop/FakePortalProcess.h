#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ChildProcess.h"
#include "TestFiles.h"
#include "core/Json.h"

namespace tavi::test {

// The fake desktop portal (FakePortal.h, run by tavi-desktop-helper) on the
// test desktop's session bus, from construction, when it owns the portal's
// name, to destruction, when the name is free again.
class FakePortalProcess {
public:
    struct Options {
        std::optional<unsigned> globalShortcutsVersion;  // nothing: no GlobalShortcuts
        bool bindReportsShortcuts = true;
        bool screenshot = false;  // with Screenshot, its pictures in picturesFolder()
    };

    explicit FakePortalProcess(const Options& options);
    ~FakePortalProcess();
    FakePortalProcess(const FakePortalProcess&) = delete;
    FakePortalProcess& operator=(const FakePortalProcess&) = delete;

    bool ready() const { return ready_; }
    std::filesystem::path picturesFolder() const { return dir_.path() / "pictures"; }
    // The calls made to it so far, oldest first, each as its journal has it
    // (sender, path, interface, member, args); only those of `member` when given.
    std::vector<Json> calls(std::string_view member = {}) const;
    // A control call playing the desktop (FakeGlobalShortcuts.h), with
    // dbus-send's typed arguments: "string:open-translation-window".
    bool control(const std::string& member, const std::vector<std::string>& arguments) const;

private:
    TempDir dir_{"tavi-portal"};
    std::filesystem::path journal_;
    std::unique_ptr<ChildProcess> process_;
    bool ready_ = false;
};

}  // namespace tavi::test
