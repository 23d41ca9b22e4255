#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/SettingsFileFormat.h"

namespace tavi {
namespace {

StoredValue text(std::string value) { return value; }
StoredValue bytes(std::string value) { return StoredBytes{std::move(value)}; }
StoredValue list(std::vector<std::string> items) { return items; }

// What hand-edited and hostile files read as. FileSettingsStoreTest checks the
// same dialect against QSettings itself.
TEST(SettingsFileFormat, ReadsTheIniDialectOfQSettings) {
    const std::string file =
        "; a comment\r\n"
        "[General]\r\n"
        "  spaced  =  value  \r\n"
        "escapes=\\x4e2d\\101\\t|\\q\\x\n"
        "quoted = \"a;b\" c ; a comment after the value\n"
        "joined=a\\\nb\n"
        "list=a, \" b\", \"c,d\", @@e\n"
        "doubledAt=@@x\n"
        "singleAt=@x\n"
        "bytes=@ByteArray(\\0\\x1\\xff\\x100z)\n"
        "nul=@String(a\\0b)\n"
        "dup=first\n"
        "dup=second\n"
        "no equals sign\n"
        "[ general ]\n"
        "stillGeneral=1\n"
        "[%General]\n"
        "k=group named General\n"
        "[a%2Fb]\n"
        "c=nested\n"
        "[u%U00E9]\n"
        "back\\slash=1\n";
    const SettingsFileEntries expected = {
        {"spaced", text("value")},
        {"escapes", text("中A\t|")},
        {"quoted", text("a;bc ")},
        {"joined", text("ab")},
        {"list", list({"a", " b", "c,d", "@e"})},
        {"doubledAt", text("@x")},
        {"singleAt", text("@x")},
        {"bytes", bytes(std::string("\0\x01\xff?z", 5))},
        {"nul", text(std::string("a\0b", 3))},
        {"dup", text("second")},
        {"stillGeneral", text("1")},
        {"General/k", text("group named General")},
        {"a/b/c", text("nested")},
        {"ué/back/slash", text("1")},
    };
    EXPECT_EQ(parseSettingsFile(file), expected);
}

// Serialised Qt types are never decoded: a bogus length inside one costs
// nothing, and the entry reads as missing.
TEST(SettingsFileFormat, SerialisedQtTypesAndInvalidEntriesReadAsMissing) {
    const std::string file =
        "list=@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n"
        "name=@Variant(\\0\\0\\0\\x7f\\xff\\xff\\xff\\xff)\n"
        "date=@DateTime(\\0\\0\\0\\x10\\0\\0\\0\\0)\n"
        "rect=@Rect(1 2 3 4)\n"
        "invalid=@Invalid()\n"
        "typedList=a, @Variant(\\0\\0\\0\\x2\\0\\0\\0\\x1)\n"
        "laterUnreadable=kept?\n"
        "laterUnreadable=@Variant(\\0)\n"
        "unclosed=@Variant(\\0\\0\\0\\x2\n"
        "ok=yes\n";
    const SettingsFileEntries expected = {{"unclosed", text(std::string("@Variant(\0\0\0\x02", 13))},
                                          {"ok", text("yes")}};
    EXPECT_EQ(parseSettingsFile(file), expected);
    // An unterminated quote carries its line on to the end of the file, as it does in QSettings.
    EXPECT_EQ(parseSettingsFile("a=1\nb=\"open\nc=2\n"), (SettingsFileEntries{{"a", text("1")}, {"b", text("open\nc=2\n")}}));
    EXPECT_EQ(parseSettingsFile(std::string("\0\xff\xfe[General\n=\n==\n\x80", 17)),
              (SettingsFileEntries{{"", text("=")}}));
}

TEST(SettingsFileFormat, WrittenValuesReadBackUnchanged) {
    const SettingsFileEntries entries = {
        {"plain", text("gpt-4o-mini")},
        {"empty", text("")},
        {"blanks", text("  lead and trail  ")},
        {"separators", text("a;b,c=d")},
        {"at", text("@ByteArray(not bytes)")},
        {"doubleAt", text("@@")},
        {"controls", text("tab\tnl\ncr\r\x01\x1f" "1\x7f\a\b\f\v")},
        {"quotesAndBackslashes", text("\"q\" \\ \\x41")},
        {"unicode", text("中文 é 😀 \u2028")},
        {"nul", text(std::string("x\0" "1y", 4))},
        {"hotkey", bytes(R"({"keyCode":17,"modifiers":2048})")},
        {"binary", bytes(std::string("\0\x01\x7f\x80\xff" "9)", 7))},
        {"list", list({"a", " b ", "c,d", "@e", ""})},
        {"key with spaces and é", text("v")},
        {"group/nested/key", text("v")},
        {"General/inGroupGeneral", text("v")},
        {"", text("empty key")},
    };
    EXPECT_EQ(parseSettingsFile(formatSettingsFile(entries)), entries);
    EXPECT_EQ(formatSettingsFile({{"b", true}, {"i", std::int64_t{-5}}, {"l", list({})}, {"a/x", text("1")}}),
              "[General]\nb=true\ni=-5\nl=@Invalid()\n\n[a]\nx=1\n");
}

}  // namespace
}  // namespace tavi
