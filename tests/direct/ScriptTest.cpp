// Statement scripts: compare, write, run, compare again.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class Scripts : public GuardedOrNot {};
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

TEST_P(Scripts, OptionsLeaveOut) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int)");
    RunOn1(u"INSERT t VALUES (1,1),(2,2)");
    RunOn2(u"INSERT t VALUES (2,3),(3,3)");
    // what is left of ids and values, added up, after each
    const struct {
        bool deletes, updates, inserts;
        const char16_t* sum;
    } cases[] = {
        {false, false, true, u"67"},
        {false, true, false, u"66"},
        {true, false, false, u"33"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.sum));
        scripted.deletes = each.deletes;
        scripted.updates = each.updates;
        scripted.inserts = each.inserts;
        EXPECT_EQ(Run(Script({u"t"})), Texts{});
        EXPECT_EQ(On2(u"SELECT SUM(id * 10 + a) FROM t"), each.sum);
    }
}

TEST_P(Scripts, SingleRowsForOlderServers) {
    sandbox::Server& older = MoveSide2ToAnOlderServer();
    const std::u16string table =
        u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(9), p int REFERENCES t (id))\n";
    RunOn1(table +
           u"INSERT t VALUES (1,N'a',NULL) INSERT t VALUES (2,N'b',1)"
           u" INSERT t VALUES (3,NULL,2)");
    older.Run(u"USE w\nGO\n" + table +
              u"INSERT t VALUES (1,N'x',NULL) INSERT t VALUES (2,NULL,NULL)"
              u" INSERT t VALUES (4,N'',4) INSERT t VALUES (5,N'',4)");
    const std::u16string script = Script({u"t"});
    EXPECT_FALSE(Holds(script, u"(VALUES"));
    EXPECT_FALSE(Holds(script, u"),\r\n("));
    ExpectToConverge({u"t"});
}

class WholeScripts : public ScriptFixture {};

TEST_F(WholeScripts, ReadLikeThis) {
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
