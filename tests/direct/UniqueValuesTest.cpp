// Scripts in which rows take over values that have to be unique.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "catalog/UniqueIndexFacts.h"
#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class UniqueValues : public GuardedOrNot {};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, UniqueValues, ::testing::Bool());

// The first and the last row swap theirs, and every row between takes that of its neighbour.
TEST_P(UniqueValues, ChangeHandsOverAnyDistance) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code varchar(9) NOT NULL UNIQUE, a int)");
    RunOn1(Fill(6000, u"@i, CAST(@i AS varchar(9)), 1"));
    RunOn2(Fill(6000, u"@i, CAST((@i + 5999) % 6000 AS varchar(9)), 2"));
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code = CAST(id AS varchar(9)) AND a = 1"),
              u"6000");
}

TEST_P(UniqueValues, OfTheFirstAndTheLastRowOnly) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, code int NULL, part int, n int,"
        u" CONSTRAINT UQ UNIQUE (code, part))");
    RunOn1(Fill(700, u"@i, @i, 0, @i") + u" UPDATE t SET code = NULL WHERE id = 0");
    RunOn2(Fill(700, u"@i, @i, @i % 2, -@i") +
           u" UPDATE t SET code = NULL, part = 0 WHERE id = 699"
           u" UPDATE t SET code = 699 WHERE id = 0");
    ExpectToConverge({u"t"});
}

TEST_P(UniqueValues, OfPrimaryKeysThatAreNotTheKey) {
    keyColumns = {u"name"};
    RunOnBoth(
        u"CREATE TABLE t (name nvarchar(20) COLLATE Latin1_General_CS_AS NOT NULL UNIQUE,"
        u" place int NOT NULL PRIMARY KEY)");
    RunOn1(Fill(1500, u"N'n' + CAST(@i AS nvarchar(9)), @i"));
    RunOn2(Fill(1500, u"N'n' + CAST(1499 - @i AS nvarchar(9)), @i"));
    ExpectToConverge({u"t"});
}

TEST_P(UniqueValues, OfSeveralTables) {
    for (const auto* name : {u"t", u"[u u]"}) {
        RunOnBoth(std::u16string(u"CREATE TABLE ") + name +
                  u" (id int PRIMARY KEY, code int UNIQUE)");
    }
    RunOn1(Fill(600, u"@i, @i") + u" INSERT [u u] SELECT id, code FROM t");
    RunOn2(Fill(600, u"@i, 599 - @i") + u" INSERT [u u] SELECT id, code FROM t");
    ExpectToConverge({u"t", u"u u"});
}

// The temporary table is made when the transaction has deleted rows already, and the name is such
// as drivers take for comments and parameters.
TEST_P(UniqueValues, BesideRowsThatAreDeleted) {
    RunOnBoth(u"CREATE TABLE [/*/* ?] (id int PRIMARY KEY, code int UNIQUE)");
    const std::u16string fill =
        u"DECLARE @i int SET @i = 0 WHILE @i < 600 BEGIN INSERT [/*/* ?] VALUES (@i, ";
    RunOn1(fill + u"@i) SET @i = @i + 1 END DELETE [/*/* ?] WHERE id = 7");
    RunOn2(fill + u"599 - @i) SET @i = @i + 1 END");
    ExpectToConverge({u"/*/* ?"});
}

// Bytes without a character of their own are written as bytes, and no list holds them beside text
// of Unicode.
TEST_P(UniqueValues, OfEveryKindOfText) {
    RunOnBoth(
        u"CREATE TABLE t (id varchar(9) COLLATE Latin1_General_BIN PRIMARY KEY,"
        u" code varchar(9) COLLATE Cyrillic_General_CI_AS NULL UNIQUE, w nvarchar(9) UNIQUE)");
    RunOn1(
        u"INSERT t VALUES ('a', CAST(0x81C0 AS varchar(9)), N'x'),"
        u" (CAST(0x98 AS varchar(9)), 'x', N'\u0416'), (CAST(0xE9 AS varchar(9)), NULL, N'')");
    RunOn2(
        u"INSERT t VALUES ('a', 'x', N''),"
        u" (CAST(0x98 AS varchar(9)), NULL, N'x'), (CAST(0xE9 AS varchar(9)), "
        u"CAST(0x81C0 AS varchar(9)), N'\u0416')");
    ExpectToConverge({u"t"});
}

