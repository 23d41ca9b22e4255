#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

#include "core/Text.h"
#include "core/Utf8.h"

namespace tavi {
namespace {

TEST(Utf8, AcceptsWellFormedSequencesAtTheirBoundaries) {
    for (char32_t scalar : {U'\0', U'\x7F', U'\x80', U'\x7FF', U'\x800', U'\xD7FF', U'\xE000', U'\xFFFD',
                            U'\xFFFF', U'\x10000', U'\x10FFFF'}) {
        std::string encoded;
        appendUtf8(encoded, scalar);
        const Utf8Scalar decoded = decodeUtf8At(encoded, 0);
        EXPECT_TRUE(decoded.valid) << static_cast<std::uint32_t>(scalar);
        EXPECT_EQ(static_cast<std::uint32_t>(decoded.value), static_cast<std::uint32_t>(scalar));
        EXPECT_EQ(decoded.length, encoded.size());
    }
    std::string replaced;
    appendUtf8(replaced, 0xD800);
    appendUtf8(replaced, 0x110000);
    EXPECT_EQ(replaced, "\uFFFD\uFFFD");
}

// Every byte of an ill-formed sequence is a character of its own: it is
// kept by trimming and counted once.
TEST(Utf8, RefusesOverlongsSurrogatesAndValuesPastTheLastPlane) {
    struct Case {
        const char* what;
        std::string bytes;
    };
    const Case cases[] = {
        {"overlong blank", "\xC0\xA0"},
        {"overlong two-byte", "\xC1\xBF"},
        {"overlong three-byte", "\xE0\x80\xA0"},
        {"overlong four-byte", "\xF0\x80\x80\xA0"},
        {"high surrogate", "\xED\xA0\x80"},
        {"low surrogate", "\xED\xBF\xBF"},
        {"above U+10FFFF", "\xF4\x90\x80\x80"},
        {"lead byte past F4", "\xF5\x80\x80\x80"},
        {"truncated", "\xE4\xB8"},
        {"stray continuation", "\x80\xBF"},
        {"FE FF", "\xFE\xFF"},
    };
    for (const Case& tc : cases) {
        EXPECT_FALSE(isValidUtf8(tc.bytes)) << tc.what;
        EXPECT_EQ(countScalarValues(tc.bytes), tc.bytes.size()) << tc.what;
        EXPECT_EQ(trimWhitespaceAndNewlines("x" + tc.bytes + " "), "x" + tc.bytes) << tc.what;
        EXPECT_EQ(trimWhitespaceAndNewlines(" " + tc.bytes + "x"), tc.bytes + "x") << tc.what;
    }
    // An invalid lead byte does not swallow a valid character after it.
    EXPECT_EQ(countScalarValues("\xE4中"), 2u);
    EXPECT_TRUE(isValidUtf8("a\u00e9中😀"));
}

TEST(Utf8, ReplacesEachInvalidByteAndSaysWhereTheFirstIs) {
    EXPECT_EQ(firstInvalidUtf8("caf\xe9 au lait"), 3u);
    EXPECT_EQ(replacingInvalidUtf8("caf\xe9 au lait"), "caf\uFFFD au lait");
    // A truncated sequence: each of its bytes stands alone.
    EXPECT_EQ(replacingInvalidUtf8("\xe4\xb8x\xed\xa0\x80"), "\uFFFD\uFFFDx\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(replacingInvalidUtf8("中文"), "中文");
    EXPECT_EQ(firstInvalidUtf8("中文"), 6u);
}

TEST(Text, TrimsUnicodeWhitespaceAndLineBreaksOnly) {
    EXPECT_EQ(trimWhitespaceAndNewlines("\n  你好  \n"), "你好");
    EXPECT_EQ(trimWhitespaceAndNewlines("\u3000\u00a0\t\r\n x y \u2028\u0085"), "x y");
    EXPECT_EQ(trimWhitespaceAndNewlines(" \u200b "), "\u200b");  // zero-width space is not white space
    EXPECT_EQ(trimWhitespaceAndNewlines("   "), "");
    EXPECT_EQ(trimWhitespaceAndNewlines(""), "");
    EXPECT_EQ(trimWhitespaceAndNewlines(" \xff "), "\xff");
    EXPECT_EQ(trimWhitespaceAndNewlines("\xe3\x80"), "\xe3\x80");  // truncated sequence kept
    EXPECT_EQ(trimWhitespaceAndNewlines("x\xe3\x80\x80"), "x");     // U+3000 itself is trimmed
}

// Unicode's own cases are checked against its test file below (scripts/setup.sh
// installs it); here a few of them, and bytes that are not UTF-8.
TEST(Text, CountsUserPerceivedCharacters) {
    const std::pair<std::string, std::size_t> cases[] = {
        {"", 0},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467", 1},  // family joined by ZWJ
        {"\U0001F1E8\U0001F1F3\U0001F1EF", 2},              // a flag and a lone indicator
        {"\r\n", 1},
        {"\xff\u0301", 2},  // an invalid byte stands alone, even before a mark
        {"\xE4\xB8", 2},
    };
    for (const auto& [text, clusters] : cases) EXPECT_EQ(countGraphemeClusters(text), clusters) << text;
    // Counting may stop once a caller knows enough.
    EXPECT_EQ(countGraphemeClusters("\U0001F1E8\U0001F1F3\U0001F1EF\U0001F1F5abc", 2), 2u);
    EXPECT_EQ(countGraphemeClusters("ab", 5), 2u);
}

TEST(Text, SizesForPeopleRoundUp) {
    const std::pair<std::uint64_t, std::string> cases[] = {
        {980, "980 字节"}, {1025, "2 KB"}, {300 * 1024, "300 KB"}, {8u << 20, "8.0 MB"}, {(64u << 20) + 1, "64.1 MB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(describeByteSize(bytes), text);
}

// Unicode's own test file, when the unicode-data package is installed.
TEST(Text, GraphemeClustersMatchTheUnicodeTestFile) {
    std::ifstream file("/usr/share/unicode/auxiliary/GraphemeBreakTest.txt");
    if (!file) GTEST_SKIP() << "unicode-data is not installed";
    std::size_t lines = 0;
    std::string line;
    while (std::getline(file, line)) {
        line = line.substr(0, line.find('#'));
        std::istringstream tokens(line);
        std::string token;
        std::string text;
        std::size_t boundaries = 0;
        while (tokens >> token) {
            if (token == "÷") ++boundaries;
            else if (token != "×") appendUtf8(text, static_cast<char32_t>(std::stoul(token, nullptr, 16)));
        }
        if (boundaries == 0) continue;
        ++lines;
        EXPECT_EQ(countGraphemeClusters(text), boundaries - 1) << line;
    }
    EXPECT_GT(lines, 500u);
}

}  // namespace
}  // namespace tavi
