// The journal, the faults, and servers that die and come back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

constexpr int kRows = 5;

class FaultTest : public ::testing::Test {
  protected:
    FaultTest() {
        const auto rows = [](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"n", {TypeId::Int})});
            int sent = 0;
            for (; sent < kRows; ++sent) {
                const Cell cell = Integer(sent);
                if (!sink.Row(&cell)) return;
            }
            sink.StatementDone(sent, true, false);
        };
        backend_.On(u"select a", rows);
        backend_.On(u"select b", rows);
        server_.Serve(backend_);
        client_ = std::make_unique<TdsClient>(server_.Port());
        client_->Login();
    }

    static Fault Of(FaultKind kind, std::u16string contains, int rows = 0) {
        return {.kind = kind,
                .contains = std::move(contains),
                .message = Error(1205, u"Deadlock victim."),
                .rows = rows};
    }

    std::size_t RowsOf(std::u16string_view batch) {
        const ClientResponse response = client_->Query(batch);
        return response.sets.empty() ? 0 : response.sets[0].rows.size();
    }

    FakeBackend backend_;
    WireServer server_;
    std::unique_ptr<TdsClient> client_;
};

TEST_F(FaultTest, LogHoldsLoginsAndBatchesInOrder) {
    client_->Query(u"select a");
    TdsClient second(server_.Port());
    second.Login();
    second.Query(u"select b");

    const std::vector<LogEntry> log = server_.Log();
    ASSERT_EQ(log.size(), 4U);
    EXPECT_EQ(log[0].session, 1);
    EXPECT_EQ(log[0].user, u"sa");
    EXPECT_EQ(log[0].batch, u"");
    EXPECT_EQ(log[0].database, u"master");
    EXPECT_EQ(log[1].session, 1);
    EXPECT_EQ(log[1].batch, u"select a");
    EXPECT_EQ(log[1].database, u"master");
    EXPECT_EQ(log[2].session, 2);
    EXPECT_EQ(log[3].session, 2);
    EXPECT_EQ(log[3].batch, u"select b");

    server_.ClearLog();
    EXPECT_TRUE(server_.Log().empty());
}

TEST_F(FaultTest, ARefusedLoginIsNotLogged) {
    TdsClient second(server_.Port());
    ClientLogin login;
    login.password = u"wrong";
    second.Login(login);
    EXPECT_EQ(server_.Log().size(), 1U);
}

TEST_F(FaultTest, ErrorTakesThePlaceOfTheBatch) {
    server_.AddFault(Of(FaultKind::Error, u"select a"));
    const ClientResponse response = client_->Query(u"select a");
    EXPECT_TRUE(response.sets.empty());
    ASSERT_EQ(response.messages.size(), 1U);
    EXPECT_EQ(response.messages[0].number, 1205);
    EXPECT_EQ(response.messages[0].text, u"Deadlock victim.");
    EXPECT_EQ(response.dones.at(0).status, 0x02);
    EXPECT_TRUE(backend_.Batches().empty());
    // Once, and the batch is in the log all the same.
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_EQ(server_.Log().size(), 3U);
}

TEST_F(FaultTest, CountsTheBatchesThatMatch) {
    Fault third = Of(FaultKind::Error, u"select a");
    third.nth = 3;
    server_.AddFault(third);
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_EQ(RowsOf(u"select b"), 5U);
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_EQ(RowsOf(u"select b"), 5U);
    EXPECT_EQ(RowsOf(u"select a"), 0U);
    EXPECT_EQ(RowsOf(u"select a"), 5U);
}

TEST_F(FaultTest, SeveralWaitAtOnce) {
    server_.AddFault(Of(FaultKind::Error, u"select b"));
    Fault second = Of(FaultKind::Error, u"");
    second.nth = 2;
    server_.AddFault(second);
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_EQ(RowsOf(u"select b"), 0U);  // completes both
    EXPECT_EQ(RowsOf(u"select b"), 5U);
}

TEST_F(FaultTest, ClearedFaultsDoNotStrike) {
    server_.AddFault(Of(FaultKind::Error, u""));
    server_.ClearFaults();
    EXPECT_EQ(RowsOf(u"select a"), 5U);
}

