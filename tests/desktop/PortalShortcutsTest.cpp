// Global shortcuts on a Wayland desktop: through its shortcuts portal (a fake
// one on the test desktop's bus), the rest of Tavi through XWayland (Xvfb).
#include <filesystem>

#include "DesktopFixture.h"
#include "FakePortalProcess.h"
#include "platform/portal/PortalTrigger.h"
#include "settings/HotkeyShortcut.h"

namespace tavi::test {
namespace {

TEST(PortalTrigger, StoredCombinationsInTheShortcutsFormat) {
    using namespace HotkeyModifier;
    const std::map<std::uint32_t, std::string> french{{0, "q"}, {19, "é"}};
    const auto printed = [&](std::uint32_t keyCode) -> std::optional<std::string> {
        auto found = french.find(keyCode);
        if (found == french.end()) return std::nullopt;
        return found->second;
    };
    struct Case {
        std::uint32_t keyCode, modifiers;
        std::optional<std::string> trigger;
    };
    const Case cases[] = {
        {0, option, "ALT+q"},  // what the layout prints on the key
        {17, option, "ALT+t"},  // the US layout's where it prints nothing known
        {19, control, "CTRL+eacute"},
        {122, command | shift | option | control, "CTRL+ALT+SHIFT+LOGO+F1"},
        {49, shift | control, "CTRL+SHIFT+space"},
        {36, command, "LOGO+Return"},
        {43, option, "ALT+comma"},
        {0, 0, std::nullopt},  // no hotkey
        {999, option, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(portal::portalTrigger(c.keyCode, c.modifiers, printed), c.trigger) << c.keyCode << " " << c.modifiers;
}

class PortalShortcutsTest : public TrayDesktopTest {
protected:
    std::unique_ptr<TrayProcess> startOnWayland(std::vector<std::pair<std::string, std::string>> settings = {}) {
        settings.insert(settings.begin(), {"openAIAPIKey", "sk-desktop"});
        EnvVars env = service.environment();
        env.emplace_back("XDG_SESSION_TYPE", "wayland");
        auto tray = std::make_unique<TrayProcess>(env, settings);
        EXPECT_TRUE(x.waitUntil([&] { return tray->started(); })) << tray->log();
        return tray;
    }

    static std::string hotkey(std::uint32_t keyCode, std::uint32_t modifiers) {
        return R"({"keyCode":)" + std::to_string(keyCode) + R"(,"modifiers":)" + std::to_string(modifiers) + "}";
    }
    static Json shortcut(const char* id, const char* description, const char* trigger = nullptr) {
        Json properties{{"description", description}};
        if (trigger) properties["preferred_trigger"] = trigger;
        return Json::array({id, properties});
    }
    std::string label(const TrayProcess& tray, std::size_t at) const {
        const std::vector<std::string> labels = tray.menuLabels();
        return at < labels.size() ? labels[at] : "";
    }
};

TEST_F(PortalShortcutsTest, TheDesktopBindsTheActionsRunsThemAndHasTheFinalSay) {
    FakePortalProcess portal({.globalShortcutsVersion = 1});
    ASSERT_TRUE(portal.ready());
    using namespace HotkeyModifier;
    auto tray = startOnWayland({{"translateSelectedTextHotkey", hotkey(49, control | shift)},
                                {"screenshotTranslationHotkey", hotkey(1, control)}});
    ASSERT_TRUE(x.waitUntil([&] { return portal.calls("BindShortcuts").size() == 1; })) << tray->log();

    // Known by its id before anything else; then one session, one bind.
    const std::vector<Json> calls = portal.calls();
    EXPECT_EQ(calls.front()["member"], "Register");
    EXPECT_EQ(calls.front()["args"], Json::array({"org.morvel.Tavi", Json::object()}));
    const Json bind = portal.calls("BindShortcuts").front();
    EXPECT_EQ(bind["sender"], calls.front()["sender"]);
    EXPECT_EQ(bind["args"][1], Json::array({shortcut("open-translation-window", "打开翻译窗口", "ALT+t"),
                                            shortcut("translate-selected-text", "翻译选中文字", "CTRL+SHIFT+space"),
                                            shortcut("screenshot-translation", "截图翻译", "CTRL+s"),
                                            shortcut("toggle-clipboard-monitor", "切换剪贴板监听", "ALT+c")}));
    EXPECT_EQ(portal.calls("CreateSession").size(), 1u);
    EXPECT_FALSE(x.isGrabbedElsewhere(XKey::t, kAlt)) << "no XWayland grab besides the portal";

    // The menu shows the keys the desktop reports, and follows its changes.
    EXPECT_TRUE(x.waitUntil([&] { return label(*tray, 0) == "打开翻译窗口\tALT+t"; })) << label(*tray, 0);
    ASSERT_TRUE(portal.control("ChangeShortcuts", {"dict:string:string:translate-selected-text,Ctrl+Q"}));
    EXPECT_TRUE(x.waitUntil([&] { return label(*tray, 2) == "翻译选中文字\tCtrl+Q"; })) << label(*tray, 2);

    // The desktop's press runs the action.
    ASSERT_TRUE(portal.control("Activate", {"string:toggle-clipboard-monitor"}));
    EXPECT_TRUE(x.waitUntil([&] { return tray->tavi({"config", "get", "clipboardMonitorEnabled"}).out == "true\n"; }));
    ASSERT_TRUE(portal.control("Activate", {"string:open-translation-window"}));
    EXPECT_TRUE(x.waitUntil([&] { return x.findWindow("Tavi", "Tavi · 直接翻译").has_value(); })) << tray->log();

    // Changed hotkeys are offered in a new session (the first version binds
    // once per session); one set to nothing is offered without keys.
    std::string file = readFile(tray->sandbox().configFile());
    for (const auto& [from, to] : {std::pair{hotkey(49, control | shift), hotkey(0, control)},
                                   std::pair{hotkey(1, control), hotkey(1, 0)}}) {
        const auto quoted = [](std::string json) {
            for (std::size_t at = 0; (at = json.find('"', at)) != std::string::npos; at += 2) json.insert(at, "\\");
            return json;
        };
        const std::size_t at = file.find(quoted(from));
        ASSERT_NE(at, std::string::npos) << file;
        file.replace(at, quoted(from).size(), quoted(to));
    }
    // Replaced whole, as tavi config does: Tavi watches the folder.
    const std::filesystem::path replacement = tray->sandbox().configFile().string() + ".new";
    writeFile(replacement, file);
    std::filesystem::rename(replacement, tray->sandbox().configFile());
    ASSERT_TRUE(x.waitUntil([&] { return portal.calls("BindShortcuts").size() == 2; })) << tray->log();
    EXPECT_EQ(portal.calls("BindShortcuts").back()["args"][1][1], shortcut("translate-selected-text", "翻译选中文字", "CTRL+a"));
    EXPECT_EQ(portal.calls("BindShortcuts").back()["args"][1][2], shortcut("screenshot-translation", "截图翻译"));
    EXPECT_EQ(portal.calls("Close").size(), 1u);
    EXPECT_EQ(portal.calls("CreateSession").size(), 2u);
    EXPECT_TRUE(x.waitUntil([&] { return label(*tray, 3) == "截图翻译\t未设置"; })) << label(*tray, 3);
    EXPECT_EQ(label(*tray, 2), "翻译选中文字\tCTRL+a");
    EXPECT_EQ(tray->log(), "");
}

TEST_F(PortalShortcutsTest, WithTheSecondVersionAChangeOpensTheDesktopsOwnDialog) {
    // A desktop that answers the bind without the shortcuts: Tavi asks for them.
    FakePortalProcess portal({.globalShortcutsVersion = 2, .bindReportsShortcuts = false});
    ASSERT_TRUE(portal.ready());
    auto tray = startOnWayland();
    ASSERT_TRUE(x.waitUntil([&] { return portal.calls("ListShortcuts").size() == 1; })) << tray->log();
    EXPECT_TRUE(x.waitUntil([&] { return label(*tray, 2) == "翻译选中文字\tALT+a"; })) << label(*tray, 2);

    ASSERT_EQ(tray->tavi({"config", "set", "translateSelectedTextHotkey", hotkey(0, HotkeyModifier::control)}).exitCode, 0);
    ASSERT_TRUE(x.waitUntil([&] { return portal.calls("ConfigureShortcuts").size() == 1; })) << tray->log();
    EXPECT_EQ(portal.calls("BindShortcuts").size(), 1u);
    EXPECT_EQ(portal.calls("CreateSession").size(), 1u);
    // Until the desktop reports otherwise, its keys stand.
    EXPECT_EQ(label(*tray, 2), "翻译选中文字\tALT+a");
}

TEST_F(PortalShortcutsTest, WithoutThePortalAWaylandSessionSaysSoOnceAndGrabsThroughXWayland) {
    auto tray = startOnWayland();
    EXPECT_TRUE(x.waitUntil([&] { return x.isGrabbedElsewhere(XKey::a, kAlt); })) << tray->log();
    const std::string log = tray->log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    EXPECT_NE(log.find("no global shortcuts portal"), std::string::npos) << log;
    EXPECT_NE(log.find("`tavi selection`"), std::string::npos) << log;
    EXPECT_EQ(label(*tray, 2), "翻译选中文字\t⌥A");
    x.chord({XKey::altLeft, XKey::t});
    EXPECT_TRUE(x.waitUntil([&] { return x.findWindow("Tavi", "Tavi · 直接翻译").has_value(); })) << tray->log();
}

}  // namespace
}  // namespace tavi::test
