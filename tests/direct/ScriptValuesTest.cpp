// Statement scripts carry values and keys of every type, or refuse what the target cannot hold.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class ScriptValues : public GuardedOrNot {};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, ScriptValues, ::testing::Bool());

TEST_P(ScriptValues, CarryEveryType) {
    const struct {
        const char16_t* type;
        std::vector<const char16_t*> values;
    } cases[] = {
        {u"bit", {u"1", u"0", u"NULL"}},
        {u"tinyint", {u"255", u"0"}},
        {u"smallint", {u"-32768", u"32767"}},
        {u"int", {u"-2147483648", u"2147483647"}},
        {u"bigint", {u"-9223372036854775808", u"9223372036854775807", u"5"}},
        {u"decimal(38,10)", {u"1234567890123456789012345678.0000000001", u"-0.0000000001", u"0"}},
        {u"numeric(38,38)", {u"0.12345678901234567890123456789012345678", u"-0.1"}},
        {u"money", {u"922337203685477.5807", u"-922337203685477.5808", u"0.0001"}},
        {u"smallmoney", {u"214748.3647", u"-0.0001"}},
        {u"real", {u"1.1", u"3.4e38", u"1e-38", u"0e0 * -1", u"-5"}},
        {u"float",
         {u"1.1e0", u"1.7976931348623157e308", u"2.2250738585072014e-308", u"0e0 * -1", u"0.1e0",
          u"123456789"}},
        {u"datetime", {u"'17530101 00:00:00.003'", u"'99991231 23:59:59.997'", u"'20240101'"}},
        {u"smalldatetime", {u"'19000101'", u"'20790606 23:59'"}},
        {u"date", {u"'00010101'", u"'99991231'"}},
        {u"time(7)", {u"'23:59:59.9999999'", u"'00:00'"}},
        {u"time(0)", {u"'23:59:59'"}},
        {u"datetime2(7)", {u"'0001-01-01 00:00:00.0000001'", u"'9999-12-31 23:59:59.9999999'"}},
        {u"datetime2(3)", {u"'2024-02-29 12:34:56.789'"}},
        {u"datetimeoffset(7)",
         {u"'2024-01-01 10:00:00.1234567 +14:00'", u"'0001-01-02 00:00 -13:30'"}},
        {u"char(5)", {u"'a'", u"'\u20AC\u00E9'", u"CAST(0x8190FF AS char(5))"}},
        {u"varchar(20)",
         {u"'a'", u"''", u"'it''s'", u"CAST(0x818D8F909D00 AS varchar(20))",
          u"'a ' + CHAR(13) + CHAR(10) + 'GO' + CHAR(13) + CHAR(10)", u"'$(x)'", u"'\u20AC'"}},
        {u"varchar(max)", {u"REPLICATE(CAST('xyz\u20AC' AS varchar(max)), 5000)", u"''"}},
        {u"text", {u"'a'", u"REPLICATE(CAST('xyz\u20AC' AS varchar(max)), 5000)"}},
        {u"nchar(5)", {u"N'\u0100'", u"N'\U0001F600'"}},
        {u"nvarchar(20)",
         {u"N'\u0416'", u"NCHAR(55357)", u"N'a' + NCHAR(0)",
          u"N'x' + NCHAR(13) + NCHAR(10) + N'GO' + NCHAR(13) + NCHAR(10) + N'y'", u"N'$(HOME)'",
          u"N'%s {?} [x]'", u"NCHAR(8232)"}},
        {u"nvarchar(max)", {u"REPLICATE(CAST(N'xyz\u0416' AS nvarchar(max)), 5000)", u"N''"}},
        {u"ntext", {u"N'\u0416'"}},
        {u"binary(3)", {u"0x010203", u"0x01"}},
        {u"varbinary(20)", {u"0x", u"0x00", u"0xFFEE00"}},
        {u"varbinary(max)", {u"CAST(REPLICATE('x', 8000) AS varbinary(max))"}},
        {u"image", {u"0x0102", u"0x"}},
        {u"uniqueidentifier", {u"'01234567-89AB-CDEF-0123-456789ABCDEF'"}},
        {u"xml", {u"'<a b=\"1\">t</a>'", u"N'<a>\u0416</a>'"}},
        {u"sql_variant",
         {u"CAST(1 AS bit)",
          u"CAST(200 AS tinyint)",
          u"CAST(-5 AS smallint)",
          u"CAST(-5 AS int)",
          u"CAST(-5000000000 AS bigint)",
          u"CAST(-1.25 AS decimal(20,4))",
          u"CAST(0.005 AS numeric(5,3))",
          u"CAST(-1.5 AS money)",
          u"CAST(1.5 AS smallmoney)",
          u"CAST(1.1 AS real)",
          u"CAST(1.1e0 AS float)",
          u"CAST('20240101 10:00:00.003' AS datetime)",
          u"CAST('17530101' AS datetime)",
          u"CAST('20240101 10:01' AS smalldatetime)",
          u"CAST('20240101' AS date)",
          u"CAST('10:00:00.1234567' AS time(7))",
          u"CAST('2024-01-01 10:00:00.123' AS datetime2(3))",
          u"CAST('2024-01-01 10:00 -03:30' AS datetimeoffset(0))",
          u"'caf\u00E9'",
          u"N'\u0416'",
          u"0x0102",
          u"CAST('01234567-89AB-CDEF-0123-456789ABCDEF' AS uniqueidentifier)"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        DropOnBoth(u"t");
        RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.type) + u", w " +
                  each.type + u")");
        std::int64_t id = 0;
        for (const auto* value : each.values) {
            const auto* next =
                each.values[static_cast<std::size_t>(id / 5 + 1) % each.values.size()];
            const struct {
                const char16_t *on1, *on2;
            } rows[] = {
                {value, nullptr},  // inserted
                {nullptr, value},  // deleted
                {value, u"NULL"}, {u"NULL", value}, {value, next},
            };
            for (const auto& row : rows) {
                const auto insert = [&](const std::u16string& v) {
                    return u"INSERT t VALUES (" + ToText(id) + u", " + v + u", " + value + u")";
                };
                if (row.on1 != nullptr) RunOn1(insert(row.on1));
                if (row.on2 != nullptr) RunOn2(insert(row.on2));
                ++id;
            }
        }
        ExpectToConverge({u"t"});
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"),
                  ToText(static_cast<std::int64_t>(4 * each.values.size())));
    }
}

