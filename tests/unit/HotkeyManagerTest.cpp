#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "capture/HotkeyManager.h"
#include "platform/dummy/DummyPlatform.h"

namespace tavi {
namespace {

constexpr std::uint32_t kOption = 0x0800;

class HotkeyManagerTest : public ::testing::Test {
protected:
    dummy::DummyShortcuts desktop;
    HotkeyManager manager{desktop};
};

TEST_F(HotkeyManagerTest, IdsGrowAcrossReRegistrationAndGrabsFollowTheMap) {
    manager.setup();
    EXPECT_EQ(manager.registerHotkey(17, kOption, [] {}), 1u);
    EXPECT_EQ(manager.registerHotkey(0, kOption, [] {}), 2u);
    EXPECT_EQ(desktop.grabs().size(), 2u);
    manager.unregisterAll();
    EXPECT_TRUE(desktop.grabs().empty());
    EXPECT_EQ(manager.registerHotkey(17, kOption, [] {}), 3u);
    ASSERT_EQ(desktop.grabs().size(), 1u);
    EXPECT_EQ(desktop.grabs()[0].id, 3u);
}

TEST_F(HotkeyManagerTest, SetupInstallsOneHandlerAndDispatchGoesByIdAlone) {
    manager.setup();
    manager.setup();
    EXPECT_EQ(desktop.handlersInstalled(), 1);

    std::vector<std::uint32_t> fired;
    const auto first = manager.registerHotkey(17, kOption, [&] { fired.push_back(1); });
    manager.registerHotkey(0, kOption, [&] { fired.push_back(2); });
    EXPECT_TRUE(desktop.press(0, kOption));
    desktop.report(first);
    desktop.report(999);  // unknown: a registration removed a moment ago
    EXPECT_FALSE(desktop.press(0, 0x1000));
    EXPECT_EQ(fired, (std::vector<std::uint32_t>{2, 1}));
}

TEST_F(HotkeyManagerTest, CombinationHeldElsewhereIsStoredAndNeverFires) {
    desktop.holdElsewhere(1, kOption);
    manager.setup();
    int fired = 0;
    EXPECT_EQ(manager.registerHotkey(1, kOption, [&] { ++fired; }), 1u);
    EXPECT_FALSE(desktop.press(1, kOption));
    EXPECT_EQ(manager.registerHotkey(8, kOption, [&] { ++fired; }), 2u);
    manager.unregisterAll();  // releases only what was granted
    EXPECT_EQ(fired, 0);
}

TEST_F(HotkeyManagerTest, CallbackMayUnregisterAndRegisterWithoutDeadlock) {
    manager.setup();
    int fired = 0;
    manager.registerHotkey(17, kOption, [&] {
        ++fired;
        manager.unregisterAll();
        manager.registerHotkey(17, kOption, [&] { fired += 10; });
    });
    EXPECT_TRUE(desktop.press(17, kOption));
    EXPECT_TRUE(desktop.press(17, kOption));
    EXPECT_EQ(fired, 11);
}

TEST_F(HotkeyManagerTest, ConcurrentRegistrationsGetDistinctIds) {
    std::vector<std::uint32_t> ids(400);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i) ids[t * 100 + i] = manager.registerHotkey(200 + t, 0x0100, [] {});
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(std::set<std::uint32_t>(ids.begin(), ids.end()).size(), 400u);
}

}  // namespace
}  // namespace tavi
