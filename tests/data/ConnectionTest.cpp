#include "data/Connection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/data/ScriptedServer.h"
#include "tests/support/NumberThrown.h"
#include "tests/support/SilentServer.h"

namespace QuillonLib {
namespace {

using namespace std::string_literals;
using namespace std::chrono_literals;
using sandbox::FaultKind;
using sandbox::ResultSink;
using sandbox::TypeId;
using test::ScriptedServer;

// The answer to the next batch comes so much later.
void DelayAnswers(ScriptedServer& server, std::chrono::milliseconds time) {
    server.Wire().AddFault({.kind = FaultKind::Delay, .delay = time});
}

// The Error that the action throws.
template <class Action>
DataError Failure(const Action& action) {
    try {
        action();
    } catch (const DataError& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return DataError({Diagnostic{}});
}

// Writes down what it hears.
class Notes : public StatementListener {
  public:
    std::uint64_t LogsIn() noexcept override {
        lines.emplace_back(u"logs in");
        return ++last_;
    }
    std::uint64_t Sends(std::u16string_view batch) noexcept override {
        lines.emplace_back(u"sends " + std::u16string(batch));
        return ++last_;
    }
    void Ends(std::uint64_t number, std::chrono::nanoseconds time,
              std::u16string_view error) noexcept override {
        lines.emplace_back(u"ends " + ToText(static_cast<std::int64_t>(number)) +
                           (error.empty() ? u"" : u": " + std::u16string(error)));
        EXPECT_GE(time.count(), 0);
        last = time;
    }

    std::vector<std::u16string> lines;
    std::chrono::nanoseconds last{};

  private:
    std::uint64_t last_ = 0;
};

TEST(Connection, KeepsTheConnectionStringLetterForLetter) {
    ScriptedServer server;
    const auto connection = server.Connect();
    EXPECT_TRUE(connection->IsOpen());
    EXPECT_EQ(connection->ConnectionString(), u"driver={SQL Server};server=" + server.Address() +
                                                  u";database=master;uid=sa;pwd=sandbox");
    ASSERT_EQ(server.Logins().size(), 1U);
    EXPECT_EQ(server.Logins()[0].user, u"sa");
    EXPECT_EQ(server.Logins()[0].database, u"master");
}

TEST(Connection, AsksForPacketsThatFitIntoAnEncryptedRecord) {
    ScriptedServer server;
    server.Connect();
    ASSERT_EQ(server.Logins().size(), 1U);
    EXPECT_EQ(server.Logins()[0].packetSize, 16000U);
}

TEST(Connection, AsksForTheNewestProtocolUnlessTheTextNamesAnother) {
    ScriptedServer server;
    server.Connect();
    Connection older;
    older.Open(server.ConnectionString() + u";TDS_Version=7.1");
    ASSERT_EQ(server.Logins().size(), 2U);
    EXPECT_EQ(server.Logins()[0].protocolVersion, 0x74000004U);
    EXPECT_EQ(server.Logins()[1].protocolVersion, 0x71000001U);
}

// Under wine the driver has the variables of the host, which a test cannot set.
#ifndef _WIN32
TEST(Connection, LeavesTheProtocolToTheVariableOfTheDriver) {
    ScriptedServer server;
    setenv("TDSVER", "7.1", 1);
    server.Connect();
    unsetenv("TDSVER");
    ASSERT_EQ(server.Logins().size(), 1U);
    EXPECT_EQ(server.Logins()[0].protocolVersion, 0x71000001U);
}
#endif

TEST(Connection, GivesUpOnAServerThatNeverAnswersTheLogin) {
    const test::SilentServer server;
    Connection connection;
    connection.LoginTimeout(1s);
    const DataError error =
        Failure([&] { connection.Open(u"driver={SQL Server};server=" + server.Address()); });
    EXPECT_EQ(error.Diagnostics()[0].sqlState, "HYT00");
    EXPECT_FALSE(connection.IsOpen());
}

TEST(Connection, ClosesAndOpensAgain) {
    ScriptedServer server;
    const auto connection = server.Connect();
    connection->Close();
    EXPECT_FALSE(connection->IsOpen());
    connection->Close();
    connection->Open(server.ConnectionString());
    EXPECT_TRUE(connection->IsOpen());
}

TEST(Connection, RefusesWhatNeedsTheOtherState) {
    ScriptedServer server;
    Connection closed;
    EXPECT_EQ(test::NumberThrown([&] { closed.Execute(u"SELECT 1"); }), 3704);
    const auto connection = server.Connect();
    EXPECT_EQ(test::NumberThrown([&] { connection->Open(server.ConnectionString()); }), 3705);
    EXPECT_EQ(test::NumberThrown([&] { closed.Open(std::u16string(40000, u'x')); }), 5);
}

// The driver reports its own failure first and the server's reason in a later record.
TEST(Connection, TellsARefusedLoginFromTheLaterRecord) {
    ScriptedServer server;
    Connection connection;
    const DataError error =
        Failure([&] { connection.Open(server.ConnectionString(u"hunter2-geheim")); });
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E4D));
    EXPECT_TRUE(error.HasNativeError(18456));
    EXPECT_NE(error.Description().find(u"Login failed for user 'sa'."), std::u16string::npos);
    EXPECT_EQ(error.Description().find(u"hunter2"), std::u16string::npos);
    EXPECT_EQ(connection.Errors().size(), error.Diagnostics().size());
    EXPECT_FALSE(connection.IsOpen());
}

TEST(Connection, FailsCleanlyWithoutAServer) {
    Connection connection;
    std::u16string address;
    {
        ScriptedServer server;
        address = server.Address();
    }
    const DataError error = Failure([&] {
        connection.Open(BuildConnectionString(address, u"master", false, u"sa", u"hunter2-geheim"));
    });
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80004005));
    EXPECT_EQ(error.Description().find(u"hunter2"), std::u16string::npos);
    EXPECT_EQ(test::NumberThrown([&] { connection.Execute(u"SELECT 1"); }), 3704);
}

