#include <gtest/gtest.h>

#include <cstdint>
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

TEST(Text, CountsScalarValues) {
    EXPECT_EQ(countScalarValues(""), 0u);
    EXPECT_EQ(countScalarValues("abc"), 3u);
    EXPECT_EQ(countScalarValues("中文"), 2u);
    EXPECT_EQ(countScalarValues("😀"), 1u);
    EXPECT_EQ(countScalarValues("👨‍👩‍👧"), 5u);  // three people joined by two zero-width joiners
    EXPECT_EQ(countScalarValues("\xff\xfe"), 2u);
}

}  // namespace
}  // namespace tavi
