// quillon batch as it is called, against two servers that do not know each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/cli/Process.h"
#include "tests/cli/TwoServers.h"
#include "tests/support/SilentServer.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

class Batch : public TwoServers {
  protected:
    Batch() {
        for (const char16_t* database : {u"e", u"f"}) {
            server.Run(u"CREATE DATABASE " + std::u16string(database) + u"\nGO\nUSE " + database +
                       u"\nGO\nCREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY)\nGO\n"
                       u"INSERT t VALUES (1), (2)");
        }
    }
    // A pair of databases; a name without "/" is one of the first server's.
    std::string Section(const std::string& name, const std::string& database1,
                        const std::string& database2, const std::string& settings = {}) const {
        const auto place = [&](const std::string& database) {
            return database.find('/') == std::string::npos
                       ? QuillonLib::ToUtf8(server.Address()) + "/" + database
                       : database;
        };
        return "[" + name + "]\ndatabase1 = " + place(database1) +
               "\ndatabase2 = " + place(database2) + "\nuser = sa\n" + settings;
    }
    void Write(const std::string& text) const { std::ofstream(File("b.ini")) << text; }
    Outcome Run(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"batch", File("b.ini")});
        return Call(options);
    }
    // Without the style.
    std::string Index(const char* name) const {
        const std::string page = Read(name);
        return page.substr(page.find("<body>"));
    }
    // Lines that end in another order on a busy machine.
    static std::multiset<std::string> Lines(const std::string& text) {
        std::multiset<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            lines.insert(line);
        return lines;
    }
    std::set<std::string> Files(const char* name) const {
        std::set<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder / name))
            files.insert(entry.path().filename().string());
        return files;
    }
};

TEST_F(Batch, GoesOnAfterAFailureWhichOutranksADifference) {
    Write(Section("same", "e", "f") + Section("gone", "e", "nowhere") + Section("other", "a", "b") +
          Section("far", first, second) + Section("again", "f", "e"));
    const Outcome outcome = Run();
    EXPECT_EQ(outcome.exitCode, 2);
    const auto lines = Lines(outcome.out);
    EXPECT_EQ(lines.count("[same] identical"), 1u) << outcome.out;
    EXPECT_EQ(lines.count("[again] identical"), 1u) << outcome.out;
    EXPECT_EQ(lines.count("    1 table: 1 identical, 0 different"), 2u) << outcome.out;
    EXPECT_EQ(lines.count("[gone] failed"), 1u) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "nowhere")) << outcome.out;
    EXPECT_EQ(lines.count("[other] different"), 1u) << outcome.out;
    EXPECT_EQ(lines.count("    2 tables: 0 identical, 2 different"), 1u) << outcome.out;
    EXPECT_EQ(lines.count("[far] different"), 1u) << outcome.out;
    const std::string last = "\n5 pairs: 2 identical, 2 different, 1 failed\n";
    EXPECT_EQ(outcome.out.substr(outcome.out.size() - last.size()), last) << outcome.out;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Batch, EndsWithTheCodeOfTheWorst) {
    Write(Section("same", "e", "f"));
    EXPECT_EQ(Run().exitCode, 0);
    Write(Section("part", "e", "f", "where = t=id = 1\n"));
    EXPECT_EQ(Run().exitCode, 3);
    Write(Section("part", "e", "f", "where = t=id = 1\naccept-uncompared = yes\n"));
    EXPECT_EQ(Run().exitCode, 0);
    Write(Section("part", "e", "f", "where = t=id = 1\n") + Section("other", "a", "b"));
    EXPECT_EQ(Run().exitCode, 1);
    Write(Section("other", "a", "b") + Section("wrong", "e", "f", "table = nothing\n"));
    const Outcome failed = Run();
    EXPECT_EQ(failed.exitCode, 2);
    EXPECT_TRUE(Holds(failed.out, "[wrong] failed\n")) << failed.out;
    EXPECT_TRUE(Holds(failed.out, "nothing")) << failed.out;
}

