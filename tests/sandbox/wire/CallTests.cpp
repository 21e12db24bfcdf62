// Procedure calls and transactions: what the engine gets to see of them, and what comes back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

std::string FromHex(std::string_view hex) {
    std::string bytes;
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
    for (std::size_t n = 0; n + 1 < hex.size(); n += 2) {
        bytes += static_cast<char>(digit(hex[n]) * 16 + digit(hex[n + 1]));
    }
    return bytes;
}

std::string Named(std::u16string_view procedure) {
    std::string bytes(1, static_cast<char>(procedure.size()));
    return bytes + '\0' + Utf16Bytes(procedure) + "\0\0"s;
}

std::string Numbered(char number) {
    return "\xFF\xFF"s + number + "\0\0\0"s;
}

std::string Parameter(std::u16string_view name, std::string_view hex, char flags = 0) {
    return std::string(1, static_cast<char>(name.size())) + Utf16Bytes(name) + flags + FromHex(hex);
}

std::string NText(std::u16string_view text) {
    const std::string bytes = Utf16Bytes(text);
    std::string length(4, '\0');
    length[0] = static_cast<char>(bytes.size());
    return "\0\0"s + FromHex("63FEFFFF7F0904D00034") + length + bytes;
}

class CallTest : public ::testing::TestWithParam<std::uint32_t> {
  protected:
    CallTest() {
        server_.Serve(backend_);
        client_ = std::make_unique<TdsClient>(server_.Port());
        ClientLogin login;
        login.version = GetParam();
        client_->Login(login);
    }

    FakeBackend backend_;
    WireServer server_;
    std::unique_ptr<TdsClient> client_;
};

INSTANTIATE_TEST_SUITE_P(Versions, CallTest, ::testing::Values(0x71000001U, 0x74000004U),
                         [](const auto& info) {
                             return "Tds" + std::to_string(info.param >> 24 & 0xF);
                         });

TEST_P(CallTest, AProcedureIsExecutedByName) {
    const ClientResponse response = client_->Call(
        Named(u"dbo.prcTest") + Parameter(u"@a", "260404FEFFFFFF") + Parameter(u"", "260400"));
    EXPECT_THAT(backend_.Batches(), ElementsAre(u"EXEC dbo.prcTest @a=-2, NULL"));
    EXPECT_EQ(response.messages.at(0).number, 102);
    EXPECT_EQ(response.returnStatus, -6);
    ASSERT_EQ(response.dones.size(), 2U);
    EXPECT_EQ(response.dones[0].token, 0xFF);
    EXPECT_EQ(response.dones[0].status, 0x03);
    EXPECT_EQ(response.dones[1].token, 0xFE);
    EXPECT_EQ(response.dones[1].status, 0x02);
}

TEST_P(CallTest, ResultsOfACallAreInsideOfIt) {
    backend_.On(u"select 1", [](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"n", {TypeId::Int})});
        const Cell cell = Integer(1);
        sink.Row(&cell);
        sink.StatementDone(1, true, false);
        sink.StatementDone(4, false, false);
    });
    const ClientResponse response = client_->Call(Numbered(10) + NText(u"select 1"));
    EXPECT_THAT(backend_.Batches(), ElementsAre(u"select 1"));
    EXPECT_EQ(response.sets.at(0).rows.size(), 1U);
    EXPECT_EQ(response.returnStatus, 0);
    ASSERT_EQ(response.dones.size(), 3U);
    EXPECT_EQ(response.dones[0].token, 0xFF);
    EXPECT_EQ(response.dones[0].status, 0x11);
    EXPECT_EQ(response.dones[1].token, 0xFF);
    EXPECT_EQ(response.dones[1].status, 0x11);
    EXPECT_EQ(response.dones[2].token, 0xFE);
    EXPECT_EQ(response.dones[2].status, 0);
}

