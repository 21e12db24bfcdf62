#include "data/Recordset.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sandbox/text/Collations.h"
#include "tests/data/ScriptedServer.h"
#include "tests/support/NumberThrown.h"

namespace QuillonLib {
namespace {

using namespace std::string_view_literals;
using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::DataCell;
using test::FloatCell;
using test::IntegerCell;
using test::NullCell;
using test::ScriptedServer;
using test::SendRows;
using test::TextCell;
using test::Type;

// A server that answers "rows" with integers 0 to count - 1 in column "Number" and their text in
// column "Text".
class RecordsetTest : public testing::Test {
  protected:
    void ServeNumbers(int count, bool longText = false) {
        server.On(u"rows", [=](ResultSink& sink) {
            sink.Columns({Column(u"Number", Type(TypeId::Int)),
                          Column(u"Text", Type(TypeId::NVarChar, longText ? -1 : 20))});
            for (int i = 0; i < count; ++i) {
                const std::string digits = std::to_string(i);
                const std::u16string text(digits.begin(), digits.end());
                const sandbox::Cell cells[] = {IntegerCell(i),
                                               i % 10 == 9 ? NullCell() : TextCell(text)};
                if (!sink.Row(cells)) return;
            }
            sink.StatementDone(count, true, false);
        });
    }

    ScriptedServer server;
    std::shared_ptr<Connection> connection = server.Connect();
    Recordset rows;
};

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
        test::SendRows(sink,
                       {test::Column(u"a", test::Type(sandbox::TypeId::Int)),
                        test::Column(u"A", test::Type(sandbox::TypeId::Int))},
                       {{test::IntegerCell(1), test::IntegerCell(2)}});
    });
    rows.Open(u"rows", connection);
    EXPECT_EQ(rows.Fields(u"a").Value(), Value(1));
    EXPECT_EQ(rows.Fields(u"A").Value(), Value(2));
}

TEST_F(RecordsetTest, HasNoFieldOfAnUnknownName) {
    ServeNumbers(1);
    rows.Open(u"rows", connection);
    EXPECT_EQ(test::NumberThrown([&] { rows.Fields(u"nothing"); }), 3265);
    EXPECT_EQ(test::NumberThrown([&] { rows.Fields(2); }), 3265);
    try {
        rows.Fields(u"nothing");
    } catch (const Error& error) {
        EXPECT_EQ(error.Description(),
                  u"Item cannot be found in the collection corresponding to the requested name or "
                  u"ordinal.");
    }
}

TEST_F(RecordsetTest, HasNoValuePastTheLastRow) {
    ServeNumbers(0);
    rows.Open(u"rows", connection);
    EXPECT_TRUE(rows.EndOfSet());
    EXPECT_EQ(rows.RecordCount(), 0U);
    EXPECT_EQ(rows.FieldCount(), 2U);
    EXPECT_EQ(test::NumberThrown([&] { rows.Fields(0).Value(); }), 3021);
    EXPECT_EQ(test::NumberThrown([&] { rows.Fields(0).IsNull(); }), 3021);
    EXPECT_EQ(test::NumberThrown([&] { rows.MoveNext(); }), 3021);
    EXPECT_EQ(test::NumberThrown([&] { rows.ValueAt(0, 0); }), 9);
}

TEST_F(RecordsetTest, OpensAndClosesAgainAndAgain) {
    ServeNumbers(2);
    for (int i = 0; i < 3; ++i) {
        rows.Open(u"rows", connection);
        EXPECT_EQ(rows.RecordCount(), 2U);
        EXPECT_EQ(test::NumberThrown([&] { rows.Open(u"rows", connection); }), 3705);
        rows.Close();
        EXPECT_FALSE(rows.IsOpen());
    }
}

