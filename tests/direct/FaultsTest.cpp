// Everything that can fail on the direct road, at every place where it can.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "direct/SpillFile.h"
#include "tests/direct/ScriptFixture.h"
#include "tests/support/TemporaryFolder.h"

#ifndef _WIN32
#include <csignal>

#include <sys/resource.h>
#endif

namespace QuillonLib {
namespace {

class FaultsTest : public ScriptFixture {
  protected:
    static constexpr int Rows = 300;

    // Two tables, the second without a key; in each, rows that differ and rows of one side. A
    // column of unbounded length is read in blocks of 256 rows: there are two.
    FaultsTest() {
        RunOnBoth(
            u"CREATE TABLE keyed (id int NOT NULL PRIMARY KEY, a varchar(max) NULL)\n"
            u"CREATE TABLE bag (id int NULL, a varchar(max) NULL)");
        for (sandbox::Server* on : {&server, &server2}) {
            std::u16string rows;
            for (int i = 0; i < Rows; ++i) {
                const bool here = on == &server ? i % 50 != 7 : i % 50 != 8;
                if (!here) continue;
                const std::u16string value = on == &server2 && i % 50 == 9 ? u"'x'" : u"'y'";
                rows += (rows.empty() ? u"" : u",") + (u"(" + ToText(i)) + u"," + value + u")";
            }
            on->Run(u"USE w\nGO\nINSERT keyed VALUES " + rows + u"\nINSERT bag VALUES " + rows);
        }
    }

    std::vector<DirectTableResult> CompareBoth() {
        return Compare({{{u"dbo", u"keyed"}, {}, {}, {}}, {{u"dbo", u"bag"}, {}, {}, {}}});
    }
    static void ExpectWhole(const DirectTableResult& result) {
        EXPECT_TRUE(result.complete);
        EXPECT_EQ(result.rows1, Rows - 6U);
        EXPECT_EQ(result.rows2, Rows - 6U);
    }

    std::u16string Rows2() {
        std::u16string rows;
        for (const std::u16string_view table : {u"keyed", u"bag"}) {
            const std::u16string from = u" FROM " + std::u16string(table);
            rows += On2(u"SELECT COUNT(*)" + from);
            for (int i = 0; i < Rows; ++i)
                rows += u"," + On2(u"SELECT a" + from + u" WHERE id = " + ToText(i));
        }
        return rows;
    }
};

TEST_F(FaultsTest, AConnectionThatIsLostAtAnyRowIsAnErrorOfItsTable) {
    options.jobs = 1;
    for (const int side : {1, 2}) {
        sandbox::Server& broken = side == 1 ? server : server2;
        for (const std::u16string_view table : {u"[keyed]", u"[bag]"}) {
            for (int rows = 0; rows < Rows - 6; rows += 21) {
                broken.AddFault({.kind = sandbox::FaultKind::DropAfterRows,
                                 .contains = u"FROM [dbo]." + std::u16string(table),
                                 .rows = rows});
                const auto results = CompareBoth();
                broken.ClearFaults();
                const bool first = table == u"[keyed]";
                const DirectTableResult& lost = results.at(first ? 0 : 1);
                ASSERT_TRUE(lost.error) << side << " " << rows;
                EXPECT_EQ(lost.error->Number(), ErrorNumber::DataAccess);
                EXPECT_EQ(lost.failedSide, side);
                EXPECT_FALSE(lost.complete);
                EXPECT_FALSE(lost.Same());
                ExpectWhole(results.at(first ? 1 : 0));
            }
        }
    }
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ConnectionsLeft(server2), 0);
}

// Nobody waits for the rows of the other side then.
TEST_F(FaultsTest, AFailureOfOneSideEndsAWaitForTheOther) {
    options.jobs = 1;
    for (const int side : {1, 2}) {
        sandbox::Server& failing = side == 1 ? server : server2;
        sandbox::Server& silent = side == 1 ? server2 : server;
        failing.AddFault(ErrorIn(u"FROM [dbo].[keyed]"));
        silent.AddFault({.kind = sandbox::FaultKind::Delay,
                         .contains = u"FROM [dbo].[keyed]",
                         .delay = std::chrono::seconds(60)});
        const auto start = std::chrono::steady_clock::now();
        const auto results = CompareBoth();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
        ASSERT_TRUE(results.at(0).error);
        EXPECT_NE(results[0].error->Description().find(u"made to fail"), std::u16string::npos);
        EXPECT_EQ(results[0].failedSide, side);
        ExpectWhole(results.at(1));
        failing.ClearFaults();
        silent.ClearFaults();
    }
}

TEST_F(FaultsTest, AConnectionThatIsLostAtAnyBatchIsAnError) {
    options.jobs = 1;
    CompareBoth();
    const auto whole = differences;
    for (const int side : {1, 2}) {
        sandbox::Server& broken = side == 1 ? server : server2;
        broken.ClearLog();
        CompareBoth();
        const int batches = static_cast<int>(Batches(broken).size());
        ASSERT_GT(batches, 4);
        int errors = 0;
        for (int nth = 1; nth <= batches; ++nth) {
            broken.AddFault({.kind = sandbox::FaultKind::Drop, .nth = nth});
            bool told = false;
            std::vector<DirectTableResult> results;
            const Raised raised = RaisedBy([&] { results = CompareBoth(); });
            broken.ClearFaults();
            if (raised.number != 0) {
                EXPECT_EQ(raised.number, ErrorNumber::DataAccess) << nth;
                told = true;
            }
            for (const DirectTableResult& result : results) {
                if (result.error) told = true;
                EXPECT_EQ(result.failedSide, result.error ? side : 0);
                EXPECT_NE(result.complete, result.error.has_value());
            }
            // What is not told has been asked again: it must be the whole.
            if (!told) {
                EXPECT_EQ(differences, whole) << "side " << side << ", batch " << nth;
            }
            errors += told ? 1 : 0;
        }
        EXPECT_GT(errors, 2);
    }
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ConnectionsLeft(server2), 0);
}

