// Statement scripts change nothing where one of their batches fails or is not run, where a guard
// sees that a row has changed, or within a transaction that is not theirs.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

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
        const std::u16string error = OnlyErrorOf(script);
        EXPECT_TRUE(Holds(error, u"Table [dbo].[t]"));
        EXPECT_TRUE(Holds(error, u"a row is not as it was compared."));
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
    const std::u16string error = OnlyErrorOf(script);
    EXPECT_TRUE(EndsWith(error, u"Table [dbo].[d], key (3): the row was not inserted."));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"0");
    RunOn2(u"DROP INDEX ux ON d");
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"3");
    RunOn2(u"DELETE d CREATE UNIQUE INDEX ux ON d (code) WITH (IGNORE_DUP_KEY = ON)");
    EXPECT_EQ(Run(loose), Texts{error});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM d"), u"0");
}

TEST_F(FailingScripts, GuardAgainstRowsWithoutAKeyThatAreNotInserted) {
    RunOnBoth(u"CREATE TABLE d (code int)");
    RunOn2(u"CREATE UNIQUE INDEX ux ON d (code) WITH (IGNORE_DUP_KEY = ON) INSERT d VALUES (7)");
    RunOn1(u"INSERT d VALUES (7), (7), (8)");
    scripted.guard = true;
    EXPECT_TRUE(EndsWith(OnlyErrorOf(Script({u"d"})),
                         u"Table [dbo].[d], row (7): the row was not inserted."));
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
    EXPECT_TRUE(Holds(errors[0], u"A transaction is open already"));
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
        EXPECT_TRUE(Holds(OnlyErrorOf(script), u"a row is not as it was compared."));
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

}  // namespace
}  // namespace QuillonLib
