// The real ODBC driver and the command-line clients that come with it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "Days.h"
#include "Driver.h"
#include "FakeBackend.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Types by name, with the value that is sent and what the driver makes of it.
struct Sample {
    std::u16string name;
    SqlType type;
    Cell cell;
    SQLSMALLINT odbcType;
    std::u16string text;
};

std::vector<Sample> Samples() {
    static const std::string guid = "0123456789abcdef";
    return {
        {u"bit", {TypeId::Bit}, Integer(1), SQL_BIT, u"1"},
        {u"tinyint", {TypeId::TinyInt}, Integer(255), SQL_TINYINT, u"255"},
        {u"smallint", {TypeId::SmallInt}, Integer(-32768), SQL_SMALLINT, u"-32768"},
        {u"int", {TypeId::Int}, Integer(-2147483648LL), SQL_INTEGER, u"-2147483648"},
        {u"bigint", {TypeId::BigInt}, Integer(INT64_MIN), SQL_BIGINT, u"-9223372036854775808"},
        {u"decimal",
         {TypeId::Decimal, 0, 38, 10},
         Big(-12345678901LL),
         SQL_NUMERIC,
         u"-1.2345678901"},
        {u"numeric", {TypeId::Numeric, 0, 5, 0}, Big(7), SQL_NUMERIC, u"7"},
        {u"money", {TypeId::Money}, Integer(-15000), SQL_DECIMAL, u"-1.5000"},
        {u"smallmoney", {TypeId::SmallMoney}, Integer(15000), SQL_DECIMAL, u"1.5000"},
        {u"float", {TypeId::Float}, Number(1.5), SQL_DOUBLE, u"1.5"},
        {u"real", {TypeId::Real}, Number(-0.25), SQL_REAL, u"-0.25"},
        {u"datetime",
         {TypeId::DateTime},
         Integer(45304LL * 25'920'000 + 14'859'037),
         SQL_TYPE_TIMESTAMP,
         u"2024-01-15 13:45:30.123"},
        {u"smalldatetime",
         {TypeId::SmallDateTime},
         Integer(45304 * 1440 + 825),
         SQL_TYPE_TIMESTAMP,
         u"2024-01-15 13:45:00"},
        {u"date", {TypeId::Date}, Integer(kJanuary), SQL_TYPE_DATE, u"2024-01-15"},
        {u"time", {TypeId::Time, 0, 0, 7}, Integer(495'301'234'567), -154, u"13:45:30.1234567"},
        {u"datetime2",
         {TypeId::DateTime2, 0, 0, 7},
         Integer(kJanuary * kDay + 495'301'234'567),
         SQL_TYPE_TIMESTAMP,
         u"2024-01-15 13:45:30.1234567"},
        {u"datetimeoffset",
         {TypeId::DateTimeOffset, 0, 0, 7},
         WithOffset(Integer(kJanuary * kDay + 423'301'234'567), 120),
         -155,
         u"2024-01-15 13:45:30.1234567 +02:00"},
        {u"char", {TypeId::Char, 4}, Text(u"\u20ac\u00e9  "), SQL_CHAR, u"\u20ac\u00e9  "},
        {u"varchar", {TypeId::VarChar, 20}, Text(u"a\u6f22b"), SQL_VARCHAR, u"a?b"},
        {u"text", {TypeId::Text}, Text(u"\u20ac"), SQL_LONGVARCHAR, u"\u20ac"},
        {u"nchar", {TypeId::NChar, 2}, Text(u"\u6f22 "), SQL_WCHAR, u"\u6f22 "},
        {u"nvarchar",
         {TypeId::NVarChar, 20},
         Text(u"\u6f22\U0001F600"),
         SQL_WVARCHAR,
         u"\u6f22\U0001F600"},
        {u"ntext", {TypeId::NText}, Text(u"\u6f22"), SQL_WLONGVARCHAR, u"\u6f22"},
        {u"varcharmax", {TypeId::VarChar, -1}, Text(u"\u20ac"), SQL_VARCHAR, u"\u20ac"},
        {u"nvarcharmax", {TypeId::NVarChar, -1}, Text(u"\u6f22"), SQL_WVARCHAR, u"\u6f22"},
        {u"xml", {TypeId::Xml}, Text(u"<a>\u6f22</a>"), -152, u"<a>\u6f22</a>"},
        {u"binary", {TypeId::Binary, 2}, Binary("ab"), SQL_BINARY, u"6162"},
        {u"varbinary", {TypeId::VarBinary, 9}, Binary("\xFF"), SQL_VARBINARY, u"ff"},
        {u"varbinarymax", {TypeId::VarBinary, -1}, Binary("\x01"), SQL_VARBINARY, u"01"},
        {u"image", {TypeId::Image}, Binary("\x02"), SQL_LONGVARBINARY, u"02"},
        {u"timestamp", {TypeId::Timestamp}, Binary("12345678"), SQL_BINARY, u"3132333435363738"},
        {u"uniqueidentifier",
         {TypeId::UniqueIdentifier},
         Binary(guid),
         SQL_GUID,
         u"33323130-3534-3736-3839-616263646566"},
        {u"variant", {TypeId::SqlVariant}, As(Integer(5), {TypeId::Int}), -150, u"5"},
        {u"variantname",
         {TypeId::SqlVariant},
         As(Text(u"\u6f22"), {TypeId::NVarChar, 5}),
         -150,
         u"\u6f22"},
    };
}

class DriverTest : public ::testing::Test {
  protected:
    DriverTest() {
        for (const Sample& sample : Samples()) {
            backend_.On(u"select " + sample.name, [sample](ResultSink& sink, const auto&) {
                sink.Columns({Column(sample.name, sample.type)});
                sink.Row(&sample.cell);
                const Cell null;
                sink.Row(&null);
                sink.StatementDone(2, true, false);
            });
        }
        backend_.On(u"numbers", [](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"n", {TypeId::Int})});
            for (int n = 0; n < 1000; ++n) {
                const Cell cell = Integer(n);
                if (!sink.Row(&cell)) return;
            }
            sink.StatementDone(1000, true, false);
        });
        server_.Serve(backend_);
    }

    std::string ConnectionString(const std::string& rest = "uid=sa;pwd=sandbox") const {
        return "driver={SQL Server};server=127.0.0.1," + std::to_string(server_.Port()) +
               ";database=;" + rest;
    }

    FakeBackend backend_;
    WireServer server_;
};

std::string Narrow(std::u16string_view text) {
    return {text.begin(), text.end()};
}

TEST_F(DriverTest, ReadsEveryType) {
    Driver driver(ConnectionString());
    ASSERT_TRUE(driver.Connected()) << driver.Errors();
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(Narrow(sample.name));
        ASSERT_EQ(driver.Execute("select " + Narrow(sample.name)), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.TypeOf(1), sample.odbcType);
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.Field(1), sample.text);
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.Field(1), u"NULL");
        EXPECT_EQ(driver.Fetch(), SQL_NO_DATA);
        EXPECT_EQ(driver.More(), SQL_NO_DATA);
        SQLCloseCursor(driver.Statement());
    }
}

