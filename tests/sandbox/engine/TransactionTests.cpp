#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

class Transactions : public ::testing::Test {
  protected:
    Transactions() { box.Text(u"CREATE TABLE t (a int PRIMARY KEY) INSERT t VALUES (1)"); }
    Box box;
};

TEST_F(Transactions, RollBackDataAndDefinitions) {
    box.Text(u"BEGIN TRAN CREATE TABLE q (a int) INSERT t VALUES (2) ALTER TABLE t ADD b int");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t SELECT COUNT(*) FROM q"), "2\n0\n");
    EXPECT_EQ(box.Text(u"ROLLBACK SELECT * FROM t SELECT * FROM q"),
              "1\n!208 Invalid object name 'q'.\n");
}

TEST_F(Transactions, Nest) {
    EXPECT_EQ(
        box.Text(u"BEGIN TRAN BEGIN TRAN SELECT @@TRANCOUNT INSERT t VALUES (2) COMMIT SELECT "
                 u"@@TRANCOUNT ROLLBACK SELECT COUNT(*), @@TRANCOUNT FROM t"),
        "2\n#1\n1\n1|0\n");
}

TEST_F(Transactions, SavepointsUndoAPart) {
    EXPECT_EQ(
        box.Text(u"BEGIN TRAN INSERT t VALUES (2) SAVE TRAN s1 DELETE t ROLLBACK TRAN s1 SELECT "
                 u"COUNT(*), @@TRANCOUNT FROM t COMMIT"),
        "#1\n#2\n2|1\n");
}

TEST_F(Transactions, NeedABeginning) {
    EXPECT_EQ(box.Text(u"COMMIT"),
              "!3902 The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION.\n");
    EXPECT_EQ(box.Text(u"ROLLBACK"),
              "!3903 The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION.\n");
}

TEST_F(Transactions, ConstraintErrorsLeaveThemOpen) {
    EXPECT_EQ(box.ErrorOf(u"BEGIN TRAN INSERT t VALUES (2) INSERT t VALUES (1)"), 2627);
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t COMMIT"), "1|2\n");
}

TEST_F(Transactions, ConversionErrorsEndThem) {
    EXPECT_EQ(box.ErrorOf(u"BEGIN TRAN INSERT t VALUES (2) SELECT CAST('x' AS int)"), 245);
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t"), "0|1\n");
}

TEST_F(Transactions, XactAbortEndsThemAtAnyError) {
    box.Text(u"SET XACT_ABORT ON");
    EXPECT_EQ(box.Run(u"BEGIN TRAN INSERT t VALUES (2) INSERT t VALUES (1) SELECT 'no'")
                  .text.substr(0, 8),
              "#1\n!2627");
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t"), "0|1\n");
}

TEST_F(Transactions, EndWithTheirSession) {
    {
        Client other(*box.backend, u"w");
        other.Text(u"BEGIN TRAN INSERT t VALUES (2) CREATE TABLE q (a int)");
        EXPECT_EQ(other.Raw().TransactionDepth(), 1);
    }
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t SELECT OBJECT_ID('q')"), "1\nNULL\n");
}

TEST_F(Transactions, OthersSeeCommittedRowsOnly) {
    Client other(*box.backend, u"w");
    other.Text(u"BEGIN TRAN INSERT t VALUES (2)");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "1\n");
    other.Text(u"COMMIT");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "2\n");
}

TEST_F(Transactions, WritersWaitForEachOther) {
    Client other(*box.backend, u"w");
    other.Text(u"BEGIN TRAN INSERT t VALUES (2)");
    EXPECT_EQ(box.Text(u"SET LOCK_TIMEOUT 50 INSERT t VALUES (3)"),
              "!1222 Lock request time out period exceeded.\n");
    box.Text(u"SET LOCK_TIMEOUT -1");
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        other.Text(u"COMMIT");
    });
    EXPECT_EQ(box.Text(u"INSERT t VALUES (3)"), "#1\n");
    later.join();
}

TEST_F(Transactions, SpanDatabases) {
    box.Text(u"CREATE DATABASE d2");
    box.Text(u"CREATE TABLE d2.dbo.t (a int)");
    EXPECT_EQ(
        box.Text(
            u"BEGIN TRAN INSERT t VALUES (2) INSERT d2.dbo.t VALUES (5) ROLLBACK SELECT COUNT(*) "
            u"FROM t SELECT COUNT(*) FROM d2.dbo.t"),
        "#1\n#1\n1\n0\n");
}

TEST_F(Transactions, ManySessionsWork) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            Client client(*box.backend, u"w");
            for (int k = 0; k < 50; ++k) {
                const std::string n = std::to_string(1000 + i * 100 + k);
                EXPECT_EQ(
                    client.Text(u"INSERT t VALUES (" + std::u16string(n.begin(), n.end()) + u")"),
                    "#1\n");
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "201\n");
}