class UniqueBytes : public GuardedOrNot {
  protected:
    // Runs the batches in a database of Japanese on either side, and compares those.
    void InJapanese(const std::u16string& on1, const std::u16string& on2) {
        const std::u16string database =
            u"CREATE DATABASE j COLLATE Japanese_CI_AS\nGO\nUSE j\nGO\n";
        server.Run(database + on1);
        server2.Run(database + on2);
        one = MakeDatabase(server, u"j");
        two = MakeDatabase(server2, u"j");
    }
};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, UniqueBytes, ::testing::Bool());

// Half of a double byte is no text: no list keeps it that has text of Unicode in the same column.
TEST_P(UniqueBytes, ThatAreNoText) {
    const std::u16string table =
        u"CREATE TABLE t (id varchar(9) PRIMARY KEY, code varchar(9) UNIQUE)\nGO\n";
    const auto rows = [](const std::vector<std::u16string>& codes) {
        const std::vector<std::u16string> ids{u"'a'", u"'b'", u"CAST(0x88 AS varchar(9))",
                                              u"N'\u65E5'"};
        std::u16string sql;
        for (std::size_t i = 0; i < ids.size(); ++i)
            sql += u"INSERT t VALUES (" + ids[i] + u", " + codes[i] + u") ";
        return sql;
    };
    const std::u16string half = u"CAST(0x6189 AS varchar(9))";
    InJapanese(table + rows({half, u"N'\u8A9E'", u"'c'", u"N'\u672C'"}),
               table + rows({u"'c'", half, u"N'\u672C'", u"N'\u8A9E'"}));
    ExpectToConverge({u"t"});
}

// As keys, they are found beside such text.
TEST_P(UniqueBytes, OfRowsWhoseKeysAreNoText) {
    const std::u16string table =
        u"CREATE TABLE t (id varchar(9) PRIMARY KEY, code int UNIQUE, a int)\nGO\n"
        u"INSERT t VALUES (CAST(0x88 AS varchar(9)), 1, 1), (CAST(0x89 AS varchar(9)), 2, 1)\nGO\n"
        u"INSERT t VALUES (N'\u65E5', 3, 1), (N'\u672C', 4, 1)\nGO\n";
    InJapanese(table,
               table + u"INSERT t VALUES (CAST(0x8A AS varchar(9)), 5, 1), (N'\u8A9E', 6, 1)");
    for (const auto* change : {u"UPDATE t SET a = 2", u"UPDATE t SET code = 5 - code"}) {
        server2.Run(std::u16string(u"USE j\nGO\n") + change);
        ExpectToConverge({u"t"});
    }
}

TEST_P(UniqueValues, OnServersWithoutLists) {
    sandbox::Server& older = MoveSide2ToAnOlderServer();
    const std::u16string table = u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE)\n";
    RunOn1(table + u"INSERT t VALUES (1, 2) INSERT t VALUES (2, 1) INSERT t VALUES (3, 4)");
    older.Run(u"USE w\nGO\n" + table +
              u"INSERT t VALUES (1, 1) INSERT t VALUES (2, 2) INSERT t VALUES (3, 3)");
    EXPECT_FALSE(Holds(Script({u"t"}), u"(VALUES"));
    ExpectToConverge({u"t"});
}

// Rows enter and leave such an index by columns that are not in it.
TEST_P(UniqueValues, OfIndexesWithAFilter) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, code int, active bit, note int NULL)"
        u" CREATE UNIQUE INDEX ux ON t (code) WHERE active = 1");
    // pairs of one code: the later row is the active one, and gives that up to the earlier
    RunOn1(Fill(1400, u"@i, @i % 700, CASE WHEN @i < 700 THEN 1 ELSE 0 END, 1"));
    RunOn2(Fill(1400, u"@i, @i % 700, CASE WHEN @i < 700 THEN 0 ELSE 1 END, 2"));
    ExpectToConverge({u"t"});
}

