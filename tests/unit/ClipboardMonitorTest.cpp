#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ManualEventLoop.h"
#include "capture/ClipboardMonitor.h"
#include "platform/dummy/DummyPlatform.h"

namespace tavi {
namespace {

using namespace std::chrono_literals;

class ClipboardMonitorTest : public ::testing::Test {
protected:
    ClipboardMonitorTest() {
        settings.clipboardMonitorEnabled = true;
        clipboard.copyTextFromElsewhere("already there");
    }

    // The texts handed on after copying `text` and one poll.
    std::vector<std::string> afterCopying(const std::string& text) {
        handed.clear();
        clipboard.copyTextFromElsewhere(text);
        loop.advance(ClipboardMonitor::kPollInterval);
        return handed;
    }

    test::ManualEventLoop loop;
    dummy::DummyClipboard clipboard{loop};
    AppSettingsValues settings;
    std::vector<std::string> handed;
    ClipboardMonitor monitor{clipboard, loop, [this]() -> const AppSettingsValues& { return settings; },
                             [this](std::string text) { handed.push_back(std::move(text)); }};
};

TEST_F(ClipboardMonitorTest, StartsOncePollsEveryHalfSecondAndSkipsWhatWasThere) {
    monitor.start();
    monitor.start();
    EXPECT_EQ(loop.timerCount(), 1u);
    loop.advance(2s);
    EXPECT_TRUE(handed.empty());

    clipboard.copyTextFromElsewhere("hello");
    loop.advance(499ms);
    EXPECT_TRUE(handed.empty());
    loop.advance(1ms);
    EXPECT_EQ(handed, std::vector<std::string>{"hello"});

    monitor.stop();
    EXPECT_EQ(loop.timerCount(), 0u);
    clipboard.copyTextFromElsewhere("after stop");
    loop.advance(2s);
    EXPECT_EQ(handed.size(), 1u);

    // Text copied while stopped is already there when monitoring resumes.
    monitor.start();
    loop.advance(1s);
    EXPECT_EQ(handed.size(), 1u);

    // A read still under way when the monitor stops translates nothing, even
    // when monitoring resumes before it answers.
    clipboard.readDelay = 300ms;
    clipboard.copyTextFromElsewhere("read in flight");
    loop.advance(ClipboardMonitor::kPollInterval);
    monitor.stop();
    monitor.start();
    loop.advance(1s);
    EXPECT_EQ(handed.size(), 1u);
}

TEST_F(ClipboardMonitorTest, LengthCountsUserPerceivedCharactersOfTheUntrimmedText) {
    monitor.start();
    struct Case {
        std::string text;
        std::int64_t minimum;
        bool handedOn;
    };
    const Case cases[] = {
        {"a", 2, false},
        {" a", 2, true},                  // the blank counts
        {"   ", 2, false},                // nothing left after trimming
        {"\n\t \u3000", 0, false},        // ideographic space is white space too
        {"e\u0301", 2, false},            // e + combining acute: one character (TextTest has the rest)
        {"e\u0301e\u0301", 2, true},
        {"ab", 3, false},
        {"x", 0, true},
        {"x", -5, true},
    };
    for (const Case& c : cases) {
        settings.minTextLengthForAutoTranslate = c.minimum;
        // Handed on untrimmed.
        EXPECT_EQ(afterCopying(c.text), c.handedOn ? std::vector{c.text} : std::vector<std::string>{})
            << "minimum " << c.minimum;
    }
}

TEST_F(ClipboardMonitorTest, ChangesIgnoredByTheSettingsAreNotReconsidered) {
    monitor.start();
    settings.autoTranslateOnCopy = false;
    EXPECT_TRUE(afterCopying("copied while off").empty());
    settings.autoTranslateOnCopy = true;
    loop.advance(2s);
    EXPECT_TRUE(handed.empty());

    settings.clipboardMonitorEnabled = false;
    EXPECT_TRUE(afterCopying("monitor switched off").empty());
    settings.clipboardMonitorEnabled = true;
    EXPECT_EQ(afterCopying("on again"), std::vector<std::string>{"on again"});
}

TEST_F(ClipboardMonitorTest, ImagesAndFilesChangeTheCounterButTranslateNothing) {
    monitor.start();
    clipboard.copyFromElsewhere({{{"image/png", std::string("\x89PNG\r\n\x1a\n", 8)}}});
    loop.advance(1s);
    clipboard.copyFromElsewhere({{{"text/uri-list", "file:///tmp/a.txt"}}});
    loop.advance(1s);
    EXPECT_TRUE(handed.empty());
}

}  // namespace
}  // namespace tavi
