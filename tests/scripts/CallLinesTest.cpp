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

}  // namespace
}  // namespace QuillonLib
