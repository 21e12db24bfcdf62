// What cells of every type arrive as.
#include <gtest/gtest.h>

#include <string>

#include "tests/data/RecordsetFixture.h"

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
using test::TextCell;
using test::Type;

class RecordsetTypes : public RecordsetOfOneType {};

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
