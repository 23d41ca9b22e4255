#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeChatServices.h"
#include "FakeTransport.h"
#include "ManualEventLoop.h"
#include "app/AppDelegate.h"
#include "platform/dummy/DummyPlatform.h"
#include "settings/HotkeyModel.h"
#include "settings/MemorySettingsStore.h"

namespace tavi {
namespace {

using namespace std::chrono_literals;
using test::FakeOpenAIService;

constexpr std::uint32_t kOption = 0x0800;

class InlineRunner final : public BackgroundRunner {
public:
    void run(Task task) override { task(); }
};

struct RecordingUi final : ShellUi {
    bool installStatusItem(std::function<std::vector<MenuEntry>()> build,
                           std::function<void(MenuCommand)> choose) override {
        if (onInstall) onInstall();
        entries = std::move(build);
        chosen = std::move(choose);
        return true;
    }
    void showPopup(const TranslationResult& result, Point pointer) override { popups.push_back({result, pointer}); }
    void showDirectTranslationWindow() override { ++directWindowShown; }
    void showSettingsWindow() override { ++settingsShown; }
    void startScreenshot() override { ++screenshots; }
    void quit() override { ++quits; }

    std::vector<std::string> menuTitles() const {
        std::vector<std::string> titles;
        for (const MenuEntry& entry : entries()) titles.push_back(entry.separator ? "---" : entry.title);
        return titles;
    }

    std::function<void()> onInstall;
    std::function<std::vector<MenuEntry>()> entries;
    std::function<void(MenuCommand)> chosen;
    std::vector<std::pair<TranslationResult, Point>> popups;
    int directWindowShown = 0, settingsShown = 0, screenshots = 0, quits = 0;
};

class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() { settings.setOpenAIAPIKey("sk-test"); }

    AppDelegate::Dependencies dependencies() {
        return {settings,
                notifications,
                translation,
                hotkeys,
                monitor,
                capture,
                platform.screensBackend,
                loop,
                ui,
                [this](std::string_view line) { log.emplace_back(line); },
                startupReport};
    }

    void launch() {
        delegate.emplace(dependencies());
        delegate->applicationDidFinishLaunching();
        loop.runPending();
    }

    // The user presses a hotkey; the action runs on a later turn of the loop.
    bool press(std::uint32_t keyCode, std::uint32_t modifiers) {
        const bool caught = platform.shortcutsBackend.press(keyCode, modifiers);
        loop.advance(1s);
        return caught;
    }

