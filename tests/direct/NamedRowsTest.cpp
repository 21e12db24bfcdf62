// Guarded scripts name the row that is not as it was compared, of however many stand in a list.
#include <gtest/gtest.h>

#include <string>

#include "tests/direct/ScriptFixture.h"
#include "tests/direct/TsqlClient.h"

namespace QuillonLib {
namespace {

class NamedRows : public ScriptFixture {
  protected:
    NamedRows() { scripted.guard = true; }

    // After the change the script is refused with this message, by the library's connection and by
    // another client, and changes nothing; when it is undone, the script is taken.
    void ExpectNamed(const std::u16string& change, const std::u16string& undo,
                     const std::u16string& message, const std::u16string& which = u"t") {
        SCOPED_TRACE(ToUtf8(change));
        const std::u16string script = Script({which});
        RunOn2(change);
        const std::u16string count = u"SELECT COUNT(*) FROM " + which;
        const std::u16string before = On2(count);
        EXPECT_TRUE(EndsWith(OnlyErrorOf(script), message));
        const std::string output = RunInTsql(script, server2.Port());
        EXPECT_TRUE(Holds(output, "\"" + ToUtf8(message) + "\""));
        EXPECT_EQ(On2(count), before);
        RunOn2(undo);
        EXPECT_EQ(Run(script), Texts{});
    }

    static constexpr std::u16string_view NotAsCompared = u": a row is not as it was compared.";
    static std::u16string Named(const std::u16string& key) {
        return u"Table [dbo].[t], key (" + key + u")" + std::u16string(NotAsCompared);
    }
};

TEST_F(NamedRows, OfAListThatUpdates) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20), b int)");
    RunOn1(Fill(50, u"@i, N'new', @i"));
    const std::u16string fill = Fill(50, u"@i, N'old', @i");
    for (const auto& [change, undo] :
         {std::pair{u"UPDATE t SET a = N'OLD' WHERE id IN (23, 40)",
                    u"UPDATE t SET a = N'old' WHERE id IN (23, 40)"},
          // as the script would have made it: nothing tells it from the others afterwards
          std::pair{u"UPDATE t SET a = N'new' WHERE id = 23",
                    u"UPDATE t SET a = N'old' WHERE id = 23"},
          std::pair{u"UPDATE t SET a = NULL WHERE id = 23",
                    u"UPDATE t SET a = N'old' WHERE id = 23"},
          std::pair{u"DELETE t WHERE id = 23", u"INSERT t VALUES (23, N'old', 23)"}}) {
        RunOn2(u"DELETE t");
        RunOn2(fill);
        ExpectNamed(change, undo, Named(u"23"));
    }
}

TEST_F(NamedRows, OfAListThatDeletes) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20))");
    const std::u16string fill = Fill(50, u"@i, N'old'");
    for (const auto& [change, undo] :
         {std::pair{u"UPDATE t SET a = N'x' WHERE id = 23",
                    u"UPDATE t SET a = N'old' WHERE id = 23"},
          std::pair{u"DELETE t WHERE id = 23", u"INSERT t VALUES (23, N'old')"}}) {
        RunOn2(fill);
        ExpectNamed(change, undo, Named(u"23"));
    }
}

TEST_F(NamedRows, OfManyThatAreUpdatedTogether) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int UNIQUE)");
    RunOn1(Fill(800, u"@i, @i"));
    RunOn2(Fill(800, u"@i, 799 - @i"));
    ExpectNamed(u"UPDATE t SET code = 5000 WHERE id = 423",
                u"UPDATE t SET code = 376 WHERE id = 423", Named(u"423"));
}

TEST_F(NamedRows, OfReferencesThatAreEmptied) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, up int NULL CONSTRAINT FK_t REFERENCES t (id))");
    RunOn1(Fill(20, u"@i, NULL"));
    RunOn2(Fill(20, u"@i, NULLIF(@i, 0) - 1"));
    ExpectNamed(u"UPDATE t SET up = 3 WHERE id = 12", u"UPDATE t SET up = 11 WHERE id = 12",
                Named(u"12"));
}

TEST_F(NamedRows, OfReferencesThatWereNotThere) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, up int NULL CONSTRAINT FK_t REFERENCES t (id))");
    RunOn1(Fill(20, u"@i, NULL") + u"UPDATE t SET up = 0 WHERE id > 0");
    RunOn2(Fill(20, u"@i, NULL"));
    ExpectNamed(u"UPDATE t SET up = 3 WHERE id = 12", u"UPDATE t SET up = NULL WHERE id = 12",
                Named(u"12"));
}