TEST_F(Batch, SettingsAreThoseOfThePairAlone) {
    Write(Section("all", "a", "b") + Section("p", "a", "b", "table = p\nkey = p=id\nignore = n\n") +
          Section("none", first, second, "ignore-case = yes\nignore-trailing-blanks = yes\n"));
    const Outcome outcome = Run({"--format", "json", "--jobs", "1"});
    EXPECT_EQ(outcome.exitCode, 1);
    std::istringstream stream(outcome.out);
    std::string all;
    std::string p;
    std::string none;
    std::getline(stream, all);
    std::getline(stream, p);
    std::getline(stream, none);
    EXPECT_TRUE(Holds(all, "\"table\":\"[dbo].[c]\"")) << all;
    EXPECT_FALSE(Holds(p, "\"table\":\"[dbo].[c]\"")) << p;
    EXPECT_TRUE(Holds(p, "\"why\":\"ignored\"")) << p;
    EXPECT_TRUE(Holds(none, "\"loosened\":\"without regard to case, without blanks at the end\""))
        << none;
    EXPECT_TRUE(Holds(none, "\"notes\":[\"quillon: values are compared")) << none;
    EXPECT_TRUE(Holds(outcome.err, "quillon: [none] values are compared without regard to case"))
        << outcome.err;
    EXPECT_FALSE(Holds(outcome.err, "[all]")) << outcome.err;
}

TEST_F(Batch, TellsWhatIsSentAndNothingThatIsOnlyGoodToKnow) {
    Write(Section("one", "e", "f", "ignore-case = yes\n") + Section("two", first, second));
    const Outcome quiet = Run({"--quiet", "--log", File("batch.log")});
    EXPECT_EQ(quiet.exitCode, 1);
    EXPECT_EQ(quiet.err, "");
    const std::string log = Read("batch.log");
    EXPECT_TRUE(Holds(log, "logging in as sa")) << log;
    EXPECT_TRUE(Holds(log, " " + second + ": SELECT ")) << log;
    EXPECT_TRUE(Holds(log, "/e: SELECT ")) << log;
    const Outcome verbose = Run({"--verbose"});
    EXPECT_TRUE(Holds(verbose.err, " " + second + ": SELECT ")) << verbose.err;
    EXPECT_TRUE(Holds(verbose.err, "quillon: [one] values are compared without regard to case"));
}

TEST_F(Batch, WritesAReportOfEachPairAndAnIndex) {
    Write(Section("same", "e", "f", "description = <b>\n") + Section("gone", "e", "nowhere") +
          Section("other", "a", "b") + Section("server's", "a", "b", "by-server = yes\n"));
    const Outcome outcome = Run({"--reports", File("new/reports")});
    EXPECT_EQ(outcome.exitCode, 2) << outcome.err;
    EXPECT_EQ(Files("new/reports"),
              (std::set<std::string>{"index.html", "other.html", "same.html", "server_s.html"}));
    const std::string index = Index("new/reports/index.html");
    EXPECT_TRUE(Holds(index, "<p>4 pairs: 1 identical, 2 different, 1 failed</p>")) << index;
    EXPECT_TRUE(Holds(index, "<a href=\"same.html\">same</a><div class=\"soft\">&lt;b&gt;</div>"));
    EXPECT_TRUE(Holds(index, "<a href=\"server_s.html\">server&#39;s</a>"));
    EXPECT_TRUE(Holds(index, "<td class=\"name\">gone</td>")) << "no link to what is not there";
    EXPECT_TRUE(Holds(Read("new/reports/other.html"), "data-kinds=\"d21\"") ||
                Holds(Read("new/reports/other.html"), "data-kinds=\"d12\""))
        << "the rows of p";
    const std::string byServer = Read("new/reports/server_s.html");
    EXPECT_TRUE(Holds(byServer, "\"road\":\"by-server\""));
    EXPECT_FALSE(Holds(byServer, "class=\"rows\""));
}

