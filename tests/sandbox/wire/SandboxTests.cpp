// The sandbox as a whole, through its facade: the engine behind the wire.
#include "sandbox/Sandbox.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Driver.h"
#include "TdsClient.h"

namespace sandbox {
namespace {

using ::testing::HasSubstr;
using wire::ClientLogin;
using wire::ClientResponse;
using wire::Driver;
using wire::Hex;
using wire::TdsClient;

class SandboxTest : public ::testing::Test {
  protected:
    SandboxTest() : server_(box_.AddServer()) {
        server_.Run(
            u"CREATE DATABASE world\nGO\nUSE world\nGO\n"
            u"CREATE TABLE t (id int NOT NULL PRIMARY KEY, name nvarchar(20) NULL)\n"
            u"INSERT INTO t (id, name) VALUES (1, N'one')\n");
    }

    static ClientLogin ToWorld() {
        ClientLogin login;
        login.database = u"world";
        return login;
    }

    std::string ConnectionString(const std::string& rest) const {
        return "driver={SQL Server};server=127.0.0.1," + std::to_string(server_.Port()) + ";" +
               rest;
    }

    Sandbox box_;
    Server& server_;
};

TEST_F(SandboxTest, RunsScriptsInProcess) {
    EXPECT_EQ(server_.Scalar(u"SELECT COUNT(*) FROM world.dbo.t"), u"1");
    EXPECT_EQ(server_.Scalar(u"SELECT name FROM world.dbo.t"), u"one");
    EXPECT_EQ(server_.Scalar(u"SELECT name FROM world.dbo.t WHERE id = 9"), u"");
    try {
        server_.Run(u"SELECT 1\nGO\nSELECT * FROM nowhere");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "Msg 208, Level 16, State 1, Line 1: Invalid object name 'nowhere'.\n"
                     "SELECT * FROM nowhere");
    }
}

TEST_F(SandboxTest, ServesClientsAtItsAddress) {
    EXPECT_EQ(server_.Name(), u"SANDBOX");
    const std::string port = std::to_string(server_.Port());
    EXPECT_EQ(server_.Address(), u"127.0.0.1," + std::u16string(port.begin(), port.end()));

    TdsClient client(server_.Port());
    client.Login(ToWorld());
    const ClientResponse response = client.Query(u"SELECT name FROM t UPDATE t SET name = NULL");
    EXPECT_EQ(response.sets.at(0).rows.at(0).at(0), Hex(wire::Utf16Bytes(u"one")));
    ASSERT_EQ(response.dones.size(), 2U);
    EXPECT_EQ(response.dones[0].status, 0x11);
    EXPECT_EQ(response.dones[0].count, 1);
    EXPECT_EQ(response.dones[1].status, 0x10);
    EXPECT_EQ(response.dones[1].count, 1);
}

TEST_F(SandboxTest, LogsClientsButNotItself) {
    EXPECT_TRUE(server_.Log().empty());
    TdsClient client(server_.Port());
    client.Login(ToWorld());
    client.Query(u"USE master");
    client.Query(u"SELECT 1");
    server_.Scalar(u"SELECT 2");

    const std::vector<LogEntry> log = server_.Log();
    ASSERT_EQ(log.size(), 3U);
    EXPECT_EQ(log[0].user, u"sa");
    EXPECT_EQ(log[0].database, u"world");
    EXPECT_EQ(log[1].batch, u"USE master");
    EXPECT_EQ(log[1].database, u"world");
    EXPECT_EQ(log[2].batch, u"SELECT 1");
    EXPECT_EQ(log[2].database, u"master");
}

TEST_F(SandboxTest, FaultsStrikeClientsOnly) {
    server_.AddFault({.contains = u"SELECT",
                      .message = {.number = 1205, .severity = 13, .text = u"Deadlock victim."}});
    EXPECT_EQ(server_.Scalar(u"SELECT 2"), u"2");

    TdsClient client(server_.Port());
    client.Login(ToWorld());
    EXPECT_EQ(client.Query(u"SELECT 1").messages.at(0).number, 1205);
    EXPECT_TRUE(client.Query(u"SELECT 1").messages.empty());
}

TEST_F(SandboxTest, RefusesWhomItDoesNotKnow) {
    TdsClient stranger(server_.Port());
    ClientLogin login;
    login.password = u"wrong";
    EXPECT_EQ(stranger.Login(login).messages.at(0).number, 18456);

    TdsClient lost(server_.Port());
    login.password = u"sandbox";
    login.database = u"nowhere";
    EXPECT_EQ(lost.Login(login).messages.at(0).number, 4060);
}

TEST_F(SandboxTest, IntegratedSecurityIsAChoice) {
    ServerSettings strict;
    strict.name = u"STRICT";
    strict.integratedLogin = false;
    Server& refusing = box_.AddServer(strict);
    ClientLogin login;
    login.user = u"";
    login.password = u"";
    login.integrated = true;

    TdsClient welcome(server_.Port());
    EXPECT_FALSE(welcome.Login(login).acknowledged.empty());
    TdsClient refused(refusing.Port());
    EXPECT_EQ(refused.Login(login).messages.at(0).number, 18456);
}

TEST_F(SandboxTest, KillRollsBackAndRestartKeepsTheData) {
    TdsClient client(server_.Port());
    client.Login(ToWorld());
    client.Query(u"INSERT INTO t (id) VALUES (2)");
    client.Query(u"BEGIN TRANSACTION INSERT INTO t (id) VALUES (3)");

    server_.Kill();
    EXPECT_TRUE(client.IsClosed());
    EXPECT_EQ(server_.OpenConnections(), 0);
    EXPECT_THROW(TdsClient{server_.Port()}, std::runtime_error);
    EXPECT_EQ(server_.Scalar(u"SELECT COUNT(*) FROM world.dbo.t"), u"2");

    server_.Restart();
    TdsClient again(server_.Port());
    again.Login(ToWorld());
    EXPECT_EQ(again.Query(u"SELECT id FROM t").sets.at(0).rows.size(), 2U);
}

TEST_F(SandboxTest, AttentionStopsAQueryOfTheEngine) {
    server_.Run(
        u"USE world\nGO\nCREATE TABLE big (id int)\nINSERT INTO big VALUES (1)\nGO\n"
        u"USE world\nINSERT INTO big SELECT id FROM big\nGO 10");
    TdsClient client(server_.Port());
    client.Login(ToWorld());
    // A million million rows: longer than any client waits.
    client.SendBatch(u"SELECT COUNT(*) FROM big a, big b, big c, big d");
    client.SendAttention();
    EXPECT_EQ(client.Receive().dones.back().status, 0x20);
    EXPECT_EQ(client.Query(u"SELECT 1").sets.at(0).rows.size(), 1U);
}

TEST_F(SandboxTest, TellsItsServersByTheResolutionProtocol) {
    ServerSettings second;
    second.name = u"BETA\\SQLEXPRESS";
    second.version = "8.00.2039";
    const std::string port = std::to_string(box_.AddServer(second).Port());
    const std::uint16_t udp = box_.ServeResolution();

    const int handle = ::socket(AF_INET, SOCK_DGRAM, 0);
    const timeval limit{5, 0};
    ::setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(udp);
    ::sendto(handle, "\x03", 1, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    std::array<char, 2000> answer{};
    const ssize_t size = ::recv(handle, answer.data(), answer.size(), 0);
    ::close(handle);
    ASSERT_GT(size, 3);
    EXPECT_EQ(std::string(answer.data() + 3, static_cast<std::size_t>(size) - 3),
              "ServerName;SANDBOX;InstanceName;MSSQLSERVER;IsClustered;No;Version;10.50.6000;tcp;" +
                  std::to_string(server_.Port()) +
                  ";;"
                  "ServerName;BETA;InstanceName;SQLEXPRESS;IsClustered;No;Version;8.00.2039;tcp;" +
                  port + ";;");
}

struct TypedValue {
    std::string type;
    std::string literal;
    std::u16string text;
};

const std::vector<TypedValue>& Values() {
    static const std::vector<TypedValue> values = {
        {"bit", "1", u"1"},
        {"tinyint", "255", u"255"},
        {"smallint", "-32768", u"-32768"},
        {"int", "-2147483648", u"-2147483648"},
        {"bigint", "-9223372036854775808", u"-9223372036854775808"},
        {"decimal(38,10)", "-1.2345678901", u"-1.2345678901"},
        {"decimal(38,0)", "99999999999999999999999999999999999999",
         u"99999999999999999999999999999999999999"},
        {"numeric(5,0)", "7", u"7"},
        {"money", "-922337203685477.5808", u"-922337203685477.5808"},
        {"smallmoney", "1.5", u"1.5000"},
        {"float", "1.5", u"1.5"},
        {"real", "-0.25", u"-0.25"},
        {"datetime", "'20240115 13:45:30.123'", u"2024-01-15 13:45:30.123"},
        {"datetime", "'17530101'", u"1753-01-01 00:00:00.000"},
        {"smalldatetime", "'20240115 13:45'", u"2024-01-15 13:45:00"},
        {"date", "'0001-01-01'", u"1-01-01"},  // how the driver writes early years
        {"date", "'9999-12-31'", u"9999-12-31"},
        {"time(7)", "'13:45:30.1234567'", u"13:45:30.1234567"},
        {"time(0)", "'13:45:30'", u"13:45:30"},
        {"datetime2(7)", "'2024-01-15 13:45:30.1234567'", u"2024-01-15 13:45:30.1234567"},
        {"datetime2(3)", "'2024-01-15 13:45:30.123'", u"2024-01-15 13:45:30.123"},
        {"datetimeoffset(7)", "'2024-01-15 13:45:30.1234567 -09:30'",
         u"2024-01-15 13:45:30.1234567 -09:30"},
        {"char(4)", "N'\u20ac\u00e9'", u"\u20ac\u00e9  "},
        {"varchar(20)", "N'a\u20ac'", u"a\u20ac"},
        {"text", "N'\u20ac'", u"\u20ac"},
        {"nchar(3)", "N'\u6f22'", u"\u6f22  "},
        {"nvarchar(20)", "N'\u6f22\U0001F600'", u"\u6f22\U0001F600"},
        {"ntext", "N'\u6f22'", u"\u6f22"},
        {"varchar(max)", "N'\u20ac'", u"\u20ac"},
        {"nvarchar(max)", "N''", u""},
        {"xml", "N'<a>\u6f22</a>'", u"<a>\u6f22</a>"},
        {"binary(3)", "0x6162", u"616200"},
        {"varbinary(9)", "0xFF", u"ff"},
        {"varbinary(max)", "0x01", u"01"},
        {"image", "0x02", u"02"},
        {"uniqueidentifier", "'33323130-3534-3736-3839-616263646566'",
         u"33323130-3534-3736-3839-616263646566"},
        {"sql_variant", "CAST(N'\u6f22' AS nvarchar(5))", u"\u6f22"},
    };
    return values;
}

// Every type from its literal through the engine, the wire and the real driver.
TEST_F(SandboxTest, DriverReadsEveryTypeFromATable) {
    int number = 0;
    for (const TypedValue& value : Values()) {
        SCOPED_TRACE(value.type + " " + value.literal);
        const std::string table = "types" + std::to_string(++number);
        const std::string script = "USE world\nGO\nCREATE TABLE " + table + " (id int, c " +
                                   value.type + " NULL)\nINSERT INTO " + table + " VALUES (1, " +
                                   value.literal + ")\nINSERT INTO " + table + " VALUES (2, NULL)";
        std::u16string wide;
        for (std::size_t n = 0; n < script.size();) {
            // The literals are UTF-8; what lies beyond ASCII in them has three or four bytes.
            const auto byte = static_cast<unsigned char>(script[n]);
            const std::size_t size = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
            char32_t c = size == 1 ? byte : byte & (0xFF >> (size + 1));
            for (std::size_t k = 1; k < size; ++k) {
                c = c << 6 | (static_cast<unsigned char>(script[n + k]) & 0x3F);
            }
            if (c > 0xFFFF) {
                wide += static_cast<char16_t>(0xD7C0 + (c >> 10));
                wide += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
            } else {
                wide += static_cast<char16_t>(c);
            }
            n += size;
        }
        ASSERT_NO_THROW(server_.Run(wide));

        Driver driver(ConnectionString("database=world;uid=sa;pwd=sandbox"));
        ASSERT_TRUE(driver.Connected()) << driver.Errors();
        ASSERT_EQ(driver.Execute("SELECT c FROM " + table + " ORDER BY id"), SQL_SUCCESS)
            << driver.Errors();
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.Field(1), value.text);
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.Field(1), u"NULL");
        EXPECT_EQ(driver.Fetch(), SQL_NO_DATA);
    }
}

