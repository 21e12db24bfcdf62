#include "scripts/CallLines.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/data/ScriptedServer.h"

namespace QuillonLib {
namespace {

using namespace std::string_literals;
using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::IntegerCell;
using test::NullCell;
using test::TextCell;
using test::Type;

class CallLinesTest : public testing::Test {
  protected:
    void Open(const test::ScriptedServer::Answer& answer) {
        server.On(u"rows", answer);
        rows->Open(u"rows", server.Connect());
    }
    void OpenRows(const std::vector<sandbox::ColumnInfo>& columns, const test::Rows& cells) {
        Open([&](ResultSink& sink) { test::SendRows(sink, columns, cells); });
    }
    std::u16string Lines(const std::vector<std::size_t>& fields) {
        std::u16string lines;
        AppendCallLines(lines, u"EXEC prcTmp_QVX_Update ", {rows, fields}, RowUse::Keep);
        return lines;
    }

    // Rows of several blocks. Each has its number twice, in odd rows -1 the second time, with a
    // text between them.
    void OpenManyRows() {
        Open([](ResultSink& sink) {
            sink.Columns({Column(u"a", Type(TypeId::Int)), Column(u"t", Type(TypeId::NVarChar, 9)),
                          Column(u"b", Type(TypeId::Int))});
            for (int i = 0; i < ManyRows; ++i) {
                const sandbox::Cell cells[] = {IntegerCell(i), TextCell(u"x"),
                                               IntegerCell(i % 2 == 0 ? i : -1)};
                sink.Row(cells);
            }
            sink.StatementDone(ManyRows, true, false);
        });
        ASSERT_GT(rows->BlockCount(), 1U);
    }
    void ExpectReleased() const {
        for (const std::size_t row : {0, ManyRows - 1}) {
            try {
                rows->ValueAt(row, 0);
                ADD_FAILURE() << "row " << row << " can still be read";
            } catch (const Error& error) {
                EXPECT_EQ(error.Number(), 3704);
            }
        }
        EXPECT_EQ(rows->RecordCount(), static_cast<std::size_t>(ManyRows));
    }