// The index and the report that it leads to say the same.
TEST_F(Batch, AnAcceptedPairIsNotCalledIdenticalAnywhere) {
    Write(Section("part", "e", "f", "where = t=id = 1\naccept-uncompared = yes\n"));
    EXPECT_EQ(Run({"--reports", File("r")}).exitCode, 0);
    EXPECT_TRUE(Holds(Index("r/index.html"), "not compared whole</span>"));
    EXPECT_TRUE(Holds(Read("r/part.html"), R"("exitCode":0},"found":3,"rows":[)"));
}

TEST_F(Batch, AFolderThatCannotBeMadeOrWrittenToIsAnErrorBeforeAnythingRuns) {
    Write(Section("same", "e", "f"));
    std::ofstream(File("file")) << "x";
    server.ClearLog();
    const Outcome outcome = Run({"--reports", File("file/reports")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "file/reports cannot be made: ")) << outcome.err;
    EXPECT_TRUE(server.Log().empty());
}

TEST_F(Batch, SlicesShareNothingAndAreTheList) {
    Write(Section("a", "e", "f") + Section("b", "a", "b") + Section("c", "f", "e"));
    const Outcome one = Run({"--slice", "1/2", "--reports", File("r")});
    const Outcome two = Run({"--slice", "2/2", "--reports", File("r")});
    EXPECT_EQ(one.exitCode, 0) << one.out;
    EXPECT_TRUE(Holds(one.out, "[a] identical\n"));
    EXPECT_TRUE(Holds(one.out, "[c] identical\n"));
    EXPECT_FALSE(Holds(one.out, "[b]"));
    EXPECT_EQ(two.exitCode, 1);
    EXPECT_EQ(FirstLine(two.out), "[b] different");
    EXPECT_FALSE(Holds(two.out, "[a]"));
    EXPECT_EQ(Files("r"), (std::set<std::string>{"a.html", "b.html", "c.html", "index-1-of-2.html",
                                                 "index-2-of-2.html"}));
    const Outcome none = Run({"--slice", "4/4"});
    EXPECT_EQ(none.exitCode, 0) << none.err;
    EXPECT_EQ(none.out, "0 pairs\n");
    const Outcome wrong = Run({"--slice", "5/4"});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_EQ(FirstLine(wrong.err), "quillon: --slice: '5/4' is not PART/COUNT, as in 3/10");
}

