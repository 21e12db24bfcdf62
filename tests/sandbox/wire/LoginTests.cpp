// Pre-login, login and what the server says about itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

using ::testing::Each;
using ::testing::Le;

class LoginTest : public ::testing::Test {
  protected:
    LoginTest() { server_.Serve(backend_); }

    FakeBackend backend_;
    WireServer server_;
};

TEST_F(LoginTest, PreloginOffersNoEncryptionAndNoMultipleResults) {
    TdsClient client(server_.Port());
    EXPECT_EQ(client.Prelogin(),
              "00001A0006"
              "0100200001"
              "0200210001"
              "0300220000"
              "0400220001"
              "FF"
              "0B001B590000"
              "02"
              "00"
              "00");
}

TEST_F(LoginTest, LoginReachesTheBackend) {
    TdsClient client(server_.Port());
    client.Prelogin();
    ClientLogin login;
    login.user = u"sa";
    login.password = u"sandbox";
    login.database = u"world";
    login.host = u"workstation";
    login.application = u"app \u00e4\u20ac";
    const ClientResponse response = client.Login(login);

    ASSERT_EQ(response.dones.size(), 1U);
    EXPECT_EQ(response.dones[0].status, 0);
    ASSERT_EQ(backend_.Logins().size(), 1U);
    const LoginRequest request = backend_.Logins()[0];
    EXPECT_EQ(request.user, u"sa");
    EXPECT_EQ(request.password, u"sandbox");
    EXPECT_EQ(request.database, u"world");
    EXPECT_EQ(request.host, u"workstation");
    EXPECT_EQ(request.application, u"app \u00e4\u20ac");
    EXPECT_FALSE(request.integrated);
}

TEST_F(LoginTest, WithoutPreloginToo) {
    TdsClient client(server_.Port());
    EXPECT_FALSE(client.Login().acknowledged.empty());
}

TEST_F(LoginTest, TellsDatabaseLanguageCollationAndPacketSize) {
    TdsClient client(server_.Port());
    const ClientResponse response = client.Login();

    ASSERT_EQ(response.changes.size(), 4U);
    EXPECT_EQ(response.changes[0].type, 1);
    EXPECT_EQ(response.changes[0].now, Hex(Utf16Bytes(u"master")));
    EXPECT_EQ(response.changes[1].type, 7);
    EXPECT_EQ(response.changes[1].now, "0904D00034");
    EXPECT_EQ(response.changes[2].type, 2);
    EXPECT_EQ(response.changes[2].now, Hex(Utf16Bytes(u"us_english")));
    EXPECT_EQ(response.changes[3].type, 4);
    EXPECT_EQ(response.changes[3].now, Hex(Utf16Bytes(u"4096")));
    ASSERT_EQ(response.messages.size(), 2U);
    EXPECT_EQ(response.messages[0].number, 5701);
    EXPECT_EQ(response.messages[0].text, u"Changed database context to 'master'.");
    EXPECT_EQ(response.messages[0].server, u"FAKE");
    EXPECT_FALSE(response.messages[0].error);
    EXPECT_EQ(response.messages[1].number, 5703);
}

struct VersionCase {
    std::string product;
    std::uint32_t asked;
    std::string version;  // acknowledged
    std::string program;  // acknowledged
};

class VersionTest : public ::testing::TestWithParam<VersionCase> {};

TEST_P(VersionTest, TheOlderOfBothSidesIsSpoken) {
    FakeBackend backend(GetParam().product);
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    ClientLogin login;
    login.version = GetParam().asked;
    EXPECT_EQ(client.Login(login).acknowledged, "01" + GetParam().version + "14" +
                                                    Hex(Utf16Bytes(u"Microsoft SQL Server")) +
                                                    GetParam().program);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, VersionTest,
    ::testing::Values(VersionCase{"11.0.7001", 0x70000000, "71000001", "0B001B59"},
                      VersionCase{"11.0.7001", 0x71000000, "71000001", "0B001B59"},
                      VersionCase{"11.0.7001", 0x71000001, "71000001", "0B001B59"},
                      VersionCase{"11.0.7001", 0x72090002, "72090002", "0B001B59"},
                      VersionCase{"11.0.7001", 0x730A0003, "730A0003", "0B001B59"},
                      VersionCase{"11.0.7001", 0x730B0003, "730B0003", "0B001B59"},
                      VersionCase{"11.0.7001", 0x74000004, "74000004", "0B001B59"},
                      VersionCase{"10.50.6000", 0x74000004, "730B0003", "0A321770"},
                      VersionCase{"9.00.5000", 0x74000004, "72090002", "09001388"},
                      VersionCase{"8.00.2039", 0x74000004, "71000001", "080007F7"},
                      VersionCase{"8.00.2039", 0x71000001, "71000001", "080007F7"}));

