// Walking through rows, batches with several results, and errors on the way.
#include <gtest/gtest.h>

#include <string>

#include "tests/data/RecordsetFixture.h"
#include "tests/support/NumberThrown.h"
#include "tests/support/Raised.h"

namespace QuillonLib {
namespace {

using namespace std::string_view_literals;
using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::IntegerCell;
using test::NumberThrown;
using test::SendRows;
using test::TextCell;
using test::Type;

class RecordsetTest : public RecordsetFixture {};

TEST_F(RecordsetTest, StandsOnTheFirstRowAndWalksToTheEnd) {
    ServeNumbers(3);
    rows.Open(u"rows", connection);
    ASSERT_TRUE(rows.IsOpen());
    EXPECT_EQ(rows.RecordCount(), 3U);
    EXPECT_EQ(rows.Fields(0).Value(), Value(0));
    rows.MoveNext();
    EXPECT_EQ(rows.Fields(u"text").Value(), Value(u"1"));
    rows.MoveNext();
    EXPECT_FALSE(rows.EndOfSet());
    rows.MoveNext();
    EXPECT_TRUE(rows.EndOfSet());
    rows.MoveFirst();
    EXPECT_EQ(rows.Fields(0).Value(), Value(0));
}

TEST_F(RecordsetTest, DescribesItsFields) {
    ServeNumbers(1);
    rows.Open(u"rows", connection);
    ASSERT_EQ(rows.FieldCount(), 2U);
    EXPECT_EQ(rows.Fields(0).Name(), u"Number");
    EXPECT_EQ(rows.Fields(0).TypeName(), u"int");
    EXPECT_EQ(rows.Fields(0).Kind(), ValueKind::Long);
    EXPECT_EQ(rows.Info(1).typeName, u"nvarchar");
    EXPECT_EQ(rows.FieldIndex(u"NUMBER"), 0U);
    EXPECT_EQ(rows.FieldIndex(u"text"), 1U);
}

TEST_F(RecordsetTest, AFieldOfExactlyTheNameComesFirst) {
    server.On(u"rows", [](ResultSink& sink) {
        SendRows(sink, {Column(u"a", Type(TypeId::Int)), Column(u"A", Type(TypeId::Int))},
                 {{IntegerCell(1), IntegerCell(2)}});
    });
    rows.Open(u"rows", connection);
    EXPECT_EQ(rows.Fields(u"a").Value(), Value(1));
    EXPECT_EQ(rows.Fields(u"A").Value(), Value(2));
}

TEST_F(RecordsetTest, HasNoFieldOfAnUnknownName) {
    ServeNumbers(1);
    rows.Open(u"rows", connection);
    EXPECT_EQ(NumberThrown([&] { rows.Fields(u"nothing"); }), 3265);
    EXPECT_EQ(NumberThrown([&] { rows.Fields(2); }), 3265);
    EXPECT_EQ(RaisedBy([&] { rows.Fields(u"nothing"); }).description,
              u"Item cannot be found in the collection corresponding to the requested name or "
              u"ordinal.");
}

TEST_F(RecordsetTest, HasNoValuePastTheLastRow) {
    ServeNumbers(0);
    rows.Open(u"rows", connection);
    EXPECT_TRUE(rows.EndOfSet());
    EXPECT_EQ(rows.RecordCount(), 0U);
    EXPECT_EQ(rows.FieldCount(), 2U);
    EXPECT_EQ(NumberThrown([&] { rows.Fields(0).Value(); }), 3021);
    EXPECT_EQ(NumberThrown([&] { rows.Fields(0).IsNull(); }), 3021);
    EXPECT_EQ(NumberThrown([&] { rows.MoveNext(); }), 3021);
    EXPECT_EQ(NumberThrown([&] { rows.ValueAt(0, 0); }), 9);
}

TEST_F(RecordsetTest, OpensAndClosesAgainAndAgain) {
    ServeNumbers(2);
    for (int i = 0; i < 3; ++i) {
        rows.Open(u"rows", connection);
        EXPECT_EQ(rows.RecordCount(), 2U);
        EXPECT_EQ(NumberThrown([&] { rows.Open(u"rows", connection); }), 3705);
        rows.Close();
        EXPECT_FALSE(rows.IsOpen());
    }
}

TEST_F(RecordsetTest, RefusesEverythingWhenClosed) {
    const Raised raised = RaisedBy([&] { rows.Close(); });
    EXPECT_EQ(raised.number, 3704);
    EXPECT_EQ(raised.description, u"Operation is not allowed when the object is closed.");
    EXPECT_EQ(NumberThrown([&] { rows.RecordCount(); }), 3704);
    EXPECT_EQ(NumberThrown([&] { rows.EndOfSet(); }), 3704);
    EXPECT_EQ(NumberThrown([&] { rows.Fields(0); }), 3704);
    EXPECT_EQ(NumberThrown([&] { rows.MoveFirst(); }), 3704);
    EXPECT_EQ(NumberThrown([&] { rows.Open(u"rows", nullptr); }), 91);
    EXPECT_EQ(NumberThrown([&] { rows.Open(u"rows", std::make_shared<Connection>()); }), 3704);
}

TEST_F(RecordsetTest, KeepsItsRowsWhenTheConnectionCloses) {
    ServeNumbers(2);
    rows.Open(u"rows", connection);
    connection->Close();
    EXPECT_EQ(rows.Fields(u"Number").Value(), Value(0));
}

TEST_F(RecordsetTest, LeavesTheConnectionToTheNextOne) {
    ServeNumbers(2000);
    rows.Open(u"rows", connection);
    Recordset second;
    second.Open(u"rows", connection);
    EXPECT_EQ(rows.RecordCount(), 2000U);
    EXPECT_EQ(second.RecordCount(), 2000U);
}

// Both ways of reading: rows in blocks, and one by one where there is a long column.
TEST_F(RecordsetTest, FindsEveryRowOfManyBlocks) {
    for (const bool longText : {false, true}) {
        ServeNumbers(5000, longText);
        rows.Open(u"rows", connection);
        ASSERT_EQ(rows.RecordCount(), 5000U);
        EXPECT_GT(rows.BlockCount(), 1U);
        std::int32_t expected = 0;
        for (; !rows.EndOfSet(); rows.MoveNext(), ++expected) {
            ASSERT_EQ(rows.Fields(0).Value(), Value(expected));
            const std::string digits = std::to_string(expected);
            const Value text = expected % 10 == 9
                                   ? Value::Null()
                                   : Value(std::u16string(digits.begin(), digits.end()));
            ASSERT_EQ(rows.Fields(1).Value(), text);
            ASSERT_EQ(rows.ValueAt(static_cast<std::size_t>(expected), 1), text);
        }
        EXPECT_EQ(expected, 5000);
        rows.Close();
    }
}

TEST_F(RecordsetTest, KeepsFieldsOfTheSameName) {
    server.On(u"twice", [](ResultSink& sink) {
        SendRows(sink,
                 {Column(u"a", Type(TypeId::Int)), Column(u"a", Type(TypeId::Int)),
                  Column(u"", Type(TypeId::Int))},
                 {{IntegerCell(1), IntegerCell(2), IntegerCell(3)}});
    });
    rows.Open(u"twice", connection);
    EXPECT_EQ(rows.FieldCount(), 3U);
    EXPECT_EQ(rows.Fields(u"A").Value(), Value(1));
    EXPECT_EQ(rows.Fields(1).Value(), Value(2));
    EXPECT_EQ(rows.Fields(2).Name(), u"");
}

// ---- batches -----------------------------------------------------------------------------------

TEST_F(RecordsetTest, KeepsTheFirstRowSetOfABatch) {
    server.On(u"batch", [](ResultSink& sink) {
        sink.Say(test::ServerError(0, u"printed", 0));
        sink.StatementDone(std::nullopt, false, false);
        sink.StatementDone(3, false, false);
        SendRows(sink, {Column(u"first", Type(TypeId::Int))}, {{IntegerCell(1)}, {IntegerCell(2)}});
        SendRows(sink, {Column(u"second", Type(TypeId::Int))}, {{IntegerCell(9)}});
    });
    rows.Open(u"batch", connection);
    EXPECT_EQ(rows.RecordCount(), 2U);
    EXPECT_EQ(rows.Fields(0).Name(), u"first");
    EXPECT_EQ(rows.Fields(0).Value(), Value(1));
}

TEST_F(RecordsetTest, IsEmptyWithoutARowSet) {
    for (const std::u16string_view batch : {u"DELETE t"sv, u""sv, u"-- nothing"sv}) {
        rows.Open(batch, connection);
        EXPECT_EQ(rows.FieldCount(), 0U);
        EXPECT_EQ(rows.RecordCount(), 0U);
        EXPECT_TRUE(rows.EndOfSet());
        rows.Close();
    }
}

TEST_F(RecordsetTest, SurfacesTheErrorOfALaterStatement) {
    server.On(u"batch", [](ResultSink& sink) {
        SendRows(sink, {Column(u"a", Type(TypeId::Int))}, {{IntegerCell(1)}});
        test::SendError(sink, 208, u"Invalid object name 't'.");
    });
    EXPECT_EQ(NumberThrown([&] { rows.Open(u"batch", connection); }),
              static_cast<std::int32_t>(0x80040E37));
    EXPECT_FALSE(rows.IsOpen());
    EXPECT_EQ(connection->Errors().size(), 1U);
    ServeNumbers(2);
    EXPECT_NO_THROW(rows.Open(u"rows", connection));
}

// In a block fetch the driver calls an error that ends the rows a success with information, and
// then says that there are no more rows.
TEST_F(RecordsetTest, SurfacesAnErrorThatEndsTheRows) {
    for (const bool longText : {false, true}) {
        for (const int before : {0, 1, 700, 1024, 3000}) {
            server.On(u"broken", [=](ResultSink& sink) {
                sink.Columns({Column(u"a", Type(TypeId::Int)),
                              Column(u"b", Type(TypeId::NVarChar, longText ? -1 : 10))});
                const sandbox::Cell cells[] = {IntegerCell(1), TextCell(u"text")};
                for (int i = 0; i < before; ++i)
                    sink.Row(cells);
                sink.Say(test::ServerError(8134, u"Divide by zero error encountered."));
                sink.StatementDone(std::nullopt, true, true);
            });
            EXPECT_TRUE(FailsToOpen(u"broken", 8134)) << before << " rows before it";
            EXPECT_FALSE(rows.IsOpen());
            EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
        }
    }
}

TEST_F(RecordsetTest, SurfacesADeadlockAmongTheRows) {
    ServeNumbers(3000);
    server.Wire().AddFault({.kind = sandbox::FaultKind::ErrorAfterRows,
                            .message = test::ServerError(1205, u"Transaction was deadlocked.", 13),
                            .rows = 1500});
    EXPECT_TRUE(FailsToOpen(u"rows", 1205));
    EXPECT_NO_THROW(rows.Open(u"rows", connection));
    EXPECT_EQ(rows.RecordCount(), 3000U);
}

TEST_F(RecordsetTest, DoesNotTakeALostConnectionForTheEnd) {
    for (const bool longText : {false, true}) {
        ServeNumbers(3000, longText);
        server.Wire().AddFault({.kind = sandbox::FaultKind::DropAfterRows, .rows = 1500});
        const auto own = server.Connect();
        EXPECT_EQ(RaisedBy([&] { rows.Open(u"rows", own); }).description,
                  u"[FreeTDS][SQL Server]Unexpected EOF from the server");
        EXPECT_FALSE(rows.IsOpen());
        EXPECT_FALSE(own->IsOpen());
    }
}

}  // namespace
}  // namespace QuillonLib