TEST_P(CallTest, ParametersOfAStatementBecomeVariables) {
    client_->Call(Named(u"sp_executesql") + NText(u"select @a, @b, @c") +
                  NText(u"@a int, @b decimal(5,2), @c nvarchar(10) OUTPUT") +
                  Parameter(u"@a", "26040405000000") +
                  Parameter(u"",
                            "6A05050205"
                            "0139300000") +
                  Parameter(u"@c",
                            "E714000904D00034"
                            "0600"
                            "690027007300"));
    EXPECT_THAT(backend_.Batches(),
                ElementsAre(u"DECLARE @a int, @b decimal(5,2), @c nvarchar(10) "
                            u"SET @a=5 SET @b=123.45 SET @c=N'i''s' select @a, @b, @c"));
}

TEST_P(CallTest, VariablesHaveNoTextTypes) {
    client_->Call(Numbered(10) + NText(u"x") + NText(u"@a text, @b NText out,@c\timage"));
    EXPECT_THAT(backend_.Batches(),
                ElementsAre(u"DECLARE @a VARCHAR(MAX), @b NVARCHAR(MAX), @c\tVARBINARY(MAX) x"));
}

TEST_P(CallTest, APreparedStatementRunsByItsHandle) {
    const ClientResponse prepared =
        client_->Call(Numbered(11) + Parameter(u"", "260400", 1) + NText(u"@P1 int") +
                      NText(u"select @P1") + Parameter(u"", "26040401000000"));
    ASSERT_EQ(prepared.returnValues.size(), 1U);
    EXPECT_EQ(prepared.returnValues[0].value, 1);
    EXPECT_EQ(prepared.returnStatus, 0);
    EXPECT_TRUE(backend_.Batches().empty());

    client_->Call(Numbered(12) + Parameter(u"", "26040401000000") +
                  Parameter(u"", "26040407000000"));
    EXPECT_THAT(backend_.Batches(), ElementsAre(u"DECLARE @P1 int SET @P1=7 select @P1"));

    EXPECT_EQ(client_->Call(Numbered(15) + Parameter(u"", "26040401000000")).returnStatus, 0);
    const ClientResponse gone = client_->Call(Numbered(12) + Parameter(u"", "26040401000000"));
    EXPECT_EQ(gone.messages.at(0).number, 8179);
    EXPECT_EQ(gone.messages.at(0).text, u"Could not find prepared statement with handle 1.");
}

TEST_P(CallTest, PrepareAndExecuteAtOnce) {
    const ClientResponse response =
        client_->Call(Numbered(13) + Parameter(u"", "260400", 1) + NText(u"@P1 bigint") +
                      NText(u"select @P1") + Parameter(u"", "260808FFFFFFFFFFFFFFFF"));
    EXPECT_THAT(backend_.Batches(), ElementsAre(u"DECLARE @P1 bigint SET @P1=-1 select @P1"));
    EXPECT_EQ(response.returnValues.at(0).name, u"@handle");
    EXPECT_EQ(response.returnValues.at(0).value, 1);
}

// What a statement of a call SETs or USEs ends with it; a procedure sees to that itself.
TEST_P(CallTest, StatementsOfCallsHaveAScopeOfTheirOwn) {
    client_->Call(Named(u"sp_executesql") + NText(u"one"));
    client_->Call(Numbered(13) + Parameter(u"", "260400", 1) + NText(u"") + NText(u"two"));
    client_->Call(Numbered(12) + Parameter(u"", "26040401000000"));
    EXPECT_THAT(backend_.BatchesInScope(), ElementsAre(u"one", u"two", u"two"));
    client_->Call(Named(u"dbo.prcTest"));
    client_->Query(u"three");
    EXPECT_EQ(backend_.BatchesInScope().size(), 3U);
    EXPECT_EQ(backend_.Batches().size(), 5U);
}

TEST_P(CallTest, SeveralCallsInOneRequest) {
    const char separator = GetParam() < 0x72000000 ? '\x80' : '\xFF';
    const ClientResponse response = client_->Call(Named(u"first") + separator + Named(u"second"));
    EXPECT_THAT(backend_.Batches(), ElementsAre(u"EXEC first", u"EXEC second"));
    ASSERT_EQ(response.dones.size(), 4U);
    EXPECT_EQ(response.dones[1].status, 0x03);
    EXPECT_EQ(response.dones[3].status, 0x02);
}

