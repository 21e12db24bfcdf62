// Attention: a client that gives a request up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

class CancelTest : public ::testing::Test {
  protected:
    CancelTest() {
        backend_.On(u"endless rows", [this](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"n", {TypeId::Int})});
            // Far more rows than pass before an attention, and yet an end.
            const Cell cell = Integer(1);
            for (int n = 0; n < 20'000'000 && !ended_; ++n)
                ended_ = !sink.Row(&cell);
        });
        backend_.On(u"long work", [this](ResultSink&, const std::atomic<bool>& cancelled) {
            started_ = true;
            while (!cancelled)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            ended_ = true;
        });
        backend_.On(u"one", [](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"n", {TypeId::Int})});
            const Cell cell = Integer(1);
            sink.Row(&cell);
            sink.StatementDone(1, true, false);
        });
        server_.Serve(backend_);
    }

    static void WaitFor(const std::function<bool()>& condition) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), limit) << "waited in vain";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    FakeBackend backend_;
    std::atomic<bool> started_{false};
    std::atomic<bool> ended_{false};
    WireServer server_;
};

// The last token says that the attention was heard, and the connection goes on.
void ExpectAcknowledged(const ClientResponse& response, TdsClient& client) {
    ASSERT_FALSE(response.dones.empty());
    EXPECT_EQ(response.dones.back().status, 0x20);
    const ClientResponse next = client.Query(u"one");
    ASSERT_EQ(next.sets.size(), 1U);
    EXPECT_EQ(next.sets[0].rows.size(), 1U);
    EXPECT_EQ(next.dones.at(0).status, 0x10);
}

TEST_F(CancelTest, StopsRows) {
    TdsClient client(server_.Port());
    client.Login();
    client.SendBatch(u"endless rows");
    client.SendAttention();
    ExpectAcknowledged(client.Receive(), client);
    EXPECT_TRUE(ended_);
}

TEST_F(CancelTest, StopsWorkThatReturnsNothing) {
    TdsClient client(server_.Port());
    client.Login();
    client.SendBatch(u"long work");
    WaitFor([this] { return started_.load(); });
    EXPECT_FALSE(ended_);
    client.SendAttention();
    ExpectAcknowledged(client.Receive(), client);
    EXPECT_TRUE(ended_);
}

TEST_F(CancelTest, BetweenRequestsIsAcknowledgedAsWell) {
    TdsClient client(server_.Port());
    client.Login();
    client.SendAttention();
    ExpectAcknowledged(client.Receive(), client);
}

TEST_F(CancelTest, ManyTimesNeverHitsTheNextRequest) {
    TdsClient client(server_.Port());
    client.Login();
    for (int n = 0; n < 300; ++n) {
        client.SendBatch(u"one");
        client.SendAttention();
        // The batch may end before the attention is seen; then there are two responses.
        ClientResponse response = client.Receive();
        if (response.dones.at(response.dones.size() - 1).status != 0x20)
            response = client.Receive();
        ASSERT_EQ(response.dones.back().status, 0x20) << n;
        ASSERT_EQ(client.Query(u"one").sets.at(0).rows.size(), 1U) << n;
    }
}

TEST_F(CancelTest, AGivenUpRequestIsNotRun) {
    TdsClient client(server_.Port());
    client.Login();
    client.SendBatch(u"one", 0x03);
    client.SendAttention();
    ExpectAcknowledged(client.Receive(), client);
    EXPECT_THAT(backend_.Batches(), ::testing::ElementsAre(u"one"));
}

TEST_F(CancelTest, AClientThatGoesAwayStopsItsBatch) {
    {
        TdsClient client(server_.Port());
        client.Login();
        client.SendBatch(u"long work");
        WaitFor([this] { return started_.load(); });
    }
    WaitFor([this] { return ended_.load(); });
    WaitFor([this] { return server_.OpenConnections() == 0; });
    EXPECT_EQ(backend_.Sessions(), 0);
}

}  // namespace
}  // namespace sandbox::wire
