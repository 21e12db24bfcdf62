// What RunBatches leaves behind, and what it says of it, whatever happens to a batch.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "cli/ScriptRunner.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

using sandbox::Fault;
using sandbox::FaultKind;

// A script for database b that deletes, inserts and updates, in small batches.
class RunBatchesTest : public ProgramTest {
  protected:
    RunBatchesTest() {
        server.Run(u"USE a\nGO\nINSERT p VALUES (5, N'five'), (6, N'six')\nGO\nDROP TABLE c");
        server.Run(u"USE b\nGO\nINSERT p VALUES (5, N'cinq'), (8, N'eight')\nGO\nDROP TABLE c");
        const auto dbA = MakeDatabase(u"a");
        const auto dbB = MakeDatabase(u"b");
        QuillonLib::Utils utils;
        const auto results =
            utils.CompareContents(dbA, dbB, dbA, QuillonLib::TextArray({u"[dbo].[p]"}), {}, {});
        std::u16string left;
        std::u16string right;
        using namespace QuillonLib;
        utils.GetUpdateScripts(dbA, dbB, dbA, results, left, right,
                               cpoShowDifferent | cpoShowMissing | cpoShowAdditional, 0);
        batches = CutIntoBatches(right, 1);
        connection = std::make_shared<QuillonLib::Connection>();
        Open();
    }
    void Open() {
        connection->Close();
        connection->Open(u"driver={SQL Server};server=" + server.Address() +
                         u";database=b;uid=sa;pwd=sandbox");
    }

    // How RunBatches ended: neither is set after a success.
    struct Ended {
        std::size_t failedIn = 0;
        std::optional<std::string> unknown;
    };
    Ended Run(const std::vector<std::u16string>& which) const {
        try {
            RunBatches(*connection, which);
        } catch (const BatchFailure& failure) {
            return {failure.batch, {}};
        } catch (const OutcomeUnknown& unknown) {
            return {0, unknown.what()};
        }
        return {};
    }
    Ended Run() const { return Run(batches); }

    // Of the n-th batch that holds the text.
    void AddFault(FaultKind kind, const std::u16string& contains, std::size_t nth = 1) {
        Fault fault = ErrorIn(contains, static_cast<int>(nth));
        fault.kind = kind;
        server.AddFault(fault);
    }
    std::int32_t OpenTransactions() const {
        QuillonLib::Recordset rows;
        rows.Open(u"SELECT @@TRANCOUNT", connection);
        return rows.Fields(std::size_t{0}).Value().Get<std::int32_t>();
    }

    // All rows, and how many procedures there are.
    std::u16string ContentOfB() {
        std::u16string content;
        for (char16_t id = u'0'; id <= u'9'; ++id) {
            content += server.Scalar(
                u"USE b SELECT CAST(id AS nvarchar(9)) + ISNULL(n, N'NULL') "
                u"+ N' ' FROM p WHERE id = " +
                std::u16string(1, id));
        }
        return content + server.Scalar(u"USE b SELECT COUNT(*) FROM sysobjects WHERE xtype = 'P'");
    }

    // As sync wraps a script when it suspends constraints.
    std::vector<std::u16string> Wrapped() const {
        std::vector<std::u16string> all{u"BEGIN TRANSACTION"};
        all.insert(all.end(), batches.begin(), batches.end());
        all.emplace_back(u"COMMIT TRANSACTION");
        return all;
    }

    const std::u16string before = u"1uno 3three 5cinq 8eight 0";
    const std::u16string after = u"1one 2NULL 5five 6six 0";
    const std::u16string count = u"SELECT @@TRANCOUNT";
    std::vector<std::u16string> batches;
    std::shared_ptr<QuillonLib::Connection> connection;
};

TEST_F(RunBatchesTest, BringsTheDatabaseOver) {
    ASSERT_EQ(ContentOfB(), before);
    ASSERT_GT(batches.size(), 10U);
    const Ended ended = Run();
    EXPECT_EQ(ended.failedIn, 0U);
    EXPECT_FALSE(ended.unknown);
    EXPECT_EQ(OpenTransactions(), 0);
    EXPECT_EQ(ContentOfB(), after);
}

// Every batch is preceded by a question for @@TRANCOUNT.
TEST_F(RunBatchesTest, AnErrorInPlaceOfAnyBatchLeavesTheDatabaseAsItWas) {
    for (std::size_t request = 1; request <= 2 * batches.size(); ++request) {
        SCOPED_TRACE(request);
        AddFault(FaultKind::Error, u"", request);
        const Ended ended = Run();
        EXPECT_EQ(ended.failedIn, (request + 1) / 2);
        EXPECT_FALSE(ended.unknown);
        EXPECT_EQ(OpenTransactions(), 0);
        ASSERT_EQ(ContentOfB(), before);
    }
}

