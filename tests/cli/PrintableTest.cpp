// What may be shown as it is, and what is shown in its place.
#include "cli/Printable.h"

#include <gtest/gtest.h>

#include <string>

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(Printable, LeavesWhatCanBeSeen) {
    for (const char* text : {"", "a b", "\\n", "C:\\x", "é", "e\u0301", "中文", "\U0001F600",
                             "\u0600", "\u200c", "\U0001F469\u200D\U0001F467", "\u00a0", "'\"*"})
        EXPECT_EQ(Printable(std::string_view(text)), text);
}

TEST(Printable, EscapesControlCharacters) {
    EXPECT_EQ(Printable("a\nb\rc\td"s), "a\\nb\\rc\\td");
    EXPECT_EQ(Printable("\0\x01\x1b[31m\x7f"s), "\\x00\\x01\\x1B[31m\\x7F");
    EXPECT_EQ(Printable("\u0080\u0085\u009b\u009f"s), "\\x80\\x85\\x9B\\x9F");
}

TEST(Printable, EscapesLineEndsAndFormatCharacters) {
    EXPECT_EQ(Printable("\u2028\u2029"s), "\\u2028\\u2029");
    EXPECT_EQ(Printable("\u200e\u200f\u061c"s), "\\u200E\\u200F\\u061C");
    EXPECT_EQ(Printable("\u202a\u202b\u202c\u202d\u202e"s), "\\u202A\\u202B\\u202C\\u202D\\u202E");
    EXPECT_EQ(Printable("\u2066\u2067\u2068\u2069"s), "\\u2066\\u2067\\u2068\\u2069");
    EXPECT_EQ(Printable("a\u00ad\u200b\ufeff"s), "a\\xAD\\u200B\\uFEFF");
    EXPECT_EQ(Printable("\U000E0041"s), "\\U000E0041");
}

TEST(Printable, EscapesHalvesOfSurrogatePairs) {
    const std::u16string text{u'a', 0xD83D, u'b', 0xDE00, 0xD83D, 0xDE00, 0xD83D};
    EXPECT_EQ(Printable(std::u16string_view(text)), "a\\uD83Db\\uDE00\U0001F600\\uD83D");
}

TEST(Printable, BytesThatAreNotUtf8AreReplaced) {
    EXPECT_EQ(Printable("a\xE9z"s), "a\uFFFDz");
}

TEST(PrintableLines, KeepsLineEndsAndNothingElse) {
    EXPECT_EQ(PrintableLines("a\r\nb\nc"), "a\nb\nc");
    EXPECT_EQ(PrintableLines("a\rb\r\r\n\tc\x1b\n"), "a\\rb\\r\n\\tc\\x1B\n");
    EXPECT_EQ(PrintableLines(""), "");
}

}  // namespace
}  // namespace quillon
