// Statements, counts, messages and their order in the response to a batch.
#include <gtest/gtest.h>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

class ResultTest : public ::testing::TestWithParam<std::uint32_t> {
  protected:
    // Runs `script` as the answer to a batch.
    ClientResponse Answer(Script script) {
        backend_.On(u"batch", std::move(script));
        server_.Serve(backend_);
        TdsClient client(server_.Port());
        ClientLogin login;
        login.version = GetParam();
        client.Login(login);
        return client.Query(u"batch");
    }

    FakeBackend backend_;
    WireServer server_;
};

INSTANTIATE_TEST_SUITE_P(Versions, ResultTest,
                         ::testing::Values(0x71000001U, 0x72090002U, 0x730B0003U, 0x74000004U),
                         [](const auto& info) {
                             return "Tds" + std::to_string(info.param >> 24 & 0xF);
                         });

void OneRow(ResultSink& sink, int value) {
    sink.Columns({Column(u"n", {TypeId::Int})});
    const Cell cell = Integer(value);
    sink.Row(&cell);
    sink.StatementDone(1, true, false);
}

TEST_P(ResultTest, EachStatementHasItsResultAndCount) {
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        OneRow(sink, 7);
        sink.StatementDone(3, false, false);
        sink.StatementDone(std::nullopt, false, false);
        OneRow(sink, 8);
    });

    ASSERT_EQ(response.sets.size(), 2U);
    EXPECT_EQ(response.sets[0].rows[0][0], "07000000");
    EXPECT_EQ(response.sets[1].rows[0][0], "08000000");
    ASSERT_EQ(response.dones.size(), 4U);
    EXPECT_EQ(response.dones[0].status, 0x11);  // count, more follows
    EXPECT_EQ(response.dones[0].count, 1);
    EXPECT_EQ(response.dones[0].command, 0xC1);
    EXPECT_EQ(response.dones[1].status, 0x11);
    EXPECT_EQ(response.dones[1].count, 3);
    EXPECT_EQ(response.dones[2].status, 0x01);
    EXPECT_EQ(response.dones[3].status, 0x10);
    for (const ClientDone& done : response.dones)
        EXPECT_EQ(done.token, 0xFD);
}

TEST_P(ResultTest, ABatchWithoutStatementsEndsAllTheSame) {
    const ClientResponse response = Answer([](ResultSink&, const auto&) {});
    ASSERT_EQ(response.dones.size(), 1U);
    EXPECT_EQ(response.dones[0].status, 0);
}

TEST_P(ResultTest, MessagesKeepTheirPlace) {
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        Message print;
        print.severity = 0;
        print.text = u"hello";
        sink.Say(print);
        sink.StatementDone(std::nullopt, false, false);
        Message error = Error(547, u"The statement conflicted.");
        error.state = 9;
        error.line = 12;
        error.procedure = u"prcTest";
        sink.Say(error);
        sink.StatementDone(std::nullopt, false, true);
        OneRow(sink, 1);
    });

    ASSERT_EQ(response.messages.size(), 2U);
    EXPECT_FALSE(response.messages[0].error);
    EXPECT_EQ(response.messages[0].severity, 0);
    EXPECT_EQ(response.messages[0].text, u"hello");
    EXPECT_TRUE(response.messages[1].error);
    EXPECT_EQ(response.messages[1].number, 547);
    EXPECT_EQ(response.messages[1].severity, 16);
    EXPECT_EQ(response.messages[1].state, 9);
    EXPECT_EQ(response.messages[1].line, 12);
    EXPECT_EQ(response.messages[1].procedure, u"prcTest");
    EXPECT_EQ(response.messages[1].server, u"FAKE");
    ASSERT_EQ(response.dones.size(), 3U);
    EXPECT_EQ(response.dones[0].status, 0x01);
    EXPECT_EQ(response.dones[1].status, 0x03);  // error, more follows
    EXPECT_EQ(response.dones[2].status, 0x10);
}

TEST_P(ResultTest, ABatchThatOnlySaysAnErrorEndsInError) {
    const ClientResponse response = Answer(
        [](ResultSink& sink, const auto&) { sink.Say(Error(208, u"Invalid object name 't'.")); });
    ASSERT_EQ(response.messages.size(), 1U);
    EXPECT_EQ(response.messages[0].text, u"Invalid object name 't'.");
    ASSERT_EQ(response.dones.size(), 1U);
    EXPECT_EQ(response.dones[0].status, 0x02);
}

