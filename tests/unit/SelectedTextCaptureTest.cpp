#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "ManualEventLoop.h"
#include "capture/SelectedTextCapture.h"
#include "platform/dummy/DummyPlatform.h"

namespace tavi {
namespace {

using namespace std::chrono_literals;

const std::string kPng("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);

class SelectedTextCaptureTest : public ::testing::Test {
protected:
    // Runs a capture to its end and returns what it gave.
    std::optional<std::string> capture() { return captureRead().text; }
    TextRead captureRead() {
        std::optional<TextRead> answer;
        capturer.captureSelectedText([&](TextRead read) { answer = std::move(read); });
        loop.advance(1s);
        EXPECT_TRUE(answer.has_value()) << "the capture never answered";
        return answer.value_or(TextRead::nothing());
    }

    // The focused application copies `text` when it gets the copy shortcut.
    void applicationCopies(std::string text) {
        keys.onCopy = [this, text] { clipboard.copyTextFromElsewhere(text); };
    }

    test::ManualEventLoop loop;
    dummy::DummySelection selection{loop};
    dummy::DummyClipboard clipboard{loop};
    dummy::DummyKeySender keys{loop};
    SelectedTextCapture capturer{selection, clipboard, keys, loop};
    Subscription sub;
};

TEST_F(SelectedTextCaptureTest, SelectionIsTrimmedAndNeedsNoCopy) {
    selection.selectedText = " \n\tGood morning\u3000\n";
    EXPECT_EQ(capture(), "Good morning");
    EXPECT_EQ(keys.copiesSent, 0);
}

TEST_F(SelectedTextCaptureTest, BlankSelectionFallsBackToCopyAndRestoresEveryType) {
    for (std::optional<std::string> blank : {std::optional<std::string>(" \n "), std::optional<std::string>()}) {
        selection.selectedText = blank;
        const std::vector<ClipboardItem> before = {
            {{"image/png", kPng}, {"UTF8_STRING", "caption"}, {"text/html", "<b>caption</b>"}},
        };
        clipboard.copyFromElsewhere(before);
        applicationCopies("  copied words \n");
        EXPECT_EQ(capture(), "copied words");
        EXPECT_EQ(clipboard.items(), before);
    }
    EXPECT_EQ(keys.copiesSent, 2);
}

TEST_F(SelectedTextCaptureTest, WithoutASelectionWhatTheCopyLeavesIsTaken) {
    EXPECT_EQ(capture(), std::nullopt);
    EXPECT_TRUE(clipboard.items().empty());

    applicationCopies("from the app");
    EXPECT_EQ(capture(), "from the app");
    EXPECT_TRUE(clipboard.items().empty());  // and the empty clipboard comes back

    // A copy that copied nothing gives what was on the clipboard.
    keys.onCopy = [] {};
    clipboard.copyTextFromElsewhere("older text");
    EXPECT_EQ(capture(), "older text");
}

TEST_F(SelectedTextCaptureTest, ClipboardIsReadOnlyAfterTheApplicationHadItsTime) {
    clipboard.copyTextFromElsewhere("before");
    keys.onCopy = [this] {
        // A slow application: its copy lands after the wait.
        sub = loop.scheduleOnce(SelectedTextCapture::kCopyDelay + 1ms, [this] { clipboard.copyTextFromElsewhere("late"); });
    };
    std::optional<std::string> answer;
    capturer.copyFallback([&](TextRead read) { answer = std::move(read.text); });
    loop.advance(SelectedTextCapture::kCopyDelay - 1ms);
    EXPECT_FALSE(answer);
    loop.advance(1ms);
    EXPECT_EQ(answer, "before");
}

TEST_F(SelectedTextCaptureTest, FallbacksInARowEachRestoreTheUsersClipboard) {
    clipboard.copyTextFromElsewhere("the user's own");
    int copies = 0;
    keys.onCopy = [&] { clipboard.copyTextFromElsewhere("selection " + std::to_string(++copies)); };
    std::vector<std::optional<std::string>> answers;
    for (int i = 0; i < 3; ++i)
        capturer.copyFallback([&](TextRead read) { answers.push_back(std::move(read.text)); });
    loop.advance(1s);
    EXPECT_EQ(answers, (std::vector<std::optional<std::string>>{"selection 1", "selection 2", "selection 3"}));
    EXPECT_EQ(clipboard.items(), (std::vector<ClipboardItem>{{{"UTF8_STRING", "the user's own"}}}));
}

TEST_F(SelectedTextCaptureTest, NoCopyIsSentWhereItWouldHarmOrTheClipboardCouldNotComeBack) {
    const std::vector<ClipboardItem> before = {{{"UTF8_STRING", "the user's own"}}};
    // A terminal, where Control+C interrupts; a clipboard too large to save.
    for (const bool terminal : {true, false}) {
        clipboard.copyFromElsewhere(before);
        keys.focusCopies = !terminal;
        clipboard.oversized = terminal ? std::nullopt : std::optional<std::uint64_t>(65u << 20);
        applicationCopies("would replace it");
        EXPECT_EQ(captureRead().text, std::nullopt) << terminal;
        EXPECT_EQ(keys.copiesSent, 0) << terminal;
        EXPECT_EQ(clipboard.items(), before) << terminal;
    }
}

TEST_F(SelectedTextCaptureTest, SelectionTooLargeToReadIsReportedWithoutCopying) {
    selection.oversized = 70u << 20;
    const TextRead read = captureRead();
    EXPECT_EQ(read.tooLarge, std::optional<std::uint64_t>(70u << 20));
    EXPECT_EQ(keys.copiesSent, 0);
    EXPECT_EQ(selectionTooLargeMessage(*read.tooLarge), "选中的文本太大（至少 70.0 MB），无法读取，请选择较短的一段文字");
}

}  // namespace
}  // namespace tavi