TEST_F(Batch, AWrongFileRunsNothing) {
    Write(Section("same", "e", "f") + "tabel = t\n");
    server.ClearLog();
    const Outcome outcome = Run({"--reports", File("r")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "quillon: " + File("b.ini") +
                               ", line 5: there is no setting 'tabel'; did you mean table?\n");
    EXPECT_TRUE(server.Log().empty());
    EXPECT_FALSE(std::filesystem::exists(folder / "r"));
    const Outcome missing = Call({"batch", File("none.ini")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(Holds(missing.err, "none.ini")) << missing.err;
}

// What the verdict leaves open is told as `quillon compare` tells it.
TEST_F(Batch, TellsWhatWasNotComparedAndHowColumnsDiffer) {
    server.Run(u"USE f\nGO\nALTER TABLE t ADD n int NULL");
    Write(Section("p", "e", "f", "where = t=id = 1\n"));
    EXPECT_EQ(Run().out,
              "[p] different\n"
              "    1 table: 0 identical, 1 different; left out: 1 column\n"
              "    [dbo].[t]: columns differ\n"
              "      column [n] only in 2\n"
              "      not compared: rows that do not meet id = 1\n"
              "1 pair: 1 different\n");
    server.Run(
        u"USE f\nGO\nALTER TABLE t ALTER COLUMN n int NULL\nGO\n"
        u"USE e\nGO\nALTER TABLE t ADD n bigint NULL");
    Write(Section("p", "e", "f"));
    EXPECT_EQ(Run().out,
              "[p] identical\n"
              "    1 table: 1 identical, 0 different\n"
              "    [dbo].[t]: identical\n"
              "      column [n]: bigint in 1, int in 2\n"
              "1 pair: 1 identical\n");
}

TEST_F(Batch, TellsWhereEqualityWasLooser) {
    Write(Section("p", "e", "f", "ignore-case = yes\n"));
    const Outcome outcome = Run({"--quiet", "--reports", File("r")});
    const std::string summary =
        "1 table: 1 identical, 0 different; compared without regard to case";
    EXPECT_EQ(outcome.out, "[p] identical\n    " + summary + "\n1 pair: 1 identical\n");
    EXPECT_TRUE(Holds(Index("r/index.html"), summary)) << Index("r/index.html");
}

TEST_F(Batch, TellsOnWhichSideATableFailed) {
    other.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    Write(Section("p", first, second));
    const Outcome outcome = Run();
    EXPECT_TRUE(Holds(outcome.out, "[dbo].[t]: not compared\nIn database 2 (" + second + "): "))
        << outcome.out;
}

// Linked servers have one name for every comparison: two at once would take each other's away.
TEST_F(Batch, ComparisonsThatNeedLinkedServersDoNotMeet) {
    sandbox::ServerSettings settings;
    settings.name = u"NEAR";
    sandbox::Server& near = box.AddServer(settings);
    near.Run(
        u"CREATE DATABASE d\nGO\nUSE d\nGO\n"
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, name varchar(20) NULL, "
        u"note ntext NULL)\nGO\nINSERT t VALUES (1, 'same', N'long')");
    std::string text;
    for (const char* name : {"1", "2", "3", "4", "5", "6"}) {
        text += Section(name, first, QuillonLib::ToUtf8(near.Address()) + "/d",
                        "by-server = yes\ntable = t\n");
    }
    Write(text);
    const Outcome outcome = Run({"--jobs", "6", "--per-server", "6"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.out << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "6 pairs: 6 different\n")) << outcome.out;
}

// Every comparison reads for 300 milliseconds: one after the other they take four times as long.
TEST_F(Batch, AServerTakesPartInSoManyComparisonsAndNoMore) {
    std::string text;
    for (const char* mark : {"1 = 1", "2 = 2", "3 = 3", "4 = 4"}) {
        server.AddFault({.kind = sandbox::FaultKind::Delay,
                         .contains = QuillonLib::FromUtf8(mark),
                         .delay = 300ms});
        text += Section(mark, "e", "f",
                        std::string("accept-uncompared = yes\nwhere = t=") + mark + "\n");
    }
    Write(text);
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = Run({"--jobs", "4", "--per-server", "1"});
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1200ms);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "4 pairs: 4 not compared whole\n")) << outcome.out;
}

// Whoever cannot be told of the first pair need not wait for the last.
TEST_F(Batch, ADestinationThatIsFullEndsTheBatchBeforeTheOtherPairs) {
    std::string text;
    for (const char* mark : {"1 = 1", "2 = 2", "3 = 3", "4 = 4", "5 = 5"}) {
        server.AddFault({.kind = sandbox::FaultKind::Delay,
                         .contains = QuillonLib::FromUtf8(mark),
                         .delay = 200ms});
        text += Section(mark, "e", "f", std::string("where = t=") + mark + "\n");
    }
    Write(text);
    server.ClearLog();
    Streams streams;
    streams.out = "/dev/full";
    Process process(folder, {"batch", File("b.ini"), "--jobs", "1"}, streams,
                    {{"QUILLON_PASSWORD", "sandbox"}});
    EXPECT_EQ(process.Wait(), 2);
    EXPECT_TRUE(Holds(process.Err(), "cannot write to standard output")) << process.Err();
    const auto asked = [&](std::u16string_view mark) {
        const auto log = server.Log();
        return std::any_of(log.begin(), log.end(), [&](const sandbox::LogEntry& entry) {
            return entry.batch.find(mark) != std::u16string::npos;
        });
    };
    EXPECT_TRUE(asked(u"1 = 1"));
    EXPECT_FALSE(asked(u"4 = 4"));
    EXPECT_FALSE(asked(u"5 = 5"));
}