TEST_F(DriverTest, ReadsLongValuesWhole) {
    const std::u16string text(300'000, u'\u20ac');
    for (const SqlType type : {SqlType{TypeId::VarChar, -1}, SqlType{TypeId::NVarChar, -1},
                               SqlType{TypeId::Text}, SqlType{TypeId::NText}}) {
        backend_.On(u"long", [&](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"c", type)});
            const Cell cell = Text(text);
            sink.Row(&cell);
            sink.StatementDone(1, true, false);
        });
        Driver driver(ConnectionString());
        ASSERT_EQ(driver.Execute("long"), SQL_SUCCESS) << driver.Errors();
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS);
        EXPECT_TRUE(driver.Field(1) == text);
    }
}

TEST_F(DriverTest, IsToldWhyALoginFails) {
    Driver wrong(ConnectionString("uid=sa;pwd=wrong"));
    EXPECT_FALSE(wrong.Connected());
    EXPECT_THAT(wrong.Errors(), HasSubstr("18456"));
    EXPECT_THAT(wrong.Errors(), HasSubstr("Login failed for user 'sa'."));

    Driver missing("driver={SQL Server};server=127.0.0.1," + std::to_string(server_.Port()) +
                   ";database=missing;uid=sa;pwd=sandbox");
    EXPECT_FALSE(missing.Connected());
    EXPECT_THAT(missing.Errors(), HasSubstr("4060"));
}

TEST_F(DriverTest, LogsInWithADomainUser) {
    Driver driver(ConnectionString("uid=DOM\\joe;pwd=any"));
    ASSERT_TRUE(driver.Connected()) << driver.Errors();
    EXPECT_TRUE(backend_.Logins().at(0).integrated);
    EXPECT_EQ(backend_.Logins().at(0).user, u"DOM\\joe");
}

