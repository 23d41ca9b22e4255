#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SettingsHarness.h"
#include "settings/HotkeyModel.h"

namespace tavi {
namespace {

constexpr std::uint32_t kCommand = 0x0100, kShift = 0x0200, kOption = 0x0800, kControl = 0x1000;

TEST(HotkeyJson, EncodesTheStoredFormByteForByte) {
    EXPECT_EQ(encodeHotkeyJson({17, 2048}), R"({"keyCode":17,"modifiers":2048})");
    EXPECT_EQ(encodeHotkeyJson({0, 0}), R"({"keyCode":0,"modifiers":0})");
    EXPECT_EQ(encodeHotkeyJson({4294967295u, 6912}), R"({"keyCode":4294967295,"modifiers":6912})");
}

TEST(HotkeyJson, DecodesOnlyObjectsWithBothUnsigned32BitMembers) {
    EXPECT_EQ(decodeHotkeyJson(R"({"keyCode":17,"modifiers":2048})"), (HotkeyShortcut{17, kOption}));
    EXPECT_EQ(decodeHotkeyJson(R"( {"modifiers":256 , "keyCode":96, "extra":[1]} )"), (HotkeyShortcut{96, kCommand}));
    EXPECT_EQ(decodeHotkeyJson(R"({"keyCode":4294967295,"modifiers":0})"), (HotkeyShortcut{4294967295u, 0}));
    EXPECT_EQ(decodeHotkeyJson(R"({"keyCode":17.0,"modifiers":2.048e3})"), (HotkeyShortcut{17, kOption}));

    const char* refused[] = {
        R"({"keyCode":17})",
        R"({"modifiers":2048})",
        R"({"keyCode":-1,"modifiers":2048})",
        R"({"keyCode":17,"modifiers":-2048})",
        R"({"keyCode":17.5,"modifiers":2048})",
        R"({"keyCode":"17","modifiers":2048})",
        R"({"keyCode":true,"modifiers":2048})",
        R"({"keyCode":null,"modifiers":2048})",
        R"({"keyCode":17,"modifiers":null})",
        R"({"keyCode":4294967296,"modifiers":2048})",
        R"({"keyCode":1e300,"modifiers":2048})",
        R"({"keyCode":99999999999999999999999,"modifiers":2048})",
        R"({"keyCode":17,"modifiers":2048)",
        R"([17,2048])",
        R"("keyCode")",
        "17",
        "",
        "\xff\xfe",
    };
    for (const char* json : refused) EXPECT_FALSE(decodeHotkeyJson(json)) << json;
    EXPECT_FALSE(decodeHotkeyJson(std::string(100000, '[') + std::string(100000, ']')));
    // A stored value cut short by a NUL is not the shortcut before the NUL.
    EXPECT_FALSE(decodeHotkeyJson(std::string(R"({"keyCode":1,"modifiers":256})" "\0", 30)));
    EXPECT_FALSE(decodeHotkeyJson(std::string(R"({"keyCode":1,"modifiers":256})" "\0{", 31)));
}

TEST(HotkeyDisplay, ModifiersInFixedOrderThenTheKey) {
    EXPECT_EQ(modifierDisplay(0), "");
    EXPECT_EQ(modifierDisplay(kCommand | kShift | kOption | kControl), "⌃⌥⇧⌘");
    EXPECT_EQ(modifierDisplay(kCommand | kControl), "⌃⌘");
    EXPECT_EQ(modifierDisplay(0x00FF | 0x0400 | 0xE000), "");  // bits of no modifier
    EXPECT_EQ(shortcutDisplay({49, 0x1A00}), "⌃⌥⇧Space");
    EXPECT_EQ(shortcutDisplay({36, 0}), "↩");
    EXPECT_EQ(shortcutDisplay({96, kCommand}), "⌘F5");
    EXPECT_EQ(shortcutDisplay({17, kOption}), "⌥T");
    EXPECT_EQ(shortcutDisplay({200, kShift}), "⇧Key 200");
    EXPECT_EQ(keyDisplay(4294967295u), "Key 4294967295");
}

TEST(HotkeyDisplay, KeyboardLayoutNamesComeBetweenTheTables) {
    struct Case {
        std::uint32_t code;
        const char* layoutName;  // nullptr: the layout has none
        const char* shown;
    };
    const Case cases[] = {
        {0, "q", "Q"},  // French layout: the A position prints q
        {12, "a", "A"},
        {49, "x", "Space"},  // never asked: Space is special
        {1, "", "S"},        // an empty answer falls through
        {13, "é", "É"},
        {14, "ß", "SS"},
        {15, "ж", "Ж"},
        {16, "ÿ", "Ÿ"},
        {17, "ς", "Σ"},
        {18, "Ab1!", "AB1!"},
        {19, "中", "中"},
        {20, "\xff" "a", "\xff" "A"},  // not UTF-8: the stray byte stays
        {200, "ä", "Ä"},
        {201, nullptr, "Key 201"},
    };
    setKeyboardLayoutKeyName([&](std::uint32_t code) -> std::optional<std::string> {
        for (const Case& c : cases)
            if (c.code == code && c.layoutName) return c.layoutName;
        return std::nullopt;
    });
    for (const Case& c : cases) EXPECT_EQ(keyDisplay(c.code), c.shown) << c.code;
    EXPECT_EQ(shortcutDisplay({0, kControl}), "⌃Q");
    setKeyboardLayoutKeyName(nullptr);
}

TEST(HotkeyRecording, EventFlagsBecomeModifierBits) {
    constexpr std::uint64_t capsLock = 0x10000, numericPad = 0x200000, help = 0x400000, function = 0x800000;
    EXPECT_EQ(hotkeyModifiers(0x40000 | 0x100000 | capsLock), 0x1100u);
    EXPECT_EQ(hotkeyModifiers(0x20000), kShift);
    EXPECT_EQ(hotkeyModifiers(0x80000), kOption);
    EXPECT_EQ(hotkeyModifiers(0x20000 | 0x40000 | 0x80000 | 0x100000), 0x1B00u);
    EXPECT_EQ(hotkeyModifiers(capsLock | numericPad | help | function | 0xFFFF), 0u);
}

using Settings = test::SettingsHarness;

TEST(HotkeyAcceptance, NeedsAModifierAndNoConflictWithAnotherAction) {
    AppSettingsValues values;
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::openTranslationWindow, {17, 0}, values), "全局快捷键至少需要一个修饰键。");
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::openTranslationWindow, {1, kOption}, values),
              "“⌥S” 已被“截图翻译”使用，请换一个组合。");
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::toggleClipboardMonitor, {17, kOption}, values),
              "“⌥T” 已被“打开翻译窗口”使用，请换一个组合。");
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::openTranslationWindow, {8, kOption}, values),
              "“⌥C” 已被“切换剪贴板监听”使用，请换一个组合。");
    // Its own current shortcut, one modifier of any kind, or the same key with
    // other modifiers: all fine.
    EXPECT_FALSE(hotkeyRefusal(HotkeyAction::screenshotTranslation, {1, kOption}, values));
    EXPECT_FALSE(hotkeyRefusal(HotkeyAction::screenshotTranslation, {1, kShift}, values));
    EXPECT_FALSE(hotkeyRefusal(HotkeyAction::screenshotTranslation, {0, kOption | kShift}, values));

    // Two others holding the same shortcut (possible in a hand-edited file):
    // the first in action order is named.
    values.translateSelectedTextHotkey = {49, 0x1A00};
    values.toggleClipboardMonitorHotkey = {49, 0x1A00};
    values.openTranslationWindowHotkey = {49, 0x1A00};
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::screenshotTranslation, {49, 0x1A00}, values),
              "“⌃⌥⇧Space” 已被“打开翻译窗口”使用，请换一个组合。");
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::openTranslationWindow, {49, 0x1A00}, values),
              "“⌃⌥⇧Space” 已被“翻译选中文字”使用，请换一个组合。");
    // A missing modifier is reported before any conflict.
    values.screenshotTranslationHotkey = {5, 0};
    EXPECT_EQ(hotkeyRefusal(HotkeyAction::openTranslationWindow, {5, 0}, values), "全局快捷键至少需要一个修饰键。");
}

