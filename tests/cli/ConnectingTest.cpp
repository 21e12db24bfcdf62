// How servers, databases and logins are named on the command line, and what linked servers are
// told.
#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <algorithm>

#include "cli/DatabaseOptions.h"
#include "cli/LoginFailure.h"
#include "data/Diagnostic.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

TEST(ParseServer, BringsOtherFormsIntoTheOneThatWorks) {
    EXPECT_EQ(ParseServer("host"), "host");
    EXPECT_EQ(ParseServer("host,1444"), "host,1444");
    EXPECT_EQ(ParseServer("host\\instance"), "host\\instance");
    EXPECT_EQ(ParseServer("host:1444"), "host,1444");
    EXPECT_EQ(ParseServer("tcp:host,1444"), "host,1444");
    EXPECT_EQ(ParseServer("tcp:host"), "host");
    EXPECT_EQ(ParseServer("[::1]"), "::1");
    EXPECT_EQ(ParseServer("[::1]:1444"), "::1,1444");
    EXPECT_EQ(ParseServer("[::1],1444"), "::1,1444");
    EXPECT_EQ(ParseServer("fe80::1"), "fe80::1");
}

TEST(ParseServer, RefusesWhatItCannotReach) {
    const auto refusal = [](const char* text) {
        try {
            ParseServer(text);
        } catch (const CLI::ValidationError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(refusal("np:host"),
              "'np:host': only TCP connections are made; write HOST, HOST,PORT or HOST\\INSTANCE");
    EXPECT_EQ(refusal("[::1"), "'[::1' is not [ADDRESS] or [ADDRESS],PORT");
    EXPECT_EQ(refusal("[::1]x"), "'[::1]x' is not [ADDRESS] or [ADDRESS],PORT");
    EXPECT_EQ(refusal("h;pwd=x"),
              "the server name 'h;pwd=x' holds ';', which cannot be carried to the server");
    EXPECT_EQ(refusal("{h"),
              "the server name '{h' holds '{', which cannot be carried to the server");
}

TEST(ConnectionValue, IsPutInBracesWhereItWouldEndOrOpenOne) {
    EXPECT_EQ(ConnectionValue("plain } 'quoted'", "password"), "plain } 'quoted'");
    EXPECT_EQ(ConnectionValue("a;b", "password"), "{a;b}");
    EXPECT_EQ(ConnectionValue("{a", "password"), "{{a}");
    EXPECT_EQ(ConnectionValue("a;}b", "password"), "{a;}b}");
    EXPECT_THROW(ConnectionValue("a};b", "password"), CLI::ValidationError);
    EXPECT_THROW(ConnectionValue("a;b}", "password"), CLI::ValidationError);
}

// What is added to a failure of a login that was told these keywords.
std::string AddedTo(const QuillonLib::Error& error, const char16_t* keywords) {
    QuillonLib::Database database;
    database.ConnectionKeywords(keywords);
    return LikelyCause(database, error);
}

TEST(LikelyCause, IsToldWhereEncryptionIsRequiredAndTheDriverGivesNoReason) {
    using QuillonLib::DataError;
    const QuillonLib::Diagnostic cannot{-2147467259, "08001", 0, u"Unable to connect"};
    const QuillonLib::Diagnostic unavailable{-2147467259, "08001", 20009, u"is unavailable"};
    const QuillonLib::Diagnostic refused{-2147217843, "28000", 18456, u"Login failed"};
    const QuillonLib::Diagnostic lost{-2147467259, "08S01", 0, u"Communication link failure"};
    const char16_t* const require = u"encryption=require";
    EXPECT_NE(AddedTo(DataError({cannot}), require), "");
    EXPECT_EQ(AddedTo(DataError({cannot}), u"encryption=request"), "");
    EXPECT_EQ(AddedTo(DataError({cannot}), u""), "");
    EXPECT_EQ(AddedTo(DataError({unavailable, cannot}), require), "");
    EXPECT_EQ(AddedTo(DataError({refused, cannot}), require), "");
    EXPECT_EQ(AddedTo(DataError({unavailable}), require), "");
    EXPECT_EQ(AddedTo(DataError({lost}), require), "");
    EXPECT_EQ(AddedTo(QuillonLib::Error(5, u"no login at all"), require), "");
}

class ConnectingTest : public ProgramTest {
  protected:
    // A server with that login; databases a and b as on the first.
    sandbox::Server& AddServer(const std::u16string& name, const std::u16string& user,
                               const std::u16string& password) {
        sandbox::ServerSettings settings;
        settings.name = name;
        settings.user = user;
        settings.password = password;
        sandbox::Server& added = box.AddServer(settings);
        added.Run(
            u"CREATE DATABASE a\nGO\nCREATE DATABASE b\nGO\nUSE a\nGO\nCREATE TABLE p (id int NOT "
            u"NULL CONSTRAINT PK_p PRIMARY KEY)\nGO\nUSE b\nGO\nCREATE TABLE p (id int NOT NULL "
            u"CONSTRAINT PK_p PRIMARY KEY)");
        return added;
    }
    static std::string At(const sandbox::Server& on, const char* database) {
        return QuillonLib::ToUtf8(on.Address()) + "/" + database;
    }
    static Outcome CompareWith(const std::string& password, std::vector<std::string> arguments) {
        QuillonLib::test::SetVariable("QUILLON_PASSWORD", password.c_str());
        arguments.insert(arguments.begin(), {"compare", "--by-server", "--by-server"});
        return Call(std::move(arguments));
    }
};

class OddLoginTest : public ConnectingTest,
                     public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(OddLoginTest, ReachesTheServerAsItWasGiven) {
    const auto& [user, password] = GetParam();
    sandbox::Server& odd =
        AddServer(u"ODD", QuillonLib::FromUtf8(user), QuillonLib::FromUtf8(password));
    const Outcome outcome =
        CompareWith(password, {At(odd, "a"), At(odd, "b"), "--user", user, "-t", "p"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(Logins, OddLoginTest,
                         ::testing::Values(std::pair("sa", "semi;colon"), std::pair("sa", "{brace"),
                                           std::pair("sa", "a}b;c"), std::pair("sa", "quo'te"),
                                           std::pair("sa", "end}"), std::pair("sa", "a=b"),
                                           std::pair("sa", " blank "), std::pair("a;b", "p"),
                                           std::pair("{x", "p"),
                                           std::pair("x;server=elsewhere", "p")));

TEST_F(ConnectingTest, AUserNameCannotAddAKeyword) {
    const Outcome outcome = CompareWith("wrong", {one, two, "--user", "sa;pwd=sandbox;app=x"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("Login failed for user 'sa;pwd=sandbox;app=x'."), std::string::npos)
        << outcome.err;
}

TEST_F(ConnectingTest, APasswordThatNoConnectionStringCarriesIsRefusedWithoutShowingIt) {
    const Outcome outcome = CompareWith("sec};ret", {one, two, "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("quillon: the password holds '}' beside ';' or '{' in a way that no "
                               "connection string can carry\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(outcome.err.find("sec"), std::string::npos);
}

TEST_F(ConnectingTest, ALoginThatLinkedServersCannotTakeIsRefused) {
    for (const char16_t* password : {u"quo'te", u"semi;colon"}) {
        sandbox::Server& first =
            AddServer(u"FIRST" + std::u16string(1, *password), u"sa", password);
        sandbox::Server& second =
            AddServer(u"SECOND" + std::u16string(1, *password), u"sa", password);
        first.ClearLog();
        const Outcome outcome =
            CompareWith(QuillonLib::ToUtf8(password),
                        {At(first, "a"), At(second, "b"), "--user", "sa", "-t", "p"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_NE(outcome.err.find(
                      "quillon: the password for " + At(second, "b") +
                      " holds a quote, a ';' or a '{' in front: a linked server, which databases "
                      "on several servers need, cannot be given it\n"),
                  std::string::npos)
            << outcome.err;
        EXPECT_TRUE(first.Log().empty());
    }
}

TEST_F(ConnectingTest, DatabaseNamesThatWouldBreakQueriesAreRefused) {
    const std::string address = QuillonLib::ToUtf8(server.Address());
    const Outcome outcome = Call({"compare", "--by-server", address + "/a]b", two, "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(
        outcome.err.find("quillon: the database name 'a]b' holds ']', which cannot be carried "
                         "to the server\n"),
        std::string::npos)
        << outcome.err;
    EXPECT_EQ(Call({"compare", "--by-server", address + "/a;b", two, "--user", "sa"}).exitCode, 2);
}

TEST_F(ConnectingTest, FailuresToLogInNameServerAndDatabase) {
    const std::string address = QuillonLib::ToUtf8(server.Address());
    for (const std::vector<std::string>& rest :
         {std::vector<std::string>{}, std::vector<std::string>{"-t", "p"}}) {
        std::vector<std::string> call{"compare", "--by-server", one, address + "/nowhere",
                                      "--user",  "sa"};
        call.insert(call.end(), rest.begin(), rest.end());
        const Outcome outcome = Call(call);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(
            outcome.err.find("quillon: cannot read the catalog of " + address + "/nowhere:\n"), 0U)
            << outcome.err;
    }
    const Outcome dead = Call({"compare", "--by-server", one, "127.0.0.1,1/b", "--user", "sa"});
    EXPECT_EQ(dead.err.find("quillon: cannot read the catalog of 127.0.0.1,1/b:\n"), 0U)
        << dead.err;
    const Outcome via = OnBoth({"compare", "--by-server", "--via", "127.0.0.1,1/c"});
    EXPECT_EQ(via.exitCode, 2);
    EXPECT_NE(via.err.find("Error connecting to server 127.0.0.1,1\n"), std::string::npos)
        << via.err;
    const Outcome list = Call({"databases", "127.0.0.1,1", "--user", "sa"});
    EXPECT_EQ(list.err.find("quillon: cannot list the databases of 127.0.0.1,1:\n"), 0U)
        << list.err;
}

TEST_F(ConnectingTest, AColonBeforeThePortIsUnderstood) {
    const std::string withColon = "127.0.0.1:" + std::to_string(server.Port());
    EXPECT_EQ(Call({"compare", "--by-server", withColon + "/a", "tcp:" + withColon + "/b", "--user",
                    "sa"})
                  .exitCode,
              1);
}

class LinkedServersOfProgram : public ConnectingTest {
  protected:
    LinkedServersOfProgram() : other(AddServer(u"OTHER", u"sa", u"sandbox")) {}
    Outcome Compare(std::vector<std::string> options) {
        options.insert(options.begin(),
                       {"compare", "--by-server", one, At(other, "b"), "--user", "sa", "-t", "p"});
        return Call(std::move(options));
    }
    std::u16string LinkedServers() {
        return server.Scalar(
            u"SELECT COUNT(*) FROM master..sysservers WHERE srvname LIKE 'KARNOBE%'");
    }
    sandbox::Server& other;
};

TEST_F(LinkedServersOfProgram, StayUnlessTheyAreToBeDropped) {
    EXPECT_EQ(Compare({}).exitCode, 1);
    EXPECT_EQ(LinkedServers(), u"1");
    EXPECT_EQ(Compare({"--drop-linked-servers"}).exitCode, 1);
    EXPECT_EQ(LinkedServers(), u"0");
}

TEST_F(LinkedServersOfProgram, AreDroppedAfterAFailureToo) {
    server.AddFault(ErrorIn(u" UNION SELECT "));
    EXPECT_EQ(Compare({"--drop-linked-servers"}).exitCode, 2);
    EXPECT_EQ(LinkedServers(), u"0");
    // The row sets come after the comparison.
    server.AddFault(ErrorIn(u"WHERE NOT EXISTS"));
    EXPECT_EQ(Call({"rows", "--by-server", "p", one, At(other, "b"), "--user", "sa",
                    "--drop-linked-servers"})
                  .exitCode,
              2);
    EXPECT_EQ(LinkedServers(), u"0");
}

TEST_F(LinkedServersOfProgram, ARefusalExplainsItself) {
    sandbox::Fault refusal = ErrorIn(u"sp_addlinkedserver");
    refusal.message.number = 15247;
    refusal.message.text = u"User does not have permission to perform this action.";
    server.AddFault(refusal);
    const Outcome outcome = Compare({});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.out.find("User does not have permission to perform this action."),
              std::string::npos);
    EXPECT_NE(outcome.err.find("quillon: these databases are on different servers, so the linked "
                               "servers KARNOBE_1 and KARNOBE_2 are defined on " +
                               QuillonLib::ToUtf8(server.Address()) + " for the queries across "),
              std::string::npos)
        << outcome.err;
}

// A short way to write the address, which needs no file of hosts.
TEST_F(LinkedServersOfProgram, TwoNamesOfOneServerAreNoticed) {
    const std::string port = std::to_string(server.Port());
    const Outcome outcome =
        Call({"compare", "--by-server", one, "127.1," + port + "/b", "--user", "sa", "-t", "p"});
    EXPECT_NE(outcome.err.find("quillon: 127.0.0.1," + port + " and 127.1," + port +
                               " both call themselves SANDBOX. If they are one server, write its "
                               "name the same way twice: then no linked server is needed.\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(Compare({}).err.find("both call themselves"), std::string::npos);
    EXPECT_EQ(OnBoth({"compare", "--by-server"}).err, "");
}

}  // namespace
}  // namespace quillon