TEST_F(RecordsetTest, RefusesEverythingWhenClosed) {
    try {
        rows.Close();
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 3704);
        EXPECT_EQ(error.Description(), u"Operation is not allowed when the object is closed.");
    }
    EXPECT_EQ(test::NumberThrown([&] { rows.RecordCount(); }), 3704);
    EXPECT_EQ(test::NumberThrown([&] { rows.EndOfSet(); }), 3704);
    EXPECT_EQ(test::NumberThrown([&] { rows.Fields(0); }), 3704);
    EXPECT_EQ(test::NumberThrown([&] { rows.MoveFirst(); }), 3704);
    EXPECT_EQ(test::NumberThrown([&] { rows.Open(u"rows", nullptr); }), 91);
    EXPECT_EQ(test::NumberThrown([&] { rows.Open(u"rows", std::make_shared<Connection>()); }),
              3704);
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
    EXPECT_EQ(test::NumberThrown([&] { rows.Open(u"batch", connection); }),
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
            try {
                rows.Open(u"broken", connection);
                FAIL() << before << " rows were taken for all";
            } catch (const DataError& error) {
                EXPECT_TRUE(error.HasNativeError(8134));
            }
            EXPECT_FALSE(rows.IsOpen());
            EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
        }
    }
}

TEST_F(RecordsetTest, SurfacesADeadlockAmongTheRows) {
    ServeNumbers(3000);
    sandbox::Fault fault;
    fault.kind = sandbox::FaultKind::ErrorAfterRows;
    fault.rows = 1500;
    fault.message = test::ServerError(1205, u"Transaction was deadlocked.", 13);
    server.Wire().AddFault(fault);
    try {
        rows.Open(u"rows", connection);
        FAIL();
    } catch (const DataError& error) {
        EXPECT_TRUE(error.HasNativeError(1205));
    }
    EXPECT_NO_THROW(rows.Open(u"rows", connection));
    EXPECT_EQ(rows.RecordCount(), 3000U);
}

TEST_F(RecordsetTest, DoesNotTakeALostConnectionForTheEnd) {
    for (const bool longText : {false, true}) {
        ServeNumbers(3000, longText);
        sandbox::Fault fault;
        fault.kind = sandbox::FaultKind::DropAfterRows;
        fault.rows = 1500;
        server.Wire().AddFault(fault);
        const auto own = server.Connect();
        try {
            rows.Open(u"rows", own);
            FAIL();
        } catch (const Error& error) {
            EXPECT_EQ(error.Description(), u"[FreeTDS][SQL Server]Unexpected EOF from the server");
        }
        EXPECT_FALSE(rows.IsOpen());
        EXPECT_FALSE(own->IsOpen());
    }
}

// ---- types -------------------------------------------------------------------------------------

class RecordsetTypes : public RecordsetTest {
  protected:
    // The value that a single cell of this type arrives as.
    Value Arrives(sandbox::SqlType type, const sandbox::Cell& cell) {
        server.On(u"cell", [&](ResultSink& sink) {
            SendRows(sink, {Column(u"c", type)}, {{cell}, {NullCell()}});
        });
        rows.Open(u"cell", connection);
        typeName = rows.Info(0).typeName;
        const Value value = rows.ValueAt(0, 0);
        EXPECT_EQ(rows.ValueAt(1, 0), Value::Null());
        EXPECT_EQ(rows.Info(0).kind, value.Kind());
        rows.Close();
        return value;
    }

    std::u16string typeName;
};

TEST_F(RecordsetTypes, Integers) {
    EXPECT_EQ(Arrives(Type(TypeId::Bit), IntegerCell(1)), Value(true));
    EXPECT_EQ(Arrives(Type(TypeId::TinyInt), IntegerCell(255)), Value(std::uint8_t{255}));
    EXPECT_EQ(Arrives(Type(TypeId::SmallInt), IntegerCell(-32768)), Value(std::int16_t{-32768}));
    EXPECT_EQ(Arrives(Type(TypeId::Int), IntegerCell(-2147483648LL)),
              Value(std::int32_t{-2147483647 - 1}));
    EXPECT_EQ(Arrives(Type(TypeId::BigInt), IntegerCell(INT64_MIN)),
              Value(std::int64_t{INT64_MIN}));
}

TEST_F(RecordsetTypes, FloatsBitForBit) {
    EXPECT_EQ(Arrives(Type(TypeId::Float), FloatCell(0.1)), Value(0.1));
    EXPECT_EQ(Arrives(Type(TypeId::Float), FloatCell(5e-324)), Value(5e-324));
    EXPECT_EQ(Arrives(Type(TypeId::Real), FloatCell(0.1F)), Value(0.1F));
}

