// Every type: what is stored is what comes back.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

// The value that a column of `type` returns for a literal; where it cannot be stored, all that is
// told of it.
std::string Stored(const std::u16string& type, const std::u16string& literal) {
    Box box;
    const std::string text = box.Text(u"CREATE TABLE t (a " + type + u") INSERT INTO t VALUES (" +
                                      literal + u") SELECT a FROM t");
    const std::string_view one = "#1\n";
    if (!text.starts_with(one)) return text;
    return text.substr(one.size(), text.size() - one.size() - 1);
}

TEST(Types, IntegersKeepTheirRange) {
    EXPECT_EQ(Stored(u"bit", u"5"), "1");
    EXPECT_EQ(Stored(u"tinyint", u"255"), "255");
    EXPECT_EQ(Stored(u"smallint", u"-32768"), "-32768");
    EXPECT_EQ(Stored(u"int", u"-2147483648"), "-2147483648");
    EXPECT_EQ(Stored(u"bigint", u"-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(Stored(u"tinyint", u"256"),
              "!220 Arithmetic overflow error for data type tinyint, value = 256.\n");
    EXPECT_EQ(Stored(u"int", u"2147483648"),
              "!8115 Arithmetic overflow error converting numeric to data type int.\n");
}

TEST(Types, DecimalsAreExactTo38Digits) {
    EXPECT_EQ(Stored(u"decimal(38,0)", u"-99999999999999999999999999999999999999"),
              "-99999999999999999999999999999999999999");
    EXPECT_EQ(Stored(u"decimal(38,38)", u"0.12345678901234567890123456789012345678"),
              "0.12345678901234567890123456789012345678");
    EXPECT_EQ(Stored(u"decimal(10,2)", u"1.005"), "1.01");
    EXPECT_EQ(Stored(u"numeric(5,2)", u"-999.994"), "-999.99");
    EXPECT_EQ(Stored(u"decimal(5,2)", u"1000"),
              "!8115 Arithmetic overflow error converting int to data type numeric.\n");
    EXPECT_EQ(Stored(u"decimal(19,4)", u"'123456789012345.6789'"), "123456789012345.6789");
}

TEST(Types, MoneyHasFourDecimals) {
    EXPECT_EQ(Stored(u"money", u"922337203685477.5807"), "922337203685477.5807");
    EXPECT_EQ(Stored(u"money", u"$-1.23456"), "-1.2346");
    EXPECT_EQ(Stored(u"smallmoney", u"214748.3647"), "214748.3647");
    EXPECT_EQ(Stored(u"smallmoney", u"214748.3648"),
              "!8115 Arithmetic overflow error converting numeric to data type smallmoney.\n");
}

TEST(Types, FloatsKeepTheirBits) {
    EXPECT_EQ(Stored(u"float", u"1.7976931348623157E+308"), "1.7976931348623157e+308");
    EXPECT_EQ(Stored(u"float", u"-0.1E0"), "-0.10000000000000001");
    EXPECT_EQ(Stored(u"float", u"4.9406564584124654E-324"), "4.9406564584124654e-324");
    EXPECT_EQ(Stored(u"real", u"0.1E0"), "0.10000000149011612");
    EXPECT_EQ(Stored(u"float", u"1E+400"),
              "!168 The floating point value '1E+400' is out of the range of computer "
              "representation (8 bytes).\n");
}

TEST(Types, DatetimeRoundsToThreeHundredthsOfASecond) {
    // 45,304 days since 1900 and 49,530.123 s: 14,859,036.9 ticks, so 037.
    EXPECT_EQ(Stored(u"datetime", u"'20240115 13:45:30.123'"), "1174294539037");
    EXPECT_EQ(Stored(u"datetime", u"'19000101'"), "0");
    EXPECT_EQ(Stored(u"datetime", u"'18991231 23:59:59.997'"), "-1");
    EXPECT_EQ(Stored(u"datetime", u"'99991231 23:59:59.997'"), "76683386879999");
    EXPECT_EQ(Stored(u"datetime", u"'17521231'"),
              "!242 The conversion of a varchar data type to a datetime data type resulted in an "
              "out-of-range value.\n");
    EXPECT_EQ(Stored(u"smalldatetime", u"'19000101 00:00:29.998'"), "0");
    EXPECT_EQ(Stored(u"smalldatetime", u"'19000101 00:00:29.999'"), "1");
}

TEST(Types, NewDateTypesKeepEveryDigit) {
    EXPECT_EQ(Stored(u"date", u"'0001-01-01'"), "0");
    EXPECT_EQ(Stored(u"date", u"'9999-12-31'"), "3652058");
    EXPECT_EQ(Stored(u"time", u"'23:59:59.9999999'"), "863999999999");
    EXPECT_EQ(Stored(u"time(3)", u"'00:00:00.1235'"), "1240000");
    EXPECT_EQ(Stored(u"datetime2", u"'0001-01-02 00:00:00.0000001'"), "864000000001");
    EXPECT_EQ(Stored(u"datetime2(0)", u"'0001-01-01 00:00:00.5'"), "10000000");
    EXPECT_EQ(Stored(u"datetimeoffset", u"'0001-01-02 02:00:00.0000001 +02:00'"),
              "864000000001z120");
    EXPECT_EQ(Stored(u"datetimeoffset", u"'0001-01-02 00:00:00 -05:30'"), "1062000000000z-330");
}

TEST(Types, FixedLengthsArePadded) {
    EXPECT_EQ(Stored(u"char(5)", u"'ab'"), "ab   ");
    EXPECT_EQ(Stored(u"nchar(3)", u"N'\u00e9'"), "\xC3\xA9  ");
    EXPECT_EQ(Stored(u"binary(4)", u"0x0102"), "0x01020000");
    EXPECT_EQ(Stored(u"varbinary(4)", u"0x0102"), "0x0102");
}

TEST(Types, TruncationIsRefused) {
    const std::string refused = "!8152 String or binary data would be truncated.\n";
    EXPECT_EQ(Stored(u"varchar(2)", u"'abc'"), refused);
    EXPECT_EQ(Stored(u"nchar(2)", u"N'abc'"), refused);
    EXPECT_EQ(Stored(u"varbinary(2)", u"0x010203"), refused);
    // Blanks at the end may go.
    EXPECT_EQ(Stored(u"varchar(2)", u"'ab   '"), "ab");
}

TEST(Types, CharacterTypesOfTheCodePageLoseOtherCharacters) {
    EXPECT_EQ(Stored(u"varchar(9)", u"N'\u20ac\u4e2d\u00fc'"), "\xE2\x82\xAC?\xC3\xBC");
}

TEST(Types, UniqueidentifierIsReadInBothForms) {
    const std::string bytes = "0xFF19966F868B11D0B42D00C04FC964FF";
    EXPECT_EQ(Stored(u"uniqueidentifier", u"'6F9619FF-8B86-D011-B42D-00C04FC964FF'"), bytes);
    EXPECT_EQ(Stored(u"uniqueidentifier", u"'{6f9619ff-8b86-d011-b42d-00c04fc964ff}'"), bytes);
    EXPECT_EQ(Stored(u"uniqueidentifier", u"'6F9619FF'"),
              "!8169 Conversion failed when converting from a character string to "
              "uniqueidentifier.\n");
}

TEST(Types, VariantKeepsItsBaseType) {
    Box box;
    EXPECT_EQ(box.Text(u"CREATE TABLE t (v sql_variant) SET NOCOUNT ON INSERT t VALUES (1) "
                       u"INSERT t VALUES (1.50) INSERT t VALUES (N'x') INSERT t VALUES (0x01) "
                       u"INSERT t VALUES (NULL) INSERT t VALUES (CAST('19000102' AS datetime)) "
                       u"SELECT v, SQL_VARIANT_PROPERTY(v,'BaseType') FROM t"),
              "variant:1|int\nvariant:1.50|numeric\nvariant:x|nvarchar\nvariant:0x01|varbinary\n"
              "NULL|NULL\nvariant:25920000|datetime\n");
}

TEST(Types, RowsOfOneInsertAreOfOneType) {
    Box box;
    box.Text(u"CREATE TABLE t (a nvarchar(9), b varchar(9)) SET NOCOUNT ON");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1,'x'),('y',N'\u0416')"),
              "!245 Conversion failed when converting the varchar value 'y' to data type int.\n");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1.5,'x'),(2,NULL),(DEFAULT,'z') SELECT a, b FROM t"),
              "1.5|x\n2.0|NULL\nNULL|z\n");
}

