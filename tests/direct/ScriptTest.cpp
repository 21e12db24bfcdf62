// Statement scripts: compare, write, run, compare again.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class Scripts : public ScriptFixture, public ::testing::WithParamInterface<bool> {
  protected:
    Scripts() { scripted.guard = GetParam(); }
};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, Scripts, ::testing::Bool());

TEST_P(Scripts, InsertUpdateAndDelete) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20), b varchar(20), c int)");
    RunOn1(
        u"INSERT t VALUES (1,N'same','s',1),(2,N'new ''q''','x',NULL),(3,NULL,'it''s',3),"
        u"(6,N'more','m',6)");
    RunOn2(u"INSERT t VALUES (1,N'same','s',1),(2,N'old','x',2),(4,N'gone','g',4),(5,NULL,NULL,5)");
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, TheFirstSideToo) {
    scripted.target = 1;
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20))");
    RunOn1(u"INSERT t VALUES (1,N'a'),(2,N'b')");
    RunOn2(u"INSERT t VALUES (2,N'c'),(3,N'd')");
    ExpectToConverge({u"t"});
    EXPECT_EQ(server.Scalar(u"USE w SELECT a FROM t WHERE id = 2"), u"c");
}

TEST_P(Scripts, CarryEveryType) {
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
        RunOnBoth(u"IF OBJECT_ID('t') IS NOT NULL DROP TABLE t");
        RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.type) + u", w " +
                  each.type + u")");
        std::int64_t id = 0;
        for (const auto* value : each.values) {
            // inserted, deleted, changed from NULL, to NULL, and to the next value
            const std::u16string text = value;
            const std::u16string next =
                each.values[static_cast<std::size_t>(id / 5 + 1) % each.values.size()];
            const auto row = [&](const std::u16string& v) {
                return u"INSERT t VALUES (" + ToText(id) + u", " + v + u", " + text + u")";
            };
            RunOn1(row(text));
            ++id;
            RunOn2(row(text));
            ++id;
            RunOn1(row(text));
            RunOn2(row(u"NULL"));
            ++id;
            RunOn1(row(u"NULL"));
            RunOn2(row(text));
            ++id;
            RunOn1(row(text));
            RunOn2(row(next));
            ++id;
        }
        ExpectToConverge({u"t"});
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"),
                  ToText(static_cast<std::int64_t>(4 * each.values.size())));
    }
}

TEST_P(Scripts, CarryKeysOfEveryKind) {
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
        RunOnBoth(u"IF OBJECT_ID('t') IS NOT NULL DROP TABLE t");
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

TEST_P(Scripts, LetRowsSwapAUniqueValue) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code varchar(9) UNIQUE, a int)");
    RunOn1(u"INSERT t VALUES (1,'x',1),(2,'y',2),(3,'z',3),(4,'new',4),(6,'freed',6)");
    RunOn2(u"INSERT t VALUES (1,'y',9),(2,'z',2),(3,'x',3),(4,'old',4),(5,'new',5),(7,'freed',7)");
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, WriteIdentities) {
    RunOnBoth(
        u"CREATE TABLE t (id int IDENTITY PRIMARY KEY, a int) CREATE TABLE u (id int IDENTITY"
        u" PRIMARY KEY, a int)");
    RunOn1(u"SET IDENTITY_INSERT t ON INSERT t (id, a) VALUES (5, 5), (7, 7)");
    RunOn1(u"SET IDENTITY_INSERT u ON INSERT u (id, a) VALUES (5, 5)");
    RunOn2(u"SET IDENTITY_INSERT t ON INSERT t (id, a) VALUES (5, 6)");
    ExpectToConverge({u"t", u"u"});
}

TEST_P(Scripts, RefuseAnIdentityThatDiffers) {
    RunOnBoth(u"CREATE TABLE t (k int PRIMARY KEY, id int IDENTITY)");
    RunOn1(u"INSERT t (k) VALUES (1)");
    RunOn2(u"INSERT t (k) VALUES (2) INSERT t (k) VALUES (1)");
    EXPECT_EQ(RaisedBy([this] { Script({u"t"}); }).description,
              u"Table [dbo].[t]: identity column id differs, and cannot be updated.");
}

TEST_P(Scripts, NeverSetAnIdentityBesideAnotherUniqueColumn) {
    keyColumns = {u"code"};
    RunOnBoth(
        u"CREATE TABLE t (id int IDENTITY PRIMARY KEY, code varchar(9) UNIQUE, mail varchar(9)"
        u" UNIQUE)");
    RunOn1(u"INSERT t VALUES ('a', 'x')");
    RunOn2(u"INSERT t VALUES ('a', 'y')");
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, LeaveAloneWhatTheServerMakes) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int, c AS a * 2, v rowversion)");
    RunOn1(u"INSERT t (id, a) VALUES (1,1),(2,2)");
    RunOn2(u"INSERT t (id, a) VALUES (1,3)");
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT c FROM t WHERE id = 1"), u"2");
}