TEST_P(ScriptValues, CarryKeysOfEveryKind) {
    const struct {
        const char16_t* type;
        std::vector<const char16_t*> values;
    } cases[] = {
        {u"bigint", {u"1", u"-5", u"9223372036854775807", u"3000000000"}},
        {u"decimal(20,3)", {u"1.5", u"-2", u"0.001", u"7"}},
        {u"float", {u"1.5e0", u"-2e300", u"0.1e0", u"7"}},
        {u"real", {u"1.1e0", u"-2.7e30", u"0.1e0", u"7"}},
        {u"datetime",
         {u"'20240101 10:00:00.003'", u"'20240101'", u"'20240101 10:00:00.007'", u"'17530101'"}},
        {u"datetime2(7)",
         {u"'2024-01-01 10:00:00.0000001'", u"'2024-01-01'", u"'2024-01-01 10:00:00.0000002'",
          u"'0001-01-01'"}},
        {u"uniqueidentifier",
         {u"'01234567-89AB-CDEF-0123-456789ABCDEF'", u"'01234567-89AB-CDEF-0123-456789ABCDEE'",
          u"'11234567-89AB-CDEF-0123-456789ABCDEF'", u"'00000000-0000-0000-0000-000000000000'"}},
        {u"varchar(9)", {u"'a'", u"'it''s'", u"'\u20AC'", u"'b'"}},
        {u"nvarchar(9)", {u"N'a'", u"N'\u0416'", u"N'x' + NCHAR(10)", u"N'b'"}},
        {u"varbinary(9)", {u"0x01", u"0x0203", u"0xFF", u"0x02"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        DropOnBoth(u"t");
        RunOnBoth(u"CREATE TABLE t (k " + std::u16string(each.type) +
                  u", n int, PRIMARY KEY (k, n), v int)");
        for (std::size_t i = 0; i < 4; ++i) {
            for (int n = 0; n < 3; ++n) {
                const std::u16string row =
                    u"INSERT t VALUES (" + std::u16string(each.values[i]) + u"," + ToText(n) + u",";
                if (i != 0) RunOn1(row + u"1)");
                if (i != 1) RunOn2(row + (i == 2 ? u"2)" : u"1)"));
            }
        }
        ExpectToConverge({u"t"});
    }
}

TEST_P(ScriptValues, KeysThatTheCallerNames) {
    keyColumns = {u"k"};
    RunOnBoth(u"CREATE TABLE t (k varchar(9), a int)");
    RunOn1(u"INSERT t VALUES ('a',1),('A',2),('c',3)");
    RunOn2(u"INSERT t VALUES ('a',5),('A',2),('b',4)");
    ExpectToConverge({u"t"});
}

// What "=" takes for equal: bytes that zeros follow, values of another base type.
TEST_P(ScriptValues, KeysThatTheServerTakesForEqual) {
    keyColumns = {u"k"};
    const struct {
        const char16_t* type;
        const char16_t* values[3];
    } cases[] = {
        {u"varbinary(9)", {u"0x41", u"0x4100", u"0x410000"}},
        {u"nvarchar(9)", {u"N'a'", u"N'a' + NCHAR(0)", u"N'A'"}},
        {u"varchar(9)", {u"'a'", u"'a '", u"'A'"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        DropOnBoth(u"t");
        RunOnBoth(u"CREATE TABLE t (k " + std::u16string(each.type) + u", v int)");
        const auto row = [&](int value, int v) {
            return u" INSERT t VALUES (" + std::u16string(each.values[value]) + u"," + ToText(v) +
                   u")";
        };
        RunOn1(row(1, 1) + row(2, 2));
        RunOn2(row(0, 0) + row(1, 1) + row(2, 9));
        ExpectToConverge({u"t"});
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"2");
    }
}

// By the rules of Unicode two keys may be equal that are not by those of the index.
TEST_P(ScriptValues, CompareKeysOfACodePageByTheirBytesToo) {
    RunOnBoth(u"CREATE TABLE t (k varchar(9) PRIMARY KEY, v int)");
    RunOn1(u"INSERT t VALUES ('plain', 1)");
    RunOn2(u"INSERT t VALUES ('plain', 2), ('stra\u00DFe', 3)");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script,
                      u"DELETE FROM [dbo].[t]\r\nWHERE [k] = N'stra\u00DFe' AND CAST([k] AS"
                      u" varbinary(max)) + 0x01 = 0x73747261DF6501"));
    EXPECT_TRUE(Holds(script, u"SET [v] = 1\r\nWHERE [k] = 'plain'"));
    ExpectToConverge({u"t"});
}

// The server knows the code page of its database only.
TEST_P(ScriptValues, CompleteRowsWhoseKeyIsOfAnotherCodePage) {
    keyColumns = {u"code"};
    RunOnBoth(
        u"CREATE TABLE t (code varchar(9) COLLATE Cyrillic_General_CI_AS UNIQUE, parent varchar(9)"
        u" COLLATE Cyrillic_General_CI_AS NULL REFERENCES t (code))");
    RunOn1(
        u"INSERT t VALUES (N'\u0416', NULL) INSERT t VALUES (N'\u0417', N'\u0416')"
        u" UPDATE t SET parent = N'\u0417' WHERE code = N'\u0416'");
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE parent IS NOT NULL"), u"2");
}

TEST_P(ScriptValues, TypesThatDiffer) {
    RunOn1(
        u"CREATE TABLE t (id int PRIMARY KEY, a bigint, b nvarchar(20), c decimal(12,4), d real,"
        u" e datetime, f varchar(20))");
    RunOn2(
        u"CREATE TABLE t (id bigint PRIMARY KEY, a int, b varchar(20), c decimal(9,2), d float,"
        u" e date, f nvarchar(20))");
    RunOn1(u"INSERT t VALUES (1,5,N'\u20AC',1.5,0.1,'20240101','\u20AC'),(2,6,N'b',2,2,NULL,'x')");
    RunOn2(u"INSERT t VALUES (2,7,'c',3,3,'20240102',N'\u0416'),(3,1,'x',1,1,NULL,NULL)");
    ExpectToConverge({u"t"});
}

TEST_P(ScriptValues, RefuseValuesThatTheColumnDoesNotHold) {
    const struct {
        const char16_t *from, *to, *value, *why;
    } cases[] = {
        {u"decimal(9,3)", u"decimal(9,2)", u"1.005", u"the column would round it"},
        {u"int", u"bit", u"2", u"a bit holds 0 and 1"},
        {u"float", u"real", u"0.1", u"the column would round it"},
        {u"nvarchar(9)", u"varchar(9)", u"N'\u0416'",
         u"the column's code page lacks a character of it"},
        {u"datetime2(7)", u"datetime2(3)", u"'2024-01-01 00:00:00.0001'",
         u"the column would round it"},
        {u"datetime", u"date", u"'20240101 10:00'", u"the column would round it"},
        {u"datetime", u"smalldatetime", u"'20240101 10:00:01'", u"the column would round it"},
        {u"varchar(9)", u"char(9)", u"'a'", u"the column would fill it up with blanks, or cut it"},
        {u"varbinary(9)", u"binary(9)", u"0x01",
         u"the column would fill it up with zeros, or cut it"},
        {u"varchar(9)", u"varchar(2)", u"'ab '", u"the column would cut it"},
        {u"nvarchar(9)", u"nvarchar(2)", u"N'ab '", u"the column would cut it"},
        {u"nvarchar(9)", u"varchar(2)", u"N'ab '", u"the column would cut it"},
        {u"varbinary(9)", u"varbinary(2)", u"0x010200", u"the column would cut it"},
    };
    for (const auto& each : cases) {
        DropOnBoth(u"t");
        RunOn1(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.from) +
               u")\nGO\nINSERT t VALUES (1, " + each.value + u")");
        RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.to) + u")");
        EXPECT_EQ(RaisedBy([this] { Script({u"t"}); }).description,
                  u"Table [dbo].[t], column v: a value cannot be written, for " +
                      std::u16string(each.why) + u".");
    }
}