TEST_F(RecordsetTypes, AllDigitsOfADecimal) {
    const auto big = static_cast<sandbox::Int128>(1234567890123456789LL) * 10000000000000000000ULL +
                     1234567890123456789LL;
    EXPECT_EQ(Arrives(Type(TypeId::Decimal, 0, 38, 10), test::DecimalCell(-big)),
              Value(Decimal("-1234567890123456789123456789.0123456789")));
    EXPECT_EQ(Arrives(Type(TypeId::Numeric, 0, 38, 0), test::DecimalCell(big)),
              Value(Decimal("12345678901234567891234567890123456789")));
    EXPECT_EQ(Arrives(Type(TypeId::Decimal, 0, 5, 5), test::DecimalCell(-1)),
              Value(Decimal("-0.00001")));
    EXPECT_EQ(Arrives(Type(TypeId::Decimal, 0, 9, 2), test::DecimalCell(150)),
              Value(Decimal("1.50")));
}

TEST_F(RecordsetTypes, MoneyToTheLastUnit) {
    EXPECT_EQ(Arrives(Type(TypeId::Money), IntegerCell(INT64_MIN)), Value(Currency{INT64_MIN}));
    EXPECT_EQ(Arrives(Type(TypeId::Money), IntegerCell(INT64_MAX)), Value(Currency{INT64_MAX}));
    EXPECT_EQ(Arrives(Type(TypeId::Money), IntegerCell(-1)), Value(Currency{-1}));
    EXPECT_EQ(Arrives(Type(TypeId::Money), IntegerCell(12345)), Value(Currency{12345}));
    EXPECT_EQ(Arrives(Type(TypeId::SmallMoney), IntegerCell(-2147483648LL)),
              Value(Currency{-2147483648LL}));
}

TEST_F(RecordsetTypes, DatesToTheTick) {
    EXPECT_EQ(Arrives(Type(TypeId::DateTime), IntegerCell(0)), Value(Date{2}));
    EXPECT_EQ(Arrives(Type(TypeId::DateTime), IntegerCell(-53690 * TicksPerDay)),
              Value(Date{-53688}));
    EXPECT_EQ(Arrives(Type(TypeId::SmallDateTime), IntegerCell(24 * 60 + 90)), Value(Date{3.0625}));
    EXPECT_EQ(typeName, u"datetime");
}

TEST_F(RecordsetTypes, EveryTickOfASecondInBlocks) {
    server.On(u"ticks", [](ResultSink& sink) {
        sink.Columns({Column(u"d", Type(TypeId::DateTime))});
        for (int i = 0; i < 3000; ++i) {
            const sandbox::Cell cell = IntegerCell(-5 * TicksPerDay + i * 7919);
            sink.Row(&cell);
        }
        sink.StatementDone(3000, true, false);
    });
    rows.Open(u"ticks", connection);
    std::int64_t expected = -5 * TicksPerDay;
    for (std::size_t block = 0; block < rows.BlockCount(); ++block) {
        const PackedColumn column = rows.Column(block, 0);
        for (std::size_t row = 0; row < rows.RowsInBlock(block); ++row, expected += 7919) {
            ASSERT_EQ(column.Date(row).count, expected);
        }
    }
    EXPECT_EQ(expected, -5 * TicksPerDay + 3000 * 7919);
}