struct LiteralCase {
    const char* name;
    std::string parameter;
    std::u16string literal;
};

class LiteralTest : public ::testing::TestWithParam<LiteralCase> {};

TEST_P(LiteralTest, AValueIsWrittenInSql) {
    FakeBackend backend;
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    client.Call(Named(u"p") + Parameter(u"", GetParam().parameter));
    EXPECT_THAT(backend.Batches(), ElementsAre(u"EXEC p " + GetParam().literal));
}

INSTANTIATE_TEST_SUITE_P(All, LiteralTest,
                         ::testing::Values(LiteralCase{"NullType", "1F", u"NULL"},
                                           LiteralCase{"TinyInt",
                                                       "2601"
                                                       "01FF",
                                                       u"255"},
                                           LiteralCase{"SmallInt",
                                                       "2602"
                                                       "02FEFF",
                                                       u"-2"},
                                           LiteralCase{"BigInt",
                                                       "2608"
                                                       "080000000000000080",
                                                       u"-9223372036854775808"},
                                           LiteralCase{"FixedInt",
                                                       "38"
                                                       "07000000",
                                                       u"7"},
                                           LiteralCase{"Bit",
                                                       "6801"
                                                       "0101",
                                                       u"1"},
                                           LiteralCase{"DecimalNegative",
                                                       "6A050502"
                                                       "050039300000",
                                                       u"-123.45"},
                                           LiteralCase{"DecimalSmall",
                                                       "6C090905"
                                                       "050105000000",
                                                       u"0.00005"},
                                           LiteralCase{"DecimalNull",
                                                       "6A050502"
                                                       "00",
                                                       u"NULL"},
                                           LiteralCase{"Money",
                                                       "6E08"
                                                       "0800000000983A0000",
                                                       u"1.5000"},
                                           LiteralCase{"MoneyNegative",
                                                       "6E08"
                                                       "08FFFFFFFFFFFFFFFF",
                                                       u"-0.0001"},
                                           LiteralCase{"SmallMoney",
                                                       "6E04"
                                                       "04983A0000",
                                                       u"1.5000"},
                                           LiteralCase{"Float",
                                                       "6D08"
                                                       "089A9999999999B93F",
                                                       u"0.1e0"},
                                           LiteralCase{"FloatLarge",
                                                       "6D08"
                                                       "089C7500883CE4377E",
                                                       u"1e+300"},
                                           LiteralCase{"Real",
                                                       "6D04"
                                                       "04CDCCCC3D",
                                                       u"0.1e0"},
                                           LiteralCase{"DateTime",
                                                       "6F08"
                                                       "08F8B000001DBBE200",
                                                       u"'20240115 13:45:30.123'"},
                                           LiteralCase{"SmallDateTime",
                                                       "6F04"
                                                       "04F8B03903",
                                                       u"'20240115 13:45:00'"},
                                           LiteralCase{"Date",
                                                       "28"
                                                       "0353460B",
                                                       u"'2024-01-15'"},
                                           LiteralCase{"Time",
                                                       "2907"
                                                       "05870F415273",
                                                       u"'13:45:30.1234567'"},
                                           LiteralCase{"DateTime2",
                                                       "2A07"
                                                       "08870F41527353460B",
                                                       u"'2024-01-15 13:45:30.1234567'"},
                                           LiteralCase{"DateTimeOffset",
                                                       "2B03"
                                                       "090BE8850253460B7800",
                                                       u"'2024-01-15 13:45:30.123 +02:00'"},
                                           LiteralCase{"Guid",
                                                       "2410"
                                                       "1000112233445566778899AABBCCDDEEFF",
                                                       u"'33221100-5544-7766-8899-AABBCCDDEEFF'"},
                                           LiteralCase{"VarChar",
                                                       "A70A000904D00034"
                                                       "020080"
                                                       "27",
                                                       u"N'\u20ac'''"},
                                           LiteralCase{"VarCharNull",
                                                       "A70A000904D00034"
                                                       "FFFF",
                                                       u"NULL"},
                                           LiteralCase{"NVarCharMax",
                                                       "E7FFFF0904D00034"
                                                       "FEFFFFFFFFFFFFFF"
                                                       "02000000"
                                                       "6100"
                                                       "02000000"
                                                       "6200"
                                                       "00000000",
                                                       u"N'ab'"},
                                           LiteralCase{"NVarCharMaxNull",
                                                       "E7FFFF0904D00034"
                                                       "FFFFFFFFFFFFFFFF",
                                                       u"NULL"},
                                           LiteralCase{"VarBinary",
                                                       "A50A00"
                                                       "020000FF",
                                                       u"0x00FF"},
                                           LiteralCase{"VarBinaryEmpty",
                                                       "A50A00"
                                                       "0000",
                                                       u"0x"},
                                           LiteralCase{"Image",
                                                       "22FFFFFF7F"
                                                       "0100000061",
                                                       u"0x61"},
                                           LiteralCase{"Text",
                                                       "23FFFFFF7F0904D00034"
                                                       "0100000061",
                                                       u"N'a'"},
                                           LiteralCase{"TextNull",
                                                       "23FFFFFF7F0904D00034"
                                                       "FFFFFFFF",
                                                       u"NULL"},
                                           LiteralCase{"OldVarChar",
                                                       "270A"
                                                       "0161",
                                                       u"N'a'"},
                                           LiteralCase{"Xml",
                                                       "F100"
                                                       "0200000000000000"
                                                       "02000000"
                                                       "6100"
                                                       "00000000",
                                                       u"N'a'"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(CallTest, CommittedTransactionIsReported) {
    const ClientResponse begun = client_->Query(u"BEGIN TRANSACTION");
    const ClientResponse ended = client_->Query(u"COMMIT TRANSACTION");
    if (GetParam() < 0x72000000) {
        EXPECT_TRUE(begun.changes.empty());
        EXPECT_TRUE(ended.changes.empty());
        return;
    }
    ASSERT_EQ(begun.changes.size(), 1U);
    EXPECT_EQ(begun.changes[0].type, 8);
    EXPECT_EQ(begun.changes[0].now, "0100000000000000");
    EXPECT_EQ(begun.changes[0].before, "");
    ASSERT_EQ(ended.changes.size(), 1U);
    EXPECT_EQ(ended.changes[0].type, 9);
    EXPECT_EQ(ended.changes[0].now, "");
    EXPECT_EQ(ended.changes[0].before, "0100000000000000");
}

TEST(TransactionRequestTest, BecomesSql) {
    FakeBackend backend;
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();

    EXPECT_EQ(client.Transaction("\x05\0\0\0"s).changes.at(0).type, 8);
    EXPECT_EQ(client.Transaction("\x07\0\0\0"s).changes.at(0).type, 9);
    EXPECT_EQ(client.Transaction("\x05\0\x04\x01t\0"s).changes.at(0).type, 8);
    client.Transaction("\x09\0\x01s\0"s);
    const ClientResponse rolledBack = client.Transaction("\x08\0\0\0"s);
    EXPECT_EQ(rolledBack.changes.at(0).type, 10);
    EXPECT_EQ(rolledBack.changes.at(0).before, "0200000000000000");
    EXPECT_THAT(backend.Batches(), ElementsAre(u"BEGIN TRANSACTION", u"COMMIT TRANSACTION",
                                               u"SET TRANSACTION ISOLATION LEVEL SERIALIZABLE "
                                               u"BEGIN TRANSACTION [t]",
                                               u"SAVE TRANSACTION [s]", u"ROLLBACK TRANSACTION"));

    const ClientResponse distributed = client.Transaction("\0\0\0\0"s);
    EXPECT_EQ(distributed.messages.at(0).number, 8501);
}

TEST(ResetTest, StartsANewSessionBeforeTheBatch) {
    FakeBackend backend;
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    client.Query(u"BEGIN TRANSACTION");
    client.SendBatch(u"SET NOCOUNT ON", 0x09);
    const ClientResponse response = client.Receive();
    EXPECT_EQ(response.changes.at(0).type, 18);
    EXPECT_EQ(backend.Logins().size(), 2U);
    EXPECT_EQ(backend.Sessions(), 1);
}

}  // namespace
}  // namespace sandbox::wire