    static constexpr int ManyRows = 20000;
    test::ScriptedServer server;
    std::shared_ptr<Recordset> rows = std::make_shared<Recordset>();
};

TEST_F(CallLinesTest, WritesOneLineForEachRow) {
    OpenRows({Column(u"Id", Type(TypeId::Int)), Column(u"Name", Type(TypeId::NVarChar, 50))},
             {{IntegerCell(7), TextCell(u"O'Brien")}, {IntegerCell(-8), NullCell()}});
    EXPECT_EQ(Lines({0, 1}),
              u"EXEC prcTmp_QVX_Update 7, N'O''Brien'\r\n"
              u"EXEC prcTmp_QVX_Update -8, NULL");
}

TEST_F(CallLinesTest, TakesTheFieldsInTheOrderGiven) {
    OpenRows({Column(u"a", Type(TypeId::Int)), Column(u"b", Type(TypeId::Int)),
              Column(u"c", Type(TypeId::Bit))},
             {{IntegerCell(1), IntegerCell(2), IntegerCell(1)}});
    EXPECT_EQ(Lines({2, 0, 0}), u"EXEC prcTmp_QVX_Update 1, 1, 1");
}

TEST_F(CallLinesTest, AppendsToWhatIsThere) {
    OpenRows({Column(u"a", Type(TypeId::Int))}, {{IntegerCell(1)}});
    std::u16string lines = u"before ";
    AppendCallLines(lines, u"EXEC p ", {rows, {0}}, RowUse::Keep);
    EXPECT_EQ(lines, u"before EXEC p 1");
}

TEST_F(CallLinesTest, WritesNothingForNoRows) {
    OpenRows({Column(u"a", Type(TypeId::Int))}, {});
    EXPECT_EQ(Lines({0}), u"");
}

TEST_F(CallLinesTest, QuotesServerTextThatBeginsWithNul) {
    const std::u16string text = u"\0DROP TABLE t"s;
    OpenRows({Column(u"a", Type(TypeId::NVarChar, 50))}, {{TextCell(text)}});
    EXPECT_EQ(Lines({0}), u"EXEC prcTmp_QVX_Update N'\0DROP TABLE t'"s);
}

TEST_F(CallLinesTest, WritesEveryBlockAndLongCells) {
    const std::u16string longText(100000, u'\'');
    Open([&](ResultSink& sink) {
        sink.Columns({Column(u"a", Type(TypeId::Int)), Column(u"b", Type(TypeId::NVarChar, -1))});
        for (int i = 0; i < 2000; ++i) {
            const sandbox::Cell cells[] = {IntegerCell(i),
                                           i == 1500 ? TextCell(longText) : TextCell(u"x")};
            sink.Row(cells);
        }
        sink.StatementDone(2000, true, false);
    });
    ASSERT_GT(rows->BlockCount(), 1U);
    std::u16string expected;
    for (int i = 0; i < 2000; ++i) {
        const std::string digits = std::to_string(i);
        if (i > 0) expected += u"\r\n";
        expected +=
            u"EXEC prcTmp_QVX_Update " + std::u16string(digits.begin(), digits.end()) + u", N'";
        expected += i == 1500 ? std::u16string(200000, u'\'') : u"x"s;
        expected += u"'";
    }
    EXPECT_TRUE(Lines({0, 1}) == expected);
}

TEST_F(CallLinesTest, RefusesAFieldThatIsNotThere) {
    OpenRows({Column(u"a", Type(TypeId::Int))}, {{IntegerCell(1)}});
    EXPECT_THROW(Lines({1}), Error);
}

TEST_F(CallLinesTest, RowsCanBeReadAgainUnlessReleased) {
    OpenManyRows();
    std::u16string kept;
    AppendCallLines(kept, u"EXEC p ", {rows, {0}}, RowUse::Keep);
    EXPECT_EQ(rows->ValueAt(ManyRows - 1, 0), Value(ManyRows - 1));
    std::u16string released;
    AppendCallLines(released, u"EXEC p ", {rows, {0}}, RowUse::Release);
    EXPECT_TRUE(released == kept);
    EXPECT_TRUE(kept.starts_with(u"EXEC p 0\r\nEXEC p 1\r\n"));
    EXPECT_TRUE(kept.ends_with(u"\r\nEXEC p 19998\r\nEXEC p 19999"));
    ExpectReleased();
}

// A cell as its literal: 5, u"text", or Null.
struct Null {};
struct Literal {
    Literal(int number) : cell(IntegerCell(number)) {}
    Literal(const char16_t* text) : cell(TextCell(text)) {}
    Literal(const std::u16string& text) : cell(TextCell(text)) {}
    Literal(Null) {}

    sandbox::Cell cell;
};

// The lines of two scripts: three fields for the first, then three for the second.
class CallLinePairsTest : public CallLinesTest {
  protected:
    struct PairOfRows {
        Literal k1, t1, n1;
        Literal k2, t2, n2;
        std::u16string first;
        std::u16string second;
    };