TEST(Connection, FailsCleanlyWithoutTheDriver) {
    Connection connection;
    const DataError error = Failure(
        [&] { connection.Open(u"driver={No Such Driver};server=x;database=y;uid=u;pwd=hunter2"); });
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80004005));
    EXPECT_EQ(error.Description(),
              u"[unixODBC][Driver Manager]Can't open lib 'No Such Driver' : file not found");
}

// Odd passwords reach the server as they are, a value in braces without them.
TEST(Connection, SendsThePasswordAsItStands) {
    for (const auto& [given, sent] :
         {std::pair{u"p w'\"=é\x20AC"s, u"p w'\"=é\x20AC"s}, std::pair{u"{secret}"s, u"secret"s},
          std::pair{u"a}"s, u"a}"s}}) {
        ScriptedServer server;
        server.Password(sent);
        Connection connection;
        EXPECT_NO_THROW(connection.Open(server.ConnectionString(given)));
    }
}

#ifndef _WIN32
TEST(Connection, TakesThePortFromTheEnvironment) {
    ScriptedServer server;
    const std::string port = std::to_string(server.Wire().Port());
    setenv("TDSPORT", port.c_str(), 1);
    Connection connection;
    EXPECT_NO_THROW(
        connection.Open(BuildConnectionString(u"127.0.0.1", u"master", false, u"sa", u"sandbox")));
    unsetenv("TDSPORT");
}
#endif

// ---- running a batch ---------------------------------------------------------------------------