// A login that may not see how the index is defined takes every column for one that it looks at.
TEST_P(UniqueValues, OfFiltersThatTheLoginDoesNotSee) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, code int, active bit)"
        u" CREATE UNIQUE INDEX ux ON t (code) WHERE active = 1");
    RunOn1(Fill(1400, u"@i, @i % 700, CASE WHEN @i < 700 THEN 1 ELSE 0 END"));
    RunOn2(Fill(1400, u"@i, @i % 700, CASE WHEN @i < 700 THEN 0 ELSE 1 END"));
    RunOn2(
        u"CREATE LOGIN clerk WITH PASSWORD = 'secret' CREATE USER clerk FOR LOGIN clerk"
        u" GRANT SELECT ON t TO clerk GRANT INSERT ON t TO clerk GRANT UPDATE ON t TO clerk"
        u" GRANT DELETE ON t TO clerk");
    two->Username(u"clerk");
    two->Password(u"secret");
    ExpectToConverge({u"t"});
}

TEST_P(UniqueValues, OfComputedColumns) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, a int, b AS (a + 1), c int)"
        u" CREATE UNIQUE INDEX ux ON t (b)");
    RunOn1(u"INSERT t (id, a, c) VALUES (1, 1, 1), (2, 2, 2)");
    RunOn2(u"INSERT t (id, a, c) VALUES (1, 2, 1), (2, 1, 3)");
    ExpectToConverge({u"t"});
}

// A column that a filter looks at is not NULL for the time being.
TEST_P(UniqueValues, OfAFilterOnAForeignKey) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, parent int NULL REFERENCES t (id), code int)"
        u" CREATE UNIQUE INDEX ux ON t (code) WHERE parent IS NULL");
    RunOn1(u"INSERT t VALUES (1, NULL, 5), (2, 1, 5), (3, 1, 6), (4, 2, 7)");
    RunOn2(u"INSERT t VALUES (1, NULL, 5), (2, 1, 5), (3, 2, 5), (9, 3, 5)");
    ExpectToConverge({u"t"});
}

TEST_P(UniqueValues, AreLeftWhereTheServerRefusesTheResult) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int)");
    RunOn2(u"CREATE UNIQUE INDEX ux ON t (code)");
    RunOn1(Fill(800, u"@i, CASE WHEN @i = 799 THEN 5 ELSE @i END"));
    RunOn2(Fill(800, u"@i, @i + 1"));
    EXPECT_TRUE(Holds(OnlyErrorOf(Script({u"t"})), u"unique index 'ux'"));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code = id + 1"), u"800");
}

// Of the rows in a temporary table each is looked at.
TEST_P(UniqueValues, AreGuarded) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int NULL UNIQUE)");
    RunOn1(Fill(800, u"@i, NULLIF(@i, 5)"));
    RunOn2(Fill(800, u"@i, NULLIF(799 - @i, 7)"));
    const std::u16string script = Script({u"t"});
    RunOn2(u"UPDATE t SET code = 5000 WHERE id = 790");
    if (!scripted.guard) {
        EXPECT_EQ(Run(script), Texts{});
        EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 790"), u"790");
        return;
    }
    EXPECT_TRUE(EndsWith(OnlyErrorOf(script),
                         u"Table [dbo].[t], key (790): a row is not as it was compared."));
    EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 790"), u"5000");
    EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 0"), u"799");
    RunOn2(u"UPDATE t SET code = 9 WHERE id = 790");
    EXPECT_EQ(Run(script), Texts{});
}

// What does not change is not written.
TEST_P(UniqueValues, OfOneColumnLeaveTheOtherAlone) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE, mail int UNIQUE)");
    RunOn1(Fill(800, u"@i, @i, @i"));
    RunOn2(Fill(800, u"@i, 799 - @i, @i"));
    const std::u16string script = Script({u"t"});
    RunOn2(u"UPDATE t SET mail = 5000 WHERE id = 1");
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT mail FROM t WHERE id = 1"), u"5000");
    EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 1"), u"1");
}