TEST_F(DriverTest, GetsErrorsWithTheirNumber) {
    Driver driver(ConnectionString());
    EXPECT_EQ(driver.Execute("nonsense"), SQL_ERROR);
    EXPECT_THAT(driver.Errors(), HasSubstr("42000 102 "));
    EXPECT_THAT(driver.Errors(), HasSubstr("Incorrect syntax near 'nonsense'."));
}

TEST_F(DriverTest, WalksThroughTheResultsOfABatch) {
    backend_.On(u"several", [](ResultSink& sink, const auto&) {
        sink.StatementDone(3, false, false);
        sink.Columns({Column(u"a", {TypeId::Int})});
        const Cell cell = Integer(1);
        sink.Row(&cell);
        sink.StatementDone(1, true, false);
        sink.Say(Error(547, u"The INSERT statement conflicted."));
        sink.StatementDone(std::nullopt, false, true);
        sink.StatementDone(5, false, false);
    });
    Driver driver(ConnectionString());
    SQLLEN count = 0;
    ASSERT_EQ(driver.Execute("several"), SQL_SUCCESS) << driver.Errors();
    SQLRowCount(driver.Statement(), &count);
    EXPECT_EQ(count, 3);
    ASSERT_EQ(driver.More(), SQL_SUCCESS);
    ASSERT_EQ(driver.Fetch(), SQL_SUCCESS);
    EXPECT_EQ(driver.Field(1), u"1");
    EXPECT_EQ(driver.Fetch(), SQL_NO_DATA);
    EXPECT_EQ(driver.More(), SQL_ERROR);
    EXPECT_THAT(driver.Errors(), HasSubstr(" 547 "));
    EXPECT_EQ(driver.More(), SQL_SUCCESS);
    SQLRowCount(driver.Statement(), &count);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(driver.More(), SQL_NO_DATA);
}

TEST_F(DriverTest, FollowsTheCurrentDatabase) {
    backend_.On(u"USE world", [](ResultSink& sink, const auto&) {
        sink.DatabaseChanged(u"master", u"world");
        sink.StatementDone(std::nullopt, false, false);
    });
    Driver driver(ConnectionString());
    EXPECT_EQ(driver.Execute("USE world"), SQL_SUCCESS_WITH_INFO);
    EXPECT_THAT(driver.Errors(), HasSubstr("Changed database context to 'world'."));
    EXPECT_EQ(driver.CurrentDatabase(), "world");
}

TEST_F(DriverTest, ErrorAfterRowsReachesTheFetch) {
    server_.AddFault({.kind = FaultKind::ErrorAfterRows,
                      .message = Error(1205, u"Transaction was deadlocked."),
                      .rows = 10});
    Driver driver(ConnectionString());
    ASSERT_EQ(driver.Execute("numbers"), SQL_SUCCESS);
    for (int n = 0; n < 10; ++n)
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS);
    EXPECT_EQ(driver.Fetch(), SQL_ERROR);
    EXPECT_THAT(driver.Errors(), HasSubstr(" 1205 "));
}

TEST_F(DriverTest, ADroppedConnectionReachesTheFetch) {
    server_.AddFault({.kind = FaultKind::DropAfterRows, .rows = 10});
    Driver driver(ConnectionString());
    ASSERT_EQ(driver.Execute("numbers"), SQL_SUCCESS);
    SQLRETURN result = SQL_SUCCESS;
    int rows = 0;
    while ((result = driver.Fetch()) == SQL_SUCCESS)
        ++rows;
    EXPECT_EQ(rows, 10);
    EXPECT_EQ(result, SQL_ERROR);
}

