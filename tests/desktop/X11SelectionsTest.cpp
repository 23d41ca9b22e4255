// Tavi's X selection code against owners of the tests' own on the test
// desktop's X server: large texts in increments, and owners that misbehave.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <cstdio>

#include "QtLoopRunner.h"
#include "TestApplication.h"
#include "app/QtEventLoop.h"
#include "platform/x11/X11Clipboard.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Selections.h"

namespace tavi::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Fault = TestApplication::Fault;

constexpr std::size_t kMiB = 1u << 20;

class X11SelectionsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ensureCoreApplication(); }

    X11SelectionsTest() {
        std::string why;
        connection = x11::X11Connection::open(loop, [](std::string_view) {}, why);
        if (!connection) throw std::runtime_error(why);
        selections = std::make_unique<x11::X11Selections>(*connection);
        clipboard = std::make_unique<x11::X11Clipboard>(*connection, *selections);
    }

    struct Timed {
        TextRead read;
        double seconds;
    };
    Timed readText(const std::string& selection) {
        std::optional<TextRead> answer;
        const auto started = Clock::now();
        x11::readSelectionText(*connection, *selections, connection->atom(selection),
                               [&](TextRead read) { answer = std::move(read); });
        EXPECT_TRUE(runQtLoopUntil([&] { return answer.has_value(); }, 20s)) << "no answer";
        return {answer.value_or(TextRead::nothing()), std::chrono::duration<double>(Clock::now() - started).count()};
    }

    ClipboardSnapshotRead readSnapshot() {
        std::optional<ClipboardSnapshotRead> answer;
        clipboard->readSnapshot([&](ClipboardSnapshotRead read) { answer = std::move(read); });
        EXPECT_TRUE(runQtLoopUntil([&] { return answer.has_value(); }, 20s)) << "no answer";
        return answer.value_or(ClipboardSnapshotRead{});
    }

    // Whatever the last owner did, the next read of a well-behaved one
    // gets its text, unmixed.
    void expectNextReadIsClean(const std::string& selection) {
        TestApplication next;
        next.setServing(64 * 1024);
        const std::string text = textOfSize(200 * 1024);
        next.own(selection, {{"UTF8_STRING", text}});
        EXPECT_TRUE(readText(selection).read.text == text) << "the next read was not clean";
    }

    QtEventLoop loop;
    std::unique_ptr<x11::X11Connection> connection;
    std::unique_ptr<x11::X11Selections> selections;
    std::unique_ptr<x11::X11Clipboard> clipboard;
};

TEST_F(X11SelectionsTest, LargeTextsArriveInIncrementsUpToTheBound) {
    constexpr std::size_t kOverBound = x11::X11Selections::kMaximumSize + 1;
    for (const std::size_t size : {std::size_t{300 * 1024}, 8 * kMiB, kOverBound}) {
        const std::string text = textOfSize(size);
        for (const char* selection : {"PRIMARY", "CLIPBOARD"}) {
            TestApplication owner;
            owner.setServing(256 * 1024);
            owner.own(selection, {{"UTF8_STRING", text}, {"text/html", "<p>" + text.substr(0, 1000) + "</p>"}});
            const Timed timed = readText(selection);
            std::printf("%s of %zu bytes: %s (%zu bytes) in %.2f s\n", selection, size,
                        timed.read.text ? "read" : timed.read.tooLarge ? "too large" : "nothing",
                        timed.read.text ? timed.read.text->size() : 0, timed.seconds);
            EXPECT_LT(timed.seconds, 5.0);
            if (size < kOverBound) {
                EXPECT_TRUE(timed.read.text == text) << selection << " " << size;
            } else {
                EXPECT_EQ(timed.read.tooLarge, std::optional<std::uint64_t>(kOverBound)) << selection;
            }
            if (std::string(selection) != "CLIPBOARD") continue;
            // The copy fallback's snapshot: every type, or word that it is not whole.
            const ClipboardSnapshotRead saved = readSnapshot();
            EXPECT_EQ(saved.whole, size < kOverBound);
            ASSERT_TRUE(saved.snapshot && saved.snapshot->size() == 1);
            const ClipboardItem& item = saved.snapshot->front();
            EXPECT_EQ(item.size(), size < kOverBound ? 2u : 1u);
            if (size < kOverBound) {
                EXPECT_TRUE(item.front().second == text);
            }
        }
    }
    // An owner that announces less than it sends is stopped at the bound.
    TestApplication owner;
    owner.setServing(4 * kMiB, Fault::underAnnounce);
    owner.own("PRIMARY", {{"UTF8_STRING", textOfSize(kOverBound)}});
    const Timed timed = readText("PRIMARY");
    std::printf("PRIMARY of %zu bytes announced as half: %s in %.2f s\n", kOverBound,
                timed.read.tooLarge ? "too large" : "not refused", timed.seconds);
    EXPECT_GT(timed.read.tooLarge.value_or(0), x11::X11Selections::kMaximumSize);
    expectNextReadIsClean("PRIMARY");
}

