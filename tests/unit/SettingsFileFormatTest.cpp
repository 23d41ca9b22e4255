#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/SettingsFileFormat.h"

namespace tavi {
namespace {

StoredValue text(std::string value) { return value; }
StoredValue list(std::vector<std::string> items) { return items; }

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

// FileSettingsStoreTest holds each kind of value to what QSettings writes;
// here, several together: [General] first, then each group in a section.
TEST(SettingsFileFormat, GroupsAreWrittenAsSectionsAfterGeneral) {
    EXPECT_EQ(formatSettingsFile({{"b", true}, {"i", std::int64_t{-5}}, {"l", list({})}, {"a/x", text("1")}}),
              "[General]\nb=true\ni=-5\nl=@Invalid()\n\n[a]\nx=1\n");
}

}  // namespace
}  // namespace tavi
