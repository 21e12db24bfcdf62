// The commands where the disk is full, at every write that they make.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "tests/cli/Process.h"
#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

// What the system counts a limit in, and how far the limits stand apart here: files are written in
// pieces of twice that.
constexpr std::uintmax_t Block = 512;
constexpr int Step = 1000;

class FullDiskTest : public TwoServers {
  protected:
    FullDiskTest() {
        fs::create_directory(folder / "files");
        fs::create_directory(folder / "tmp");
        RunOnBothServers(u"CREATE TABLE wide (id int NOT NULL PRIMARY KEY, v varchar(max) NULL)");
    }

    // Rows that only the first has, with so many characters each.
    void AddRows(const std::u16string& table, int rows, int characters) {
        std::u16string sql = u"INSERT " + table + u" VALUES ";
        for (int i = 0; i < rows; ++i) {
            sql += (i == 0 ? u"(" : u", (") + QuillonLib::ToText(i) +
                   u", REPLICATE(CAST('x' AS varchar(max)), " + QuillonLib::ToText(characters) +
                   u"))";
        }
        RunOnFirst(sql);
    }

    struct Ending {
        int exitCode = 0;
        std::string out;
        std::string err;
    };
    // With files of at most so many blocks; 0: of any size.
    Ending Run(const std::string& command, std::vector<std::string> options, int blocks) const {
        options.insert(options.begin(), command);
        options.insert(options.end(), {first, second, "--user", "sa"});
        Process process(folder, options, {.in = "", .out = "", .err = "", .blocks = blocks},
                        {{"TMPDIR", (folder / "tmp").string()}});
        Ending ending;
        ending.exitCode = process.Wait();
        ending.out = process.Out();
        ending.err = process.Err();
        return ending;
    }
    std::string NoRoom() const {
        return "A temporary file for rows cannot be written in " + (folder / "tmp").string() +
               ": File too large\n";
    }
    std::string Target() const { return (folder / "files" / "u.sql").string(); }
    std::string Written() const { return Read("files/u.sql"); }
    std::size_t Files() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder / "files"), fs::directory_iterator()));
    }
    void ExpectNothingLeft() {
        EXPECT_TRUE(fs::is_empty(folder / "tmp"));
        EXPECT_EQ(ConnectionsLeft(server), 0);
        EXPECT_EQ(ConnectionsLeft(other), 0);
    }
    // The last limit at which a file of that size does not fit.
    static int JustTooFew(std::uintmax_t size) { return static_cast<int>((size - 1) / Block); }
};

TEST_F(FullDiskTest, AScriptThatFindsNoRoomLeavesTheOldFile) {
    AddRows(u"wide", 30, 50'000);
    const std::vector<std::string> options{"-o", Target(), "--encoding", "utf16"};
    ASSERT_EQ(Run("script", options, 0).exitCode, 0);
    const std::string whole = Written();
    ASSERT_GT(whole.size(), 3'000'000U);
    const int last = JustTooFew(whole.size());
    const std::string cannot =
        "quillon: Cannot write the file '" + Target() + "': File too large\n";

    std::set<std::string> told;
    int failures = 0;
    for (int blocks = 1; blocks <= last; blocks = std::min(blocks + Step, last)) {
        SCOPED_TRACE(blocks);
        std::ofstream(Target(), std::ios::trunc) << "old";
        const Ending ending = Run("script", options, blocks);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.out, "");
        told.insert(ending.err);
        EXPECT_EQ(Written(), "old");
        EXPECT_EQ(Files(), 1U);
        ExpectNothingLeft();
        ++failures;
        if (blocks == last) break;
    }
    EXPECT_GT(failures, 5);
    EXPECT_EQ(told, (std::set<std::string>{"quillon: " + NoRoom(), cannot}));

    const Ending ending = Run("script", options, last + 1);
    EXPECT_EQ(ending.exitCode, 0) << ending.err;
    EXPECT_TRUE(Written() == whole);
}