TEST_F(X11SelectionsTest, MisbehavingOwnersEndInNothingOrTheirSizeWithinTheBounds) {
    const std::string text = textOfSize(600 * 1024);
    struct Case {
        Fault fault;
        std::optional<std::string> expected;
        std::optional<std::uint64_t> tooLarge;
    };
    const Case cases[] = {
        {Fault::refuse, std::nullopt, std::nullopt},
        {Fault::silent, std::nullopt, std::nullopt},
        {Fault::wrongFormat, std::nullopt, std::nullopt},
        {Fault::stallAfterFirst, std::nullopt, std::nullopt},
        {Fault::underAnnounce, text, std::nullopt},  // the size announced is only a lower bound
        {Fault::stopEarly, std::nullopt, std::nullopt},
        {Fault::changeTypeMidway, std::nullopt, std::nullopt},
        {Fault::vanishMidway, std::nullopt, std::nullopt},
        {Fault::announceTooMuch, std::nullopt, 100u << 20},
    };
    for (const Case& c : cases) {
        for (const char* selection : {"PRIMARY", "CLIPBOARD"}) {
            TestApplication owner;
            owner.setServing(64 * 1024, c.fault);
            owner.own(selection, {{"UTF8_STRING", text}});
            const Timed timed = readText(selection);
            EXPECT_LT(timed.seconds, 1.5) << int(c.fault);
            EXPECT_TRUE(timed.read.text == c.expected) << int(c.fault) << " " << selection;
            EXPECT_EQ(timed.read.tooLarge, c.tooLarge) << int(c.fault);
        }
        expectNextReadIsClean("CLIPBOARD");
    }
}

TEST_F(X11SelectionsTest, OddTargetsAndBadBytesAreSurvived) {
    TestApplication owner;
    owner.setServing(0, Fault::oddTargets);
    const std::string invalid = "caf\xC3\xA9 \xFF\xFE bytes \xE6\x96";
    owner.own("CLIPBOARD", {{"UTF8_STRING", invalid}, {"image/png", std::string("\x89PNG\0\0", 6)}});
    EXPECT_EQ(readText("CLIPBOARD").read.text, "café \uFFFD\uFFFD bytes \uFFFD\uFFFD");
    // Older programs offer Latin-1 alone.
    TestApplication older;
    older.own("PRIMARY", {{"STRING", "caf\xE9"}});
    EXPECT_EQ(readText("PRIMARY").read.text, "café");
    const auto started = Clock::now();
    const ClipboardSnapshotRead saved = readSnapshot();
    EXPECT_LT(Clock::now() - started, 2s);
    ASSERT_TRUE(saved.snapshot && saved.snapshot->size() == 1);
    EXPECT_EQ(saved.snapshot->front(),
              (ClipboardItem{{"UTF8_STRING", invalid}, {"image/png", std::string("\x89PNG\0\0", 6)}}));
}

}  // namespace
}  // namespace tavi::test
