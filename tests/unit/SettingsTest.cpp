#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "SettingsHarness.h"

namespace tavi {
namespace {

// --- NotificationCenter ------------------------------------------------------

TEST(NotificationCenter, DeliversByNameInOrderUntilTheSubscriptionEnds) {
    NotificationCenter center;
    std::vector<std::string> heard;
    Subscription first = center.addObserver("a", [&] { heard.push_back("first"); });
    {
        Subscription second = center.addObserver("a", [&] { heard.push_back("second"); });
        Subscription other = center.addObserver("b", [&] { heard.push_back("other"); });
        center.post("a");
        center.post("nobody listens");
    }
    center.post("a");
    first.cancel();
    EXPECT_FALSE(first.active());
    center.post("a");
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "second", "first"}));
}

TEST(NotificationCenter, ObserversMayChangeTheListWhilePosting) {
    NotificationCenter center;
    std::vector<std::string> heard;
    Subscription late;
    Subscription victim;
    Subscription self;
    self = center.addObserver("n", [&] {
        heard.push_back("self");
        self.cancel();   // removes itself while running
        victim.cancel();  // and one that has not run yet
        late = center.addObserver("n", [&] { heard.push_back("late"); });
        Subscription fresh = center.addObserver("fresh", [&] { heard.push_back("fresh"); });
        center.post("fresh");  // nested post, and a new channel created mid-post
    });
    victim = center.addObserver("n", [&] { heard.push_back("victim"); });
    Subscription last = center.addObserver("n", [&] { heard.push_back("last"); });

    center.post("n");
    EXPECT_EQ(heard, (std::vector<std::string>{"self", "fresh", "last"}));
    heard.clear();
    center.post("n");
    EXPECT_EQ(heard, (std::vector<std::string>{"last", "late"}));
}

// --- AppSettings -------------------------------------------------------------

StoredValue text(const char* value) { return std::string(value); }
StoredValue bytes(const char* value) { return StoredBytes{value}; }
StoredValue integer(std::int64_t value) { return value; }

using Harness = test::SettingsHarness;

// The defaults themselves are pinned where they show: in the requests, the
// menu, the settings files of other tests.
TEST(AppSettings, FreshDomainGivesTheDefaultsAndWritesNothing) {
    Harness h;
    EXPECT_EQ(h.settings.values(), AppSettingsValues{});
    EXPECT_TRUE(h.store.writes.empty());
    EXPECT_EQ(h.posts, 0);
}

TEST(AppSettings, RemovedProviderMigratesAndIsWrittenBack) {
    Harness migrated({{"activeProviderID", text("tencent")}});
    EXPECT_EQ(migrated.settings.activeProviderID(), "openai");
    EXPECT_EQ(migrated.store.writes, std::vector<std::string>{"activeProviderID"});
    EXPECT_EQ(migrated.store.value("activeProviderID"), text("openai"));

    for (const char* kept : {"deepl", "volcano", "no-such-provider", "", "Tencent"}) {
        Harness h({{"activeProviderID", text(kept)}});
        EXPECT_EQ(h.settings.activeProviderID(), kept);
        EXPECT_TRUE(h.store.writes.empty()) << kept;
    }
}

TEST(AppSettings, LanguagesParseRawValuesAndFallBackWithoutRewriting) {
    Harness h({{"sourceLanguage", text("zh-TW")}, {"targetLanguage", text("xx")}});
    AppSettings& s = h.settings;
    EXPECT_EQ(s.sourceLanguage(), Language::chineseTraditional);
    EXPECT_EQ(s.targetLanguage(), Language::chinese);
    EXPECT_EQ(h.store.value("targetLanguage"), text("xx"));

    Harness odd({{"sourceLanguage", text("ZH")}, {"targetLanguage", integer(3)}});
    EXPECT_EQ(odd.settings.sourceLanguage(), Language::auto_);
    EXPECT_EQ(odd.settings.targetLanguage(), Language::chinese);
}