// Its head names it in a comment.
TEST_P(Scripts, LeaveNoVariableOfAClientToANameInAComment) {
    RunOnBoth(u"CREATE TABLE [a$(x)\u2028b] (id int PRIMARY KEY)");
    RunOn1(u"INSERT [a$(x)\u2028b] VALUES (1)");
    const std::u16string script = Script({u"a$(x)\u2028b"});
    EXPECT_EQ(script.find(u"-- [dbo].[a$ (x) b]: 0 deleted, 0 updated, 1 inserted\r\n"),
              script.find(u"-- [dbo]"));
}

TEST_P(Scripts, QuoteNames) {
    RunOnBoth(u"CREATE TABLE [t]] 'x%] ([i]]d] int PRIMARY KEY, [a b] int, [select] int)");
    RunOn1(u"INSERT [t]] 'x%] VALUES (1,1,1),(2,2,2),(3,3,3)");
    RunOn2(u"INSERT [t]] 'x%] VALUES (1,2,3),(3,2,1),(4,4,4),(5,5,5)");
    ExpectToConverge({u"t] 'x%"});
}

TEST_P(Scripts, TablesWithoutAKey) {
    RunOnBoth(
        u"CREATE TABLE t (a int, b nvarchar(9), f float, d datetimeoffset, x xml, v"
        u" sql_variant)");
    const std::u16string rest = u", 1.5, '2024-01-01 10:00 +02:00', '<a/>', CAST(1 AS int))";
    RunOn1(u"INSERT t VALUES (1,N'a'" + rest + u" INSERT t VALUES (1,N'a'" + rest +
           u" INSERT t VALUES (2,NULL,0e0,NULL,NULL,NULL)");
    RunOn2(u"INSERT t VALUES (1,N'A'" + rest + u" INSERT t VALUES (3,N'c'" + rest +
           u" INSERT t VALUES (3,N'c'" + rest +
           u" INSERT t VALUES (2,NULL,0e0 * -1,NULL,NULL,NULL)"
           u" INSERT t VALUES (2,NULL,0e0,NULL,NULL,NULL)");
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, RowsWithoutAKeyThatTheServerTakesForEqual) {
    RunOnBoth(u"CREATE TABLE t (a varbinary(9), b nvarchar(9), v sql_variant)");
    RunOn1(u"INSERT t VALUES (0x01, N'a', CAST(1 AS smallint))");
    RunOn2(
        u"INSERT t VALUES (0x0100, N'a', 0x0001) INSERT t VALUES (0x01, N'a', 0x0001)"
        u" INSERT t VALUES (0x01, N'a', CAST(1 AS smallint))");
    const std::u16string script = Script({u"t"});
    EXPECT_NE(script.find(u"WHERE CAST([a] AS varbinary(max)) + 0x01 = 0x010001 AND CAST([b] AS"
                          u" varbinary(max)) + 0x01 = 0x610001 AND CAST(CAST([v] AS"
                          u" varbinary(8000)) AS varbinary(max)) + 0x01 +"
                          u" CAST(CAST(SQL_VARIANT_PROPERTY([v], 'BaseType') AS nvarchar(128)) AS"
                          u" varbinary(256)) = 0x000101760061007200620069006E00610072007900\r\n"),
              std::u16string::npos)
        << ToUtf8(script);
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, KeysThatTheCallerNames) {
    keyColumns = {u"k"};
    RunOnBoth(u"CREATE TABLE t (k varchar(9), a int)");
    RunOn1(u"INSERT t VALUES ('a',1),('A',2),('c',3)");
    RunOn2(u"INSERT t VALUES ('a',5),('A',2),('b',4)");
    ExpectToConverge({u"t"});
}

// What "=" takes for equal: bytes that zeros follow, values of another base type.
TEST_P(Scripts, KeysThatTheServerTakesForEqual) {
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
        RunOnBoth(u"IF OBJECT_ID('t') IS NOT NULL DROP TABLE t");
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
TEST_P(Scripts, CompareKeysOfACodePageByTheirBytesToo) {
    RunOnBoth(u"CREATE TABLE t (k varchar(9) PRIMARY KEY, v int)");
    RunOn1(u"INSERT t VALUES ('plain', 1)");
    RunOn2(u"INSERT t VALUES ('plain', 2), ('stra\u00DFe', 3)");
    const std::u16string script = Script({u"t"});
    EXPECT_NE(script.find(u"DELETE FROM [dbo].[t]\r\nWHERE [k] = N'stra\u00DFe' AND CAST([k] AS"
                          u" varbinary(max)) + 0x01 = 0x73747261DF6501"),
              std::u16string::npos)
        << ToUtf8(script);
    EXPECT_NE(script.find(u"SET [v] = 1\r\nWHERE [k] = 'plain'"), std::u16string::npos)
        << ToUtf8(script);
    ExpectToConverge({u"t"});
}

// The server knows the code page of its database only.
TEST_P(Scripts, CompleteRowsWhoseKeyIsOfAnotherCodePage) {
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

TEST_P(Scripts, ManyRows) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(50), b int)");
    const auto fill = [](int from, int to, const std::u16string& a) {
        return u"DECLARE @i int SET @i = " + ToText(from) + u" WHILE @i < " + ToText(to) +
               u" BEGIN INSERT t VALUES (@i, " + a + u", @i) SET @i = @i + 1 END";
    };
    RunOn1(fill(0, 3000, u"N'one'"));
    RunOn2(fill(1000, 4000, u"CASE WHEN @i % 2 = 0 THEN N'one' ELSE N'two' END"));
    ExpectToConverge({u"t"});
}

