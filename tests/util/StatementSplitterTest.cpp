#include "util/StatementSplitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QuillonLib {
namespace {

using Pieces = std::vector<std::u16string>;

Pieces Split(std::u16string_view script) {
    return GetSQLStatementsFromScript(script).Items;
}

TEST(StatementSplitter, CutsAtLinesThatHoldGo) {
    EXPECT_EQ(Split(u"SELECT 1\r\nGO\r\nSELECT 2\r\nSELECT 3\r\nGO\r\nSELECT 4"),
              (Pieces{u"SELECT 1", u"SELECT 2\r\nSELECT 3", u"SELECT 4"}));
}

TEST(StatementSplitter, AnEmptyScriptHasNoPieces) {
    const TextArray pieces = GetSQLStatementsFromScript(u"");
    EXPECT_TRUE(pieces.Items.empty());
    EXPECT_EQ(pieces.LowerBound, 0);
    EXPECT_EQ(pieces.UpperBound(), -1);
}

TEST(StatementSplitter, WithoutASeparatorTheScriptIsOnePiece) {
    EXPECT_EQ(Split(u"SELECT 1\r\n"), Pieces{u"SELECT 1\r\n"});
}

TEST(StatementSplitter, OnlyTheExactLineSeparates) {
    for (const char16_t* script :
         {u"A\r\ngo\r\nB", u"A\r\nGo\r\nB", u"A\r\nGO \r\nB", u"A\r\n GO\r\nB",
          u"A\r\nGO -- now\r\nB", u"A\r\nGO;\r\nB", u"A\r\nGOGO\r\nB"}) {
        EXPECT_EQ(Split(script), Pieces{script});
    }
}

TEST(StatementSplitter, GoOnTheFirstOrLastLineStaysInThePiece) {
    EXPECT_EQ(Split(u"GO\r\nA"), Pieces{u"GO\r\nA"});
    EXPECT_EQ(Split(u"A\r\nGO"), Pieces{u"A\r\nGO"});
    EXPECT_EQ(Split(u"GO"), Pieces{u"GO"});
    EXPECT_EQ(Split(u"G"), Pieces{u"G"});
}

TEST(StatementSplitter, TheFirstOfTwoGoLinesTakesTheBreakBetweenThem) {
    EXPECT_EQ(Split(u"A\r\nGO\r\nGO\r\nB"), (Pieces{u"A", u"GO\r\nB"}));
}

TEST(StatementSplitter, KeepsEmptyPieces) {
    EXPECT_EQ(Split(u"A\r\nGO\r\n"), (Pieces{u"A", u""}));
    EXPECT_EQ(Split(u"\r\nGO\r\nA"), (Pieces{u"", u"A"}));
    EXPECT_EQ(Split(u"\r\nGO\r\n"), (Pieces{u"", u""}));
    EXPECT_EQ(Split(u"A\r\nGO\r\n\r\nGO\r\nB"), (Pieces{u"A", u"", u"B"}));
}

TEST(StatementSplitter, ALoneLineFeedNeverMatches) {
    EXPECT_EQ(Split(u"A\nGO\nB"), Pieces{u"A\nGO\nB"});
    EXPECT_EQ(Split(u"A\r\nGO\nB"), Pieces{u"A\r\nGO\nB"});
}

}  // namespace
}  // namespace QuillonLib
