#include "scripts/SqlLiteral.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "core/Error.h"
#include "data/DateTime.h"
#include "tests/data/StagedColumns.h"
#include "tests/support/NumberThrown.h"

namespace QuillonLib {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using test::Pack;
using test::StagedNative;
using test::StagedText;

// The literal of the first cell, as each of the three packed writers gives it.
std::u16string PackedLiteral(StagedColumn column) {
    const RowBlock block = Pack(std::move(column));
    std::u16string appended = u"x";
    AppendSqlLiteral(appended, block.Column(0), 0);
    std::u16string written(MaxSqlLiteral(block.Column(0), 0), u'\0');
    written.resize(static_cast<std::size_t>(WriteSqlLiteral(written.data(), block.Column(0), 0) -
                                            written.data()));
    EXPECT_EQ(appended, u"x" + written);
    return written;
}

template <class T>
std::u16string PackedLiteral(ValueKind kind, T cell, StagedForm form = StagedForm::Native) {
    return PackedLiteral(StagedNative<T>(kind, {cell}, form));
}

TEST(SqlLiteral, WritesNullForNullAndEmpty) {
    EXPECT_EQ(ValueToSqlLiteral(Value::Null()), u"NULL");
    EXPECT_EQ(ValueToSqlLiteral(Value()), u"NULL");
}

TEST(SqlLiteral, WritesOneAndZeroForABoolean) {
    EXPECT_EQ(ValueToSqlLiteral(Value(true)), u"1");
    EXPECT_EQ(ValueToSqlLiteral(Value(false)), u"0");
}

TEST(SqlLiteral, WritesNumbersAsTheyRead) {
    EXPECT_EQ(ValueToSqlLiteral(Value(42)), u"42");
    EXPECT_EQ(ValueToSqlLiteral(Value(-42)), u"-42");
    EXPECT_EQ(ValueToSqlLiteral(Value(std::uint8_t{200})), u"200");
    EXPECT_EQ(ValueToSqlLiteral(Value(std::int64_t{-9000000000})), u"-9000000000");
    EXPECT_EQ(ValueToSqlLiteral(Value(1.5)), u"1.5");
    EXPECT_EQ(ValueToSqlLiteral(Value(1.5F)), u"1.5");
    EXPECT_EQ(ValueToSqlLiteral(Value(Currency{15000})), u"1.5");
    EXPECT_EQ(ValueToSqlLiteral(Value(Decimal("-1.50"))), u"-1.50");
}

TEST(SqlLiteral, QuotesText) {
    EXPECT_EQ(QuoteUnicodeString(u"O'Brien"), u"N'O''Brien'");
    EXPECT_EQ(QuoteUnicodeString(u"''"), u"N''''''");
    EXPECT_EQ(QuoteUnicodeString(u""), u"N''");
    EXPECT_EQ(QuoteUnicodeString(u"plain"), u"N'plain'");
    EXPECT_EQ(ValueToSqlLiteral(Value(u"{6F9619FF-8B86-D011-B42D-00C04FC964FF}")),
              u"N'{6F9619FF-8B86-D011-B42D-00C04FC964FF}'");
}

TEST(SqlLiteral, KeepsEveryUnitOfAText) {
    EXPECT_EQ(QuoteUnicodeString(u"\xD800\0'\xDC00\r\n"sv), u"N'\xD800\0''\xDC00\r\n'"s);
}

TEST(SqlLiteral, TakesWhatFollowsTheMarkerAsItStands) {
    EXPECT_EQ(ValueToSqlLiteral(Value(u"\0GETDATE()"s)), u"GETDATE()");
    EXPECT_EQ(ValueToSqlLiteral(Value(u"\0"s)), u"");
}

// A row's text is data, never SQL.
TEST(SqlLiteral, QuotesServerTextThatBeginsWithTheMarker) {
    EXPECT_EQ(PackedLiteral(StagedText<char16_t>(ValueKind::String, StagedForm::Utf16,
                                                 {u"\0DROP TABLE t"sv})),
              u"N'\0DROP TABLE t'"s);
}

TEST(SqlLiteral, WritesBytesInUpperCaseHex) {
    EXPECT_EQ(BytesToHexLiteral(ByteArray{0x00, 0x0A, 0xFF}), u"0x000AFF");
    EXPECT_EQ(BytesToHexLiteral({}), u"0x");
    EXPECT_EQ(ValueToSqlLiteral(Value(ByteArray{})), u"0x");
}

TEST(SqlLiteral, QuotesAGuid) {
    const Guid guid{{0x6F, 0x96, 0x19, 0xFF, 0x8B, 0x86, 0xD0, 0x11, 0xB4, 0x2D, 0x00, 0xC0, 0x4F,
                     0xC9, 0x64, 0xFF}};
    EXPECT_EQ(ValueToSqlLiteral(Value(guid)), u"'{6F9619FF-8B86-D011-B42D-00C04FC964FF}'");
}

TEST(SqlLiteral, WritesADateWithMilliseconds) {
    // 2024-01-15 13:45:30.123 and .122: day 45306 and a fraction of 49,530,123 ms.
    EXPECT_EQ(DateToSqlLiteral(Value(Date{45306 + 49530123 / 86400000.0})),
              u"'20240115 13:45:30.123'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{45306})), u"'20240115 00:00:00.000'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{-1.25})), u"'18991229 06:00:00.000'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{-53688})), u"'17530101 00:00:00.000'");
    EXPECT_EQ(DateToSqlLiteral(Value::Null()), u"NULL");
    EXPECT_EQ(DateToSqlLiteral(Value(u"2024-01-15")), u"NULL");
}