    test::ManualEventLoop loop;
    dummy::DummyPlatform platform{loop};
    MemorySettingsStore store;
    NotificationCenter notifications;
    AppSettings settings{store, notifications};
    test::FakeTransport transport;
    InlineRunner background;
    TranslationService translation{{[this]() -> const AppSettingsValues& { return settings.values(); }, transport,
                                    loop, background}};
    HotkeyManager hotkeys{platform.shortcutsBackend};
    ClipboardMonitor monitor{platform.clipboardBackend, loop,
                             [this]() -> const AppSettingsValues& { return settings.values(); },
                             [](std::string text) {
                                 if (AppDelegate* running = AppDelegate::shared()) running->translateAndShow(text);
                             }};
    SelectedTextCapture capture{platform.selectionBackend, platform.clipboardBackend, platform.keySenderBackend, loop};
    RecordingUi ui;
    std::vector<std::string> log;
    AppDelegate::StartupReportTask startupReport;
    std::optional<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, StartSequenceRunsInItsOrder) {
    settings.setClipboardMonitorEnabled(true);
    std::vector<std::string> steps;
    ui.onInstall = [&] {
        EXPECT_EQ(AppDelegate::shared(), &*delegate);
        EXPECT_EQ(platform.shortcutsBackend.handlersInstalled(), 0);
        steps.push_back("status item");
    };
    startupReport = [&](auto done) {
        EXPECT_EQ(platform.shortcutsBackend.grabs().size(), 4u);
        EXPECT_TRUE(monitor.isRunning());
        steps.push_back("startup report");
        done(std::nullopt);
    };
    launch();
    EXPECT_EQ(steps, (std::vector<std::string>{"status item", "startup report"}));
    EXPECT_EQ(platform.shortcutsBackend.handlersInstalled(), 1);
    EXPECT_TRUE(log.empty());
}

// TrayDesktopTest pins the menu as the desktop shows it, and its toggle.
TEST_F(AppDelegateTest, MenuFollowsTheHotkeysAndTheMonitor) {
    launch();
    const auto entries = ui.entries();
    EXPECT_EQ(entries[7].keyEquivalent, ',');
    EXPECT_EQ(entries[9].keyEquivalent, 'q');
    EXPECT_EQ(entries[9].command, MenuCommand::terminate);

    settings.setScreenshotTranslationHotkey({1, 0});
    settings.setOpenTranslationWindowHotkey({49, 0x1A00});
    EXPECT_EQ(ui.menuTitles()[0], "打开翻译窗口\t⌃⌥⇧Space");
    EXPECT_EQ(ui.menuTitles()[3], "截图翻译\t未设置");

    // The monitor's hotkey switches it and writes the setting at once.
    EXPECT_TRUE(press(8, kOption));
    EXPECT_TRUE(monitor.isRunning());
    EXPECT_EQ(store.value("clipboardMonitorEnabled"), StoredValue(true));
    EXPECT_EQ(ui.menuTitles()[5], "关闭剪贴板监听\t⌥C");
    EXPECT_TRUE(press(8, kOption));
    EXPECT_FALSE(monitor.isRunning());
    EXPECT_EQ(store.value("clipboardMonitorEnabled"), StoredValue(false));
}

TEST_F(AppDelegateTest, HotkeysRunTheirActionsAndAreRegisteredAgainOnChange) {
    launch();
    EXPECT_TRUE(press(17, kOption));
    EXPECT_TRUE(press(1, kOption));
    EXPECT_EQ(ui.directWindowShown, 1);
    EXPECT_EQ(ui.screenshots, 1);

    settings.setScreenshotTranslationHotkey({1, 0});       // cleared: not registered
    settings.setTranslateSelectedTextHotkey({0, 0x1200});  // ⌃⇧A
    loop.runPending();
    std::vector<std::uint32_t> ids;
    for (const auto& grab : platform.shortcutsBackend.grabs()) ids.push_back(grab.id);
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{8, 9, 10}));  // after 1-4, two rounds of three
    EXPECT_FALSE(press(1, kOption));
    EXPECT_FALSE(press(0, kOption));

    platform.selectionBackend.selectedText = "hello";
    transport.respond(200, FakeOpenAIService::replyBody("你好"));
    EXPECT_TRUE(press(0, 0x1200));
    ASSERT_EQ(ui.popups.size(), 1u);
    EXPECT_EQ(ui.popups[0].first.translatedText, "你好");
}

TEST_F(AppDelegateTest, WhereTheDesktopDecidesEveryActionIsOfferedByNameAndItsKeysShown) {
    platform.shortcutsBackend.desktopDecides = true;
    platform.shortcutsBackend.triggers = {{"translate-selected-text", "Ctrl+Q"}};
    settings.setScreenshotTranslationHotkey({1, 0});
    launch();
    std::vector<std::pair<std::string, std::uint32_t>> offered;
    for (const auto& grab : platform.shortcutsBackend.grabs()) offered.emplace_back(grab.name, grab.modifiers);
    const std::vector<std::pair<std::string, std::uint32_t>> expected{
        {"open-translation-window", kOption}, {"translate-selected-text", kOption},
        {"screenshot-translation", 0}, {"toggle-clipboard-monitor", kOption}};
    EXPECT_EQ(offered, expected);
    EXPECT_EQ(ui.menuTitles()[0], "打开翻译窗口\t⌥T");
    EXPECT_EQ(ui.menuTitles()[2], "翻译选中文字\tCtrl+Q");
    EXPECT_EQ(ui.menuTitles()[3], "截图翻译\t未设置");

    // The desktop owns the keys: recording a shortcut lets nothing go.
    delegate->setHotkeysSuspended(true);
    EXPECT_EQ(platform.shortcutsBackend.grabs().size(), 4u);
    EXPECT_TRUE(press(0, kOption));
}

TEST_F(AppDelegateTest, NothingSelectedAnywhereShowsNothing) {
    launch();
    platform.selectionBackend.selectedText = " ";
    platform.keySenderBackend.onCopy = [] {};
    ui.chosen(MenuCommand::translateSelectedText);
    loop.advance(1s);
    EXPECT_EQ(platform.keySenderBackend.copiesSent, 1);
    EXPECT_TRUE(ui.popups.empty());
    EXPECT_EQ(transport.requestCount(), 0u);
}