TEST_F(RecordsetTypes, NewerDatesAndTimesAsTheServersText) {
    constexpr std::int64_t Day = 864000000000;  // 100 ns
    EXPECT_EQ(Arrives(Type(TypeId::Date), IntegerCell(0)), Value(u"0001-01-01"));
    EXPECT_EQ(typeName, u"date");
    EXPECT_EQ(Arrives(Type(TypeId::Date), IntegerCell(3652058)), Value(u"9999-12-31"));
    EXPECT_EQ(Arrives(Type(TypeId::Time, 0, 0, 7), IntegerCell(Day - 1)),
              Value(u"23:59:59.9999999"));
    EXPECT_EQ(typeName, u"time");
    EXPECT_EQ(Arrives(Type(TypeId::Time, 0, 0, 0), IntegerCell(0)), Value(u"00:00:00"));
    EXPECT_EQ(Arrives(Type(TypeId::DateTime2, 0, 0, 7), IntegerCell(1234567)),
              Value(u"0001-01-01 00:00:00.1234567"));
    EXPECT_EQ(typeName, u"datetime2");
    EXPECT_EQ(Arrives(Type(TypeId::DateTime2, 0, 0, 3), IntegerCell(738899 * Day + 1230000)),
              Value(u"2024-01-15 00:00:00.123"));
    sandbox::Cell west = IntegerCell(738899 * Day + 1234567);
    west.offset = -330;
    EXPECT_EQ(Arrives(Type(TypeId::DateTimeOffset, 0, 0, 7), west),
              Value(u"2024-01-14 18:30:00.1234567 -05:30"));
    EXPECT_EQ(typeName, u"datetimeoffset");
}

TEST_F(RecordsetTypes, EveryUnitOfUnicodeText) {
    const std::u16string_view odd(u"a\0b\xD800z\xDC00\xD83D\xDE00'\xFFFF\xFFFE\xFEFF\xD83D", 13);
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, 50), TextCell(odd)), Value(odd));
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, 13), TextCell(odd)), Value(odd));
    EXPECT_EQ(Arrives(Type(TypeId::NChar, 13), TextCell(odd)), Value(odd));
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, -1), TextCell(odd)), Value(odd));
    EXPECT_EQ(Arrives(Type(TypeId::NText), TextCell(odd)), Value(odd));
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, 10), TextCell(u"")), Value(u""));
}

TEST_F(RecordsetTypes, CodePageText) {
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, 10), TextCell(u"é\x20AC\x2122\x0178?")),
              Value(u"é\x20AC\x2122\x0178?"));
    EXPECT_EQ(Arrives(Type(TypeId::Char, 5), TextCell(u"ab   ")), Value(u"ab   "));
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, -1), TextCell(u"é\x20AC")), Value(u"é\x20AC"));
    EXPECT_EQ(Arrives(Type(TypeId::Text), TextCell(u"é\x20AC")), Value(u"é\x20AC"));
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, 10), TextCell(std::u16string_view(u"a\0b", 3))),
              Value(std::u16string_view(u"a\0b", 3)));
}

TEST_F(RecordsetTypes, FullWidthCells) {
    const std::u16string wide(4000, u'\x20AC');
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, 4000), TextCell(wide)), Value(wide));
    const std::u16string narrow(8000, u'\x20AC');
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, 8000), TextCell(narrow)), Value(narrow));
    const ByteArray bytes(8000, 0xA5);
    EXPECT_EQ(Arrives(Type(TypeId::VarBinary, 8000), DataCell(bytes.data(), bytes.size())),
              Value(bytes));
}

TEST_F(RecordsetTypes, BytesAndGuids) {
    const ByteArray bytes{0x00, 0xFF, 0x10};
    EXPECT_EQ(Arrives(Type(TypeId::VarBinary, 10), DataCell(bytes.data(), 3)), Value(bytes));
    EXPECT_EQ(Arrives(Type(TypeId::VarBinary, 10), DataCell("", 0)), Value(ByteArray{}));
    EXPECT_EQ(Arrives(Type(TypeId::Timestamp), DataCell("\0\0\0\0\0\0\0\7", 8)),
              Value(ByteArray{0, 0, 0, 0, 0, 0, 0, 7}));
    EXPECT_EQ(typeName, u"timestamp");
    const std::uint8_t guid[] = {0xFF, 0x19, 0x96, 0x6F, 0x86, 0x8B, 0x11, 0xD0,
                                 0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF};
    EXPECT_EQ(DefaultText(Arrives(Type(TypeId::UniqueIdentifier), DataCell(guid, 16))),
              u"{6F9619FF-8B86-D011-B42D-00C04FC964FF}");
}