// Longer lists would take a server more time to compile than to carry out.
TEST_P(Scripts, WriteListsOfFiveHundredLiterals) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int, b int, c int)");
    const std::u16string fill =
        u"DECLARE @i int SET @i = 0 WHILE @i < 250 BEGIN INSERT t VALUES (@i, 1, 2, 3)"
        u" SET @i = @i + 1 END";
    RunOn1(fill);
    const auto count = [](const std::u16string& script, std::u16string_view text) {
        std::size_t found = 0;
        for (std::size_t at = script.find(text); at != script.npos; at = script.find(text, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count(Script({u"t"}), u"INSERT INTO"), 2U);
    RunOn2(fill + u" UPDATE t SET a = 9");
    // the key and the new value; of a guarded script the old one, too
    EXPECT_EQ(count(Script({u"t"}), u"UPDATE t SET"), scripted.guard ? 2U : 1U);
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, TypesThatDiffer) {
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

TEST_P(Scripts, RefuseValuesThatTheColumnDoesNotHold) {
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
        RunOnBoth(u"IF OBJECT_ID('t') IS NOT NULL DROP TABLE t");
        RunOn1(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.from) +
               u")\nGO\nINSERT t VALUES (1, " + each.value + u")");
        RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, v " + std::u16string(each.to) + u")");
        EXPECT_EQ(RaisedBy([this] { Script({u"t"}); }).description,
                  u"Table [dbo].[t], column v: a value cannot be written, for " +
                      std::u16string(each.why) + u".");
    }
}

TEST_P(Scripts, OrderTablesByTheirForeignKeys) {
    RunOnBoth(
        u"CREATE TABLE p (id int PRIMARY KEY, n int) CREATE TABLE c (id int PRIMARY KEY,"
        u" p int NOT NULL REFERENCES p (id)) CREATE TABLE g (id int PRIMARY KEY,"
        u" c int REFERENCES c (id))");
    RunOn1(u"INSERT p VALUES (1,1),(2,2) INSERT c VALUES (1,1),(2,2) INSERT g VALUES (1,2),(2,1)");
    RunOn2(u"INSERT p VALUES (1,9),(3,3) INSERT c VALUES (1,1),(3,3) INSERT g VALUES (1,3),(3,3)");
    for (const auto& names : {std::vector<std::u16string>{u"g", u"p", u"c"},
                              std::vector<std::u16string>{u"p", u"c", u"g"}}) {
        SCOPED_TRACE(ToUtf8(names.front()));
        ExpectToConverge(names);
    }
}

TEST_P(Scripts, RowsThatReferToTheirOwnTable) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, parent int REFERENCES t (id), a int)");
    RunOn1(
        u"INSERT t VALUES (9,NULL,1) INSERT t VALUES (1,9,1) INSERT t VALUES (2,1,2)"
        u" INSERT t VALUES (5,2,5) INSERT t VALUES (6,5,6)");
    RunOn2(
        u"INSERT t VALUES (8,NULL,1) INSERT t VALUES (7,8,1) INSERT t VALUES (5,7,5)"
        u" INSERT t VALUES (6,NULL,7)");
    RunOn2(u"UPDATE t SET parent = 7 WHERE id = 8");
    ExpectToConverge({u"t"});
}

TEST_P(Scripts, TablesThatReferToEachOther) {
    RunOnBoth(
        u"CREATE TABLE a (id int PRIMARY KEY, b int NULL) CREATE TABLE b (id int PRIMARY KEY,"
        u" a int NOT NULL REFERENCES a (id)) ALTER TABLE a ADD CONSTRAINT ab FOREIGN KEY (b)"
        u" REFERENCES b (id)");
    RunOn1(
        u"INSERT a VALUES (1,NULL),(2,NULL) INSERT b VALUES (1,1),(2,2)"
        u" UPDATE a SET b = 3 - id");
    RunOn2(
        u"INSERT a VALUES (1,NULL),(3,NULL) INSERT b VALUES (3,3),(1,3)"
        u" UPDATE a SET b = 3");
    ExpectToConverge({u"a", u"b"});
}