TEST(Cancelling, StopsALongStatement) {
    Box box;
    struct Silent : ResultSink {
        void Columns(const std::vector<ColumnInfo>&) override {}
        bool Row(const Cell*) override { return true; }
        void StatementDone(std::optional<std::int64_t>, bool, bool) override {}
        void Say(const Message&) override {}
        void DatabaseChanged(const std::u16string&, const std::u16string&) override {}
    } sink;
    std::atomic<bool> cancelled{false};
    std::thread stop([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        cancelled = true;
    });
    const auto start = std::chrono::steady_clock::now();
    box.client->Raw().Execute(u"WHILE 1=1 SELECT 1", sink, cancelled);
    stop.join();
    cancelled = false;
    std::thread again([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        cancelled = true;
    });
    box.client->Raw().Execute(
        u"SELECT COUNT(*) FROM syscolumns a, sysobjects b, sysobjects c, sysobjects d, sysobjects "
        u"e, "
        u"sysobjects f, sysobjects g, sysobjects h, sysobjects i, sysobjects j, systypes k",
        sink, cancelled);
    again.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(box.Text(u"SELECT 1"), "1\n");
}

TEST(Snapshots, NeedADatabaseThatAllowsThem) {
    Box box;
    box.Text(u"CREATE TABLE t (a int) INSERT t VALUES (1)");
    const std::string refused =
        "!3952 Snapshot isolation transaction failed accessing database 'w' because snapshot "
        "isolation is not allowed in this database. Use ALTER DATABASE to allow snapshot "
        "isolation.\n";
    box.Text(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT");
    EXPECT_EQ(box.Text(u"SELECT a FROM t"), refused);
    EXPECT_EQ(box.Text(u"INSERT t VALUES (2)"), refused);
    EXPECT_EQ(box.Text(u"SELECT snapshot_isolation_state, snapshot_isolation_state_desc "
                       u"FROM sys.databases WHERE name = 'w'"),
              "0|OFF\n");
    box.Text(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    EXPECT_EQ(box.Text(u"SELECT a FROM t"), "1\n");
    EXPECT_EQ(box.Text(u"SELECT snapshot_isolation_state FROM sys.databases WHERE name = 'w'"),
              "1\n");
    box.Text(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION OFF");
    EXPECT_EQ(box.Text(u"SELECT a FROM t"), refused);
    EXPECT_EQ(box.Text(u"SET TRANSACTION ISOLATION LEVEL READ COMMITTED SELECT a FROM t"), "1\n");
}

TEST(Snapshots, BeginWithTheirTransaction) {
    Box box;
    box.Text(u"CREATE TABLE t (a int) ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    EXPECT_EQ(box.ErrorOf(u"BEGIN TRAN SET TRANSACTION ISOLATION LEVEL SNAPSHOT SELECT a FROM t"),
              3951);
    box.Text(u"ROLLBACK");
    EXPECT_EQ(box.Text(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT BEGIN TRAN SELECT a FROM t "
                       u"COMMIT"),
              "");
}

TEST(Snapshots, KeepWhatIsChangedMeanwhile) {
    Box box;
    box.Text(
        u"CREATE TABLE t (a int) INSERT t VALUES (1) "
        u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    Client reader(*box.backend, u"w");
    EXPECT_EQ(reader.Text(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT BEGIN TRAN SELECT a FROM t"),
              "1\n");
    box.Text(u"UPDATE t SET a = 2");
    EXPECT_EQ(reader.Text(u"SELECT a FROM t"), "1\n");
    EXPECT_EQ(reader.Text(u"COMMIT SELECT a FROM t"), "2\n");
}

TEST(ContextInfo, StaysWithTheSessionWhateverRollsBack) {
    Box box;
    EXPECT_EQ(box.Text(u"SELECT CONTEXT_INFO()"), "NULL\n");
    box.Text(u"BEGIN TRAN SET CONTEXT_INFO 0x0102 ROLLBACK");
    EXPECT_EQ(box.Text(u"SELECT CAST(CONTEXT_INFO() AS varbinary(4)), DATALENGTH(CONTEXT_INFO())"),
              "0x01020000|128\n");
    EXPECT_EQ(Client(*box.backend, u"w").Text(u"SELECT CONTEXT_INFO()"), "NULL\n");
    EXPECT_EQ(box.Text(u"SET CONTEXT_INFO 'x'"),
              "!2743 SET CONTEXT_INFO option requires varbinary (128) NOT NULL parameter.\n");
}

}  // namespace
}  // namespace sandbox::testing