TEST(SqlLiteral, NeitherLosesNorGainsASecond) {
    // A hair below 12:00:01, on either side of day 0.
    const double second = 43201.0 / 86400;
    EXPECT_EQ(DateToSqlLiteral(Value(Date{std::nextafter(45306 + second, 0)})),
              u"'20240115 12:00:01.000'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{std::nextafter(-1 - second, 0)})),
              u"'18991229 12:00:01.000'");
    // A hair below midnight.
    EXPECT_EQ(DateToSqlLiteral(Value(Date{std::nextafter(45307.0, 0)})),
              u"'20240116 00:00:00.000'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{-1.9999999999999})), u"'18991230 00:00:00.000'");
}

TEST(SqlLiteral, CountsTheMillisecondsOfADate) {
    EXPECT_EQ(DateMilliseconds(Date{0}), 0);
    EXPECT_EQ(DateMilliseconds(Date{45306 + 49530123 / 86400000.0}), 123);
    EXPECT_EQ(DateMilliseconds(Date{-1.25}), 0);
    EXPECT_EQ(DateMilliseconds(Date{1.0 / 2048}), 188);  // 42187.5, half to even
    EXPECT_EQ(DateMilliseconds(Date{3.0 / 2048}), 562);  // 126562.5, half to even
    EXPECT_EQ(DateMilliseconds(Date{std::nextafter(45307.0, 0)}), 0);
}

TEST(SqlLiteral, RefusesWhatIsNoDate) {
    for (const double days : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300, -657435.0,
                              2958466.0, std::nextafter(2958466.0, 0.0)}) {
        SCOPED_TRACE(days);
        EXPECT_EQ(test::NumberThrown([&] { DateToSqlLiteral(Value(Date{days})); }), 6);
        EXPECT_EQ(test::NumberThrown([&] { ValueToSqlLiteral(Value(Date{days})); }), 6);
        EXPECT_EQ(test::NumberThrown([&] { DateMilliseconds(Date{days}); }), 6);
    }
    EXPECT_EQ(DateToSqlLiteral(Value(Date{-657434})), u"'01000101 00:00:00.000'");
    EXPECT_EQ(DateToSqlLiteral(Value(Date{2958465 + 86399999 / 86400000.0})),
              u"'99991231 23:59:59.999'");
    EXPECT_EQ(DateMilliseconds(Date{2958465 + 86399999 / 86400000.0}), 999);
}