TEST_P(Scripts, CyclesThatCannotBeNullAreSuspended) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, other int NOT NULL, CONSTRAINT self FOREIGN KEY"
        u" (other) REFERENCES t (id))");
    RunOn1(u"INSERT t VALUES (1,2),(2,1),(3,3)");
    RunOn2(u"INSERT t VALUES (3,4),(4,3)");
    const std::u16string script = Script({u"t"});
    EXPECT_NE(script.find(u"-- Suspended, and checked again at the end: foreign key self of "
                          u"[dbo].[t]\r\n"),
              std::u16string::npos);
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE id + other IN (3, 6)"), u"3");
    EXPECT_EQ(On2(u"SELECT CAST(is_disabled AS int) + CAST(is_not_trusted AS int) FROM"
                  u" sys.foreign_keys WHERE name = 'self'"),
              u"0");
}

TEST_P(Scripts, OptionsLeaveOut) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int)");
    RunOn1(u"INSERT t VALUES (1,1),(2,2)");
    RunOn2(u"INSERT t VALUES (2,3),(3,3)");
    scripted.deletes = false;
    scripted.updates = false;
    EXPECT_EQ(Run(Script({u"t"})), Texts{});
    EXPECT_EQ(On2(u"SELECT SUM(id * 10 + a) FROM t"), u"67");
    scripted.inserts = false;
    scripted.updates = true;
    EXPECT_EQ(Run(Script({u"t"})), Texts{});
    EXPECT_EQ(On2(u"SELECT SUM(id * 10 + a) FROM t"), u"66");
    scripted.updates = false;
    scripted.deletes = true;
    EXPECT_EQ(Run(Script({u"t"})), Texts{});
    EXPECT_EQ(On2(u"SELECT SUM(id * 10 + a) FROM t"), u"33");
}

TEST_P(Scripts, SingleRowsForOlderServers) {
    sandbox::ServerSettings settings;
    settings.name = u"OLD";
    settings.version = "9.00.5000";
    sandbox::Sandbox olderBox;
    sandbox::Server& older = olderBox.AddServer(settings);
    older.Run(u"CREATE DATABASE w");
    two = MakeDatabase(older, u"w");
    const std::u16string table =
        u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(9), p int REFERENCES t (id))\n";
    RunOn1(table +
           u"INSERT t VALUES (1,N'a',NULL) INSERT t VALUES (2,N'b',1)"
           u" INSERT t VALUES (3,NULL,2)");
    older.Run(u"USE w\nGO\n" + table +
              u"INSERT t VALUES (1,N'x',NULL) INSERT t VALUES (2,NULL,NULL)"
              u" INSERT t VALUES (4,N'',4) INSERT t VALUES (5,N'',4)");
    const std::u16string script = Script({u"t"});
    EXPECT_EQ(script.find(u"(VALUES"), std::u16string::npos);
    EXPECT_EQ(script.find(u"),\r\n("), std::u16string::npos);
    ExpectToConverge({u"t"});
}

// A list with a national text makes nvarchar of all its texts, which holds 4,000 units.
TEST_P(Scripts, LongTextsShareListsWithNationalOnes) {
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

// Whatever the other side has in their place, and however it spells them.
TEST_P(Scripts, RowsWithoutAKeyKeepWhatOnlyTheTargetHolds) {
    RunOn1(u"CREATE TABLE t (a int, Note varchar(9)) CREATE TABLE s (a int, b AS a * 2)");
    RunOn2(u"CREATE TABLE t (a int, note varchar(9)) CREATE TABLE s (a int, b int)");
    RunOn1(u"INSERT t VALUES (1, 'x') INSERT s VALUES (1)");
    RunOn2(u"INSERT t VALUES (2, 'y') INSERT s VALUES (2, 7)");
    options.ignoredColumns = {u"NOTE"};
    for (const auto* table : {u"t", u"s"}) {
        const std::u16string script = Script({table});
        EXPECT_NE(script.find(u"-- Left out, rows without a key"), std::u16string::npos)
            << ToUtf8(script);
        EXPECT_EQ(Run(script), Texts{});
    }
    EXPECT_EQ(On2(u"SELECT note FROM t"), u"y");
    EXPECT_EQ(On2(u"SELECT b FROM s"), u"7");
}

// A list takes the type of its first row: NULL of the source's type would cut what follows.
TEST_P(Scripts, NullsAtTheTopOfAListHaveTheTypeOfTheTarget) {
    RunOn1(u"CREATE TABLE t (id int PRIMARY KEY, a smalldatetime NULL)");
    RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, a datetime2(7) NULL)");
    RunOn1(u"INSERT t VALUES (1, NULL), (2, '20200101 12:00')");
    const std::u16string script = Script({u"t"});
    EXPECT_NE(script.find(u"(1, CAST(NULL AS datetime2(7)))"), std::u16string::npos)
        << ToUtf8(script);
    ExpectToConverge({u"t"});
}

