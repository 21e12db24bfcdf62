// The literals of scripts, text by text.
#include "direct/SqlText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/Error.h"
#include "data/DateTime.h"

namespace QuillonLib {
namespace {

ColumnFacts Facts(std::u16string type, std::int32_t length = 0, std::int32_t precision = 0,
                  std::int32_t scale = 0) {
    ColumnFacts facts;
    facts.Name = u"c";
    facts.DataType = std::move(type);
    facts.Length = length;
    facts.NumericPrecision = precision;
    facts.NumericScale = scale;
    if (facts.HasCodePage()) facts.CodePage = facts.DatabaseCodePage = 1252;
    return facts;
}

std::u16string Literal(const ColumnFacts& from, const ColumnFacts& to, const Value& value) {
    const ObjectName table{u"dbo", u"t"};
    return ColumnLiterals(table, from, to).Of(value);
}
std::u16string Literal(const ColumnFacts& column, const Value& value) {
    return Literal(column, column, value);
}

std::u16string Refusal(const ColumnFacts& from, const ColumnFacts& to, const Value& value) {
    try {
        Literal(from, to, value);
    } catch (const Error& error) {
        return error.Description();
    }
    return u"";
}

TEST(SqlText, Numbers) {
    EXPECT_EQ(Literal(Facts(u"int"), Value(std::int32_t{-5})), u"-5");
    EXPECT_EQ(Literal(Facts(u"bit"), Value(true)), u"1");
    EXPECT_EQ(Literal(Facts(u"decimal", 0, 9, 2), Value(Decimal("-1.50"))), u"-1.50");
    EXPECT_EQ(Literal(Facts(u"money"), Value(Currency{-15000})), u"-1.5");
    EXPECT_EQ(Literal(Facts(u"int"), Value::Null()), u"NULL");
}

TEST(SqlText, FloatsAreFloats) {
    const ColumnFacts column = Facts(u"float");
    EXPECT_EQ(Literal(column, Value(5.0)), u"5E0");
    EXPECT_EQ(Literal(column, Value(0.1)), u"0.1E0");
    EXPECT_EQ(Literal(column, Value(1e300)), u"1E+300");
    EXPECT_EQ(Literal(column, Value(0.0)), u"0E0");
    EXPECT_EQ(Literal(column, Value(-0.0)), u"(0E0 * -1)");
    EXPECT_EQ(Literal(Facts(u"real"), Value(0.1F)), u"0.1E0");
    EXPECT_EQ(Literal(Facts(u"real"), column, Value(0.1F)), u"0.10000000149011612E0");
    for (const double none : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Refusal(column, column, Value(none)),
                  u"Table [dbo].[t], column c: a value cannot be written, for it is no number.");
    }
}

TEST(SqlText, DatesThatEveryLanguageReadsAlike) {
    EXPECT_EQ(Literal(Facts(u"datetime"), Value(ToDate(DateTicks{1}))), u"'19000101 00:00:00.003'");
    EXPECT_EQ(Literal(Facts(u"datetime"), Value(ToDate(DateTicks{-2}))),
              u"'18991231 23:59:59.993'");
    EXPECT_EQ(Literal(Facts(u"date"), Value(u"0001-02-03")), u"'00010203'");
    EXPECT_EQ(Literal(Facts(u"time", 0, 0, 7), Value(u"01:02:03.1234567")), u"'01:02:03.1234567'");
    EXPECT_EQ(Literal(Facts(u"datetime2", 0, 0, 3), Value(u"2024-02-29 01:02:03.120")),
              u"'20240229 01:02:03.120'");
    EXPECT_EQ(Literal(Facts(u"datetimeoffset", 0, 0, 0), Value(u"2024-01-01 00:30:00 +14:00")),
              u"'20240101 00:30:00 +14:00'");
    EXPECT_EQ(Literal(Facts(u"datetimeoffset", 0, 0, 0), Value(u"2024-01-01 23:30:00 -01:30")),
              u"'20240101 23:30:00 -01:30'");
}

TEST(SqlText, TextInEveryClient) {
    const ColumnFacts national = Facts(u"nvarchar", 50);
    EXPECT_EQ(Literal(national, Value(u"it's")), u"N'it''s'");
    EXPECT_EQ(Literal(national, Value(u"a\tb")), u"N'a\tb'");
    // as bytes: a line break, a variable of a client, half of a pair, NUL, line separators
    EXPECT_EQ(Literal(national, Value(u"a\nb")), u"CAST(0x61000A006200 AS nvarchar(3))");
    EXPECT_EQ(Literal(national, Value(u"\rGO")), u"CAST(0x0D0047004F00 AS nvarchar(3))");
    EXPECT_EQ(Literal(national, Value(u"$(x)")), u"CAST(0x2400280078002900 AS nvarchar(4))");
    EXPECT_EQ(Literal(national, Value(u"$x")), u"N'$x'");
    const char16_t half[] = {0xD83D, 0};
    EXPECT_EQ(Literal(national, Value(half)), u"CAST(0x3DD8 AS nvarchar(1))");
    const char16_t low[] = {u'a', 0xDE00, 0};
    EXPECT_EQ(Literal(national, Value(low)), u"CAST(0x610000DE AS nvarchar(2))");
    EXPECT_EQ(Literal(national, Value(u"\U0001F600")), u"N'\U0001F600'");
    EXPECT_EQ(Literal(national, Value(u"\u2028")), u"CAST(0x2820 AS nvarchar(1))");
    EXPECT_TRUE(Literal(Facts(u"nvarchar", -1), Value(std::u16string(5000, u'\n')))
                    .ends_with(u"0A000A00 AS nvarchar(max))"));
}

TEST(SqlText, TextOfACodePage) {
    const ColumnFacts page = Facts(u"varchar", 50);
    EXPECT_EQ(Literal(page, Value(ByteArray{'a', '\''})), u"'a'''");
    EXPECT_EQ(Literal(page, Value(ByteArray{0x80})), u"N'\u20AC'");
    EXPECT_EQ(Literal(page, Value(ByteArray{})), u"''");
    EXPECT_EQ(Literal(page, Value(ByteArray{'a', '\n'})), u"CAST(0x61000A00 AS nvarchar(2))");
    ColumnFacts japanese = Facts(u"varchar", 50);
    japanese.CodePage = japanese.DatabaseCodePage = 932;
    const Value half(ByteArray{'a', 0x81});
    EXPECT_EQ(Literal(japanese, half), u"CAST(0x6181 AS varchar(2))");
    const ObjectName table{u"dbo", u"t"};
    EXPECT_TRUE(ColumnLiterals(table, japanese, japanese).StandsAlone(half));
    EXPECT_FALSE(ColumnLiterals(table, japanese, japanese).StandsAlone(Value(ByteArray{'a'})));
    const std::u16string no =
        u"Table [dbo].[t], column c: a value cannot be written, for its "
        u"bytes are no text of their code page.";
    ColumnFacts elsewhere = japanese;
    elsewhere.DatabaseCodePage = 1252;
    EXPECT_EQ(Refusal(japanese, elsewhere, half), no);
    EXPECT_EQ(Refusal(japanese, page, half), no);
}

}  // namespace
}  // namespace QuillonLib