TEST_F(RecordsetTypes, LongCellsWhole) {
    std::u16string text;
    for (int i = 0; i < 300000; ++i)
        text += u"x\xD83D\xDE00\xD800"sv;
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, -1), TextCell(text)), Value(text));
    EXPECT_EQ(Arrives(Type(TypeId::NText), TextCell(text)), Value(text));
    const std::u16string euros(1000001, u'\x20AC');
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, -1), TextCell(euros)), Value(euros));
    EXPECT_EQ(Arrives(Type(TypeId::Text), TextCell(euros)), Value(euros));
    EXPECT_EQ(Arrives(Type(TypeId::Xml), TextCell(u"<a>\x4E2D\xD83D\xDE00</a>")),
              Value(u"<a>\x4E2D\xD83D\xDE00</a>"));
    const ByteArray bytes(1234567, 0x5A);
    EXPECT_EQ(Arrives(Type(TypeId::Image), DataCell(bytes.data(), bytes.size())), Value(bytes));
    EXPECT_EQ(Arrives(Type(TypeId::VarBinary, -1), DataCell(bytes.data(), bytes.size())),
              Value(bytes));
}

// The sizes around the first piece that is asked for, where a cell just fits or just does not.
TEST_F(RecordsetTypes, LongCellsAroundThePieceSize) {
    for (std::size_t units = 4090; units <= 4100; ++units) {
        const std::u16string text(units, u'\x20AC');
        ASSERT_EQ(Arrives(Type(TypeId::NVarChar, -1), TextCell(text)), Value(text));
        ASSERT_EQ(Arrives(Type(TypeId::VarChar, -1), TextCell(text)), Value(text));
        const ByteArray bytes(2 * units, 1);
        ASSERT_EQ(Arrives(Type(TypeId::Image), DataCell(bytes.data(), bytes.size())), Value(bytes));
    }
}

TEST_F(RecordsetTypes, EmptyLongCells) {
    EXPECT_EQ(Arrives(Type(TypeId::NVarChar, -1), TextCell(u"")), Value(u""));
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, -1), TextCell(u"")), Value(u""));
    EXPECT_EQ(Arrives(Type(TypeId::VarBinary, -1), DataCell("", 0)), Value(ByteArray{}));
    EXPECT_EQ(Arrives(Type(TypeId::Image), DataCell("", 0)), Value(ByteArray{}));
}

TEST_F(RecordsetTypes, VariantsAsText) {
    sandbox::Cell number = IntegerCell(-5);
    number.variantType = Type(TypeId::Int);
    EXPECT_EQ(Arrives(Type(TypeId::SqlVariant), number), Value(u"-5"));
    sandbox::Cell text = TextCell(u"h\x20AC");
    text.variantType = Type(TypeId::NVarChar, 10);
    EXPECT_EQ(Arrives(Type(TypeId::SqlVariant), text), Value(u"h\x20AC"));
}

// Columns of char, varchar and text, with the code pages of their collations.
class RecordsetCodePages : public RecordsetTypes {
  protected:
    static sandbox::SqlType Collated(TypeId id, int length, std::u16string_view collation) {
        sandbox::SqlType type = Type(id, length);
        EXPECT_TRUE(sandbox::FindCollation(collation, 15, type.collation));
        return type;
    }
    // Text of the first cell of column "c"; of an Error its description.
    std::u16string Read(const sandbox::SqlType& type, std::u16string_view kept,
                        const FieldCodePages& pages) {
        server.On(u"page", [&](ResultSink& sink) {
            SendRows(sink, {Column(u"n", Type(TypeId::Int)), Column(u"c", type)},
                     {{IntegerCell(1), TextCell(kept)}, {IntegerCell(2), NullCell()}});
        });
        Recordset read;
        try {
            read.Open(u"page", connection, pages);
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), ErrorNumber::DataAccess);
            return error.Description();
        }
        EXPECT_EQ(read.ValueAt(0, 0), Value(1));
        EXPECT_EQ(read.ValueAt(1, 0), Value(2));
        EXPECT_TRUE(read.ValueAt(1, 1).IsNull());
        return read.ValueAt(0, 1).Get<std::u16string>();
    }
    static constexpr const char16_t* Czech = u"Czech_CI_AS";
    static constexpr const char16_t* Japanese = u"Japanese_CI_AS";
    static constexpr const char16_t* Utf8 = u"Latin1_General_100_CI_AS_SC_UTF8";
    const FieldCodePages none;
};