TEST_F(LoginTest, RefusedLoginIsAnErrorAndTheEnd) {
    TdsClient client(server_.Port());
    ClientLogin login;
    login.password = u"wrong";
    const ClientResponse response = client.Login(login);

    ASSERT_EQ(response.messages.size(), 1U);
    EXPECT_TRUE(response.messages[0].error);
    EXPECT_EQ(response.messages[0].number, 18456);
    EXPECT_EQ(response.messages[0].severity, 14);
    EXPECT_EQ(response.messages[0].state, 1);
    EXPECT_EQ(response.messages[0].text, u"Login failed for user 'sa'.");
    EXPECT_EQ(response.acknowledged, "");
    ASSERT_EQ(response.dones.size(), 1U);
    EXPECT_EQ(response.dones[0].status, 0x02);
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(LoginTest, UnknownDatabaseIsTwoErrors) {
    TdsClient client(server_.Port());
    ClientLogin login;
    login.database = u"missing";
    const ClientResponse response = client.Login(login);

    ASSERT_EQ(response.messages.size(), 2U);
    EXPECT_EQ(response.messages[0].number, 4060);
    EXPECT_EQ(response.messages[0].severity, 11);
    EXPECT_EQ(response.messages[0].text,
              u"Cannot open database \"missing\" requested by the login. The login failed.");
    EXPECT_EQ(response.messages[1].number, 18456);
    EXPECT_EQ(response.messages[1].severity, 14);
    EXPECT_EQ(response.messages[1].text, u"Login failed for user 'sa'.");
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(LoginTest, AnEmptyUserAsksForIntegratedSecurity) {
    TdsClient client(server_.Port());
    ClientLogin login;
    login.user = u"";
    login.password = u"";
    EXPECT_FALSE(client.Login(login).acknowledged.empty());
    EXPECT_TRUE(backend_.Logins().at(0).integrated);
}

TEST_F(LoginTest, NtlmIsChallengedAndTellsTheUser) {
    using namespace std::string_literals;
    TdsClient client(server_.Port());
    ClientLogin login;
    login.user = u"";
    login.integrated = true;
    login.sspi = "NTLMSSP\0\x01\0\0\0\x05\x82\0\0"s + std::string(16, '\0');
    const ClientResponse challenge = client.Login(login);
    EXPECT_EQ(challenge.sspi.substr(0, 24),
              "4E544C4D535350000200"
              "0000");
    EXPECT_TRUE(challenge.dones.empty());

    // Two empty responses, then domain "DOM" and user "joe" behind the header of 64 bytes.
    const std::string authenticate = "NTLMSSP\0\x03\0\0\0"s + std::string(16, '\0') +
                                     "\x06\0\x06\0\x40\0\0\0"s + "\x06\0\x06\0\x46\0\0\0"s +
                                     std::string(20, '\0') + Utf16Bytes(u"DOMjoe");
    client.SendMessage(0x11, authenticate);
    EXPECT_FALSE(client.Receive().acknowledged.empty());
    EXPECT_EQ(backend_.Logins().at(0).user, u"DOM\\joe");
    EXPECT_TRUE(backend_.Logins().at(0).integrated);
}

struct PacketSizeCase {
    std::uint32_t asked;
    std::u16string given;
    std::size_t largest;
};

class PacketSizeTest : public ::testing::TestWithParam<PacketSizeCase> {};

TEST_P(PacketSizeTest, IsNegotiatedAndKept) {
    FakeBackend backend;
    const std::u16string text(4000, u'x');
    backend.On(u"long", [&](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"a", {TypeId::NVarChar, 4000})});
        for (int n = 0; n < 20; ++n) {
            const Cell cell = Text(text);
            sink.Row(&cell);
        }
        sink.StatementDone(20, true, false);
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    ClientLogin login;
    login.packetSize = GetParam().asked;
    EXPECT_EQ(client.Login(login).changes.at(3).now, Hex(Utf16Bytes(GetParam().given)));

    const ClientResponse response = client.Query(u"long");
    ASSERT_EQ(response.sets.size(), 1U);
    EXPECT_EQ(response.sets[0].rows.size(), 20U);
    for (const auto& row : response.sets[0].rows)
        EXPECT_EQ(row.at(0), Hex(Utf16Bytes(text)));
    EXPECT_THAT(response.packetSizes, Each(Le(GetParam().largest)));
    EXPECT_EQ(response.packetSizes.front(), GetParam().largest);
}

INSTANTIATE_TEST_SUITE_P(Sizes, PacketSizeTest,
                         ::testing::Values(PacketSizeCase{0, u"4096", 4096},
                                           PacketSizeCase{1, u"512", 512},
                                           PacketSizeCase{512, u"512", 512},
                                           PacketSizeCase{8192, u"8192", 8192},
                                           PacketSizeCase{32767, u"32767", 32767},
                                           PacketSizeCase{4000000, u"32767", 32767}));

}  // namespace
}  // namespace sandbox::wire
