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
    Open([](ResultSink& sink) {
        test::SendRows(
            sink, {Column(u"Id", Type(TypeId::Int)), Column(u"Name", Type(TypeId::NVarChar, 50))},
            {{IntegerCell(7), TextCell(u"O'Brien")}, {IntegerCell(-8), NullCell()}});
    });
    EXPECT_EQ(Lines({0, 1}),
              u"EXEC prcTmp_QVX_Update 7, N'O''Brien'\r\n"
              u"EXEC prcTmp_QVX_Update -8, NULL");
}

TEST_F(CallLinesTest, TakesTheFieldsInTheOrderGiven) {
    Open([](ResultSink& sink) {
        test::SendRows(sink,
                       {Column(u"a", Type(TypeId::Int)), Column(u"b", Type(TypeId::Int)),
                        Column(u"c", Type(TypeId::Bit))},
                       {{IntegerCell(1), IntegerCell(2), IntegerCell(1)}});
    });
    EXPECT_EQ(Lines({2, 0, 0}), u"EXEC prcTmp_QVX_Update 1, 1, 1");
}

TEST_F(CallLinesTest, AppendsToWhatIsThere) {
    Open([](ResultSink& sink) {
        test::SendRows(sink, {Column(u"a", Type(TypeId::Int))}, {{IntegerCell(1)}});
    });
    std::u16string lines = u"before ";
    AppendCallLines(lines, u"EXEC p ", {rows, {0}}, RowUse::Keep);
    EXPECT_EQ(lines, u"before EXEC p 1");
}

TEST_F(CallLinesTest, WritesNothingForNoRows) {
    Open([](ResultSink& sink) { test::SendRows(sink, {Column(u"a", Type(TypeId::Int))}, {}); });
    EXPECT_EQ(Lines({0}), u"");
}