// Written in UTF-8 and read as something else, the script says so and does nothing.
TEST_P(Scripts, ReadInAnotherCodePageDoNothing) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(9))");
    RunOn1(u"INSERT t VALUES (1, N'é')");
    std::u16string misread;
    for (const char unit : ToUtf8(Script({u"t"})))
        misread.push_back(static_cast<unsigned char>(unit));
    const Texts errors = Run(misread);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_NE(errors[0].find(u"in another code page"), std::u16string::npos) << ToUtf8(errors[0]);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"0");
    ExpectToConverge({u"t"});
}

// A row that goes and comes again would come without them.
TEST_P(Scripts, RowsWithoutAKeyKeepWhatIsNotCompared) {
    RunOn1(u"CREATE TABLE t (a int, twice AS a * 2)");
    RunOn2(u"CREATE TABLE t (a int, twice AS a * 2, note varchar(9))");
    RunOn1(u"INSERT t VALUES (1), (2), (3)");
    RunOn2(u"INSERT t VALUES (1, 'one'), (2, 'two'), (4, 'four')");
    const std::u16string script = Script({u"t"});
    EXPECT_NE(
        script.find(u"-- Left out, rows without a key, some of whose columns are not compared "
                    u"and would lose their values: [dbo].[t]\r\n"),
        std::u16string::npos)
        << ToUtf8(script);
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT note FROM t WHERE a = 4"), u"four");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
    // nothing is lost where nothing goes
    RunOn2(u"DELETE t WHERE a = 4");
    EXPECT_EQ(Run(Script({u"t"})), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
    EXPECT_EQ(On2(u"SELECT note FROM t WHERE a = 1"), u"one");
}

// ---- what goes wrong ---------------------------------------------------------------------------

class FailingScripts : public ScriptFixture {
  protected:
    FailingScripts() {
        RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(max), b int)");
        RunOn1(
            u"DECLARE @i int SET @i = 0 WHILE @i < 10 BEGIN INSERT t VALUES (@i,"
            u" REPLICATE(CAST(N'x' AS nvarchar(max)), 40000), 1) SET @i = @i + 1 END");
        RunOn2(u"INSERT t VALUES (0, N'old', 1)");
    }
};

TEST_F(FailingScripts, ChangeNothingWhenABatchFails) {
    RunOn2(u"ALTER TABLE t ADD CONSTRAINT few CHECK (id < 7)");
    const std::u16string script = Script({u"t"});
    EXPECT_GT(BatchesOf(script).size(), 5U);
    EXPECT_EQ(Run(script).size(), 1U);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"1");
    EXPECT_EQ(On2(u"SELECT a FROM t"), u"old");
}

TEST_F(FailingScripts, ChangeNothingWhenABatchIsNotRun) {
    const std::u16string script = Script({u"t"});
    const Texts batches = BatchesOf(script);
    for (std::size_t left = 0; left + 1 < batches.size(); ++left) {
        std::u16string cut;
        for (std::size_t i = 0; i < batches.size(); ++i) {
            if (i != left) cut += batches[i] + u"\r\nGO\r\n";
        }
        Run(cut + u"IF @@TRANCOUNT > 0 ROLLBACK\r\nGO\r\n");
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"1") << "without batch " << left;
        EXPECT_EQ(On2(u"SELECT a FROM t"), u"old");
    }
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"10");
}

TEST_F(FailingScripts, GuardAgainstRowsThatHaveChanged) {
    scripted.guard = true;
    RunOn2(u"INSERT t VALUES (20, N'gone', 1) INSERT t VALUES (21, N'gone', 1)");
    const std::u16string script = Script({u"t"});
    for (const auto* change :
         {u"UPDATE t SET a = N'OLD' WHERE id = 0", u"UPDATE t SET a = NULL WHERE id = 0",
          u"UPDATE t SET b = 2 WHERE id = 21", u"DELETE t WHERE id = 20"}) {
        SCOPED_TRACE(ToUtf8(change));
        RunOn2(u"DELETE t INSERT t VALUES (0, N'old', 1),(20, N'gone', 1),(21, N'gone', 1)");
        RunOn2(change);
        const std::u16string before = On2(u"SELECT COUNT(*) FROM t");
        const Texts errors = Run(script);
        ASSERT_EQ(errors.size(), 1U);
        EXPECT_NE(errors[0].find(u"Table [dbo].[t]"), std::u16string::npos);
        EXPECT_NE(errors[0].find(u"a row is not as it was compared."), std::u16string::npos);
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), before);
    }
    RunOn2(u"DELETE t INSERT t VALUES (0, N'old', 1),(20, N'gone', 1),(21, N'gone', 1)");
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"10");
}