TEST_F(NamedRows, WithoutAKey) {
    RunOnBoth(u"CREATE TABLE t (a int, b nvarchar(20), c varbinary(9))");
    RunOn2(Fill(5, u"@i, N'it''s 100% ' + CAST(@i AS nvarchar(9)), 0x00FF"));
    ExpectNamed(u"UPDATE t SET c = NULL WHERE a = 3", u"UPDATE t SET c = 0x00FF WHERE a = 3",
                u"Table [dbo].[t], row (3, N'it''s 100% 3', 0x00FF): it is not there any more.");
}

// A row of any unique index that drops what it has already.
TEST_F(NamedRows, ThatAreNotInserted) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code int)");
    RunOn2(u"CREATE UNIQUE INDEX ux ON t (code) WITH (IGNORE_DUP_KEY = ON)");
    RunOn1(Fill(20, u"@i, @i"));
    const std::u16string script = Script({u"t"});
    RunOn2(u"INSERT t VALUES (100, 12)");
    EXPECT_TRUE(
        EndsWith(OnlyErrorOf(script), u"Table [dbo].[t], key (12): the row was not inserted."));
    EXPECT_TRUE(Holds(RunInTsql(script, server2.Port()),
                      "Table [dbo].[t], key (12): the row was not inserted."));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"1");
}

TEST_F(NamedRows, OfEveryKindOfKey) {
    const struct {
        const char16_t *type, *one, *two, *named;
    } cases[] = {
        {u"bigint", u"5", u"-9223372036854775808", u"-9223372036854775808"},
        {u"decimal(20,3)", u"5", u"-0.125", u"-0.125"},
        {u"money", u"5", u"0.1234", u"0.1234"},
        {u"float", u"5", u"0.1e0", u"1.000000000000000e-001"},
        {u"bit", u"0", u"1", u"1"},
        {u"datetime", u"'20240102'", u"'20240101 10:00:00.003'", u"'2024-01-01 10:00:00.003'"},
        {u"date", u"'20240102'", u"'20240101'", u"'2024-01-01'"},
        {u"time(3)", u"'10:00'", u"'10:00:00.123'", u"'10:00:00.123'"},
        {u"datetimeoffset(0)", u"'2024-01-02 00:00 +00:00'", u"'2024-01-01 10:00 +02:00'",
         u"'2024-01-01 10:00:00 +02:00'"},
        {u"uniqueidentifier", u"'11234567-89AB-CDEF-0123-456789ABCDEF'",
         u"'01234567-89AB-CDEF-0123-456789ABCDEF'", u"'01234567-89AB-CDEF-0123-456789ABCDEF'"},
        {u"varbinary(9)", u"0x05", u"0x00FF", u"0x00FF"},
        {u"varchar(20)", u"'a'", u"'100%s ''x'''", u"'100%s 'x''"},
        {u"nvarchar(20)", u"N'a'", u"N'\u0416%d'", u"'\u0416%d'"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        DropOnBoth(u"t");
        RunOnBoth(u"CREATE TABLE t (k " + std::u16string(each.type) +
                  u", n int, a int, PRIMARY KEY (k, n))");
        for (const auto* value : {each.one, each.two}) {
            const std::u16string row = u"INSERT t VALUES (" + std::u16string(value) + u", 7, ";
            RunOn1(row + u"1)");
            RunOn2(row + u"2)");
        }
        const std::u16string where = u" WHERE k = " + std::u16string(each.two);
        ExpectNamed(u"UPDATE t SET a = 9" + where, u"UPDATE t SET a = 2" + where,
                    Named(std::u16string(each.named) + u", 7"));
    }
}

// Found by their bytes.
TEST_F(NamedRows, OfKeysThatAreNotUnique) {
    keyColumns = {u"k", u"b"};
    RunOnBoth(u"CREATE TABLE t (k nvarchar(9), b varchar(9), a int)");
    RunOn1(u"INSERT t VALUES (N'\u0416', 'x', 1), (N'b', NULL, 1)");
    RunOn2(u"INSERT t VALUES (N'\u0416', 'x', 2), (N'b', NULL, 2)");
    ExpectNamed(u"UPDATE t SET a = 9 WHERE k = N'\u0416'", u"UPDATE t SET a = 2 WHERE a = 9",
                Named(u"'\u0416', 'x'"));
    RunOn2(u"UPDATE t SET a = 2");
    ExpectNamed(u"UPDATE t SET a = 9 WHERE b IS NULL", u"UPDATE t SET a = 2 WHERE a = 9",
                Named(u"'b', NULL"));
    RunOn2(u"UPDATE t SET a = 2");
    ExpectNamed(u"INSERT t VALUES (N'b', NULL, 2)",
                u"DELETE t WHERE k = N'b' INSERT t VALUES (N'b', NULL, 2)",
                u"Table [dbo].[t], a key that is there more than once: a row is not as it was "
                u"compared.");
}

// One that is missing and one that is there twice make up for each other in a count.
TEST_F(NamedRows, OfKeysThatAreNotUniqueAreCountedOneByOne) {
    keyColumns = {u"k"};
    RunOnBoth(u"CREATE TABLE t (id int IDENTITY PRIMARY KEY, k int, a int)");
    options.ignoredColumns = {u"id"};
    RunOn1(u"INSERT t (k, a) VALUES (9, 9)");
    RunOn2(u"INSERT t (k, a) VALUES (1, 1), (2, 2), (9, 9)");
    for (const bool guard : {true, false}) {
        scripted.guard = guard;
        const std::u16string script = Script({u"t"});
        RunOn2(u"DELETE t WHERE k = 2 INSERT t (k, a) VALUES (1, 1)");
        EXPECT_EQ(Run(script).size(), 1U) << ToUtf8(script);
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
        RunOn2(u"DELETE t INSERT t (k, a) VALUES (1, 1), (2, 2), (9, 9)");
        EXPECT_EQ(Run(script), Texts{}) << ToUtf8(script);
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"1");
        RunOn2(u"INSERT t (k, a) VALUES (1, 1), (2, 2)");
    }
}