TEST_F(AppDelegateTest, FailureBecomesASubstituteResult) {
    settings.setOpenAIAPIKey("");
    settings.setSourceLanguage(Language::english);
    settings.setTargetLanguage(Language::japanese);
    launch();
    delegate->translateAndShow("hello");
    loop.runPending();
    ASSERT_EQ(ui.popups.size(), 1u);
    const TranslationResult& shown = ui.popups[0].first;
    EXPECT_EQ(shown.sourceText, "hello");
    EXPECT_EQ(shown.translatedText, "翻译失败：OpenAI API Key 未设置");
    EXPECT_EQ(shown.sourceLanguage, Language::auto_);
    EXPECT_EQ(shown.targetLanguage, Language::japanese);
    EXPECT_EQ(shown.provider, "—");
    EXPECT_EQ(shown.detectedLanguage, std::nullopt);

    settings.setOpenAIAPIKey("sk-test");
    transport.respond(500, R"({"error":{"message":"upstream broke"}})");
    delegate->translateAndShow("hello");
    loop.runPending();
    EXPECT_EQ(ui.popups.back().first.translatedText, "翻译失败：upstream broke");

    // A notice (a screenshot without text) is shown as it is, with no source.
    const std::size_t requests = transport.requestCount();
    delegate->showNotice("未找到屏幕");
    const TranslationResult& notice = ui.popups.back().first;
    EXPECT_EQ(notice.sourceText, "");
    EXPECT_EQ(notice.translatedText, "未找到屏幕");
    EXPECT_EQ(notice.targetLanguage, Language::japanese);
    EXPECT_EQ(notice.provider, "—");
    EXPECT_EQ(transport.requestCount(), requests);
}

TEST_F(AppDelegateTest, SettingsChangedByAnotherProcessAreApplied) {
    launch();
    std::vector<std::string> announced;
    Subscription watching = settings.observe([&](std::string_view key) { announced.emplace_back(key); });
    // What `tavi config set` leaves in the file.
    store.setValue("clipboardMonitorEnabled", StoredValue(true));
    store.setValue("translateSelectedTextHotkey", StoredBytes{R"({"keyCode":0,"modifiers":4608})"});
    store.setValue("screenshotTranslationHotkey", StoredBytes{R"({"keyCode":1,"modifiers":4608})"});
    store.setValue("openAIModel", StoredValue(std::string("gpt-x")));
    settings.reloadFromStore();
    loop.runPending();
    EXPECT_EQ(announced, (std::vector<std::string>{"openAIModel", "clipboardMonitorEnabled",
                                                   "translateSelectedTextHotkey", "screenshotTranslationHotkey"}));
    EXPECT_TRUE(monitor.isRunning());
    std::vector<std::uint32_t> ids;
    for (const auto& grab : platform.shortcutsBackend.grabs()) ids.push_back(grab.id);
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{5, 6, 7, 8}));  // registered again once
    EXPECT_TRUE(press(0, 0x1200));

    // Nothing changed: nothing announced, nothing registered again.
    announced.clear();
    settings.reloadFromStore();
    loop.runPending();
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(platform.shortcutsBackend.grabs().front().id, 5u);
}

TEST_F(AppDelegateTest, TerminationRemovesOnlyTheHotkeyObserver) {
    settings.setClipboardMonitorEnabled(true);
    launch();
    delegate->applicationWillTerminate();
    settings.setTranslateSelectedTextHotkey({0, 0x1000});
    loop.runPending();
    EXPECT_TRUE(monitor.isRunning());
    EXPECT_EQ(platform.shortcutsBackend.grabs().size(), 4u);
    EXPECT_TRUE(press(0, kOption));  // still the old registration

    ui.chosen(MenuCommand::terminate);
    EXPECT_EQ(ui.quits, 1);
}

TEST_F(AppDelegateTest, ActionsPostedBeforeTheDelegateWentAwayDoNothing) {
    launch();
    platform.shortcutsBackend.press(17, kOption);
    delegate.reset();
    EXPECT_EQ(AppDelegate::shared(), nullptr);
    loop.advance(1s);
    EXPECT_EQ(ui.directWindowShown, 0);
}

}  // namespace
}  // namespace tavi