// A column that changes in other rows, too.
TEST_P(UniqueValues, OfOtherRowsLeaveWhatCountsAsTheSameAlone) {
    options.equality.ignoreCase = true;
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE, mail varchar(9) COLLATE"
        u" Latin1_General_CS_AS UNIQUE)");
    for (const int rows : {4, 800}) {
        SCOPED_TRACE(rows);
        RunOn1(u"DELETE t");
        RunOn2(u"DELETE t");
        RunOn1(Fill(rows, u"@i, @i, 'm' + CAST(@i AS varchar(9))"));
        RunOn2(Fill(rows, u"@i, @i + 1000, 'M' + CAST(@i AS varchar(9))"));
        RunOn2(u"UPDATE t SET mail = 'other' WHERE id = 2");
        const std::u16string script = Script({u"t"});
        EXPECT_EQ(Run(script), Texts{});
        EXPECT_EQ(On2(u"SELECT SUM(code) FROM t"), ToText(std::int64_t{rows} * (rows - 1) / 2));
        EXPECT_EQ(On2(u"SELECT mail FROM t WHERE id = 1"), u"M1");
        EXPECT_EQ(On2(u"SELECT mail FROM t WHERE id = 2"), u"m2");
    }
}

// A constraint over such a column and others holds before and after, and not in between.
TEST_P(UniqueValues, ChangeTogetherWithTheOthersOfTheirRow) {
    RunOnBoth(
        u"CREATE TABLE p (a int, b int, PRIMARY KEY (a, b))"
        u" CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE, twin int, CHECK (twin = code),"
        u" CONSTRAINT FK_p FOREIGN KEY (code, twin) REFERENCES p (a, b))");
    for (const int rows : {2, 3, 800}) {
        SCOPED_TRACE(rows);
        const std::u16string last = ToText(rows - 1);
        const std::u16string parents = u"DELETE t DELETE p DECLARE @n int SET @n = 0 WHILE @n <= " +
                                       last +
                                       u" BEGIN INSERT p VALUES (@n, @n) SET @n = @n + 1 END ";
        RunOn1(parents + Fill(rows, u"@i, @i, @i"));
        RunOn2(parents + Fill(rows, u"@i, " + last + u" - @i, " + last + u" - @i"));
        ExpectToConverge({u"t"});
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code = id AND twin = id"), ToText(rows));
    }
}

// Beside rows that change it: neither written nor looked at.
TEST_P(UniqueValues, ThatARowDoesNotChangeStayAsTheyAre) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE, mail int UNIQUE, a int)");
    for (const int rows : {4, 800}) {
        SCOPED_TRACE(rows);
        RunOnBoth(u"DELETE t");
        RunOn1(Fill(rows, u"@i, @i, @i, @i"));
        RunOn2(Fill(rows, u"@i, @i + 1000, @i + 1000, @i"));
        // row 1 changes its code only, row 2 its mail, row 3 both and the rest
        RunOn2(
            u"UPDATE t SET mail = 1 WHERE id = 1 UPDATE t SET code = 2 WHERE id = 2"
            u" UPDATE t SET a = -3 WHERE id = 3");
        const std::u16string script = Script({u"t"});
        RunOn2(
            u"UPDATE t SET mail = 5001, a = 5001 WHERE id = 1"
            u" UPDATE t SET code = 5002, a = NULL WHERE id = 2");
        EXPECT_EQ(Run(script), Texts{}) << ToUtf8(script);
        EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 1"), u"1");
        EXPECT_EQ(On2(u"SELECT mail FROM t WHERE id = 1"), u"5001");
        EXPECT_EQ(On2(u"SELECT a FROM t WHERE id = 1"), u"5001");
        EXPECT_EQ(On2(u"SELECT code FROM t WHERE id = 2"), u"5002");
        EXPECT_EQ(On2(u"SELECT mail FROM t WHERE id = 2"), u"2");
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE a IS NULL"), u"1");
        EXPECT_EQ(On2(u"SELECT code + mail + a FROM t WHERE id = 3"), u"9");
    }
}