TEST(AppSettings, StringLookupKeepsEmptyAndConvertsOnlyScalars) {
    Harness h({
        {"openAIModel", text("")},
        {"claudeModel", integer(-42)},
        {"openAIBaseURL", StoredValue(true)},
        {"openAIAPIKey", StoredValue(1.5)},
        {"deepLAPIKey", bytes("sk-bytes")},
        {"googleAPIKey", StoredValue(std::vector<std::string>{"a", "b"})},
        {"baiduAppID", text("有中文 and spaces ")},
    });
    const AppSettingsValues& v = h.settings.values();
    EXPECT_EQ(v.openAIModel, "");
    EXPECT_EQ(v.claudeModel, "-42");
    EXPECT_EQ(v.openAIBaseURL, "1");
    EXPECT_EQ(v.openAIAPIKey, "1.5");
    EXPECT_EQ(v.deepLAPIKey, "");
    EXPECT_EQ(v.googleAPIKey, "");
    EXPECT_EQ(v.baiduAppID, "有中文 and spaces ");
}

struct BooleanCase {
    StoredValue stored;
    bool expected;
};

TEST(AppSettings, BooleanLookupFollowsUserDefaultsSemantics) {
    const BooleanCase cases[] = {
        {StoredValue(true), true},   {StoredValue(false), false}, {integer(5), true},       {integer(0), false},
        {StoredValue(-0.5), true},   {StoredValue(0.0), false},   {text("true"), true},     {text("TRUE"), true},
        {text("yes"), true},         {text("YES"), true},         {text("1"), true},        {text("false"), false},
        {text("2"), false},          {text("abc"), false},        {text(""), false},        {text(" true"), false},
        {bytes("true"), false},      {StoredValue(std::vector<std::string>{"true"}), false},
    };
    for (const BooleanCase& c : cases) {
        Harness h({{"deepLIsPro", c.stored}, {"clipboardMonitorEnabled", c.stored}});
        EXPECT_EQ(h.settings.deepLIsPro(), c.expected) << c.stored.index();
        EXPECT_EQ(h.settings.clipboardMonitorEnabled(), c.expected);
    }
    Harness missing;
    EXPECT_FALSE(missing.settings.clipboardMonitorEnabled());
}

TEST(AppSettings, BooleanCastTakesOnlyBooleansOrTheirTextElseDefaultsToTrue) {
    const BooleanCase cases[] = {
        {StoredValue(false), false}, {text("false"), false}, {StoredValue(true), true}, {text("true"), true},
        {text("abc"), true},         {text("FALSE"), true},  {text("0"), true},         {text("no"), true},
        {integer(0), true},          {integer(5), true},     {StoredValue(0.0), true},  {bytes("false"), true},
    };
    for (const BooleanCase& c : cases) {
        Harness h({{"autoTranslateOnCopy", c.stored}, {"showPopupNearCursor", c.stored}});
        EXPECT_EQ(h.settings.autoTranslateOnCopy(), c.expected) << c.stored.index();
        EXPECT_EQ(h.settings.showPopupNearCursor(), c.expected);
    }
}

TEST(AppSettings, IntegerCastKeepsAnyWholeNumberElseDefaultsToTwo) {
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    struct Case {
        StoredValue stored;
        std::int64_t expected;
    };
    const Case cases[] = {
        {integer(0), 0},        {integer(-5), -5},      {integer(kMax), kMax},
        {text("-5"), -5},       {text("0"), 0},         {text("007"), 7},
        {text("-9223372036854775808"), kMin},           {text("9223372036854775807"), kMax},
        {text("9223372036854775808"), 2},               {text("-9223372036854775809"), 2},
        {text("2.0"), 2},       {text("+5"), 2},        {text(" 5"), 2},        {text("5 "), 2},
        {text("abc"), 2},       {text(""), 2},          {text("-"), 2},         {text("0x10"), 2},
        {StoredValue(7.0), 2},  {StoredValue(true), 2}, {bytes("9"), 2},
    };
    for (const Case& c : cases) {
        Harness h({{"minTextLengthForAutoTranslate", c.stored}});
        EXPECT_EQ(h.settings.minTextLengthForAutoTranslate(), c.expected) << c.stored.index();
    }
}

