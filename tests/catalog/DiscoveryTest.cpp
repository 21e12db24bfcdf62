#include "catalog/Discovery.h"

#include <gtest/gtest.h>

#include <chrono>

#include "catalog/ServerBrowser.h"
#include "tests/support/SandboxTest.h"
#include "tests/support/SilentServer.h"

namespace QuillonLib {
namespace {

using Texts = std::vector<std::u16string>;

// Nothing here leaves this machine.
BrowserSettings Loopback(std::uint16_t port) {
    BrowserSettings settings;
    settings.addresses = {{"127.0.0.1", port, true}, {"127.0.0.1", port, false}};
    settings.patience = std::chrono::milliseconds(300);
    return settings;
}

class DiscoveryTest : public SandboxTest {};

TEST_F(DiscoveryTest, ServersAreListedOnceByName) {
    sandbox::ServerSettings instance;
    instance.name = u"HOST\\SALES";
    box.AddServer(instance);
    const auto servers = ListAvailableServers(Loopback(box.ServeResolution()));
    ASSERT_TRUE(servers.has_value());
    EXPECT_EQ(*servers, TextArray(Texts{u"HOST\\SALES", u"SANDBOX"}, 1));
    EXPECT_EQ(servers->UpperBound(), 2);
}

TEST_F(DiscoveryTest, NoAnswerIsNoArray) {
    EXPECT_EQ(ListAvailableServers(Loopback(1)), std::nullopt);
}

TEST_F(DiscoveryTest, ANetworkThatCannotBeAskedIsAnErrorWhereNobodyAnswers) {
    const BrowserAddress notAnAddress{"not an address", 1434, true};
    BrowserSettings settings = Loopback(1);
    settings.addresses = {notAnAddress};
    const Raised alone = RaisedBy([&] { ListAvailableServers(settings); });
    EXPECT_EQ(alone.number, static_cast<std::int32_t>(0x80004005));
    EXPECT_EQ(alone.description, u"Cannot ask the network for servers: Invalid argument");

    settings.addresses = {notAnAddress, {"127.0.0.1", 1, false}};
    EXPECT_EQ(RaisedBy([&] { ListAvailableServers(settings); }).description, alone.description);

    settings.addresses = {notAnAddress, {"127.0.0.1", box.ServeResolution(), false}};
    const auto servers = ListAvailableServers(settings);
    ASSERT_TRUE(servers.has_value());
    EXPECT_EQ(*servers, TextArray(Texts{u"SANDBOX"}, 1));
}

TEST_F(DiscoveryTest, TheDefaultAsksTheNetworkAndThisMachine) {
    const BrowserSettings settings;
    ASSERT_EQ(settings.addresses.size(), 2U);
    EXPECT_EQ(settings.addresses[0].host, "255.255.255.255");
    EXPECT_TRUE(settings.addresses[0].broadcast);
    EXPECT_EQ(settings.addresses[1].host, "127.0.0.1");
    EXPECT_EQ(settings.addresses[1].port, 1434);
}

TEST(Browser, ReadsTheNamesInAnAnswer) {
    EXPECT_EQ(ParseBrowserAnswer("ServerName;A;InstanceName;MSSQLSERVER;IsClustered;No;Version;8.0;"
                                 "tcp;1433;;ServerName;A;InstanceName;X;IsClustered;No;;"),
              (Texts{u"A", u"A\\X"}));
    EXPECT_EQ(ParseBrowserAnswer(""), Texts{});
    EXPECT_EQ(ParseBrowserAnswer(";;;;nonsense"), Texts{});
    EXPECT_EQ(ParseBrowserAnswer("ServerName;A"), Texts{u"A"});
    EXPECT_EQ(ParseBrowserAnswer("InstanceName;X;;"), Texts{});
}

TEST(Discovery, AnEmptyEntryIsPassedOverAndLeavesNoGap) {
    EXPECT_EQ(NonEmptyNames({u"a", u"", u"b", u""}), (Texts{u"a", u"b"}));
    EXPECT_EQ(NonEmptyNames({}), Texts{});
}

TEST(Discovery, NamesStandFromOne) {
    for (const std::size_t count : {1U, 10U, 11U, 25U}) {
        const auto array = ToNameArray(Texts(count, u"name"));
        ASSERT_TRUE(array.has_value());
        EXPECT_EQ(array->LowerBound, 1);
        EXPECT_EQ(array->UpperBound(), static_cast<std::int32_t>(count));
    }
    EXPECT_EQ(ToNameArray({}), std::nullopt);
    EXPECT_EQ(RaisedBy([] { (void)ToNameArray(Texts(32768)); }).number, 6);
}

TEST_F(DiscoveryTest, DatabasesAreListedInNameOrder) {
    server.Run(u"CREATE DATABASE zulu\nGO\nCREATE DATABASE alpha");
    Utils utils;
    const auto databases = utils.AvailableDatabases(server.Address(), u"sa", u"sandbox");
    ASSERT_TRUE(databases.has_value());
    EXPECT_EQ(databases->LowerBound, 1);
    EXPECT_EQ(databases->Items.front(), u"alpha");
    EXPECT_EQ(databases->Items.back(), u"zulu");
    EXPECT_EQ(utils.LastError(), u"");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(DiscoveryTest, AFailingQueryIsTheLastErrorAndLeavesNoConnection) {
    server.AddFault(ErrorIn(u"databases"));
    Utils utils;
    const Raised raised =
        RaisedBy([&] { utils.AvailableDatabases(server.Address(), u"sa", u"sandbox"); });
    EXPECT_EQ(raised.description, u"[FreeTDS][SQL Server]made to fail");
    EXPECT_EQ(utils.LastError(), raised.description);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(DiscoveryTest, ARefusedLoginIsTheLastError) {
    Utils utils;
    const Raised raised =
        RaisedBy([&] { utils.AvailableDatabases(server.Address(), u"sa", u"wrong"); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(utils.LastError(), raised.description);
    utils.AvailableDatabases(server.Address(), u"sa", u"sandbox");
    EXPECT_EQ(utils.LastError(), u"");
}

TEST_F(DiscoveryTest, AServerThatCannotBeReachedIsTheLastError) {
    Utils utils;
    const Raised raised = RaisedBy([&] { utils.AvailableDatabases(u"127.0.0.1,1", u"sa", u"x"); });
    EXPECT_NE(raised.number, 0);
    EXPECT_EQ(utils.LastError(), raised.description);
}

TEST(Discovery, WithoutAUserTheLoginIsAnIntegratedOne) {
    const LoginData integrated = DiscoveryLogin(u"host", u"", u"secret");
    EXPECT_EQ(integrated.Server, u"host");
    EXPECT_TRUE(integrated.NTSecurity);
    EXPECT_EQ(integrated.Username, u"");
    EXPECT_EQ(integrated.Password, u"");

    const LoginData named = DiscoveryLogin(u"host", u"sa", u"secret");
    EXPECT_FALSE(named.NTSecurity);
    EXPECT_EQ(named.Username, u"sa");
    EXPECT_EQ(named.Password, u"secret");
}

// The driver cannot do an integrated login here without a ticket; it must not do another one.
TEST_F(DiscoveryTest, WithoutAUserNobodyLogsInByName) {
    Utils utils;
    const Raised raised =
        RaisedBy([&] { utils.AvailableDatabases(server.Address(), u"", u"secret"); });
    EXPECT_EQ(utils.LastError(), raised.description);
    for (const auto& entry : server.Log())
        EXPECT_EQ(entry.user, u"");
}

TEST(Discovery, ALoginIsGivenTwentySeconds) {
    const test::SilentServer server;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_NE(RaisedBy([&] { ListAvailableDatabases(server.Address(), u"sa", u"x"); }).number, 0);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::seconds(19));
    EXPECT_LE(waited, std::chrono::seconds(24));
}

}  // namespace
}  // namespace QuillonLib