TEST_F(SandboxTest, DriverRunsStatementsWithParameters) {
    Driver driver(ConnectionString("database=world;uid=sa;pwd=sandbox"));
    ASSERT_TRUE(driver.Connected()) << driver.Errors();
    SQLINTEGER id = 1;
    SQLLEN size = sizeof id;
    SQLBindParameter(driver.Statement(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0,
                     &size);
    ASSERT_EQ(driver.Execute("SELECT name FROM t WHERE id = ?"), SQL_SUCCESS) << driver.Errors();
    ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
    EXPECT_EQ(driver.Field(1), u"one");
}

TEST_F(SandboxTest, ManyRowsArriveWhole) {
    server_.Run(
        u"USE world\nGO\nCREATE TABLE big (id int)\nINSERT INTO big VALUES (1)\nGO\n"
        u"DECLARE @n int SET @n = 1 WHILE @n < 200000 BEGIN "
        u"INSERT INTO big SELECT id + @n FROM big SET @n = @n * 2 END");
    const std::u16string count = server_.Scalar(u"SELECT COUNT(*) FROM world.dbo.big");
    EXPECT_EQ(count, u"262144");

    TdsClient client(server_.Port());
    client.Login(ToWorld());
    const ClientResponse response = client.Query(u"SELECT id FROM big");
    EXPECT_EQ(response.sets.at(0).rows.size(), 262144U);
    EXPECT_EQ(response.dones.at(0).count, 262144);
}

}  // namespace
}  // namespace sandbox