// To the bit, whatever its type: bytes without a character, and what only a float holds.
TEST_P(UniqueValues, LeaveTheOtherValuesOfEveryTypeAlone) {
    const struct {
        const char16_t *type, *old, *other, *meanwhile;
    } cases[] = {
        {u"tinyint", u"1", u"2", u"3"},
        {u"decimal(38,20)", u"1", u"2", u"123456789012345678.12345678901234567891"},
        {u"money", u"1", u"2", u"922337203685477.5807"},
        {u"real", u"1e0", u"2e0", u"CAST(0.1e0 AS real)"},
        {u"float", u"1e0", u"2e0", u"0.1e0"},
        {u"datetime", u"'20240101'", u"'20240102'", u"'20240103 10:00:00.003'"},
        {u"datetime2(7)", u"'20240101'", u"'20240102'", u"'20240103 10:00:00.1234567'"},
        {u"datetimeoffset(3)", u"'2024-01-01 00:00 +01:00'", u"'2024-01-01 00:00 +02:00'",
         u"'2024-01-01 10:00:00.123 -03:30'"},
        {u"uniqueidentifier", u"'11234567-89AB-CDEF-0123-456789ABCDEF'",
         u"'21234567-89AB-CDEF-0123-456789ABCDEF'", u"'31234567-89AB-CDEF-0123-456789ABCDEF'"},
        {u"char(4)", u"'a'", u"'b'", u"CAST(0x81208D20 AS char(4))"},
        {u"varchar(9)", u"'a'", u"N'\u00e9'", u"CAST(0x818D2020 AS varchar(9))"},
        {u"varchar(9) COLLATE Cyrillic_General_CI_AS", u"'a'", u"N'\u0416'", u"N'\u0436 '"},
        {u"nchar(3)", u"N'a'", u"N'\u0416'", u"N'\u0436 '"},
        {u"nvarchar(max)", u"N'a'", u"N'\u0416'", u"N'\u0436 '"},
        {u"binary(3)", u"0x01", u"0x02", u"0x0300"},
        {u"varbinary(9)", u"0x01", u"0x02", u"0x0300"},
        {u"text", u"'a'", u"N'\u00e9'", u"CAST(0x818D2020 AS varchar(9))"},
        {u"ntext", u"N'a'", u"N'\u0416'", u"N'\u0436 '"},
        {u"image", u"0x01", u"0x02", u"0x0300"},
        {u"xml", u"'<a/>'", u"'<b/>'", u"'<c>1</c>'"},
        {u"sql_variant", u"1", u"'a'", u"CAST(5 AS tinyint)"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        const std::u16string type(each.type);
        DropOnBoth(u"t");
        RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE, a " + type + u" NULL)");
        const auto row = [](const char16_t* start, const char16_t* value) {
            return std::u16string(start) + value + u") ";
        };
        RunOn1(row(u"INSERT t VALUES (1, 1, ", each.old) +
               row(u"INSERT t VALUES (2, 2, ", each.old));
        RunOn2(row(u"INSERT t VALUES (1, 2, ", each.old) +
               row(u"INSERT t VALUES (2, 1, ", each.other));
        const std::u16string script = Script({u"t"});
        EXPECT_TRUE(Holds(script, u"CASE WHEN"));
        for (auto* side : {&server, &server2}) {
            side->Run(u"USE w\nGO\nUPDATE t SET a = " + std::u16string(each.meanwhile) +
                      u" WHERE id = 1");
        }
        EXPECT_EQ(Run(script), Texts{}) << ToUtf8(script);
        const DirectTableResult result = CompareOne();
        EXPECT_EQ(result.identical, 2U) << ToUtf8(script);
        EXPECT_TRUE(result.Same());
        ASSERT_FALSE(HasFailure()) << ToUtf8(script);
    }
}

// More columns than a row of a table has room for.
TEST_P(UniqueValues, OfWideTables) {
    std::u16string declared, values;
    for (int i = 1; i <= 330; ++i) {
        const std::u16string name = u"c" + ToText(i);
        declared += u", " + name + (i % 2 == 0 ? u" nvarchar(30)" : u" decimal(38,2)");
        values += u", " + ToText(i);
    }
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE" + declared + u")");
    RunOn1(Fill(4, u"@i, @i" + values));
    RunOn2(Fill(4, u"@i, @i + 100" + values) + u" UPDATE t SET c2 = NULL WHERE id = 2");
    std::u16string sets;
    for (int i = 1; i <= 328; i += 2)
        sets += u"c" + ToText(i) + u" = -1, c" + ToText(i + 1) + u" = N'other', ";
    RunOn2(u"UPDATE t SET " + sets + u"code = code WHERE id <> 2");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script, u"CREATE TABLE #quillon_rows2 (n int NOT NULL PRIMARY KEY"));
    EXPECT_TRUE(Holds(script, u"DROP TABLE #quillon_rows2\r\n"));
    RunOn2(u"UPDATE t SET c7 = 77 WHERE id = 2 UPDATE t SET c327 = 78 WHERE id = 3");
    if (scripted.guard) {
        EXPECT_TRUE(EndsWith(OnlyErrorOf(script),
                             u"Table [dbo].[t], key (3): a row is not as it was compared."));
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code = id + 100"), u"4");
        RunOn2(u"UPDATE t SET c327 = -1 WHERE id = 3");
    }
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT c7 FROM t WHERE id = 2"), u"77.00");
    RunOn2(u"UPDATE t SET c7 = 7 WHERE id = 2");
    ExpectToConverge({u"t"});
    EXPECT_EQ(CompareOne().differing, 0U);
}