TEST_F(RunBatchesTest, ALostConnectionBeforeTheCommitLeavesTheDatabaseAsItWas) {
    for (std::size_t request = 1; request < 2 * batches.size(); ++request) {
        SCOPED_TRACE(request);
        AddFault(FaultKind::Drop, u"", request);
        const Ended ended = Run();
        EXPECT_EQ(ended.failedIn, (request + 1) / 2);
        EXPECT_FALSE(ended.unknown);
        EXPECT_FALSE(connection->IsOpen());
        ASSERT_EQ(ConnectionsLeft(server), 0);
        ASSERT_EQ(ContentOfB(), before);
        Open();
    }
}

TEST_F(RunBatchesTest, NobodyKnowsWhatAConnectionLostWithTheCommitHasDone) {
    AddFault(FaultKind::Drop, u"COMMIT");
    const Ended undone = Run();
    ASSERT_TRUE(undone.unknown);
    EXPECT_NE(*undone.unknown, "");
    ASSERT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ContentOfB(), before);

    Open();
    AddFault(FaultKind::DropAfterRows, u"COMMIT");
    EXPECT_TRUE(Run().unknown);
    ASSERT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ContentOfB(), after);
}

TEST_F(RunBatchesTest, AnErrorOfACommitThatEndedTheTransactionLeavesItUnknown) {
    AddFault(FaultKind::ErrorAfterRows, u"COMMIT");
    const Ended ended = Run();
    ASSERT_TRUE(ended.unknown);
    EXPECT_NE(ended.unknown->find("made to fail"), std::string::npos) << *ended.unknown;
    EXPECT_EQ(ContentOfB(), after);
}

TEST_F(RunBatchesTest, WithoutAnAnswerHowTheCommitEndedItIsUnknown) {
    AddFault(FaultKind::Error, u"COMMIT");
    AddFault(FaultKind::Error, count, batches.size() + 1);
    const Ended ended = Run();
    ASSERT_TRUE(ended.unknown);
    EXPECT_NE(ended.unknown->find("made to fail"), std::string::npos) << *ended.unknown;
    EXPECT_FALSE(connection->IsOpen());
}

TEST_F(RunBatchesTest, ARollbackThatFailsIsLeftToTheServer) {
    for (const std::u16string& failing : {batches[4], std::u16string(u"COMMIT")}) {
        for (const auto kind : {FaultKind::Error, FaultKind::Drop}) {
            AddFault(FaultKind::Error, failing);
            AddFault(kind, u"ROLLBACK TRANSACTION");
            const Ended ended = Run();
            EXPECT_NE(ended.failedIn, 0U);
            EXPECT_FALSE(ended.unknown);
            EXPECT_FALSE(connection->IsOpen());
            ASSERT_EQ(ConnectionsLeft(server), 0);
            ASSERT_EQ(ContentOfB(), before);
            Open();
        }
    }
}

TEST_F(RunBatchesTest, ACommitThatTakesTooLongIsRolledBackWhereItHasNotHappened) {
    Fault slow = ErrorIn(u"COMMIT");
    slow.kind = FaultKind::Delay;
    slow.delay = std::chrono::seconds(20);
    server.AddFault(slow);
    connection->CommandTimeout(std::chrono::seconds(1));
    const Ended ended = Run();
    EXPECT_EQ(ended.failedIn, batches.size());
    EXPECT_FALSE(ended.unknown);
    EXPECT_EQ(ContentOfB(), before);
}

TEST_F(RunBatchesTest, OnlyTheOuterCommitEndsAWrappedScript) {
    const auto wrapped = Wrapped();
    AddFault(FaultKind::DropAfterRows, u"COMMIT");
    EXPECT_EQ(Run(wrapped).failedIn, wrapped.size() - 1);
    ASSERT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ContentOfB(), before);

    Open();
    AddFault(FaultKind::DropAfterRows, u"COMMIT", 2);
    EXPECT_TRUE(Run(wrapped).unknown);
    ASSERT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ContentOfB(), after);
}

TEST_F(RunBatchesTest, ACommitInDataEndsNothing) {
    const std::u16string row = u"UPDATE p SET n = N'\r\nCOMMIT\r\n'";
    AddFault(FaultKind::Drop, u"UPDATE p");
    const Ended ended = Run({u"BEGIN TRANSACTION", row, u"COMMIT"});
    EXPECT_EQ(ended.failedIn, 2U);
    EXPECT_FALSE(ended.unknown);
}

// As a trigger may do it on a server that does not tell of it.
TEST_F(RunBatchesTest, NothingIsRunBehindATransactionThatEndedByItself) {
    const Ended ended =
        Run({u"BEGIN TRANSACTION", u"DELETE p", u"ROLLBACK", u"DELETE p", u"COMMIT"});
    EXPECT_TRUE(ended.unknown);
    EXPECT_EQ(ContentOfB(), before);
}

TEST_F(RunBatchesTest, ATransactionThatIsLeftOpenIsAFailure) {
    const Ended ended = Run({u"BEGIN TRANSACTION", u"BEGIN TRANSACTION", u"DELETE p", u"COMMIT"});
    EXPECT_EQ(ended.failedIn, 4U);
    EXPECT_FALSE(ended.unknown);
    EXPECT_EQ(OpenTransactions(), 0);
    EXPECT_EQ(ContentOfB(), before);
}

}  // namespace
}  // namespace quillon