TEST(Connection, TakesABatchWithoutACountForASuccess) {
    ScriptedServer server;
    server.On(u"CREATE TABLE t (a int)",
              [](ResultSink& sink) { sink.StatementDone(std::nullopt, false, false); });
    server.On(u"DELETE t", [](ResultSink& sink) { sink.StatementDone(0, false, false); });
    const auto connection = server.Connect();
    EXPECT_NO_THROW(connection->Execute(u"CREATE TABLE t (a int)"));
    EXPECT_NO_THROW(connection->Execute(u"DELETE t"));
    EXPECT_NO_THROW(connection->Execute(u""));
    EXPECT_NO_THROW(connection->Execute(u"-- nothing"));
}

TEST(Connection, ReadsEveryResultOfABatch) {
    ScriptedServer server;
    std::atomic<bool> toTheEnd = false;
    server.On(u"three", [&](ResultSink& sink) {
        for (int i = 0; i < 3; ++i) {
            test::SendRows(sink, {test::Column(u"a", test::Type(TypeId::Int))},
                           test::Rows(1000, {test::IntegerCell(i)}));
        }
        sink.StatementDone(5, false, false);
        toTheEnd = true;
    });
    const auto connection = server.Connect();
    connection->Execute(u"three");
    EXPECT_TRUE(toTheEnd);
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

TEST(Connection, SurfacesTheErrorOfALaterStatement) {
    ScriptedServer server;
    server.On(u"batch", [](ResultSink& sink) {
        sink.StatementDone(1, false, false);
        test::SendError(sink, 547,
                        u"The INSERT statement conflicted with the FOREIGN KEY constraint.");
        sink.StatementDone(1, false, false);
    });
    const auto connection = server.Connect();
    const DataError error = Failure([&] { connection->Execute(u"batch"); });
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E2F));
    EXPECT_TRUE(error.HasNativeError(547));
    EXPECT_EQ(
        error.Description(),
        u"[FreeTDS][SQL Server]The INSERT statement conflicted with the FOREIGN KEY constraint.");
    ASSERT_EQ(connection->Errors().size(), 1U);
    EXPECT_EQ(connection->Errors()[0].nativeError, 547);
    EXPECT_EQ(connection->Errors()[0].sqlState, "23000");
    EXPECT_TRUE(connection->IsOpen());
    connection->ClearErrors();
    EXPECT_TRUE(connection->Errors().empty());
}

TEST(Connection, JoinsTheErrorsOfAllStatements) {
    ScriptedServer server;
    std::atomic<bool> toTheEnd = false;
    server.On(u"batch", [&](ResultSink& sink) {
        sink.StatementDone(1, false, false);
        test::SendError(sink, 208, u"Invalid object name 't'.");
        test::SendRows(sink, {test::Column(u"a", test::Type(TypeId::Int))},
                       {{test::IntegerCell(1)}});
        test::SendError(sink, 8134, u"Divide by zero error encountered.");
        sink.StatementDone(1, false, false);
        toTheEnd = true;
    });
    const auto connection = server.Connect();
    const DataError error = Failure([&] { connection->Execute(u"batch"); });
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E37));
    EXPECT_EQ(error.Description(),
              u"[FreeTDS][SQL Server]Invalid object name 't'.\r\n"
              u"[FreeTDS][SQL Server]Divide by zero error encountered.");
    EXPECT_TRUE(toTheEnd);
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

// One call, two records: none is skipped, and the cause may be the later one.
TEST(Connection, ReadsEveryRecordOfAFailedCall) {
    ScriptedServer server;
    server.On(u"batch", [](ResultSink& sink) {
        sink.Say(test::ServerError(8134, u"Divide by zero error encountered."));
        sink.Say(test::ServerError(3621, u"The statement has been terminated.", 0));
        sink.Say(test::ServerError(547, u"The UPDATE statement conflicted."));
        sink.StatementDone(std::nullopt, false, true);
    });
    const auto connection = server.Connect();
    const DataError error = Failure([&] { connection->Execute(u"batch"); });
    EXPECT_EQ(error.Description(),
              u"[FreeTDS][SQL Server]Divide by zero error encountered.\r\n"
              u"[FreeTDS][SQL Server]The UPDATE statement conflicted.");
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E2F));
}