// An index that drops duplicates says so in a message, which need not be an error for a client.
TEST_F(FailingScripts, GuardAgainstRowsThatAreNotInserted) {
    RunOnBoth(u"CREATE TABLE d (id int IDENTITY PRIMARY KEY, code int)");
    RunOn2(u"CREATE UNIQUE INDEX ux ON d (code) WITH (IGNORE_DUP_KEY = ON)");
    RunOn1(u"INSERT d VALUES (5), (6), (5)");
    const std::u16string loose = Script({u"d"});
    scripted.guard = true;
    const std::u16string script = Script({u"d"});
    const Texts errors = Run(script);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_TRUE(errors[0].ends_with(u"Table [dbo].[d], key (3): the row was not inserted."))
        << ToUtf8(errors[0]);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"0");
    RunOn2(u"DROP INDEX ux ON d");
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"3");
    RunOn2(u"DELETE d CREATE UNIQUE INDEX ux ON d (code) WITH (IGNORE_DUP_KEY = ON)");
    EXPECT_EQ(Run(loose), errors);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"0");
}

TEST_F(FailingScripts, GuardAgainstRowsWithoutAKeyThatAreNotInserted) {
    RunOnBoth(u"CREATE TABLE d (code int)");
    RunOn2(u"CREATE UNIQUE INDEX ux ON d (code) WITH (IGNORE_DUP_KEY = ON) INSERT d VALUES (7)");
    RunOn1(u"INSERT d VALUES (7), (7), (8)");
    scripted.guard = true;
    const Texts errors = Run(Script({u"d"}));
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_TRUE(errors[0].ends_with(u"Table [dbo].[d], row (7): the row was not inserted."))
        << ToUtf8(errors[0]);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"1");
}

// Its COMMIT would leave everything to that one.
TEST_F(FailingScripts, ChangeNothingInATransactionThatIsNotTheirs) {
    const std::u16string script = Script({u"t"});
    auto connection = OpenConnection(*two);
    connection->Execute(u"BEGIN TRANSACTION INSERT t VALUES (99, N'mine', 1)");
    Texts errors;
    for (const std::u16string& batch : BatchesOf(script)) {
        try {
            connection->Execute(batch);
        } catch (const Error& error) {
            errors.push_back(error.Description());
        }
    }
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_NE(errors[0].find(u"A transaction is open already"), std::u16string::npos);
    connection->Execute(u"COMMIT TRANSACTION");
    connection->Close();
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"2");
    EXPECT_EQ(On2(u"SELECT a FROM t WHERE id = 99"), u"mine");
}

// Where the server takes the new value for the old one.
TEST_F(FailingScripts, GuardAgainstChangesThatTheServerDoesNotSee) {
    scripted.guard = true;
    RunOnBoth(u"CREATE TABLE s (id int PRIMARY KEY, b varbinary(9), n nvarchar(9), v sql_variant)");
    RunOn1(u"INSERT s VALUES (1, 0x02, N'new', 'new')");
    const std::u16string fill =
        u"DELETE s INSERT s VALUES (1, 0x01, N'a', CAST(1 AS int)), (2, 0x01, N'a', CAST(1 AS "
        u"int))";
    RunOn2(fill);
    const std::u16string script = Script({u"s"});
    for (const auto* id : {u"1", u"2"}) {
        for (const auto* change : {u"b = 0x0100", u"n = N'a' + NCHAR(0)", u"n = N'A'",
                                   u"v = CAST(1 AS bigint)", u"v = 0x00000001"}) {
            SCOPED_TRACE(ToUtf8(change) + " of " + ToUtf8(id));
            RunOn2(fill);
            RunOn2(u"UPDATE s SET " + std::u16string(change) + u" WHERE id = " + id);
            EXPECT_EQ(Run(script).size(), 1U);
            EXPECT_EQ(On2(u"SELECT COUNT(*) FROM s"), u"2");
        }
    }
    RunOn2(fill);
    EXPECT_EQ(Run(script), Texts{});
}

// Columns that refer to rows of the same table are emptied, and filled at the end.
TEST_F(FailingScripts, GuardAgainstReferencesThatWereNotThere) {
    scripted.guard = true;
    RunOnBoth(
        u"CREATE TABLE tree (id int CONSTRAINT PK_tree PRIMARY KEY, up int NULL CONSTRAINT FK_tree"
        u" REFERENCES tree (id))");
    RunOn1(u"INSERT tree VALUES (1, NULL), (2, 1), (7, NULL)");
    const std::u16string fill =
        u"UPDATE tree SET up = NULL DELETE tree INSERT tree VALUES (1, NULL), (2, NULL), (7, NULL),"
        u" (9, NULL), (10, 9)";
    RunOn2(fill);
    const std::u16string script = Script({u"tree"});
    for (const auto* change : {u"up = 7 WHERE id = 2", u"up = 7 WHERE id = 9",
                               u"up = 7 WHERE id = 10", u"up = NULL WHERE id = 10"}) {
        SCOPED_TRACE(ToUtf8(change));
        RunOn2(fill);
        RunOn2(u"UPDATE tree SET " + std::u16string(change));
        const Texts errors = Run(script);
        ASSERT_EQ(errors.size(), 1U);
        EXPECT_NE(errors[0].find(u"a row is not as it was compared."), std::u16string::npos)
            << ToUtf8(errors[0]);
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM tree"), u"5");
    }
    RunOn2(fill);
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM tree"), u"3");
    EXPECT_EQ(On2(u"SELECT up FROM tree WHERE id = 2"), u"1");
}