TEST(Types, VariantsOfDatesBecomeTheBytesThatTheServerKeeps) {
    Box box;
    const auto bytes = [&](std::u16string_view value) {
        return box.Text(u"SELECT CAST(CAST(" + std::u16string(value) +
                        u" AS sql_variant) AS varbinary(20))");
    };
    EXPECT_EQ(bytes(u"CAST('20240101' AS date)"), "0x45460B\n");
    EXPECT_EQ(bytes(u"CAST('00:00:01' AS time(7))"), "0x078096980000\n");
    EXPECT_EQ(bytes(u"CAST('00:00:01' AS time(0))"), "0x00010000\n");
    EXPECT_EQ(bytes(u"CAST('2024-01-01 00:00:01' AS datetime2(7))"), "0x07809698000045460B\n");
    EXPECT_EQ(bytes(u"CAST('2024-01-01 00:00:01 +01:00' AS datetimeoffset(7))"),
              "0x0780EE3DC9C044460B3C00\n");
    EXPECT_EQ(bytes(u"CAST('19000102 00:01' AS smalldatetime)"), "0x00010001\n");
    EXPECT_EQ(box.Text(u"SELECT SQL_VARIANT_PROPERTY(CAST('x' AS sql_variant), 'Collation'), "
                       u"SQL_VARIANT_PROPERTY(CAST(1 AS sql_variant), 'Collation')"),
              "SQL_Latin1_General_CP1_CI_AS|NULL\n");
}

