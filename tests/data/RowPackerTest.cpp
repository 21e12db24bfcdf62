#include "data/RowPacker.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "data/Diagnostic.h"
#include "tests/data/StagedColumns.h"

namespace QuillonLib {
namespace {

using namespace std::string_view_literals;
using test::Pack;
using test::StagedNative;
using test::StagedText;

TEST(RowPacker, KeepsNativeCellsAndNulls) {
    const RowBlock block = Pack(StagedNative<std::int32_t>(ValueKind::Long, {1, std::nullopt, -7}));
    const PackedColumn column = block.Column(0);
    EXPECT_EQ(column.Value(0), Value(1));
    EXPECT_EQ(column.Value(1), Value::Null());
    EXPECT_EQ(column.Value(2), Value(-7));
}

TEST(RowPacker, FindsTheNullsOfMoreThanEightRows) {
    std::vector<std::optional<std::int32_t>> cells;
    for (int i = 0; i < 100; ++i)
        cells.push_back(i % 3 == 0 ? std::nullopt : std::optional(i));
    const RowBlock block = Pack(StagedNative<std::int32_t>(ValueKind::Long, cells));
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(block.Column(0).Value(i),
                  i % 3 == 0 ? Value::Null() : Value(static_cast<std::int32_t>(i)));
    }
}

TEST(RowPacker, KeepsTextsOfAnyLengthAndUnit) {
    const std::u16string_view odd(u"\xD800 a\0b\xDC00", 6);
    const RowBlock block = Pack(StagedText<char16_t>(ValueKind::String, StagedForm::Utf16,
                                                     {u"one"sv, u""sv, std::nullopt, odd}));
    EXPECT_EQ(block.Column(0).Text(0), u"one");
    EXPECT_EQ(block.Column(0).Text(1), u"");
    EXPECT_EQ(block.Column(0).Value(2), Value::Null());
    EXPECT_EQ(block.Column(0).Text(3), odd);
}

TEST(RowPacker, DecodesTheBytesOfACodePage) {
    StagedColumn column = StagedText<char>(ValueKind::String, StagedForm::CodePage,
                                           {"one"sv, ""sv, std::nullopt, "\x93\xFA?\x81\x60"sv});
    column.page = CodePage::Find(932);
    const RowBlock block = Pack(std::move(column));
    EXPECT_EQ(block.Column(0).Text(0), u"one");
    EXPECT_EQ(block.Column(0).Text(1), u"");
    EXPECT_EQ(block.Column(0).Value(2), Value::Null());
    EXPECT_EQ(block.Column(0).Text(3), u"\x65E5?\xFF5E");
}

TEST(RowPacker, RefusesBytesThatAreNotCarried) {
    const auto description = [](std::string_view bytes, const CodePage* page) {
        StagedColumn column =
            StagedText<char>(ValueKind::String, StagedForm::CodePage, {"good"sv, bytes});
        column.page = page;
        try {
            Pack(std::move(column));
        } catch (const NotCarried& error) {
            return error.Description();
        }
        return std::u16string(u"carried");
    };
    EXPECT_EQ(description("\x81"sv, CodePage::Find(1252)), u"carried");
    EXPECT_EQ(description("\x81"sv, CodePage::Find(932)),
              u"Column c holds bytes to which code page 932 gives no character of their own; they "
              u"cannot be carried over.");
    EXPECT_EQ(description("\x81"sv, nullptr),
              u"Column c holds characters beyond ASCII, and its code page is not known.");
    EXPECT_EQ(description("?"sv, nullptr), u"carried");
}

TEST(RowPacker, KeepsBytes) {
    const RowBlock block =
        Pack(StagedText<char>(ValueKind::Bytes, StagedForm::Binary, {"\x00\xFF\x10"sv, ""sv}));
    EXPECT_EQ(block.Column(0).Value(0), Value(ByteArray{0x00, 0xFF, 0x10}));
    EXPECT_EQ(block.Column(0).Value(1), Value(ByteArray{}));
}

TEST(RowPacker, KeepsAllDigitsOfADecimal) {
    const RowBlock block = Pack(
        StagedText<char>(ValueKind::Decimal, StagedForm::Digits,
                         {"-12345678901234567890123456789012345.678"sv, std::nullopt, "0.10"sv}));
    EXPECT_EQ(block.Column(0).Value(0), Value(Decimal("-12345678901234567890123456789012345.678")));
    EXPECT_EQ(block.Column(0).Value(1), Value::Null());
    EXPECT_EQ(block.Column(0).Value(2), Value(Decimal("0.10")));
}

TEST(RowPacker, ReadsMoneyToTheTenThousandth) {
    const RowBlock block =
        Pack(StagedText<char>(ValueKind::Currency, StagedForm::Money,
                              {"1.5000"sv, "-0.0001"sv, "7"sv, "-922337203685477.5808"sv,
                               "922337203685477.5807"sv, ".25"sv, "2.50000"sv, std::nullopt}));
    EXPECT_EQ(block.Column(0).Value(0), Value(Currency{15000}));
    EXPECT_EQ(block.Column(0).Value(1), Value(Currency{-1}));
    EXPECT_EQ(block.Column(0).Value(2), Value(Currency{70000}));
    EXPECT_EQ(block.Column(0).Value(3), Value(Currency{std::numeric_limits<std::int64_t>::min()}));
    EXPECT_EQ(block.Column(0).Value(4), Value(Currency{std::numeric_limits<std::int64_t>::max()}));
    EXPECT_EQ(block.Column(0).Value(5), Value(Currency{2500}));
    EXPECT_EQ(block.Column(0).Value(6), Value(Currency{25000}));
    EXPECT_EQ(block.Column(0).Value(7), Value::Null());
}

TEST(RowPacker, RefusesMoneyThatItCannotKeepExactly) {
    for (const std::string_view text : {"1.23456"sv, "1,5"sv, "1E5"sv}) {
        EXPECT_THROW(Pack(StagedText<char>(ValueKind::Currency, StagedForm::Money, {text})), Error)
            << text;
    }
}

TEST(RowPacker, FindsTheTickOfATimestamp) {
    // The third column of each: nanoseconds as the driver cuts them, and rounded to milliseconds.
    const RowBlock block = Pack(StagedNative<StagedTimestamp>(
        ValueKind::Date,
        {StagedTimestamp{1900, 1, 1, 0, 0, 0, 3333300},
         StagedTimestamp{1900, 1, 1, 0, 0, 0, 7000000}, StagedTimestamp{1753, 1, 1, 0, 0, 0, 0},
         StagedTimestamp{9999, 12, 31, 23, 59, 59, 996666600}, std::nullopt},
        StagedForm::Timestamp));
    EXPECT_EQ(block.Column(0).Date(0).count, 1);
    EXPECT_EQ(block.Column(0).Date(1).count, 2);
    EXPECT_EQ(block.Column(0).Date(2).count, -53690 * TicksPerDay);
    EXPECT_EQ(block.Column(0).Date(3).count, 2958464 * TicksPerDay - 1);
    EXPECT_EQ(block.Column(0).Value(4), Value::Null());
}

TEST(RowPacker, PutsTheBytesOfAGuidInPrintingOrder) {
    const RowBlock block = Pack(StagedNative<StagedGuid>(
        ValueKind::Guid,
        {StagedGuid{0x6F9619FF, 0x8B86, 0xD011, {0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}}},
        StagedForm::Guid));
    EXPECT_EQ(DefaultText(block.Column(0).Value(0)), u"{6F9619FF-8B86-D011-B42D-00C04FC964FF}");
}

TEST(RowPacker, PadsTheYearThatTheDriverLeavesShort) {
    const RowBlock block = Pack(
        StagedText<char>(ValueKind::String, StagedForm::Temporal,
                         {"1-01-01"sv, "999-12-31 23:59:59.1234567 +05:30"sv, "2024-01-15"sv,
                          "13:45:30.1234567"sv, "2024-01-15 13:45:30 -03:00"sv, std::nullopt}));
    EXPECT_EQ(block.Column(0).Text(0), u"0001-01-01");
    EXPECT_EQ(block.Column(0).Text(1), u"0999-12-31 23:59:59.1234567 +05:30");
    EXPECT_EQ(block.Column(0).Text(2), u"2024-01-15");
    EXPECT_EQ(block.Column(0).Text(3), u"13:45:30.1234567");
    EXPECT_EQ(block.Column(0).Text(4), u"2024-01-15 13:45:30 -03:00");
    EXPECT_EQ(block.Column(0).Value(5), Value::Null());
}

TEST(RowPacker, TakesLongCellsFromThePool) {
    StagedColumn column;
    column.name = u"c";
    column.kind = ValueKind::String;
    column.form = StagedForm::Utf16;
    const std::u16string_view pool = u"onetwo";
    column.pool.resize(pool.size() * sizeof(char16_t));
    std::memcpy(column.pool.data(), pool.data(), column.pool.size());
    column.indicators = {6, StagedColumn::NullIndicator, 0, 6};
    const RowBlock block = Pack(std::move(column));
    EXPECT_EQ(block.Column(0).Text(0), u"one");
    EXPECT_EQ(block.Column(0).Value(1), Value::Null());
    EXPECT_EQ(block.Column(0).Text(2), u"");
    EXPECT_EQ(block.Column(0).Text(3), u"two");
}

// A bound cell that did not fit comes with success and an indicator longer than the buffer, or
// with the indicator "total unknown".
TEST(RowPacker, RefusesACellThatTheDriverCut) {
    StagedColumn tooLong = StagedText<char16_t>(ValueKind::String, StagedForm::Utf16, {u"abc"sv});
    tooLong.indicators[0] = 66;
    try {
        Pack(std::move(tooLong));
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), ErrorNumber::DataAccess);
        EXPECT_EQ(error.Description(), u"The driver did not deliver the whole value of column c.");
    }
    StagedColumn unknown = StagedText<char16_t>(ValueKind::String, StagedForm::Utf16, {u"abc"sv});
    unknown.indicators[0] = -4;
    EXPECT_THROW(Pack(std::move(unknown)), Error);
}

TEST(RowPacker, KeepsSeveralColumnsApart) {
    std::vector<StagedColumn> columns;
    columns.push_back(StagedNative<std::uint8_t>(ValueKind::Byte, {7, 8, 9}));
    columns.push_back(
        StagedText<char16_t>(ValueKind::String, StagedForm::Utf16, {u"a"sv, u"bc"sv, u"def"sv}));
    columns.push_back(StagedNative<double>(ValueKind::Double, {0.5, std::nullopt, -2.0}));
    RowMemory memory;
    const RowBlock block(columns, 40, 3, memory);
    EXPECT_EQ(block.FirstRow(), 40U);
    EXPECT_EQ(block.RowCount(), 3U);
    EXPECT_EQ(block.Column(0).Value(2), Value(std::uint8_t{9}));
    EXPECT_EQ(block.Column(1).Value(1), Value(u"bc"));
    EXPECT_EQ(block.Column(2).Value(0), Value(0.5));
    EXPECT_EQ(block.Column(2).Value(1), Value::Null());
}

}  // namespace
}  // namespace QuillonLib