// What a trigger, say, has begun and not ended: a COMMIT would end that alone.
TEST_F(FailingScripts, DoNotCommitWithinAnotherTransaction) {
    const std::u16string script = Script({u"t"});
    const Texts batches = BatchesOf(script);
    std::u16string longer;
    for (std::size_t i = 0; i < batches.size(); ++i) {
        if (i + 1 == batches.size()) longer += u"BEGIN TRANSACTION\r\nGO\r\n";
        longer += batches[i] + u"\r\nGO\r\n";
    }
    // so that nothing is rolled back by the end of the session
    Run(longer + u"IF @@TRANCOUNT > 0 COMMIT TRANSACTION\r\nGO\r\n");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"1");
    EXPECT_EQ(On2(u"SELECT a FROM t"), u"old");
}

TEST_F(FailingScripts, AreWholeTexts) {
    RunOnBoth(u"CREATE TABLE s (id int PRIMARY KEY, a nvarchar(9), b varchar(9))");
    RunOn1(u"INSERT s VALUES (1,N'a','b'),(2,N'\u0416','it''s'),(3,NULL,'\u20AC'),(4,N'x','y')");
    RunOn2(u"INSERT s VALUES (3,N'c',NULL),(4,N'x','z'),(5,N'e','e'),(6,N'f','f')");
    scripted.guard = true;
    EXPECT_EQ(
        Script({u"s"}),
        u"-- Makes the rows of side 2 those of side 1, in one transaction.\r\n"
        u"-- Side 2 is database w on server " +
            two->Server() +
            u"\r\n"
            u"-- Ends, and changes nothing, where a row is not as it was compared, or is not"
            u" inserted.\r\n"
            u"-- [dbo].[s]: 2 deleted, 2 updated, 2 inserted\r\n"
            u"SET ANSI_NULLS, ANSI_PADDING, ANSI_WARNINGS, ARITHABORT, CONCAT_NULL_YIELDS_NULL, "
            u"QUOTED_IDENTIFIER ON\r\n"
            u"SET NUMERIC_ROUNDABORT OFF\r\n"
            u"SET IMPLICIT_TRANSACTIONS OFF\r\n"
            u"SET ROWCOUNT 0\r\n"
            u"SET NOCOUNT, XACT_ABORT ON\r\n"
            u"IF @@TRANCOUNT > 0\r\n"
            u"BEGIN\r\n"
            u"    RAISERROR(N'A transaction is open already: the script has to begin its own.', "
            u"16, "
            u"1)\r\n"
            u"    SET CONTEXT_INFO 0x00\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"IF LEN(N'é') <> 1 OR UNICODE(N'é') <> 233\r\n"
            u"BEGIN\r\n"
            u"    RAISERROR(N'The client has read the script in another code page: it is UTF-8 or "
            u"UTF-16.', 16, 1)\r\n"
            u"    SET CONTEXT_INFO 0x00\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"BEGIN TRANSACTION\r\n"
            u"SET CONTEXT_INFO 0x51756C6E00000000\r\n"
            u"GO\r\n"
            u"IF @@TRANCOUNT = 0 OR ISNULL(CAST(CONTEXT_INFO() AS varbinary(8)), 0x) <> "
            u"0x51756C6E00000000 RETURN\r\n"
            u"DECLARE @rows1 TABLE (n int IDENTITY, k1 int NULL, k2 varbinary(max) NULL, k3 "
            u"varbinary(max) NULL)\r\n"
            u"INSERT INTO @rows1 (k1, k2, k3) VALUES\r\n"
            u"(5, 0x650001, 0x6501),\r\n"
            u"(6, 0x660001, 0x6601)\r\n"
            u"DECLARE @met2 TABLE (n int)\r\n"
            u"DELETE t OUTPUT v.n INTO @met2\r\n"
            u"FROM [dbo].[s] AS t INNER JOIN @rows1 AS v ON t.[id] = v.k1 AND CAST(t.[a] AS "
            u"varbinary(max)) + 0x01 = v.k2 AND CAST(t.[b] AS varbinary(max)) + 0x01 = v.k3\r\n"
            u"IF @@ROWCOUNT <> 2\r\n"
            u"BEGIN\r\n"
            u"    DECLARE @row2 nvarchar(300)\r\n"
            u"    SELECT TOP (1) @row2 = LEFT(ISNULL(CAST(v.k1 AS nvarchar(60)), N'NULL'), 200) "
            u"FROM "
            u"@rows1 AS v\r\n"
            u"    WHERE NOT EXISTS (SELECT * FROM @met2 AS m WHERE m.n = v.n) ORDER BY v.n\r\n"
            u"    SET @row2 = ISNULL(N', key (' + @row2 + N')', N', a key that is there more than "
            u"once')\r\n"
            u"    RAISERROR(N'Table [dbo].[s]%s: a row is not as it was compared.', 16, 1, "
            u"@row2)\r\n"
            u"    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"UPDATE [dbo].[s] SET [a] = NULL, [b] = N'€'\r\n"
            u"WHERE [id] = 3 AND CAST([a] AS varbinary(max)) + 0x01 = 0x630001 AND CAST([b] AS "
            u"varbinary(max)) + 0x01 "
            u"IS NULL\r\n"
            u"IF @@ROWCOUNT <> 1\r\n"
            u"BEGIN\r\n"
            u"    RAISERROR(N'Table [dbo].[s], key (3): a row is not as it was compared.', 16, "
            u"1)\r\n"
            u"    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"UPDATE [dbo].[s] SET [b] = 'y'\r\n"
            u"WHERE [id] = 4 AND CAST([b] AS varbinary(max)) + 0x01 = 0x7A01\r\n"
            u"IF @@ROWCOUNT <> 1\r\n"
            u"BEGIN\r\n"
            u"    RAISERROR(N'Table [dbo].[s], key (4): a row is not as it was compared.', 16, "
            u"1)\r\n"
            u"    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"INSERT INTO [dbo].[s] ([id], [a], [b]) VALUES\r\n"
            u"(1, N'a', 'b'),\r\n"
            u"(2, N'Ж', 'it''s')\r\n"
            u"IF @@ROWCOUNT <> 2\r\n"
            u"BEGIN\r\n"
            u"    RAISERROR(N'Table [dbo].[s], among the rows from key (1): not every row was"
            u" inserted.', 16, 1)\r\n"
            u"    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n"
            u"    RETURN\r\n"
            u"END\r\n"
            u"SET CONTEXT_INFO 0x51756C6E00000001\r\n"
            u"GO\r\n"
            u"DECLARE @outcome nvarchar(200)\r\n"
            u"IF @@TRANCOUNT = 1 AND ISNULL(CAST(CONTEXT_INFO() AS varbinary(8)), 0x) = "
            u"0x51756C6E00000001\r\n"
            u"BEGIN\r\n"
            u"    COMMIT TRANSACTION\r\n"
            u"    SET @outcome = N'The script ran to its end: its changes are committed.'\r\n"
            u"END\r\n"
            u"ELSE\r\n"
            u"BEGIN\r\n"
            u"    IF @@TRANCOUNT > 0 AND ISNULL(CAST(CONTEXT_INFO() AS varbinary(4)), 0x) = "
            u"0x51756C6E\r\n"
            u"        ROLLBACK TRANSACTION\r\n"
            u"    SET @outcome = N'The script did not run to its end: nothing has been "
            u"changed.'\r\n"
            u"END\r\n"
            u"SET CONTEXT_INFO 0x00\r\n"
            u"PRINT @outcome\r\n"
            u"GO\r\n");
}