TEST(Types, LongTypesHoldLongValues) {
    Box box;
    const Result r = box.Run(
        u"CREATE TABLE t (a text, b ntext, c image, d nvarchar(max), e xml) "
        u"INSERT t VALUES (REPLICATE(CAST('x' AS varchar(max)), 100000), "
        u"N'n', 0x00FF, REPLICATE(CAST(N'y' AS nvarchar(max)), 50000), "
        u"'<a/>') SELECT DATALENGTH(a), DATALENGTH(b), c, LEN(d), e FROM t");
    EXPECT_EQ(r.text, "#1\n100000|2|0x00FF|50000|<a/>\n");
}

TEST(Types, EveryCodeUnitSurvives) {
    Box box;
    std::u16string all;
    for (unsigned c = 0; c < 0x10000; ++c) {
        if (c != u'\'') all += static_cast<char16_t>(c);
    }
    box.Run(u"CREATE TABLE t (id int PRIMARY KEY, s nvarchar(max))");
    box.Run(u"INSERT t VALUES (1, N'" + all + u"')");
    EXPECT_TRUE(box.Run(u"SELECT s FROM t").cells.at(0) == all);
    // A byte order mark, a NUL and halves of pairs at the beginning are units like any other.
    for (const std::u16string& text :
         {std::u16string(u"\uFEFFx"), std::u16string(u"\uFFFEx"), std::u16string(1, u'\0') + u"x",
          std::u16string(1, char16_t{0xDC00}), std::u16string(2, u'\uFEFF')}) {
        box.Run(u"DELETE t");
        box.Run(u"INSERT t VALUES (1, N'" + text + u"')");
        EXPECT_TRUE(box.Run(u"SELECT s FROM t").cells.at(0) == text);
        EXPECT_TRUE(box.Run(u"SELECT s + N'' FROM t").cells.at(0) == text);
        EXPECT_TRUE(box.Run(u"SELECT UPPER(LEFT(s, 9)) FROM t").rows == 1);
    }
}

TEST(Types, ColumnsDescribeThemselves) {
    Box box;
    const Result r = box.Run(
        u"CREATE TABLE t (a int IDENTITY NOT NULL, b AS a*2, c nvarchar(7) NULL, d decimal(9,3)) "
        u"SELECT a, b, c, d, COUNT(*) OVER_ FROM t GROUP BY a, b, c, d");
    ASSERT_EQ(r.columns.size(), 5U);
    EXPECT_TRUE(r.columns[0].identity);
    EXPECT_FALSE(r.columns[0].nullable);
    EXPECT_TRUE(r.columns[1].computed);
    EXPECT_TRUE(r.columns[2].nullable);
    EXPECT_EQ(r.columns[2].type.id, TypeId::NVarChar);
    EXPECT_EQ(r.columns[2].type.length, 7);
    EXPECT_EQ(r.columns[3].type.precision, 9);
    EXPECT_EQ(r.columns[3].type.scale, 3);
    EXPECT_EQ(r.columns[4].type.id, TypeId::Int);
    EXPECT_EQ(r.columns[4].name, u"OVER_");
}

}  // namespace
}  // namespace sandbox::testing