// An accepted one is assigned as any other (ConfigCliTest sets one and reads it back).
TEST(HotkeyAcceptance, RefusedShortcutsAreNeitherWrittenNorAnnounced) {
    Settings s;
    EXPECT_EQ(assignHotkeyIfAccepted(s.settings, HotkeyAction::openTranslationWindow, {0, kOption}),
              "“⌥A” 已被“翻译选中文字”使用，请换一个组合。");
    EXPECT_EQ(assignHotkeyIfAccepted(s.settings, HotkeyAction::openTranslationWindow, {0, 0}),
              "全局快捷键至少需要一个修饰键。");
    EXPECT_EQ(s.posts, 0);
    EXPECT_TRUE(s.store.contents().empty());
    EXPECT_EQ(s.settings.openTranslationWindowHotkey(), (HotkeyShortcut{17, kOption}));
}

TEST(HotkeyAcceptance, RestoringDefaultsWritesAndAnnouncesAllFourInOrder) {
    Settings s;
    s.settings.setOpenTranslationWindowHotkey({1, kOption});  // conflicts with a default for a moment
    s.settings.setScreenshotTranslationHotkey({17, kOption});
    s.posts = 0;
    std::vector<HotkeyShortcut> seen;
    Subscription order = s.center.addObserver(AppSettings::hotkeysDidChange, [&] {
        seen.push_back(s.settings.hotkey(allHotkeyActions()[seen.size()]));
    });
    restoreDefaultHotkeys(s.settings);
    EXPECT_EQ(s.posts, 4);
    EXPECT_EQ(seen, (std::vector<HotkeyShortcut>{{17, kOption}, {0, kOption}, {1, kOption}, {8, kOption}}));
    for (HotkeyAction action : allHotkeyActions()) {
        EXPECT_EQ(s.settings.hotkey(action), defaultShortcut(action));
        EXPECT_EQ(s.store.value(settingsKey(action)),
                  StoredValue(StoredBytes{encodeHotkeyJson(defaultShortcut(action))}));
    }
}

}  // namespace
}  // namespace tavi