// The first fits.
TEST_F(FullDiskTest, OfTwoScriptsBothAreWrittenOrNone) {
    AddRows(u"wide", 1, 20'000);
    const auto pathOf = [this](int side) {
        return folder / "files" / ("u." + std::to_string(side) + ".sql");
    };
    const std::vector<std::string> options{"-o", Target(), "--encoding", "utf16", "--to", "both"};
    ASSERT_EQ(Run("script", options, 0).exitCode, 0);
    const int tooFew = JustTooFew(fs::file_size(pathOf(2)));
    ASSERT_LT(fs::file_size(pathOf(1)), tooFew * Block);
    for (const bool anOldOne : {true, false}) {
        SCOPED_TRACE(anOldOne);
        fs::remove(pathOf(1));
        std::ofstream(pathOf(2), std::ios::trunc) << "old 2";
        if (anOldOne) std::ofstream(pathOf(1)) << "old 1";
        const Ending ending = Run("script", options, tooFew);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.err,
                  "quillon: Cannot write the file '" + pathOf(2).string() + "': File too large\n");
        EXPECT_EQ(Read("files/u.1.sql"), anOldOne ? "old 1" : "");
        EXPECT_EQ(fs::exists(pathOf(1)), anOldOne);
        EXPECT_EQ(Read("files/u.2.sql"), "old 2");
        EXPECT_EQ(Files(), anOldOne ? 2U : 1U);
    }
}

TEST_F(FullDiskTest, AScriptForStandardOutputThatFindsNoRoomPrintsNothing) {
    AddRows(u"wide", 30, 50'000);
    const std::vector<std::string> options{"-o", "-", "--encoding", "utf16"};
    const Ending whole = Run("script", options, 0);
    ASSERT_EQ(whole.exitCode, 0);
    const int last = JustTooFew(whole.out.size());
    int failures = 0;
    for (int blocks = 1; blocks <= last; blocks = std::min(blocks + Step, last)) {
        SCOPED_TRACE(blocks);
        const Ending ending = Run("script", options, blocks);
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.err, "quillon: " + NoRoom());
        EXPECT_EQ(ending.out, "");
        ExpectNothingLeft();
        ++failures;
        if (blocks == last) break;
    }
    EXPECT_GT(failures, 5);
    const Ending ending = Run("script", options, last + 1);
    EXPECT_EQ(ending.exitCode, 0) << ending.err;
    EXPECT_TRUE(ending.out == whole.out);
}

// Differences, and then the script, wait in temporary files until it is run.
TEST_F(FullDiskTest, ASyncThatFindsNoRoomChangesNothing) {
    AddRows(u"wide", 12, 125'000);
    constexpr int Enough = 16'000;  // the script is of 1,500,000 characters, two bytes each
    int failures = 0;
    Ending ending;
    for (int blocks = 1; blocks < Enough; blocks += Step) {
        SCOPED_TRACE(blocks);
        ending = Run("sync", {"--to", "2", "--yes"}, blocks);
        ExpectNothingLeft();
        if (ending.exitCode == 0) break;
        ++failures;
        EXPECT_EQ(ending.exitCode, 2);
        EXPECT_EQ(ending.err, "quillon: " + NoRoom());
        EXPECT_FALSE(Holds(ending.out, "Committed")) << ending.out;
        EXPECT_EQ(other.Scalar(u"USE d SELECT COUNT(*) FROM wide"), u"0");
        EXPECT_EQ(RowsOfT(other), "1 same|2 case |4 new|");
    }
    EXPECT_GE(failures, 5);  // so many steps are 3,000,000 bytes
    EXPECT_EQ(ending.exitCode, 0) << ending.err;
    EXPECT_EQ(other.Scalar(u"USE d SELECT CAST(COUNT(*) AS varchar(9)) + ' ' + "
                           u"CAST(SUM(LEN(v)) AS varchar(20)) FROM wide"),
              u"12 1500000");
}

// Rows of a table without a key wait in a temporary file where they are more than 32 MiB.
TEST_F(FullDiskTest, ATableWithoutAKeyThatFindsNoRoomIsToldAndTheOthersAreCompared) {
    RunOnBothServers(u"CREATE TABLE bag (id int NULL, v varchar(max) NULL)");
    AddRows(u"bag", 34, 1'000'000);
    const Ending compared = Run("compare", {}, 40'000);
    EXPECT_EQ(compared.exitCode, 2);
    EXPECT_TRUE(Holds(compared.out, "\nError comparing [dbo].[bag]\n" + NoRoom())) << compared.out;
    EXPECT_TRUE(Holds(compared.out, "changed cells: [name] 1, [note] 1\n")) << compared.out;
    EXPECT_TRUE(Holds(compared.out, "1 identical, 1 different, 1 not compared"));
    ExpectNothingLeft();
    const Ending shown = Run("rows", {"bag"}, 4);
    EXPECT_EQ(shown.exitCode, 2);
    EXPECT_EQ(shown.out, "");
    EXPECT_TRUE(Holds(shown.err, NoRoom())) << shown.err;
    ExpectNothingLeft();
}

}  // namespace
}  // namespace quillon