TEST_F(Batch, CtrlCEndsAllAndTellsWhatWasNotRun) {
    std::signal(SIGINT, SIG_DFL);  // a shell in the background has it ignored
    const QuillonLib::test::SilentServer silent;
    const std::string nobody = QuillonLib::ToUtf8(silent.Address()) + "/d";
    Write(Section("done", "e", "f") + Section("stuck", nobody, "e") + Section("late", "f", "e") +
          Section("later", "a", "b"));
    std::filesystem::create_directory(folder / "tmp");
    Process process(
        folder, {"batch", File("b.ini"), "--jobs", "1", "--reports", File("r"), "--format", "json"},
        Streams{}, {{"TMPDIR", File("tmp")}, {"QUILLON_PASSWORD", "sandbox"}});
    ASSERT_TRUE(process.Prints("\"name\":\"done\""));
    std::this_thread::sleep_for(300ms);
    const auto begin = std::chrono::steady_clock::now();
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 8s);
    EXPECT_EQ(process.Err(),
              "quillon: interrupted; ending as soon as everything is in order (once more: at "
              "once)\nquillon: ends in the middle of [stuck]\nquillon: not run: [late], [later]\n");
    EXPECT_TRUE(Holds(process.Out(), "\"name\":\"late\"")) << process.Out();
    EXPECT_TRUE(Holds(process.Out(), "\"outcome\":\"not-run\"")) << process.Out();
    EXPECT_EQ(Files("r"), (std::set<std::string>{"done.html", "index.html"}));
    const std::string index = Index("r/index.html");
    EXPECT_TRUE(Holds(index, "<a href=\"done.html\">done</a>")) << index;
    EXPECT_TRUE(Holds(index, "not run</span></td>")) << index;
    EXPECT_TRUE(std::filesystem::is_empty(folder / "tmp"));
}

// Whoever looks at the page sees what runs, also where it began when the page was just written.
TEST_F(Batch, TheIndexFollowsWhatRuns) {
    std::signal(SIGINT, SIG_DFL);
    const sandbox::Fault slow{
        .kind = sandbox::FaultKind::Delay, .contains = u"FROM [dbo].[t]", .delay = 60s};
    other.AddFault(slow);
    Write(Section("done", "e", "f") + Section("slow", first, second, "table = t\n") +
          Section("late", "e", "f"));
    Process process(folder, {"batch", File("b.ini"), "--jobs", "1", "--reports", File("r")},
                    Streams{}, {{"QUILLON_PASSWORD", "sandbox"}});
    ASSERT_TRUE(process.Prints("[done] identical"));
    const std::string summary = "<p>3 pairs: 1 identical, 1 running, 1 not run</p>";
    for (int i = 0; i < 500 && !Holds(Index("r/index.html"), summary); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(Holds(Index("r/index.html"), summary)) << Index("r/index.html");
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 130);
}