TEST(AppSettings, EqualAssignmentStillWritesButIsNotAChange) {
    Harness h;
    AppSettings& s = h.settings;
    s.setOpenAIModel("gpt-4o-mini");
    s.setAutoTranslateOnCopy(true);
    s.setTargetLanguage(Language::chinese);
    EXPECT_EQ(h.store.writes, (std::vector<std::string>{"openAIModel", "autoTranslateOnCopy", "targetLanguage"}));
    EXPECT_TRUE(h.changed.empty());

    s.setOpenAIModel("gpt-4o");
    s.setOpenAIModel("gpt-4o");
    EXPECT_EQ(h.changed, std::vector<std::string>{"openAIModel"});
    EXPECT_EQ(h.store.writes.size(), 5u);
}

TEST(AppSettings, EveryHotkeyAssignmentPostsOnceEvenWhenUnchanged) {
    Harness h;
    AppSettings& s = h.settings;
    s.setHotkey(HotkeyAction::screenshotTranslation, {1, 0x0800});
    EXPECT_EQ(h.posts, 1);
    EXPECT_TRUE(h.changed.empty());
    EXPECT_EQ(h.store.writes, std::vector<std::string>{"screenshotTranslationHotkey"});

    // By the time the notification goes out, the value is in place and the
    // change observers have heard of it.
    std::optional<HotkeyShortcut> seenAtPost;
    std::size_t changesAtPost = 0;
    Subscription probe = h.center.addObserver(AppSettings::hotkeysDidChange, [&] {
        seenAtPost = s.hotkey(HotkeyAction::toggleClipboardMonitor);
        changesAtPost = h.changed.size();
    });
    s.setHotkey(HotkeyAction::toggleClipboardMonitor, {8, 0x1000});
    EXPECT_EQ(h.posts, 2);
    EXPECT_EQ(seenAtPost, (HotkeyShortcut{8, 0x1000}));
    EXPECT_EQ(changesAtPost, 1u);
    EXPECT_EQ(h.changed, std::vector<std::string>{"toggleClipboardMonitorHotkey"});
    EXPECT_EQ(s.toggleClipboardMonitorHotkey(), (HotkeyShortcut{8, 0x1000}));

    // Other settings never post.
    s.setClipboardMonitorEnabled(true);
    EXPECT_EQ(h.posts, 2);
}

TEST(AppSettings, ResetRemovesTheKeyAndRestoresTheDefault) {
    Harness h({{"openAIModel", text("custom")},
               {"minTextLengthForAutoTranslate", integer(9)},
               {"translateSelectedTextHotkey", bytes(R"({"keyCode":0,"modifiers":4096})")}});
    AppSettings& s = h.settings;

    EXPECT_TRUE(s.reset("openAIModel"));
    EXPECT_EQ(s.openAIModel(), "gpt-4o-mini");
    EXPECT_FALSE(h.store.value("openAIModel"));
    EXPECT_TRUE(s.reset("deepLAPIKey"));  // already the default: removed, no change
    EXPECT_EQ(h.changed, std::vector<std::string>{"openAIModel"});
    EXPECT_EQ(h.posts, 0);

    EXPECT_TRUE(s.reset("translateSelectedTextHotkey"));
    EXPECT_EQ(s.translateSelectedTextHotkey(), (HotkeyShortcut{0, 0x0800}));
    EXPECT_TRUE(s.reset("translateSelectedTextHotkey"));  // unchanged, still announced to the registrar
    EXPECT_EQ(h.posts, 2);

    EXPECT_FALSE(s.reset("noSuchKey"));
    EXPECT_FALSE(s.reset("openTranslationWindow"));  // an action's name is not its key
    EXPECT_EQ(h.store.removals, (std::vector<std::string>{"openAIModel", "deepLAPIKey", "translateSelectedTextHotkey",
                                                           "translateSelectedTextHotkey"}));
    EXPECT_TRUE(h.store.writes.empty());
    EXPECT_EQ(s.minTextLengthForAutoTranslate(), 9);
}

}  // namespace
}  // namespace tavi