// The key is the target's alone, so that rows are matched as wholes.
TEST_P(Scripts, RowsWithoutAKeyThatReferToTheirOwnTable) {
    RunOn1(u"CREATE TABLE t (id int, parent int)");
    RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, parent int CONSTRAINT FK_t REFERENCES t (id))");
    RunOn1(u"INSERT t VALUES (1, 2), (2, 3), (3, NULL), (6, 6)");
    RunOn2(u"INSERT t VALUES (4, NULL), (5, 5), (1, 4)\nGO\nUPDATE t SET parent = 1 WHERE id = 4");
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1 OR "
                  u"is_not_trusted = 1"),
              u"0");
}

TEST_P(Scripts, TellWhatTheyDoToEachTable) {
    RunOnBoth(u"CREATE TABLE same (id int PRIMARY KEY)");
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, a int)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, a FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    RunOn1(u"INSERT t VALUES (1, 1), (2, 2), (3, 3), (4, 4)");
    RunOn2(u"INSERT t VALUES (1, 1), (2, 0), (3, 0), (9, 9)");
    DirectScriptWriter writer(*two, scripted);
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = Compare({{{u"dbo", u"same"}, {}, {}, {}},
                                  {{u"dbo", u"v"}, {}, {}, {}},
                                  {{u"dbo", u"t"}, {}, {}, {}}});
    const auto tables = writer.Write(results, [](std::u16string_view) {});
    ASSERT_EQ(tables.size(), 2U);
    EXPECT_EQ(tables[0].table, 1U);
    EXPECT_EQ(tables[0].leftOut, DirectLeftOut::View);
    EXPECT_EQ(tables[1].table, 2U);
    EXPECT_FALSE(tables[1].LeftOut());
    EXPECT_EQ(tables[1].deletes, 1U);
    EXPECT_EQ(tables[1].updates, 2U);
    EXPECT_EQ(tables[1].inserts, 1U);
}

}  // namespace
}  // namespace QuillonLib