TEST_P(ResultTest, AStatementThatSaidAnErrorEndsInError) {
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        sink.Say(Error(3701, u"Cannot drop the table 't'."));
        sink.StatementDone(std::nullopt, false, false);
        sink.StatementDone(std::nullopt, false, false);
    });
    ASSERT_EQ(response.dones.size(), 2U);
    EXPECT_EQ(response.dones[0].status, 0x03);
    EXPECT_EQ(response.dones[1].status, 0);
}

TEST_P(ResultTest, AnErrorAmongRowsEndsThem) {
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"n", {TypeId::Int})});
        for (int n = 0; n < 3; ++n) {
            const Cell cell = Integer(n);
            sink.Row(&cell);
        }
        sink.Say(Error(8134, u"Divide by zero error encountered."));
        sink.StatementDone(std::nullopt, true, true);
    });
    EXPECT_EQ(response.sets.at(0).rows.size(), 3U);
    EXPECT_EQ(response.messages.at(0).number, 8134);
    ASSERT_EQ(response.dones.size(), 1U);
    EXPECT_EQ(response.dones[0].status, 0x02);
}

TEST_P(ResultTest, ALongMessageIsCutToItsLengthField) {
    const std::u16string text(70'000, u'm');
    const ClientResponse response =
        Answer([&](ResultSink& sink, const auto&) { sink.Say(Error(50000, text)); });
    EXPECT_EQ(response.messages.at(0).text, std::u16string(8000, u'm'));
}

TEST_P(ResultTest, UseChangesTheDatabase) {
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        sink.DatabaseChanged(u"master", u"world");
        sink.StatementDone(std::nullopt, false, false);
    });
    ASSERT_EQ(response.changes.size(), 1U);
    EXPECT_EQ(response.changes[0].type, 1);
    EXPECT_EQ(response.changes[0].now, Hex(Utf16Bytes(u"world")));
    EXPECT_EQ(response.changes[0].before, Hex(Utf16Bytes(u"master")));
    ASSERT_EQ(response.messages.size(), 1U);
    EXPECT_FALSE(response.messages[0].error);
    EXPECT_EQ(response.messages[0].number, 5701);
    EXPECT_EQ(response.messages[0].text, u"Changed database context to 'world'.");
}

TEST_P(ResultTest, AnEngineThatThrowsIsAnErrorToTheClient) {
    const ClientResponse response =
        Answer([](ResultSink&, const auto&) { throw std::runtime_error("no such function"); });
    EXPECT_EQ(response.messages.at(0).number, 8630);
    EXPECT_EQ(response.messages.at(0).text, u"Internal Query Processor Error: no such function");
    EXPECT_EQ(response.dones.at(0).status, 0x02);
}

TEST_P(ResultTest, ManyRowsFillManyPackets) {
    static constexpr int kRows = 200'000;
    const ClientResponse response = Answer([](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"a", {TypeId::Int}), Column(u"b", {TypeId::VarChar, 20})});
        for (int n = 0; n < kRows; ++n) {
            const Cell cells[] = {Integer(n), n % 2 == 0 ? Text(u"even") : Null()};
            sink.Row(cells);
        }
        sink.StatementDone(kRows, true, false);
    });
    const auto& rows = response.sets.at(0).rows;
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(kRows));
    EXPECT_EQ(rows[0x1FFFE][0], "FEFF0100");
    EXPECT_EQ(rows[0x1FFFE][1], Hex("even"));
    EXPECT_EQ(rows[0x1FFFF][1], std::nullopt);
    for (std::size_t n = 0; n + 1 < response.packetSizes.size(); ++n) {
        ASSERT_EQ(response.packetSizes[n], 4096U) << n;
    }
}

TEST(CountTest, GoesBeyond32BitsFrom72On) {
    FakeBackend backend;
    backend.On(u"batch", [](ResultSink& sink, const auto&) {
        sink.StatementDone(5'000'000'000, false, false);
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    EXPECT_EQ(client.Query(u"batch").dones.at(0).count, 5'000'000'000);
}

TEST(BatchTest, ComesWholeFromManyPackets) {
    FakeBackend backend;
    WireServer server;
    server.Serve(backend);
    std::u16string batch(100'000, u'\u20ac');
    batch += u"\xd800 end";
    for (const std::uint32_t version : {0x71000001U, 0x74000004U}) {
        TdsClient client(server.Port());
        ClientLogin login;
        login.version = version;
        client.Login(login);
        client.Query(batch);
        ASSERT_FALSE(backend.Batches().empty());
        EXPECT_TRUE(backend.Batches().back() == batch);
    }
}

}  // namespace
}  // namespace sandbox::wire
