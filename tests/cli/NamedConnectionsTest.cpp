// Databases by the names of connections, and how their servers are talked to.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "tests/cli/TwoServers.h"
#include "tests/support/SilentServer.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

class NamedConnections : public TwoServers {
  protected:
    NamedConnections() {
        QuillonLib::test::SetVariable("QUILLON_PASSWORD2", "sandbox");
        server.Run(u"CREATE LOGIN alice WITH PASSWORD = 'wonder', CHECK_POLICY = OFF");
        server.Run(u"USE d\nGO\nCREATE USER alice FOR LOGIN alice\nGO\nGRANT SELECT ON t TO alice");
    }
    ~NamedConnections() override {
        QuillonLib::test::RemoveVariable("QUILLON_TEST_ALICE");
        QuillonLib::test::RemoveVariable("QUILLON_PASSWORD2");
    }
    // A connection to one of the two servers, with more settings.
    static std::string Section(const std::string& name, const sandbox::Server& on,
                               const std::string& settings) {
        return "[" + name + "]\nserver = " + QuillonLib::ToUtf8(on.Address()) + "\ndatabase = d\n" +
               settings + "\n";
    }
    void Write(const std::string& text) { std::ofstream(File("c.ini")) << text; }
    Outcome Compare(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"compare", "--config", File("c.ini")});
        return Call(arguments);
    }
    // The login of the last session on a server.
    static std::u16string LastUser(sandbox::Server& on) {
        std::u16string user;
        for (const sandbox::LogEntry& entry : on.Log()) {
            if (!entry.user.empty()) user = entry.user;
        }
        return user;
    }
};