// A template is worth here what it is worth to `quillon compare`: its databases may bring logins.
TEST_F(Batch, TheConnectionsOfATemplateBringTheirLogins) {
    const auto connection = [](const char* name, sandbox::Server& on) {
        return "[" + std::string(name) + "]\nserver = " + QuillonLib::ToUtf8(on.Address()) +
               "\ndatabase = d\nuser = sa\n";
    };
    std::ofstream(File("c.ini")) << connection("one", server) + connection("two", other);
    const auto make = [&](const std::string& name, const std::string& one, const std::string& two) {
        ASSERT_EQ(Call({"template", "--templates", File("t.xml"), "new", name, one, two}).exitCode,
                  0);
    };
    make("named", "one", "two");
    make("places", first, second);
    make("half", "one", second);
    const auto with = [&](const std::string& name, const std::string& settings = {}) {
        Write("[p]\ntemplate = " + name + "\ntemplates = " + File("t.xml") + "\n" + settings);
        return Run({"--config", File("c.ini")});
    };
    const Outcome named = with("named");
    EXPECT_EQ(named.exitCode, 1) << named.err;
    EXPECT_TRUE(Holds(named.out, "[p] different\n    1 table: 0 identical, 1 different\n"))
        << named.out;
    EXPECT_EQ(with("places", "user = sa\n").exitCode, 1);
    QuillonLib::test::SetVariable("QUILLON_PASSWORD2", "sandbox");
    EXPECT_EQ(with("half", "user2 = sa\n").exitCode, 1);
    QuillonLib::test::RemoveVariable("QUILLON_PASSWORD2");
    EXPECT_EQ(with("places").err,
              "quillon: " + File("b.ini") +
                  ", line 2: [p] has no login for database1: name a connection that has one, or "
                  "write user\n");
    EXPECT_EQ(with("half").err,
              "quillon: " + File("b.ini") +
                  ", line 2: [p] has no login for database2: name a connection that has one, or "
                  "write user2\n");
    // What the list names goes before it, and only its picks are taken then.
    make("elsewhere", "nowhere.invalid/a", "nowhere.invalid/b");
    RunOnBothServers(u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    ASSERT_EQ(Call({"template", "--templates", File("t.xml"), "pick", "table", "u"}).exitCode, 0);
    const Outcome picks = with("elsewhere", "database1 = one\ndatabase2 = two\n");
    EXPECT_EQ(picks.exitCode, 0) << picks.err;
    EXPECT_TRUE(Holds(picks.out, "[p] identical\n    1 table: 1 identical, 0 different\n"))
        << picks.out;
    // One that is not there fails the pair, as it does where a login is named.
    const Outcome missing = with("nothing");
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(Holds(missing.out, "[p] failed\n")) << missing.out << missing.err;
    EXPECT_TRUE(Holds(missing.out, "has no template named nothing")) << missing.out;
}

// A comparison that is reading is told to end, and everything that was left says so.
TEST_F(Batch, CtrlCBreaksOffWhatIsReading) {
    std::signal(SIGINT, SIG_DFL);
    const sandbox::Fault slow{
        .kind = sandbox::FaultKind::Delay, .contains = u"FROM [dbo].[t]", .delay = 60s};
    other.AddFault(slow);
    Write(Section("slow", first, second, "table = t\n") + Section("late", "e", "f"));
    Process process(folder, {"batch", File("b.ini"), "--jobs", "1", "--reports", File("r")},
                    Streams{}, {{"QUILLON_PASSWORD", "sandbox"}});
    const auto reads = [&] {
        const auto log = other.Log();
        return std::any_of(log.begin(), log.end(), [&](const sandbox::LogEntry& entry) {
            return entry.batch.find(slow.contains) != std::u16string::npos;
        });
    };
    for (int i = 0; i < 3000 && !reads(); ++i)
        std::this_thread::sleep_for(10ms);
    ASSERT_TRUE(reads());
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 130);
    EXPECT_TRUE(
        Holds(process.Err(), "quillon: ends in the middle of [slow]\nquillon: not run: [late]\n"))
        << process.Err();
    EXPECT_TRUE(Holds(process.Out(), "[slow] broken off\n")) << process.Out();
    EXPECT_TRUE(Holds(process.Out(), "2 pairs: 1 broken off, 1 not run\n")) << process.Out();
    EXPECT_FALSE(std::filesystem::exists(folder / "r/slow.html"));
    for (const std::string& name : Files("r"))
        EXPECT_EQ(name, "index.html");
}

}  // namespace
}  // namespace quillon