TEST_F(DriverTest, CancelsFromAnotherThread) {
    std::atomic<bool> started{false};
    backend_.On(u"long work", [&](ResultSink&, const std::atomic<bool>& cancelled) {
        started = true;
        while (!cancelled)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    Driver driver(ConnectionString());
    std::thread canceller([&] {
        while (!started)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        SQLCancel(driver.Statement());
    });
    EXPECT_NE(driver.Execute("long work"), SQL_SUCCESS);
    canceller.join();
    SQLFreeStmt(driver.Statement(), SQL_CLOSE);
    EXPECT_EQ(driver.Execute("select int"), SQL_SUCCESS) << driver.Errors();
}

TEST_F(DriverTest, ParametersArriveAsVariables) {
    Driver driver(ConnectionString());
    SQLINTEGER number = 7;
    std::array<char16_t, 5> name = {u'i', u't', u'\'', u's', 0};
    SQLLEN numberSize = sizeof number;
    SQLLEN nameSize = SQL_NTS;
    SQLBindParameter(driver.Statement(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0,
                     &number, 0, &numberSize);
    SQLBindParameter(driver.Statement(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 20, 0,
                     name.data(), sizeof name, &nameSize);
    driver.Execute("select ?, ?");
    const std::vector<std::u16string> batches = backend_.Batches();
    ASSERT_FALSE(batches.empty());
    EXPECT_EQ(batches.back(),
              u"DECLARE @P1 INT, @P2 NVARCHAR(20) SET @P1=7 SET @P2=N'it''s' select @P1, @P2");
}

TEST_F(DriverTest, OldServersAreReadAsWell) {
    FakeBackend old("8.00.2039");
    for (const Sample& sample : Samples()) {
        old.On(u"select " + sample.name, [sample](ResultSink& sink, const auto&) {
            sink.Columns({Column(sample.name, sample.type)});
            sink.Row(&sample.cell);
            sink.StatementDone(1, true, false);
        });
    }
    WireServer server;
    server.Serve(old);
    Driver driver("driver={SQL Server};server=127.0.0.1," + std::to_string(server.Port()) +
                  ";database=;uid=sa;pwd=sandbox");
    ASSERT_TRUE(driver.Connected()) << driver.Errors();
    for (const Sample& sample : Samples()) {
        SCOPED_TRACE(Narrow(sample.name));
        ASSERT_EQ(driver.Execute("select " + Narrow(sample.name)), SQL_SUCCESS) << driver.Errors();
        ASSERT_EQ(driver.Fetch(), SQL_SUCCESS) << driver.Errors();
        EXPECT_EQ(driver.Field(1), sample.text);
        SQLCloseCursor(driver.Statement());
    }
}

// What a command prints, on both of its outputs. Through a shell, for commands here are pipes too.
std::string OutputOf(const std::string& command) {
    std::string output;
    const std::string line = "timeout 30 " + command + " 2>&1";
    FILE* pipe = ::popen(line.c_str(), "r");
    if (pipe == nullptr) return "cannot run " + command;
    std::array<char, 4096> piece{};
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), pipe)) {
        output.append(piece.data(), size);
    }
    ::pclose(pipe);
    return output;
}

class CommandLineTest : public ::testing::TestWithParam<std::string> {
  protected:
    CommandLineTest() {
        const auto answer = [](ResultSink& sink, const auto&) {
            sink.Columns({Column(u"id", {TypeId::Int}), Column(u"name", {TypeId::NVarChar, 20})});
            const Cell first[] = {Integer(42), Text(u"forty-two")};
            sink.Row(first);
            sink.StatementDone(1, true, false);
        };
        backend_.On(u"ask\n", answer);
        backend_.On(u"ask", answer);
        server_.Serve(backend_);
    }

    FakeBackend backend_;
    WireServer server_;
};

INSTANTIATE_TEST_SUITE_P(Versions, CommandLineTest,
                         ::testing::Values("7.1", "7.2", "7.3", "7.4", "auto"),
                         [](const auto& info) {
                             std::string name = "Tds" + info.param;
                             std::erase(name, '.');
                             return name;
                         });

TEST_P(CommandLineTest, Tsql) {
    const std::string output =
        OutputOf("sh -c \"printf 'ask\\ngo\\nwrong\\ngo\\nexit\\n' | TDSVER=" + GetParam() +
                 " tsql -H 127.0.0.1 -p " + std::to_string(server_.Port()) + " -U sa -P sandbox\"");
    EXPECT_THAT(output, HasSubstr("id\tname\n42\tforty-two\n(1 row affected)"));
    EXPECT_THAT(output, HasSubstr("Msg 102 (severity 16, state 1) from FAKE Line 1:"));
}

TEST_P(CommandLineTest, Bsqldb) {
    // bsqldb takes a server by its name in a configuration file only.
    const std::string path =
        ::testing::TempDir() + "quillon-freetds-" + std::to_string(server_.Port()) + ".conf";
    std::ofstream(path) << "[here]\nhost = 127.0.0.1\nport = " << server_.Port()
                        << "\ntds version = " << GetParam() << "\n";
    const std::string output = OutputOf("sh -c \"printf 'ask\\n' | FREETDSCONF=" + path +
                                        " bsqldb -S here -U sa -P sandbox -q -t '|'\"");
    std::remove(path.c_str());
    EXPECT_THAT(output, HasSubstr("42|forty-two"));
}

}  // namespace
}  // namespace sandbox::wire