TEST(Connection, IsUsableAfterAnErrorOfTheFirstStatement) {
    ScriptedServer server;
    server.On(u"batch", [](ResultSink& sink) {
        test::SendError(sink, 208, u"Invalid object name 't'.");
        test::SendRows(sink, {test::Column(u"a", test::Type(TypeId::Int))},
                       test::Rows(5000, {test::IntegerCell(1)}));
    });
    const auto connection = server.Connect();
    EXPECT_EQ(Failure([&] { connection->Execute(u"batch"); }).Description(),
              u"[FreeTDS][SQL Server]Invalid object name 't'.");
    EXPECT_TRUE(connection->IsOpen());
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

TEST(Connection, SurfacesAnErrorAmongRowsThatNobodyReads) {
    ScriptedServer server;
    server.On(u"batch", [](ResultSink& sink) {
        sink.Columns({test::Column(u"a", test::Type(TypeId::Int))});
        const sandbox::Cell cell = test::IntegerCell(1);
        for (int i = 0; i < 500; ++i)
            sink.Row(&cell);
        sink.Say(test::ServerError(8134, u"Divide by zero error encountered."));
        sink.StatementDone(std::nullopt, true, true);
    });
    const auto connection = server.Connect();
    EXPECT_TRUE(Failure([&] { connection->Execute(u"batch"); }).HasNativeError(8134));
}

TEST(Connection, TakesAPrintForNoError) {
    ScriptedServer server;
    server.On(u"PRINT", [](ResultSink& sink) {
        sink.Say(test::ServerError(0, u"hello", 0));
        sink.StatementDone(std::nullopt, false, false);
    });
    const auto connection = server.Connect();
    EXPECT_NO_THROW(connection->Execute(u"PRINT"));
    EXPECT_TRUE(connection->Errors().empty());
}

TEST(Connection, SendsEveryUnitOfABatch) {
    const std::u16string odd = u"INSERT t VALUES (N'\0\xD800 \xDC00 \xD83D\xDE00 \xFFFF')"s;
    for (const std::u16string& batch :
         {u"SELECT 'é\x20AC\x4E2D \xD83D\xDE00'"s, u"EXEC p 5000000000, 1.5"s,
          u"SELECT [a?{b] -- ?{"s, u"SELECT N'?{'"s, u"SELECT 1 /* a /* b? */ {c? */"s, odd,
          odd + std::u16string(100000, u' ') + u"x",
          u"SELECT '" + std::u16string(300000, u'é') + u"'"}) {
        ScriptedServer server;
        const auto connection = server.Connect();
        server.Wire().ClearLog();
        connection->Execute(batch);
        ASSERT_EQ(server.Batches().size(), 1U);
        EXPECT_EQ(server.Batches()[0], batch);
    }
}

TEST(Connection, SurfacesTheErrorsOfABatchSentAsAParameter) {
    ScriptedServer server;
    const std::u16string batch = u"SELECT N'\0' FROM missing"s;
    server.On(batch, [](ResultSink& sink) {
        test::SendError(sink, 208, u"Invalid object name 'missing'.");
    });
    const auto connection = server.Connect();
    const DataError error = Failure([&] { connection->Execute(batch); });
    EXPECT_EQ(error.Description(), u"[FreeTDS][SQL Server]Invalid object name 'missing'.");
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E37));
}

// ---- a server that goes away -------------------------------------------------------------------