    // Every row becomes its line of either script, and the lines stand apart.
    void ExpectLines(const std::vector<PairOfRows>& cases) {
        test::Rows cells;
        std::u16string expectedFirst;
        std::u16string expectedSecond;
        for (const PairOfRows& each : cases) {
            const std::u16string lineEnd = cells.empty() ? u"" : u"\r\n";
            expectedFirst += lineEnd + each.first;
            expectedSecond += lineEnd + each.second;
            cells.push_back({each.k1.cell, each.t1.cell, each.n1.cell,  //
                             each.k2.cell, each.t2.cell, each.n2.cell});
        }
        OpenRows({Column(u"k_1", Type(TypeId::Int)), Column(u"t_1", Type(TypeId::NVarChar, -1)),
                  Column(u"n_1", Type(TypeId::Int)), Column(u"k_2", Type(TypeId::Int)),
                  Column(u"t_2", Type(TypeId::NVarChar, -1)), Column(u"n_2", Type(TypeId::Int))},
                 cells);
        std::u16string first;
        std::u16string second;
        AppendCallLinePairs(first, second, u"EXEC p ", {rows, {0, 1, 2}}, {rows, {3, 4, 5}},
                            RowUse::Keep);
        EXPECT_EQ(first, expectedFirst);
        EXPECT_EQ(second, expectedSecond);
    }
};

TEST_F(CallLinePairsTest, EqualCells) {
    ExpectLines({
        {1, u"it's", 10, 1, u"it's", 10, u"EXEC p 1, N'it''s', 10", u"EXEC p 1, N'it''s', 10"},
        {2, u"", -20, 2, u"", -20, u"EXEC p 2, N'', -20", u"EXEC p 2, N'', -20"},
    });
}

TEST_F(CallLinePairsTest, UnequalCellsInEveryPlace) {
    ExpectLines({
        {1, u"a", 10, 100, u"a", 10, u"EXEC p 1, N'a', 10", u"EXEC p 100, N'a', 10"},
        {2, u"longer than b", 20, 2, u"b", 20,  //
         u"EXEC p 2, N'longer than b', 20", u"EXEC p 2, N'b', 20"},
        {3, u"c", 30, 3, u"c", -30, u"EXEC p 3, N'c', 30", u"EXEC p 3, N'c', -30"},
        {4, u"d", 40, 400, u"d", -40, u"EXEC p 4, N'd', 40", u"EXEC p 400, N'd', -40"},
        {5, u"e", 50, 500, u"e'e", -50, u"EXEC p 5, N'e', 50", u"EXEC p 500, N'e''e', -50"},
    });
}

// A null cell holds the bits of zero or of an empty text, and is neither.
TEST_F(CallLinePairsTest, NullOnEitherSideOrBoth) {
    constexpr Null null{};
    ExpectLines({
        {1, null, 10, 1, u"", 10, u"EXEC p 1, NULL, 10", u"EXEC p 1, N'', 10"},
        {2, u"", 20, 2, null, 20, u"EXEC p 2, N'', 20", u"EXEC p 2, NULL, 20"},
        {3, null, null, 3, null, null, u"EXEC p 3, NULL, NULL", u"EXEC p 3, NULL, NULL"},
        {4, u"d", null, 4, u"d", 0, u"EXEC p 4, N'd', NULL", u"EXEC p 4, N'd', 0"},
        {5, u"e", 0, 5, u"e", null, u"EXEC p 5, N'e', 0", u"EXEC p 5, N'e', NULL"},
    });
}

TEST_F(CallLinePairsTest, LongCellsOnEitherSideOrBoth) {
    const std::u16string x(100000, u'x');
    const std::u16string y(100000, u'y');
    ExpectLines({
        {1, x, 10, 1, u"short", 10, u"EXEC p 1, N'" + x + u"', 10", u"EXEC p 1, N'short', 10"},
        {2, u"b", 20, 2, u"b", -20, u"EXEC p 2, N'b', 20", u"EXEC p 2, N'b', -20"},
        {3, u"short", 30, 3, x, 30, u"EXEC p 3, N'short', 30", u"EXEC p 3, N'" + x + u"', 30"},
        {4, x, 40, 4, x, -40, u"EXEC p 4, N'" + x + u"', 40", u"EXEC p 4, N'" + x + u"', -40"},
        {5, x, 50, 5, y, 50, u"EXEC p 5, N'" + x + u"', 50", u"EXEC p 5, N'" + y + u"', 50"},
        {6, u"f", 60, 6, u"f", 60, u"EXEC p 6, N'f', 60", u"EXEC p 6, N'f', 60"},
    });
}

TEST_F(CallLinePairsTest, EveryBlockIsWrittenAndReleased) {
    OpenManyRows();
    std::u16string first = u"before ";
    std::u16string second;
    AppendCallLinePairs(first, second, u"EXEC p ", {rows, {0, 1, 0}}, {rows, {0, 1, 2}},
                        RowUse::Release);
    std::u16string expectedFirst = u"before ";
    std::u16string expectedSecond;
    for (int i = 0; i < ManyRows; ++i) {
        const std::string digits = std::to_string(i);
        const std::u16string number(digits.begin(), digits.end());
        const std::u16string lineEnd = i == 0 ? u"" : u"\r\n";
        expectedFirst += lineEnd + u"EXEC p " + number + u", N'x', " + number;
        expectedSecond +=
            lineEnd + u"EXEC p " + number + u", N'x', " + (i % 2 == 0 ? number : u"-1");
    }
    EXPECT_TRUE(first == expectedFirst);
    EXPECT_TRUE(second == expectedSecond);
    ExpectReleased();
}

TEST_F(CallLinePairsTest, NoRowsGiveNoLines) {
    ExpectLines({});
}

}  // namespace
}  // namespace QuillonLib