TEST_F(FaultsTest, AnyCallbackCanCancel) {
    for (const int jobs : {1, 2}) {
        options.jobs = jobs;
        int calls = 0;
        int cancelAt = 0;
        const auto call = [&](bool& cancel) { cancel = ++calls == cancelAt; };
        sink.Difference = [&](const DirectDifference&, bool& cancel) { call(cancel); };
        sink.Progress = [&](const DirectProgress&, bool& cancel) { call(cancel); };
        sink.Table = [&](std::size_t, const DirectTableResult&, bool& cancel) { call(cancel); };
        CompareBoth();
        const int all = calls;
        ASSERT_GT(all, 30);
        for (cancelAt = 1; cancelAt < all; ++cancelAt) {
            calls = 0;
            const auto results = CompareBoth();
            EXPECT_EQ(calls, cancelAt);  // nothing is told afterwards
            EXPECT_FALSE(results.at(1).complete && results.at(0).complete) << cancelAt;
        }
    }
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ConnectionsLeft(server2), 0);
}

TEST_F(FaultsTest, AScriptThatLosesItsConnectionAtAnyBatchChangesNothing) {
    const std::u16string script = Script({u"keyed", u"bag"});
    const std::u16string before = Rows2();
    const std::size_t batches = BatchesOf(script).size();
    ASSERT_GT(batches, 2U);
    for (const auto kind : {sandbox::FaultKind::Drop, sandbox::FaultKind::Error}) {
        for (std::size_t nth = 1; nth <= batches; ++nth) {
            sandbox::Fault fault = ErrorIn(u"", static_cast<int>(nth));
            fault.kind = kind;
            // Batches of the log-in do not count.
            fault.contains = u"CONTEXT_INFO";
            server2.AddFault(fault);
            EXPECT_FALSE(Run(script).empty()) << nth;
            server2.ClearFaults();
            EXPECT_EQ(ConnectionsLeft(server2), 0);
            EXPECT_EQ(Rows2(), before) << nth;
        }
    }
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_NE(Rows2(), before);
}

// What `out` throws passes at each of its calls.
TEST_F(FaultsTest, WritingCanFailAtAnyPiece) {
    DirectScriptWriter writer(*two, scripted);
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = CompareBoth();
    int pieces = 0;
    int failAt = 0;
    const auto out = [&](std::u16string_view) {
        if (++pieces == failAt) throw Error(ErrorNumber::FileAccess, u"no room");
    };
    writer.Write(results, out);
    const int all = pieces;
    ASSERT_GT(all, 10);
    for (failAt = 1; failAt <= all; ++failAt) {
        pieces = 0;
        const Raised raised = RaisedBy([&] { writer.Write(results, out); });
        EXPECT_EQ(raised.description, u"no room");
        EXPECT_EQ(pieces, failAt);
    }
    failAt = 0;
    pieces = 0;
    writer.Write(results, out);
    EXPECT_EQ(pieces, all);
    EXPECT_EQ(ConnectionsLeft(server2), 0);
}

