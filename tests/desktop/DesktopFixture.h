#pragma once

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <memory>

#include "CliRunner.h"
#include "FakeChatServices.h"
#include "GeometryPrinters.h"
#include "TestApplication.h"
#include "TrayProcess.h"
#include "X11TestClient.h"

namespace tavi::test {

inline constexpr std::uint16_t kAlt = XCB_MOD_MASK_1;
inline constexpr Size kPopup{400, 300};

// Where the popup's buttons are, from its top-left corner.
inline constexpr Point kCopyButton{341, 23};
inline constexpr Point kPinButton{305, 23};
inline constexpr Point kCloseButton{377, 23};

inline std::string clipboard(const std::string& target) {
    return runProgram("/usr/bin/xclip", {"-selection", "clipboard", "-o", "-t", target}, "", {}, 10).out;
}

// The pid owning Tavi's bus name, or nothing.
inline std::optional<pid_t> runningTavi() {
    const CliResult owner = runProgram("/usr/bin/dbus-send",
                                       {"--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                                        "/org/freedesktop/DBus", "org.freedesktop.DBus.GetConnectionUnixProcessID",
                                        "string:org.morvel.Tavi"},
                                       "", {}, 10);
    const std::size_t at = owner.out.find("uint32 ");
    if (owner.exitCode != 0 || at == std::string::npos) return std::nullopt;
    return static_cast<pid_t>(std::stol(owner.out.substr(at + 7)));
}

// Tavi on the test desktop, with a loopback service and the user's hands.
class TrayDesktopTest : public ::testing::Test {
protected:
    // Starts Tavi with a configured service and waits until its hotkeys are
    // in place. Only then may a probe grab of ⌥A be tried, or it could take
    // the combination from Tavi.
    // `environment` is added to the service's.
    std::unique_ptr<TrayProcess> startTavi(std::vector<std::pair<std::string, std::string>> settings = {},
                                           const EnvVars& environment = {}) {
        settings.insert(settings.begin(), {"openAIAPIKey", "sk-desktop"});
        EnvVars env = service.environment();
        env.insert(env.end(), environment.begin(), environment.end());
        auto tray = std::make_unique<TrayProcess>(env, settings);
        EXPECT_TRUE(x.waitUntil([&] { return tray->started(); })) << tray->log();
        EXPECT_TRUE(x.isGrabbedElsewhere(XKey::a, kAlt)) << tray->log();
        return tray;
    }

    // Key presses that reached `application` other than modifiers (which
    // every application sees pressed before a hotkey's own key).
    static std::vector<std::string> keysTyped(TestApplication& application) {
        std::vector<std::string> typed;
        for (const std::string& press : application.keyPresses()) {
            const int key = std::stoi(press);
            if (key != XKey::altLeft && key != XKey::controlLeft && key != XKey::shiftLeft) typed.push_back(press);
        }
        return typed;
    }

    std::optional<Rect> popupGeometry() {
        const std::optional<xcb_window_t> popup = x.findWindow("Tavi", "Tavi");
        return popup ? x.geometry(*popup) : std::nullopt;
    }
    bool popupShown() { return popupGeometry().has_value(); }

    FakeOpenAIService service;
    X11TestClient x;
};

}  // namespace tavi::test