TEST_F(NamedConnections, AreFoundInAFile) {
    Write(Section("one", server, "user = alice\npassword-variable = QUILLON_TEST_ALICE") +
          Section("two", other, "user = sa"));
    QuillonLib::test::SetVariable("QUILLON_TEST_ALICE", "wonder");
    const Outcome outcome = Compare({"one", "two"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(LastUser(server), u"alice");
    EXPECT_EQ(LastUser(other), u"sa");
}

TEST_F(NamedConnections, TakeOneLineOfACommandHoweverMuchItPrints) {
    const std::string two = Section("two", other, "user = sa");
    Write(Section("one", server, "user = sa\npassword-command = echo sandbox; seq 100000") + two);
    EXPECT_EQ(Compare({"one", "two"}).exitCode, 1);
    Write(Section("one", server, "user = sa\npassword-command = cat /dev/zero") + two);
    const Outcome endless = Compare({"one", "two"});
    EXPECT_EQ(endless.exitCode, 2);
    EXPECT_EQ(endless.err,
              "quillon: the password command of sa: it prints a line that is too long for a "
              "password\n");
}

// Whatever QUILLON_PASSWORD2 holds.
TEST_F(NamedConnections, KeepTheVariableThatTheyName) {
    const std::string variable = "QUILLON_PASSWORD";
    Write(Section("one", server, "user = sa\npassword-variable = " + variable) +
          Section("two", other, "user = sa\npassword-variable = " + variable) +
          Section("three", other, "user = sa"));
    QuillonLib::test::SetVariable("QUILLON_PASSWORD2", "wrong");
    const Outcome outcome = Compare({"one", "two"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    // what names none takes that of the second database
    EXPECT_TRUE(Holds(Compare({"one", "three"}).err, "Login failed for user 'sa'."));
}

TEST_F(NamedConnections, AreFoundInTheUsersOwnFile) {
    const Outcome none = Call({"compare", "one", second, "--user", "sa"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_EQ(none.err, "quillon: 'one' is neither SERVER/DATABASE nor a connection in " +
                            File("quillon/connections.ini") + ", which does not exist\n");
    std::filesystem::create_directory(folder / "quillon");
    std::ofstream(folder / "quillon" / "connections.ini") << Section("one", server, "");
    EXPECT_EQ(Call({"compare", "one", second, "--user", "sa"}).exitCode, 1);
}

TEST_F(NamedConnections, APasswordCommandGivesTheFirstLine) {
    Write(Section("one", server,
                  "user = alice\npassword-command = printf 'wonder\\nsecond line\\n'"));
    const Outcome outcome = Compare({"one", second, "--user2", "sa"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_EQ(LastUser(server), u"alice");
}

TEST_F(NamedConnections, APasswordCommandThatFailsIsNamedWithoutItsOutput) {
    for (const auto& [command, why] : std::vector<std::pair<std::string, std::string>>{
             {"echo geheim; exit 3", "it failed"},
             {"true", "it printed nothing"},
             {"printf '\\377geheim'", "what it prints is not UTF-8"}}) {
        Write(Section("one", server, "user = alice\npassword-command = " + command));
        const Outcome outcome = Compare({"one", second, "--user2", "sa"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.err, "quillon: the password command of alice: " + why + "\n");
    }
}

TEST_F(NamedConnections, TheCommandLineGoesBeforeTheFile) {
    Write(Section("one", server, "user = nobody") + Section("two", other, "user = nobody"));
    EXPECT_EQ(Compare({"one", "two", "--user", "sa"}).exitCode, 1);
    EXPECT_EQ(LastUser(server), u"sa");
    EXPECT_EQ(LastUser(other), u"sa");
}

// A password is for the server that it belongs to.
TEST_F(NamedConnections, TheLoginOfAConnectionIsForNoOtherServer) {
    Write(Section("one", server, "user = sa"));
    other.ClearLog();
    const Outcome outcome = Compare({"one", second});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(FirstLine(outcome.err), "quillon: --user2 or --integrated2 is required");
    EXPECT_TRUE(other.Log().empty());
}

// By a server, with the databases on one and the queries on another.
TEST_F(NamedConnections, TheLoginOfAConnectionIsNotForTheServerOfVia) {
    Write(Section("one", server, "user = sa") + Section("two", server, "user = sa") +
          Section("there", other, "user = alice\npassword-variable = QUILLON_TEST_ALICE"));
    QuillonLib::test::SetVariable("QUILLON_TEST_ALICE", "wonder");
    other.Run(u"CREATE LOGIN alice WITH PASSWORD = 'wonder', CHECK_POLICY = OFF");
    RunOnSecond(u"CREATE USER alice FOR LOGIN alice");
    other.ClearLog();
    const Outcome refused = Compare({"--by-server", "one", "two", "--via", second});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(FirstLine(refused.err),
              "quillon: For --via to another server --user or --integrated is required");
    EXPECT_TRUE(other.Log().empty());
    const Outcome third = Compare({"--by-server", "one", "two", "--via", "there"});
    EXPECT_EQ(LastUser(other), u"alice") << third.err << third.out;
    EXPECT_NE(Compare({"--by-server", "one", "two", "--via", first}).exitCode, 2);
}

TEST_F(NamedConnections, AFileThatIsWrongIsRefusedWhole) {
    Write(Section("one", server, "user = sa\npassword = sandbox"));
    const Outcome outcome = Compare({"one", second, "--user2", "sa"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "quillon: " + File("c.ini") +
                               ", line 5: passwords do not belong here; write password-command or "
                               "password-variable\n");
    std::filesystem::remove(folder / "c.ini");
    EXPECT_EQ(Compare({"one", second, "--user2", "sa"}).err,
              "quillon: cannot read " + File("c.ini") + ": No such file or directory\n");
}

// The sandbox encrypts nothing, as a server may that was told so.
TEST_F(NamedConnections, WhereEncryptionIsRequiredNoPasswordIsSentWithoutIt) {
    for (const bool named : {false, true}) {
        Write(Section("one", server, named ? "encryption = require" : ""));
        server.ClearLog();
        std::vector<std::string> arguments = {"one", second, "--user", "sa"};
        if (!named) arguments.insert(arguments.end(), {"--encryption", "require"});
        const Outcome outcome = Compare(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << outcome.out;
        EXPECT_EQ(outcome.err, "quillon: cannot read the catalog of " + first +
                                   ":\n[FreeTDS][SQL Server]Unable to connect to data source\n"
                                   "Encryption is required here, and the driver gives no reason. "
                                   "Likely the server does not encrypt; but a name that is not "
                                   "found, and a server that does not speak this protocol, fail "
                                   "with the same words.\n");
        EXPECT_TRUE(server.Log().empty());
    }
    Write(Section("one", server, "encryption = require"));
    for (const char* enough : {"off", "request"}) {
        EXPECT_EQ(Compare({"one", second, "--user", "sa", "--encryption", enough}).exitCode, 1)
            << enough;
    }
}

// A cause that the driver does tell stands alone.
TEST_F(NamedConnections, EncryptionIsBlamedForNothingElse) {
    const std::vector<std::string> require{"--user", "sa", "--encryption", "require"};
    const auto failure = [&](std::vector<std::string> call, std::vector<std::string> options) {
        call.insert(call.end(), options.begin(), options.end());
        const Outcome outcome = Compare(call);
        EXPECT_EQ(outcome.exitCode, 2);
        return outcome.err;
    };
    Write("");
    const std::string nobody = failure({"127.0.0.1,1/d", second}, require);
    EXPECT_TRUE(Holds(nobody, "is unavailable or does not exist")) << nobody;
    EXPECT_FALSE(Holds(nobody, "ncrypt")) << nobody;
    const QuillonLib::test::SilentServer silent;
    const std::string silence = failure(
        {QuillonLib::ToUtf8(silent.Address()) + "/d", second, "--login-timeout", "1"}, require);
    EXPECT_TRUE(Holds(silence, "Timeout expired")) << silence;
    EXPECT_FALSE(Holds(silence, "ncrypt")) << silence;
    const std::string notAsked = failure({"nowhere.invalid/d", second}, {"--user", "sa"});
    EXPECT_FALSE(Holds(notAsked, "ncrypt")) << notAsked;
}

TEST_F(NamedConnections, ALoginMayTakeSoLong) {
    const QuillonLib::test::SilentServer silent;
    const std::string address = QuillonLib::ToUtf8(silent.Address()) + "/d";
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = Compare({address, second, "--user", "sa", "--login-timeout", "1"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
}

TEST_F(NamedConnections, BringTheirServerToTheListOfDatabases) {
    Write(Section("one", server,
                  "user = alice\npassword-variable = QUILLON_TEST_ALICE\nencryption = off"));
    QuillonLib::test::SetVariable("QUILLON_TEST_ALICE", "wonder");
    const Outcome outcome = Call({"databases", "one", "--config", File("c.ini"), "--verbose"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out.substr(0, 6), "a\nb\nd\n");
    EXPECT_EQ(LastUser(server), u"alice");
    EXPECT_TRUE(Holds(outcome.err, ": logging in as alice; encrypted: nothing")) << outcome.err;
    // what the command line says goes before
    EXPECT_EQ(Call({"databases", "one", "--config", File("c.ini"), "--user", "sa"}).exitCode, 0);
    EXPECT_EQ(LastUser(server), u"sa");
}

TEST_F(NamedConnections, AServerMayBeSilentSoLong) {
    server.AddFault(
        {.kind = sandbox::FaultKind::Delay, .contains = u"FROM [dbo].[t]", .delay = 30s});
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = Direct("compare", {"--statement-timeout", "1"});
    EXPECT_EQ(outcome.exitCode, 2) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "Error comparing [dbo].[t]")) << outcome.err << outcome.out;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST_F(NamedConnections, WhatMakesNoSenseIsNamed) {
    const std::pair<std::vector<std::string>, std::string> calls[] = {
        {{"--encryption", "on"}, "--encryption: 'on' is none of off, request and require"},
        {{"--login-timeout", "soon"}, "--login-timeout: 'soon' is no number of seconds"},
        {{"--statement-timeout", "-1"}, "--statement-timeout: '-1' is no number of seconds"}};
    for (const auto& [options, failure] : calls) {
        std::vector<std::string> arguments = {first, second, "--user", "sa"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = Compare(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(FirstLine(outcome.err), "quillon: " + failure);
    }
}

}  // namespace
}  // namespace quillon