TEST_F(FaultsTest, AScriptOfSomeOfTheDifferencesIsRefused) {
    DirectScriptWriter writer(*two, scripted);
    int found = 0;
    sink.Difference = [&](const DirectDifference& difference, bool&) {
        if (++found != 3) writer.Add(difference);
    };
    const auto results = CompareBoth();
    const Raised raised = RaisedBy([&] { writer.Write(results, [](std::u16string_view) {}); });
    EXPECT_EQ(raised.number, ErrorNumber::InvalidArgument);
    EXPECT_EQ(raised.description,
              u"Table [dbo].[keyed] has 18 differences, and 17 were handed over.");
}

#ifndef _WIN32

// As a full disk does.
class FilesThatStayBelow {
  public:
    explicit FilesThatStayBelow(rlim_t bytes) {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before_), 0);
        rlimit limit = before_;
        limit.rlim_cur = bytes;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FilesThatStayBelow() {
        static_cast<void>(setrlimit(RLIMIT_FSIZE, &before_));
        static_cast<void>(std::signal(SIGXFSZ, signal_));
    }
    FilesThatStayBelow(const FilesThatStayBelow&) = delete;
    FilesThatStayBelow& operator=(const FilesThatStayBelow&) = delete;

  private:
    void (*signal_)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before_{};
};

TEST(SpillFiles, TellThatThereIsNoRoom) {
    SpillFile file;
    const std::string piece(1000, 'x');
    file.Append(piece);
    const FilesThatStayBelow limit(2500);
    EXPECT_EQ(file.Append(piece), 1000U);
    const Raised raised = RaisedBy([&] { file.Append(piece); });
    EXPECT_EQ(raised.number, ErrorNumber::FileAccess);
    EXPECT_EQ(raised.description, u"A temporary file for rows cannot be written in " +
                                      std::filesystem::temp_directory_path().u16string() +
                                      u": File too large");
}

class OtherTemporaryFolder {
  public:
    explicit OtherTemporaryFolder(const std::filesystem::path& folder) {
        if (const char* const before = std::getenv("TMPDIR")) before_ = before;
        EXPECT_EQ(setenv("TMPDIR", folder.c_str(), 1), 0);
    }
    ~OtherTemporaryFolder() {
        static_cast<void>(before_ ? setenv("TMPDIR", before_->c_str(), 1) : unsetenv("TMPDIR"));
    }
    OtherTemporaryFolder(const OtherTemporaryFolder&) = delete;
    OtherTemporaryFolder& operator=(const OtherTemporaryFolder&) = delete;

  private:
    std::optional<std::string> before_;
};

TEST(SpillFiles, LieInTheTemporaryFolderAndLeaveNothing) {
    const std::filesystem::path folder = test::MakeTemporaryFolder();
    {
        const OtherTemporaryFolder other(folder);
        SpillFile file;
        file.Append("abc");
        char read[3] = {};
        file.Read(0, read, sizeof read);
        EXPECT_EQ(std::string(read, sizeof read), "abc");
        errno = ENOSPC;  // of some other call
        char more[4] = {};
        EXPECT_EQ(RaisedBy([&] { file.Read(0, more, sizeof more); }).description,
                  u"A temporary file for rows cannot be read in " + folder.u16string() +
                      u": it does not hold so much");
        EXPECT_TRUE(std::filesystem::is_empty(folder));
    }
    std::filesystem::remove_all(folder);
    const OtherTemporaryFolder gone(folder);
    SpillFile file;
    EXPECT_EQ(RaisedBy([&] { file.Append("abc"); }).description,
              u"A temporary file for rows cannot be made in " + folder.u16string() +
                  u": No such file or directory");
}

// Nothing of the script is written then.
TEST_F(FaultsTest, DifferencesThatFindNoRoomAreAnErrorOfTheScript) {
    RunOn1(u"UPDATE keyed SET a = REPLICATE('z', 8000)");
    DirectScriptWriter writer(*two, scripted);
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const FilesThatStayBelow limit(1 << 20);
    const Raised raised = RaisedBy([&] { CompareBoth(); });
    EXPECT_EQ(raised.number, ErrorNumber::FileAccess);
    EXPECT_EQ(raised.description, u"A temporary file for rows cannot be written in " +
                                      std::filesystem::temp_directory_path().u16string() +
                                      u": File too large");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

#endif

}  // namespace
}  // namespace QuillonLib