// Of fixed length, the old and the new values of such columns are more than a row may hold.
TEST_P(UniqueValues, BesideLongValuesOfFixedLength) {
    RunOnBoth(
        u"CREATE TABLE t (id char(3) PRIMARY KEY, code int UNIQUE, a char(3000), b nchar(1000),"
        u" c binary(2000))");
    for (const int rows : {2, 300}) {
        SCOPED_TRACE(rows);
        RunOnBoth(u"DELETE t");
        RunOn1(Fill(rows, u"@i, @i, 'a', N'b', 0x0100"));
        RunOn2(Fill(rows, u"@i, @i + 1000, 'A', N'c ', 0x01") +
               u" UPDATE t SET a = 'a', c = 0x02 WHERE id = '1'");
        const std::u16string script = Script({u"t"});
        for (const auto* type : {u" char(", u" nchar(", u" binary("})
            EXPECT_FALSE(Holds(script, type)) << ToUtf8(type);
        ExpectToConverge({u"t"});
    }
}

// One that is missing and one that is there twice make up for each other in a count.
TEST_P(UniqueValues, OfKeysThatAreNotUniqueAreCountedOneByOne) {
    keyColumns = {u"k"};
    options.ignoredColumns = {u"id"};
    RunOnBoth(
        u"CREATE TABLE t (id int IDENTITY PRIMARY KEY, k int, code int, part int,"
        u" CONSTRAINT UQ UNIQUE (code, part))");
    for (const int rows : {3, 800}) {
        SCOPED_TRACE(rows);
        RunOnBoth(u"DELETE t");
        const std::u16string fill = u"DECLARE @i int SET @i = 0 WHILE @i < " + ToText(rows) +
                                    u" BEGIN INSERT t (k, code, part) VALUES (@i, @i * 10 + ";
        RunOn1(fill + u"1, 0) SET @i = @i + 1 END");
        RunOn2(fill + u"2, 0) SET @i = @i + 1 END");
        const std::u16string script = Script({u"t"});
        RunOn2(u"DELETE t WHERE k = 2 INSERT t (k, code, part) VALUES (1, 12, 7)");
        EXPECT_TRUE(EndsWith(
            OnlyErrorOf(script),
            scripted.guard ? u"Table [dbo].[t], key (2): a row is not as it was compared."
                           : u"Table [dbo].[t], key (2): a row is missing, or there more than "
                             u"once."));
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code % 10 = 2"), ToText(rows));
        RunOn2(u"DELETE t WHERE part = 7 INSERT t (k, code, part) VALUES (2, 22, 0)");
        EXPECT_EQ(Run(script), Texts{});
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE code % 10 = 1"), ToText(rows));
    }
}

TEST(NamesOfExpressions, AreReadQuotedOrNot) {
    EXPECT_EQ(NamesIn(u"([Active]=(1) AND [a]]b] IS NOT NULL)"),
              (Texts{u"Active", u"AND", u"a]b", u"IS", u"NOT", u"NULL"}));
    EXPECT_EQ(NamesIn(u"(lower([x])+'it''s [no] name'+\"y\"\"z\"+a1*2)"),
              (Texts{u"lower", u"x", u"y\"z", u"a1"}));
    EXPECT_EQ(NamesIn(u"[\u0416]=N'x' OR [\u0416]>5"), (Texts{u"\u0416", u"N", u"OR"}));
    EXPECT_EQ(NamesIn(u""), Texts{});
    EXPECT_EQ(NamesIn(u"'[open"), Texts{});
    EXPECT_EQ(NamesIn(u"[open"), Texts{u"open"});
}

}  // namespace
}  // namespace QuillonLib