TEST_F(RecordsetCodePages, BytesWithoutACharacterArriveExactly) {
    const std::u16string_view all(u"a?\x81\0\x8D\x8F\x90\x9D\x20ACz", 10);
    for (const sandbox::SqlType& type :
         {Type(TypeId::VarChar, 10), Type(TypeId::Char, 10), Type(TypeId::VarChar, -1),
          Type(TypeId::Text), Type(TypeId::VarChar, 8000)}) {
        EXPECT_EQ(Read(type, all, {{u"c", 1252}}), all);
    }
    EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"", {{u"c", 1252}}), u"");
    EXPECT_EQ(Read(Type(TypeId::Text), u"", {{u"c", 1252}}), u"");
}

TEST_F(RecordsetCodePages, WithoutThemTheDriverConverts) {
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, 10), TextCell(u"a\x81\x20AC")), Value(u"a?\x20AC"));
}

TEST_F(RecordsetCodePages, EachColumnHasItsOwn) {
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Czech), u"\x0105\x81", {{u"c", 1250}}),
              u"\x0105\x81");
    EXPECT_EQ(
        Read(Collated(TypeId::Text, 0, u"Cyrillic_General_BIN"), u"\x0416\x98", {{u"c", 1251}}),
        u"\x0416\x98");
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Japanese), u"\x65E5z\xFF71\xF8F1", {{u"c", 932}}),
              u"\x65E5z\xFF71\xF8F1");
    EXPECT_EQ(Read(Collated(TypeId::Char, 4, u"Chinese_PRC_CI_AS"), u"\x4E2D  ", {{u"c", 936}}),
              u"\x4E2D  ");
}

TEST_F(RecordsetCodePages, LongTextOfDoubleBytesArrivesWhole) {
    std::u16string text;
    for (int i = 0; i < 50000; ++i)
        text += i % 3 == 0 ? u"\x65E5" : u"ab";
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Japanese), text, {{u"c", 932}}), text);
}

// The unpaired units stand for the bytes 87 90, which spell U+2252 a second time.
TEST_F(RecordsetCodePages, BytesThatDoNotComeBackAreRefusedByName) {
    const std::u16string refused =
        u"Column c holds bytes to which code page 932 gives no character of their own; they "
        u"cannot be carried over.";
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Japanese), u"a\xDC87\xDC90", {{u"c", 932}}),
              refused);
    EXPECT_EQ(Read(Collated(TypeId::Text, 0, Japanese), u"a\xDC81", {{u"c", 932}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Japanese), u"\xDC87\xDC90", {{u"c", 932}}),
              refused);
    // The connection serves the next statement.
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Japanese), u"\x65E5", {{u"c", 932}}), u"\x65E5");
}

TEST_F(RecordsetCodePages, OfAnUnknownOneOnlyAsciiIsRead) {
    const std::u16string refused =
        u"Column c holds characters beyond ASCII, and its code page is not known.";
    for (const FieldCodePages& pages : {none, {{u"c", 0}}, {{u"C", 1252}}, {{u"c", 12345}}}) {
        EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"What?", pages), u"What?");
        EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"\xE9", pages), refused);
        EXPECT_EQ(Read(Type(TypeId::Text), u"\xE9", pages), refused);
    }
    // What is UTF-16 on the server has no code page.
    EXPECT_EQ(Read(Type(TypeId::NVarChar, 10), u"\xE9\x65E5\xFFFD", none), u"\xE9\x65E5\xFFFD");
}

TEST_F(RecordsetCodePages, Utf8ComesAsUtf16) {
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Utf8), u"\xE9\x65E5", {{u"c", 65001}}),
              u"\xE9\x65E5");
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Utf8), u"\xD83D\xDE00", {{u"c", 65001}}),
              u"\xD83D\xDE00");
    EXPECT_EQ(Read(Collated(TypeId::Char, 3, Utf8), u"\x65E5", {{u"c", 65001}}), u"\x65E5");
}

TEST_F(RecordsetCodePages, InPlaceOfWhatIsNoUtf8TheServerSendsACharacterThatIsRefused) {
    const std::u16string refused =
        u"Column c holds U+FFFD, or bytes that are no UTF-8, for which the server sends the same; "
        u"they cannot be carried over.";
    // The unpaired unit stands for a byte FF.
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Utf8), u"a\xDCFF", {{u"c", 65001}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Utf8), u"a\xDCFF", {{u"c", 65001}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Utf8), u"\xFFFD", {{u"c", 65001}}), refused);
}