// A list with a national text makes nvarchar of all its texts, which holds 4,000 units.
TEST_P(ScriptValues, LongTextsShareListsWithNationalOnes) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a varchar(8000), b int)");
    RunOn1(
        u"INSERT t VALUES (1, REPLICATE('x', 3999) + 'y', 1)"
        u" INSERT t VALUES (2, REPLICATE('x', 4000) + 'y', 1)"
        u" INSERT t VALUES (3, N'\u00E9', 1)"
        u" INSERT t VALUES (4, REPLICATE('x', 7999) + 'y', 1)");
    ExpectToConverge({u"t"});
    RunOn2(u"UPDATE t SET a = N'\u00E9' + CAST(id AS varchar(9)), b = 2");
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE RIGHT(a, 1) = 'y'"), u"3");
    EXPECT_EQ(On2(u"SELECT SUM(LEN(a)) FROM t"), u"16002");
}

// A list takes the type of its first row: NULL of the source's type would cut what follows.
TEST_P(ScriptValues, NullsAtTheTopOfAListHaveTheTypeOfTheTarget) {
    RunOn1(u"CREATE TABLE t (id int PRIMARY KEY, a smalldatetime NULL)");
    RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, a datetime2(7) NULL)");
    RunOn1(u"INSERT t VALUES (1, NULL), (2, '20200101 12:00')");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script, u"(1, CAST(NULL AS datetime2(7)))"));
    ExpectToConverge({u"t"});
}

// Written in UTF-8 and read as something else, the script says so and does nothing.
TEST_P(ScriptValues, ReadInAnotherCodePageDoNothing) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(9))");
    RunOn1(u"INSERT t VALUES (1, N'é')");
    std::u16string misread;
    for (const char unit : ToUtf8(Script({u"t"})))
        misread.push_back(static_cast<unsigned char>(unit));
    EXPECT_TRUE(Holds(OnlyErrorOf(misread), u"in another code page"));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"0");
    ExpectToConverge({u"t"});
}

}  // namespace
}  // namespace QuillonLib