TEST(Connection, NoticesThatTheServerHasGoneAway) {
    ScriptedServer server;
    const auto connection = server.Connect();
    server.Wire().AddFault({.kind = FaultKind::Drop});
    EXPECT_EQ(Failure([&] { connection->Execute(u"SELECT 1"); }).Number(),
              static_cast<std::int32_t>(0x80004005));
    EXPECT_FALSE(connection->IsOpen());
    EXPECT_EQ(test::NumberThrown([&] { connection->Execute(u"SELECT 1"); }),
              static_cast<std::int32_t>(0x80004005));
    Recordset rows;
    EXPECT_EQ(test::NumberThrown([&] { rows.Open(u"SELECT 1", connection); }),
              static_cast<std::int32_t>(0x80004005));
    connection->Close();
    EXPECT_NO_THROW(connection->Open(server.ConnectionString()));
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

TEST(Connection, NoticesACrashBetweenTwoBatches) {
    ScriptedServer server;
    const auto connection = server.Connect();
    connection->Execute(u"SELECT 1");
    server.Wire().Kill();
    EXPECT_NE(test::NumberThrown([&] { connection->Execute(u"SELECT 1"); }), 0);
    EXPECT_FALSE(connection->IsOpen());
}

TEST(Connection, GivesUpAfterTheCommandTimeout) {
    ScriptedServer server;
    const auto connection = server.Connect();
    DelayAnswers(server, 3s);
    connection->CommandTimeout(1s);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_NE(test::NumberThrown([&] { connection->Execute(u"SELECT 1"); }), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2500ms);
}

TEST(Connection, HasNoCommandTimeoutUnlessAsked) {
    ScriptedServer server;
    const auto connection = server.Connect();
    DelayAnswers(server, 1500ms);
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

TEST(Connection, AnotherThreadCanCancelWhatRuns) {
    ScriptedServer server;
    const auto connection = server.Connect();
    DelayAnswers(server, 20s);
    std::atomic<bool> ended = false;
    std::thread watcher([&] {
        while (!ended) {
            std::this_thread::sleep_for(50ms);
            connection->Cancel();
        }
    });
    const auto begin = std::chrono::steady_clock::now();
    const DataError error = Failure([&] { connection->Execute(u"SELECT 1"); });
    ended = true;
    watcher.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    EXPECT_EQ(connection->Errors().at(0).sqlState, "HY008") << ToUtf8(error.Description());
    EXPECT_TRUE(connection->IsOpen());
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
}

TEST(Connection, CancellingNothingDoesNothing) {
    Connection closed;
    closed.Cancel();
    ScriptedServer server;
    const auto connection = server.Connect();
    connection->Cancel();
    EXPECT_NO_THROW(connection->Execute(u"SELECT 1"));
    connection->Cancel();
    EXPECT_TRUE(connection->IsOpen());
}

TEST(StatementListener, HearsOfLoginsAndBatchesWithTheirEndsAndTimes) {
    ScriptedServer server;
    const auto notes = std::make_shared<Notes>();
    Connection connection;
    connection.Listener(notes);
    connection.Open(server.ConnectionString());
    EXPECT_EQ(notes->lines, (std::vector<std::u16string>{u"logs in", u"ends 1"}));
    DelayAnswers(server, 50ms);
    connection.Execute(u"first");
    EXPECT_GE(notes->last, 50ms);
    connection.Execute(u"the secret 'x'", u"the secret '***'");
    EXPECT_EQ(notes->lines,
              (std::vector<std::u16string>{u"logs in", u"ends 1", u"sends first", u"ends 2",
                                           u"sends the secret '***'", u"ends 3"}));
    connection.Listener(nullptr);
    connection.Execute(u"more");
    EXPECT_EQ(notes->lines.size(), 6U);
}

TEST(StatementListener, HearsWhyALoginIsRefusedAndNoPassword) {
    ScriptedServer server;
    const auto notes = std::make_shared<Notes>();
    Connection connection;
    connection.Listener(notes);
    EXPECT_THROW(connection.Open(server.ConnectionString(u"hunter2-geheim")), DataError);
    ASSERT_EQ(notes->lines.size(), 2U);
    EXPECT_NE(notes->lines[1].find(u"Login failed"), std::u16string::npos);
    for (const std::u16string& line : notes->lines)
        EXPECT_EQ(line.find(u"geheim"), std::u16string::npos);
}

}  // namespace
}  // namespace QuillonLib