TEST_F(RecordsetCodePages, InAVariantAQuestionMarkOfACodePageIsRefused) {
    const auto variant = [&](std::u16string_view text, const sandbox::SqlType& base) {
        server.On(u"variant", [&](ResultSink& sink) {
            sandbox::Cell cell = TextCell(text);
            cell.variantType = base;
            sandbox::Cell number = IntegerCell(5);
            number.variantType = Type(TypeId::Int);
            SendRows(sink, {Column(u"v", Type(TypeId::SqlVariant))},
                     {{number}, {cell}, {NullCell()}});
        });
        Recordset read;
        try {
            read.Open(u"variant", connection, none);
        } catch (const Error& error) {
            return error.Description();
        }
        EXPECT_EQ(read.ValueAt(0, 0), Value(u"5"));
        EXPECT_TRUE(read.ValueAt(2, 0).IsNull());
        return read.ValueAt(1, 0).Get<std::u16string>();
    };
    const std::u16string refused =
        u"Column v holds, in a sql_variant, text of a code page with a question mark, or a byte "
        u"without a character, which the driver delivers as one; it cannot be carried over.";
    EXPECT_EQ(variant(u"a\x81", Type(TypeId::VarChar, 9)), refused);
    EXPECT_EQ(variant(u"a\x81", Type(TypeId::Char, 2)), refused);
    EXPECT_EQ(variant(u"\xDC87\xDC90\xDC85\xDC40", Collated(TypeId::VarChar, 9, Japanese)),
              refused);
    EXPECT_EQ(variant(u"What?", Type(TypeId::VarChar, 9)), refused);
    EXPECT_EQ(variant(u"What", Type(TypeId::VarChar, 9)), u"What");
    EXPECT_EQ(variant(u"\xE9\x20AC", Type(TypeId::VarChar, 9)), u"\xE9\x20AC");
    EXPECT_EQ(variant(u"", Type(TypeId::VarChar, 9)), u"");
    EXPECT_EQ(variant(u"What?\x81", Type(TypeId::NVarChar, 9)), u"What?\x81");
}

// A long column in the middle must not disturb its neighbours.
TEST_F(RecordsetTypes, LongColumnsBetweenOthers) {
    const std::u16string text(100000, u'\x20AC');
    server.On(u"mixed", [&](ResultSink& sink) {
        sink.Columns({Column(u"id", Type(TypeId::Int)), Column(u"l", Type(TypeId::NVarChar, -1)),
                      Column(u"d", Type(TypeId::Decimal, 0, 9, 2)),
                      Column(u"i", Type(TypeId::Image)), Column(u"s", Type(TypeId::NVarChar, 20))});
        for (int i = 0; i < 40; ++i) {
            const sandbox::Cell cells[] = {
                IntegerCell(i), TextCell(std::u16string_view(text).substr(0, i * 2000U)),
                test::DecimalCell(i * 100 + 5), i % 2 ? NullCell() : DataCell(text.data(), 50000),
                TextCell(u"end")};
            sink.Row(cells);
        }
        sink.StatementDone(40, true, false);
    });
    rows.Open(u"mixed", connection);
    ASSERT_EQ(rows.RecordCount(), 40U);
    EXPECT_GT(rows.BlockCount(), 1U);
    for (std::int32_t i = 0; i < 40; ++i) {
        const auto row = static_cast<std::size_t>(i);
        ASSERT_EQ(rows.ValueAt(row, 0), Value(i));
        ASSERT_EQ(rows.ValueAt(row, 1), Value(std::u16string_view(text).substr(0, row * 2000)));
        ASSERT_EQ(rows.ValueAt(row, 2), Value(Decimal(std::to_string(i) + ".05")));
        ASSERT_EQ(rows.ValueAt(row, 3).IsNull(), i % 2 == 1);
        ASSERT_EQ(rows.ValueAt(row, 4), Value(u"end"));
    }
}

}  // namespace
}  // namespace QuillonLib
