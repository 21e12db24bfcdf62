#include "core/TableEntry.h"

#include <gtest/gtest.h>

#include "core/Text.h"

namespace QuillonLib {
namespace {

TEST(TableEntry, PutsBothNamesInBrackets) {
    EXPECT_EQ(MakeTableEntry(u"dbo", u"Order Details"), u"[dbo].[Order Details]");
    EXPECT_EQ(MakeTableEntry(u"", u""), u"[].[]");
}

TEST(TableEntry, DoesNotDoubleAClosingBracket) {
    EXPECT_EQ(MakeTableEntry(u"d]o", u"t]"), u"[d]o].[t]]");
}

TEST(TableEntry, CutsNameAndOwner) {
    EXPECT_EQ(GetTableName(u"[dbo].[Order Details]"), u"Order Details");
    EXPECT_EQ(GetTableOwner(u"[dbo].[Order Details]"), u"dbo");
}

TEST(TableEntry, OnlyTheFirstPointSeparates) {
    EXPECT_EQ(GetTableName(u"[a.b].[c.d]"), u"].[c.d");
    EXPECT_EQ(GetTableOwner(u"[a.b].[c.d]"), u"");
    EXPECT_EQ(GetTableName(u"[dbo].[c.d]"), u"c.d");
}

TEST(TableEntry, CutsByPositionWhateverTheTextHolds) {
    EXPECT_EQ(GetTableName(u"dbo.Customer"), u"ustome");
    EXPECT_EQ(GetTableOwner(u"dbo.Customer"), u"b");
}

TEST(TableEntry, WithoutAPointTheWholeTextIsTheName) {
    EXPECT_EQ(GetTableName(u"[Customer]"), u"Customer");
    EXPECT_EQ(GetTableOwner(u"[Customer]"), u"");
}

TEST(TableEntry, ShortTextsGiveEmptyNames) {
    for (const char16_t* text : {u"", u".", u"a", u"a.b", u"[].[]", u"ab.cd"}) {
        EXPECT_EQ(GetTableName(text), u"") << ToUtf8(text);
        EXPECT_EQ(GetTableOwner(text), u"") << ToUtf8(text);
    }
}

}  // namespace
}  // namespace QuillonLib
