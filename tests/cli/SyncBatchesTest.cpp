// What sync makes of rows whose lines the driver would not send as they stand, and of errors close
// to the end of the transaction.
#include <gtest/gtest.h>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class SyncBatches : public ProgramTest {
  protected:
    SyncBatches() { RunInBoth(u"DROP TABLE c\nGO\nDROP TABLE p"); }

    void RunIn(const std::u16string& database, const std::u16string& script) {
        server.Run(u"USE " + database + u"\nGO\n" + script);
    }
    void RunInBoth(const std::u16string& script) {
        RunIn(u"a", script);
        RunIn(u"b", script);
    }
    // Whether b has what a has, row by row and unit by unit.
    testing::AssertionResult Agree(const std::u16string& table) {
        for (const auto* side : {u"SELECT COUNT(*) FROM a..%1 x WHERE NOT EXISTS (SELECT * FROM "
                                 u"b..%1 y WHERE y.id = x.id AND %2)",
                                 u"SELECT COUNT(*) FROM b..%1 x WHERE NOT EXISTS (SELECT * FROM "
                                 u"a..%1 y WHERE y.id = x.id AND %2)"}) {
            std::u16string sql = side;
            const auto fill = [&](const std::u16string& place, const std::u16string& text) {
                for (std::size_t at = sql.find(place); at != sql.npos; at = sql.find(place))
                    sql.replace(at, place.size(), text);
            };
            fill(u"%2", u"CAST(y.n AS varbinary(90)) = CAST(x.n AS varbinary(90))");
            fill(u"%1", table);
            if (server.Scalar(sql) != u"0") {
                return testing::AssertionFailure() << "rows of " << QuillonLib::ToUtf8(table);
            }
        }
        return testing::AssertionSuccess();
    }
    Outcome Sync() { return OnBoth({"sync", "--by-server", "--to", "2", "--yes"}); }
    void ExpectToAgree(const Outcome& outcome, const std::u16string& table) {
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_TRUE(Agree(table));
        EXPECT_EQ(server.Scalar(u"SELECT COUNT(*) FROM b..sysobjects WHERE xtype = 'P'"), u"0");
    }

    const std::u16string identity =
        u"CREATE TABLE t (id int IDENTITY NOT NULL CONSTRAINT PK_t PRIMARY KEY, n nvarchar(20))"
        u"\nGO\nSET IDENTITY_INSERT t ON\n";
};

TEST_F(SyncBatches, AnInsertedNulInAnIdentityTable) {
    RunIn(u"a", identity + u"INSERT t (id, n) VALUES (1, N'x' + NCHAR(0) + N'y'), (7, N'z')");
    RunIn(u"b", identity);
    ExpectToAgree(Sync(), u"t");
}

TEST_F(SyncBatches, ALineThatTheDriverWouldChangeRightBeforeTheEnd) {
    RunIn(u"a", identity + u"INSERT t (id, n) VALUES (1, N'a'), (2, N'b'), (3, N'c')");
    RunIn(u"b", identity + u"INSERT t (id, n) VALUES (1, N'a'), (2, N'x'), (3, N'y')");
    for (const auto* half : {u"NCHAR(0)", u"NCHAR(55357)", u"NCHAR(56832)"}) {
        RunIn(u"a", u"UPDATE t SET n = N'c' + " + std::u16string(half) + u" WHERE id = 3");
        ExpectToAgree(Sync(), u"t");
        RunIn(u"b", u"UPDATE t SET n = N'y'");
    }
}

TEST_F(SyncBatches, EveryKindOfLine) {
    const std::u16string table =
        u"CREATE TABLE t (id nvarchar(9) NOT NULL CONSTRAINT PK_t PRIMARY KEY, n nvarchar(20))"
        u"\nGO\nINSERT t VALUES (";
    const std::u16string half = u" + NCHAR(55357), N'";
    RunIn(u"a", table + u"N'1'" + half + u"one'), (N'2'" + half + u"two'), (N'x', N'x')");
    RunIn(u"b", table + u"N'1'" + half + u"uno'), (N'3'" + half + u"three'), (N'y', N'y')");
    ExpectToAgree(Sync(), u"t");
}

TEST_F(SyncBatches, SeveralTablesAndSuspendedKeys) {
    RunInBoth(
        u"CREATE TABLE p (id int IDENTITY NOT NULL CONSTRAINT PK_p PRIMARY KEY, n nvarchar(20))"
        u"\nGO\nCREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY, n nvarchar(20), pid "
        u"int NULL CONSTRAINT FK_c REFERENCES p (id))");
    RunIn(u"a",
          u"SET IDENTITY_INSERT p ON INSERT p (id, n) VALUES (1, NCHAR(0)), (2, N'b')\nGO\n"
          u"INSERT c VALUES (1, NCHAR(0), 1), (2, NCHAR(0), 2)");
    RunIn(u"b",
          u"SET IDENTITY_INSERT p ON INSERT p (id, n) VALUES (2, N'c'), (3, NCHAR(56832))\nGO\n"
          u"INSERT c VALUES (2, N'x', 3), (3, NCHAR(0), 3)");
    const Outcome outcome =
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"});
    ExpectToAgree(outcome, u"p");
    ExpectToAgree(outcome, u"c");
}

// The server goes on after such an error, and would come by the COMMIT in the same batch.
TEST_F(SyncBatches, AnErrorRightBeforeTheEndLeavesEverythingAsItWas) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n nvarchar(20) CONSTRAINT "
        u"CK_t CHECK (n <> N'no'))");
    RunIn(u"a", u"ALTER TABLE t DROP CONSTRAINT CK_t\nGO\nINSERT t VALUES (1, N'a'), (2, N'no')");
    RunIn(u"b", u"INSERT t VALUES (1, N'b'), (2, N'c')");
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("everything was rolled back"), std::string::npos) << outcome.err;
    EXPECT_EQ(server.Scalar(u"SELECT n FROM b..t WHERE id = 1"), u"b");
    EXPECT_EQ(server.Scalar(u"SELECT COUNT(*) FROM b..sysobjects WHERE xtype = 'P'"), u"0");
}

}  // namespace
}  // namespace quillon