// 'ABC' and 'abc' are one key to most collations, and two values.
TEST_F(NamedRows, WhoseKeyIsSpeltAnotherWayAreOthers) {
    RunOnBoth(u"CREATE TABLE t (k nvarchar(20) PRIMARY KEY, a int)");
    RunOn2(u"INSERT t VALUES (N'ABC', 1), (N'DEF', 1)");
    const std::u16string script = Script({u"t"});
    RunOn2(u"UPDATE t SET k = N'abc' WHERE k = N'ABC'");
    EXPECT_EQ(Run(script).size(), 1U) << ToUtf8(script);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"2");
    RunOn2(u"UPDATE t SET k = N'ABC' WHERE k = N'abc'");
    EXPECT_EQ(Run(script), Texts{}) << ToUtf8(script);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"0");
}

TEST_F(NamedRows, OfLongKeysAreCut) {
    RunOnBoth(u"CREATE TABLE t (k nvarchar(400) PRIMARY KEY, a int)");
    const std::u16string key = u"REPLICATE(N'x', 198) + N'\U0001F600' + REPLICATE(N'y', 100)";
    RunOn1(u"INSERT t VALUES (N'a', 1), (" + key + u", 1)");
    RunOn2(u"INSERT t VALUES (N'a', 2), (" + key + u", 2)");
    ExpectNamed(u"UPDATE t SET a = 9 WHERE k <> N'a'", u"UPDATE t SET a = 2 WHERE k <> N'a'",
                Named(u"'" + std::u16string(198, u'x')));
}

// Only the key is looked at.
TEST_F(NamedRows, WithoutAGuardHaveToBeThere) {
    scripted.guard = false;
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int) CREATE TABLE s (id int PRIMARY KEY)");
    RunOn1(Fill(20, u"@i, 1"));
    RunOn2(Fill(20, u"@i, 2") + u" INSERT s SELECT id FROM t");
    const std::u16string script = Script({u"t", u"s"});
    const std::u16string gone =
        u"Table [dbo].[t], among the rows from key (0): a row is missing, or "
        u"there more than once.";
    RunOn2(u"DELETE t WHERE id = 12");
    EXPECT_TRUE(EndsWith(OnlyErrorOf(script), gone));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM s"), u"20");
    RunOn2(u"INSERT t VALUES (12, 7) DELETE s WHERE id = 3");
    EXPECT_TRUE(Holds(OnlyErrorOf(script), u"Table [dbo].[s], among the rows from key (0)"));
    EXPECT_EQ(On2(u"SELECT MAX(a) FROM t"), u"7");
    RunOn2(u"INSERT s VALUES (3)");
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT SUM(a) FROM t"), u"20");
}

}  // namespace
}  // namespace QuillonLib