TEST(SqlLiteral, WritesPackedCellsOfEveryKind) {
    EXPECT_EQ(PackedLiteral<std::uint8_t>(ValueKind::Boolean, 1), u"1");
    EXPECT_EQ(PackedLiteral<std::uint8_t>(ValueKind::Boolean, 0), u"0");
    EXPECT_EQ(PackedLiteral<std::uint8_t>(ValueKind::Byte, 255), u"255");
    EXPECT_EQ(PackedLiteral<std::int16_t>(ValueKind::Integer, -32768), u"-32768");
    EXPECT_EQ(PackedLiteral<std::int32_t>(ValueKind::Long, -2147483648), u"-2147483648");
    EXPECT_EQ(PackedLiteral<std::int64_t>(ValueKind::LongLong, INT64_MIN), u"-9223372036854775808");
    EXPECT_EQ(PackedLiteral<float>(ValueKind::Single, 0.1F), u"0.1");
    EXPECT_EQ(PackedLiteral<double>(ValueKind::Double, 1e22), u"1E+22");
    EXPECT_EQ(
        PackedLiteral(StagedText<char>(ValueKind::Currency, StagedForm::Money, {"-1.5000"sv})),
        u"-1.5");
    EXPECT_EQ(PackedLiteral(StagedText<char>(ValueKind::Decimal, StagedForm::Digits,
                                             {"-1234567890123456789012345678901234567.8"sv})),
              u"-1234567890123456789012345678901234567.8");
    EXPECT_EQ(PackedLiteral(ValueKind::Date, StagedTimestamp{2024, 1, 15, 13, 45, 30, 123333300},
                            StagedForm::Timestamp),
              u"'20240115 13:45:30.123'");
    EXPECT_EQ(
        PackedLiteral(StagedText<char16_t>(ValueKind::String, StagedForm::Utf16, {u"O'Brien"sv})),
        u"N'O''Brien'");
    EXPECT_EQ(
        PackedLiteral(StagedText<char>(ValueKind::Bytes, StagedForm::Binary, {"\x00\x0A\xFF"sv})),
        u"0x000AFF");
    EXPECT_EQ(PackedLiteral(StagedText<char>(ValueKind::Bytes, StagedForm::Binary, {""sv})), u"0x");
    EXPECT_EQ(
        PackedLiteral(
            ValueKind::Guid,
            StagedGuid{0x6F9619FF, 0x8B86, 0xD011, {0xB4, 0x2D, 0, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}},
            StagedForm::Guid),
        u"'{6F9619FF-8B86-D011-B42D-00C04FC964FF}'");
    EXPECT_EQ(PackedLiteral(StagedNative<std::int32_t>(ValueKind::Long, {std::nullopt})), u"NULL");
    EXPECT_EQ(
        PackedLiteral(StagedText<char16_t>(ValueKind::String, StagedForm::Utf16, {std::nullopt})),
        u"NULL");
}

// Reads "'yyyymmdd hh:mm:ss.fff'" as the server does: the nearest tick of 1/300 s.
std::int64_t TicksAsTheServerReads(const std::u16string& literal) {
    const auto number = [&](std::size_t at, std::size_t width) {
        int value = 0;
        for (std::size_t i = at; i < at + width; ++i)
            value = value * 10 + (literal[i] - u'0');
        return value;
    };
    EXPECT_EQ(literal.size(), 23U);
    // Days since 1900-01-01 by counting leap years.
    const int year = number(1, 4), month = number(5, 2), day = number(7, 2);
    static constexpr int Before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const auto leapsBefore = [](int y) { return (y - 1) / 4 - (y - 1) / 100 + (y - 1) / 400; };
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const std::int64_t days = (year - 1900) * 365LL + leapsBefore(year) - leapsBefore(1900) +
                              Before[month - 1] + (leap && month > 2 ? 1 : 0) + day - 1;
    const std::int64_t milliseconds =
        ((number(10, 2) * 60LL + number(13, 2)) * 60 + number(16, 2)) * 1000 + number(19, 3);
    return days * 25920000 + (milliseconds * 3 + 5) / 10;
}

// QUILLON_DATE_TICKS asks for more of them.
TEST(SqlLiteral, EveryTickComesBack) {
    const char* wanted = std::getenv("QUILLON_DATE_TICKS");
    const long count = wanted == nullptr ? 1000000 : std::atol(wanted);
    std::mt19937_64 random(1753);
    std::uniform_int_distribution<std::int64_t> ticks(-53690 * TicksPerDay,
                                                      2958464 * TicksPerDay - 1);
    for (long i = 0; i < count; ++i) {
        const DateTicks tick{ticks(random)};
        const std::u16string literal = DateToSqlLiteral(Value(ToDate(tick)));
        ASSERT_EQ(TicksAsTheServerReads(literal), tick.count);
    }
}

// The two roads to a script, by way of a Value and from the packed cell, write the same text.
TEST(SqlLiteral, PackedDatesReadLikeDateValues) {
    std::mt19937_64 random(9999);
    std::uniform_int_distribution<int> day(-53690, 2958463), tick(0, TicksPerDay - 1);
    for (int i = 0; i < 20000; ++i) {
        const std::int64_t rest = tick(random);
        const CalendarDate date = CalendarFromDay(day(random) + 2);
        const std::int64_t second = rest / 300;
        const StagedTimestamp staged{static_cast<std::int16_t>(date.year),
                                     static_cast<std::uint16_t>(date.month),
                                     static_cast<std::uint16_t>(date.day),
                                     static_cast<std::uint16_t>(second / 3600),
                                     static_cast<std::uint16_t>(second / 60 % 60),
                                     static_cast<std::uint16_t>(second % 60),
                                     static_cast<std::uint32_t>(rest % 300 * 10000000 / 3)};
        const RowBlock block =
            Pack(StagedNative<StagedTimestamp>(ValueKind::Date, {staged}, StagedForm::Timestamp));
        std::u16string packed;
        AppendSqlLiteral(packed, block.Column(0), 0);
        ASSERT_EQ(packed, ValueToSqlLiteral(block.Column(0).Value(0)));
    }
}

}  // namespace
}  // namespace QuillonLib