TEST_F(FaultTest, ErrorAfterRowsEndsTheRows) {
    for (const int rows : {0, 3, 5, 9}) {
        server_.AddFault(Of(FaultKind::ErrorAfterRows, u"select a", rows));
        const ClientResponse response = client_->Query(u"select a");
        EXPECT_EQ(response.sets.at(0).rows.size(), static_cast<std::size_t>(std::min(rows, kRows)));
        ASSERT_EQ(response.messages.size(), 1U) << rows;
        EXPECT_EQ(response.messages[0].number, 1205);
        // Where the rows go on or end there, their own count does not appear.
        EXPECT_EQ(response.dones.size(), rows <= kRows ? 1U : 2U);
        EXPECT_EQ(response.dones.back().status, 0x02);
    }
    EXPECT_EQ(RowsOf(u"select a"), 5U);
}

TEST_F(FaultTest, DropClosesTheConnection) {
    server_.AddFault(Of(FaultKind::Drop, u"select a"));
    const ClientResponse response = client_->Query(u"select a");
    EXPECT_TRUE(response.closed);
    EXPECT_TRUE(response.sets.empty());
    EXPECT_TRUE(backend_.Batches().empty());
}

TEST_F(FaultTest, DropAfterRowsSendsTheRowsFirst) {
    server_.AddFault(Of(FaultKind::DropAfterRows, u"select a", 3));
    const ClientResponse response = client_->Query(u"select a");
    EXPECT_TRUE(response.closed);
    EXPECT_EQ(response.sets.at(0).rows.size(), 3U);
    EXPECT_TRUE(response.dones.empty());
}

TEST_F(FaultTest, DelayPutsTheAnswerOff) {
    Fault fault = Of(FaultKind::Delay, u"select a");
    fault.delay = std::chrono::milliseconds(80);
    server_.AddFault(fault);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(80));
}

TEST_F(FaultTest, DelayEndsWithAnAttention) {
    Fault fault = Of(FaultKind::Delay, u"select a");
    fault.delay = std::chrono::hours(1);
    server_.AddFault(fault);
    client_->SendBatch(u"select a");
    client_->SendAttention();
    EXPECT_EQ(client_->Receive().dones.back().status, 0x20);
}

TEST_F(FaultTest, KillEndsEveryConnectionAndSession) {
    TdsClient second(server_.Port());
    second.Login();
    Fault fault = Of(FaultKind::Delay, u"select a");
    fault.delay = std::chrono::hours(1);
    server_.AddFault(fault);
    second.SendBatch(u"select a");
    EXPECT_EQ(server_.OpenConnections(), 2);

    server_.Kill();
    EXPECT_EQ(server_.OpenConnections(), 0);
    EXPECT_EQ(backend_.Sessions(), 0);
    EXPECT_TRUE(client_->IsClosed());
    EXPECT_TRUE(second.Receive().closed);
    EXPECT_THROW(TdsClient{server_.Port()}, std::runtime_error);
}

TEST_F(FaultTest, RestartTakesTheSamePortAndCountsOn) {
    const std::uint16_t port = server_.Port();
    server_.Kill();
    server_.Restart();
    EXPECT_EQ(server_.Port(), port);
    client_ = std::make_unique<TdsClient>(port);
    client_->Login();
    EXPECT_EQ(RowsOf(u"select a"), 5U);
    EXPECT_EQ(server_.Log().back().session, 2);
    server_.Kill();
    server_.Kill();
    server_.Restart();
    server_.Restart();
    EXPECT_NO_THROW(TdsClient{port});
}

TEST_F(FaultTest, ManyClientsAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> rows{0};
    for (int n = 0; n < 16; ++n) {
        threads.emplace_back([this, &rows] {
            TdsClient client(server_.Port());
            client.Login();
            for (int batch = 0; batch < 20; ++batch) {
                rows += static_cast<int>(client.Query(u"select a").sets.at(0).rows.size());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(rows, 16 * 20 * kRows);
    EXPECT_EQ(server_.Log().size(), 1U + 16U * 21U);
}

}  // namespace
}  // namespace sandbox::wire