TEST_F(CallLinesTest, QuotesServerTextThatBeginsWithNul) {
    const std::u16string text = u"\0DROP TABLE t"s;
    Open([&](ResultSink& sink) {
        test::SendRows(sink, {Column(u"a", Type(TypeId::NVarChar, 50))}, {{TextCell(text)}});
    });
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
    Open([](ResultSink& sink) {
        test::SendRows(sink, {Column(u"a", Type(TypeId::Int))}, {{IntegerCell(1)}});
    });
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

// The lines of two scripts: three fields for the first, then three for the second.
class CallLinePairsTest : public CallLinesTest {
  protected:
    struct Pair {
        std::u16string first;
        std::u16string second;
    };

    void OpenPairs(const test::Rows& cells) {
        Open([&](ResultSink& sink) {
            test::SendRows(
                sink,
                {Column(u"k_1", Type(TypeId::Int)), Column(u"t_1", Type(TypeId::NVarChar, -1)),
                 Column(u"n_1", Type(TypeId::Int)), Column(u"k_2", Type(TypeId::Int)),
                 Column(u"t_2", Type(TypeId::NVarChar, -1)), Column(u"n_2", Type(TypeId::Int))},
                cells);
        });
    }
    Pair Lines() {
        Pair lines;
        AppendCallLinePairs(lines.first, lines.second, u"EXEC p ", {rows, {0, 1, 2}},
                            {rows, {3, 4, 5}}, RowUse::Keep);
        return lines;
    }
};

TEST_F(CallLinePairsTest, EqualCells) {
    OpenPairs({{IntegerCell(1), TextCell(u"it's"), IntegerCell(10), IntegerCell(1),
                TextCell(u"it's"), IntegerCell(10)},
               {IntegerCell(2), TextCell(u""), IntegerCell(-20), IntegerCell(2), TextCell(u""),
                IntegerCell(-20)}});
    const Pair lines = Lines();
    EXPECT_EQ(lines.first, u"EXEC p 1, N'it''s', 10\r\nEXEC p 2, N'', -20");
    EXPECT_EQ(lines.second, u"EXEC p 1, N'it''s', 10\r\nEXEC p 2, N'', -20");
}

TEST_F(CallLinePairsTest, UnequalCellsInEveryPlace) {
    OpenPairs({{IntegerCell(1), TextCell(u"a"), IntegerCell(10), IntegerCell(100), TextCell(u"a"),
                IntegerCell(10)},
               {IntegerCell(2), TextCell(u"longer than b"), IntegerCell(20), IntegerCell(2),
                TextCell(u"b"), IntegerCell(20)},
               {IntegerCell(3), TextCell(u"c"), IntegerCell(30), IntegerCell(3), TextCell(u"c"),
                IntegerCell(-30)},
               {IntegerCell(4), TextCell(u"d"), IntegerCell(40), IntegerCell(400), TextCell(u"d"),
                IntegerCell(-40)},
               {IntegerCell(5), TextCell(u"e"), IntegerCell(50), IntegerCell(500), TextCell(u"e'e"),
                IntegerCell(-50)}});
    const Pair lines = Lines();
    EXPECT_EQ(lines.first,
              u"EXEC p 1, N'a', 10\r\n"
              u"EXEC p 2, N'longer than b', 20\r\n"
              u"EXEC p 3, N'c', 30\r\n"
              u"EXEC p 4, N'd', 40\r\n"
              u"EXEC p 5, N'e', 50");
    EXPECT_EQ(lines.second,
              u"EXEC p 100, N'a', 10\r\n"
              u"EXEC p 2, N'b', 20\r\n"
              u"EXEC p 3, N'c', -30\r\n"
              u"EXEC p 400, N'd', -40\r\n"
              u"EXEC p 500, N'e''e', -50");
}

// A null cell holds the bits of zero or of an empty text, and is neither.
TEST_F(CallLinePairsTest, NullOnEitherSideOrBoth) {
    OpenPairs({{IntegerCell(1), NullCell(), IntegerCell(10), IntegerCell(1), TextCell(u""),
                IntegerCell(10)},
               {IntegerCell(2), TextCell(u""), IntegerCell(20), IntegerCell(2), NullCell(),
                IntegerCell(20)},
               {IntegerCell(3), NullCell(), NullCell(), IntegerCell(3), NullCell(), NullCell()},
               {IntegerCell(4), TextCell(u"d"), NullCell(), IntegerCell(4), TextCell(u"d"),
                IntegerCell(0)},
               {IntegerCell(5), TextCell(u"e"), IntegerCell(0), IntegerCell(5), TextCell(u"e"),
                NullCell()}});
    const Pair lines = Lines();
    EXPECT_EQ(lines.first,
              u"EXEC p 1, NULL, 10\r\n"
              u"EXEC p 2, N'', 20\r\n"
              u"EXEC p 3, NULL, NULL\r\n"
              u"EXEC p 4, N'd', NULL\r\n"
              u"EXEC p 5, N'e', 0");
    EXPECT_EQ(lines.second,
              u"EXEC p 1, N'', 10\r\n"
              u"EXEC p 2, NULL, 20\r\n"
              u"EXEC p 3, NULL, NULL\r\n"
              u"EXEC p 4, N'd', 0\r\n"
              u"EXEC p 5, N'e', NULL");
}

TEST_F(CallLinePairsTest, LongCellsOnEitherSideOrBoth) {
    const std::u16string x(100000, u'x');
    const std::u16string y(100000, u'y');
    OpenPairs({{IntegerCell(1), TextCell(x), IntegerCell(10), IntegerCell(1), TextCell(u"short"),
                IntegerCell(10)},
               {IntegerCell(2), TextCell(u"b"), IntegerCell(20), IntegerCell(2), TextCell(u"b"),
                IntegerCell(-20)},
               {IntegerCell(3), TextCell(u"short"), IntegerCell(30), IntegerCell(3), TextCell(x),
                IntegerCell(30)},
               {IntegerCell(4), TextCell(x), IntegerCell(40), IntegerCell(4), TextCell(x),
                IntegerCell(-40)},
               {IntegerCell(5), TextCell(x), IntegerCell(50), IntegerCell(5), TextCell(y),
                IntegerCell(50)},
               {IntegerCell(6), TextCell(u"f"), IntegerCell(60), IntegerCell(6), TextCell(u"f"),
                IntegerCell(60)}});
    const Pair lines = Lines();
    EXPECT_TRUE(lines.first == u"EXEC p 1, N'" + x +
                                   u"', 10\r\n"
                                   u"EXEC p 2, N'b', 20\r\n"
                                   u"EXEC p 3, N'short', 30\r\n"
                                   u"EXEC p 4, N'" +
                                   x +
                                   u"', 40\r\n"
                                   u"EXEC p 5, N'" +
                                   x +
                                   u"', 50\r\n"
                                   u"EXEC p 6, N'f', 60");
    EXPECT_TRUE(lines.second ==
                u"EXEC p 1, N'short', 10\r\n"
                u"EXEC p 2, N'b', -20\r\n"
                u"EXEC p 3, N'" +
                    x +
                    u"', 30\r\n"
                    u"EXEC p 4, N'" +
                    x +
                    u"', -40\r\n"
                    u"EXEC p 5, N'" +
                    y +
                    u"', 50\r\n"
                    u"EXEC p 6, N'f', 60");
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
    OpenPairs({});
    const Pair lines = Lines();
    EXPECT_EQ(lines.first, u"");
    EXPECT_EQ(lines.second, u"");
}

}  // namespace
}  // namespace QuillonLib
