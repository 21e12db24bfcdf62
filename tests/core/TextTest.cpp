#include "core/Text.h"

#include <gtest/gtest.h>

#include <clocale>

namespace QuillonLib {
namespace {

using namespace std::string_literals;

TEST(Text, Utf8AndBack) {
    const std::u16string text = u"a\u00e9\u20ac\U0001F600\0z"s;
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0z"s;
    EXPECT_EQ(ToUtf8(text), utf8);
    EXPECT_EQ(FromUtf8(utf8), text);
}

TEST(Text, LoneSurrogatesBecomeTheReplacementCharacterInUtf8) {
    EXPECT_EQ(ToUtf8(std::u16string{u'a', 0xD83D, u'b'}), "a\xEF\xBF\xBD"s + "b");
    EXPECT_EQ(ToUtf8(std::u16string{0xDE00}), "\xEF\xBF\xBD");
}

TEST(Text, MalformedUtf8BecomesTheReplacementCharacter) {
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(FromUtf8("\xE2\x82"), u"\uFFFD");                            // cut off
    EXPECT_EQ(FromUtf8("\xE2\x82z"), u"\uFFFDz");                          // what follows is kept
    EXPECT_EQ(FromUtf8("\xC0\x80"), u"\uFFFD\uFFFD");                      // overlong
    EXPECT_EQ(FromUtf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");            // an encoded surrogate
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");  // above U+10FFFF
}

TEST(Text, TellsUtf8FromOtherEncodings) {
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("caf\xC3\xA9"));
    EXPECT_FALSE(IsUtf8("caf\xE9"));
    EXPECT_FALSE(IsUtf8("\xED\xA0\x80"));
}

TEST(Text, TellsUtf16FromHalvesOfPairs) {
    EXPECT_TRUE(IsUtf16(u""));
    EXPECT_TRUE(IsUtf16(u"a\0\uD7FF\uE000\uFFFF\U0001F600z"s));
    for (const std::u16string& text :
         {std::u16string{0xD83D}, std::u16string{0xDE00}, std::u16string{u'a', 0xDBFF, u'b'},
          std::u16string{u'a', 0xDC00, u'b'}, std::u16string{0xD83D, 0xD83D, 0xDE00},
          std::u16string{0xDE00, 0xD83D}, std::u16string{0xD83D, 0xDE00, 0xDFFF}}) {
        EXPECT_FALSE(IsUtf16(text)) << ToUtf8(text);
        EXPECT_NE(FromUtf8(ToUtf8(text)), text);
    }
}

TEST(Text, WritesNumbersInDecimal) {
    EXPECT_EQ(ToText(0), u"0");
    EXPECT_EQ(ToText(-42), u"-42");
    EXPECT_EQ(ToText(INT64_MIN), u"-9223372036854775808");
}

TEST(Text, FoldsCaseByCodePoint) {
    EXPECT_TRUE(EqualIgnoringCase(u"(LOCAL)", u"(local)"));
    EXPECT_TRUE(EqualIgnoringCase(u"\u00C9t\u00C9", u"\u00E9T\u00E9"));
    EXPECT_TRUE(EqualIgnoringCase(u"\U00010400", u"\U00010428"));
    EXPECT_FALSE(EqualIgnoringCase(u"a", u"ab"));
    EXPECT_FALSE(EqualIgnoringCase(u"stra\u00DFe", u"STRASSE"));  // one unit stays one unit
    EXPECT_EQ(FoldCase(u"\u0130"), u"\u0130");                    // has no simple folding
}

TEST(Text, MapsToUpperAndLower) {
    EXPECT_EQ(ToUpper(u"stra\u00DFe \U00010428"), u"STRA\u00DFE \U00010400");
    EXPECT_EQ(ToLower(u"MSREPL_TRAN_VERSION \u0394"), u"msrepl_tran_version \u03B4");
}

TEST(Text, CaseDoesNotDependOnTheProcessLocale) {
    const char* before = std::setlocale(LC_ALL, nullptr);
    const std::string saved = before == nullptr ? "C" : before;
    for (const char* name : {"tr_TR.UTF-8", "C"}) {
        std::setlocale(LC_ALL, name);  // where a locale is missing this changes nothing
        EXPECT_EQ(ToUpper(u"i"), u"I");
        EXPECT_TRUE(EqualIgnoringCase(u"TITLE", u"title"));
    }
    std::setlocale(LC_ALL, saved.c_str());
}

TEST(Text, KeepsLoneSurrogatesAndNulThroughCaseMapping) {
    const std::u16string text{u'A', 0xD83D, 0, 0xDE00, 0xD83D};
    const std::u16string folded{u'a', 0xD83D, 0, 0xDE00, 0xD83D};
    EXPECT_EQ(FoldCase(text), folded);
}

}  // namespace
}  // namespace QuillonLib
