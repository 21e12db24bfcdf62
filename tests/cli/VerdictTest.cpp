// What compare says of tables that it could not look at as a whole, and the exit codes of it.
#include <gtest/gtest.h>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class VerdictTest : public ProgramTest {
  protected:
    Outcome Compare(std::vector<std::string> options) const {
        options.insert(options.begin(), {"compare", "--by-server", "--by-server"});
        return OnBoth(std::move(options));
    }
    // A table of both databases, the same in both.
    void Make(const std::u16string& columns, const std::u16string& values) {
        RunOnBoth(u"CREATE TABLE t (" + columns + u")\nGO\nINSERT t VALUES (" + values + u")");
    }
    static testing::AssertionResult Holds(const Outcome& outcome, const std::string& text) {
        return QuillonLib::Holds(outcome.out, text);
    }
};

constexpr const char16_t* Key = u"id int NOT NULL CONSTRAINT PK_t PRIMARY KEY";

TEST_F(VerdictTest, AllOfItComparedAndIdenticalIsExitCode0) {
    Make(std::u16string(Key) + u", n nvarchar(9)", u"1, N'x'");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Holds(outcome, "\n1 table: 1 identical, 0 different\n"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(VerdictTest, RowCountsOfATableWithoutAKeyAreADifference) {
    Make(u"id int", u"1");
    RunOnB(u"DELETE t");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome, "  row counts differ\n"));
    EXPECT_TRUE(Holds(outcome, "1 table: 0 identical, 1 different; left out: the rows of 1 table"));
}

TEST_F(VerdictTest, ATableWithoutAKeyIsNeverIdentical) {
    Make(u"id int", u"1");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(Holds(outcome,
                      "[dbo].[t]\n  not compared: its rows, which were only counted: the databases "
                      "share no key\n"));
    EXPECT_TRUE(Holds(outcome,
                      "1 table: 0 identical, 0 different, 1 not compared whole; left out: the rows "
                      "of 1 table\n"));
}

struct UncomparedColumn {
    const char16_t* type;
    const char16_t* in1;
    const char16_t* in2;
    const char* reason;
};

class UncomparedColumnTest : public VerdictTest,
                             public ::testing::WithParamInterface<UncomparedColumn> {};

TEST_P(UncomparedColumnTest, IsNamedAndNeverIdentical) {
    const auto& [type, in1, in2, reason] = GetParam();
    RunOnBoth(u"CREATE TABLE t (" + std::u16string(Key) + u", c " + type + u")");
    RunOnA(u"INSERT t (id" + std::u16string(*in1 ? u", c" : u"") + u") VALUES (1" + in1 + u")");
    RunOnB(u"INSERT t (id" + std::u16string(*in2 ? u", c" : u"") + u") VALUES (1" + in2 + u")");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(
        Holds(outcome, "[dbo].[t]\n  not compared: column [c]: " + std::string(reason) + "\n"))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome, "1 not compared whole; left out: 1 column\n"));
    EXPECT_EQ(Compare({"-t", "t", "--accept-uncompared"}).exitCode, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Types, UncomparedColumnTest,
    ::testing::Values(UncomparedColumn{u"ntext", u", N'abc'", u", N'abd'",
                                       "the server does not compare values of type ntext"},
                      UncomparedColumn{u"text", u", 'abc'", u", 'abd'",
                                       "the server does not compare values of type text"},
                      UncomparedColumn{u"image", u", 0x01", u", 0x02",
                                       "the server does not compare values of type image"},
                      UncomparedColumn{u"xml", u", N'<a/>'", u", N'<b/>'",
                                       "the server does not compare values of type xml"},
                      UncomparedColumn{u"timestamp", u"", u"", "a row version differs by nature"},
                      UncomparedColumn{u"AS id + 1", u"", u"", "it is computed"}));

TEST_F(VerdictTest, ColumnsLeftOutByChoiceAreNotCompared) {
    Make(std::u16string(Key) + u", m int, n int", u"1, 1, 1");
    RunOnB(u"UPDATE t SET n = 2");
    const Outcome outcome = Compare({"-t", "t", "--columns", "t=m"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(Holds(
        outcome, "[dbo].[t]\n  not compared: column [n]: it is not among the columns chosen\n"));
    EXPECT_EQ(Compare({"-t", "t", "--columns", "t=m,n"}).exitCode, 1);
}

TEST_F(VerdictTest, AColumnOfOneDatabaseAloneIsADifference) {
    Make(Key, u"1");
    RunOnA(u"ALTER TABLE t ADD extra int NULL");
    const Outcome in1 = Compare({"-t", "t"});
    EXPECT_EQ(in1.exitCode, 1);
    EXPECT_TRUE(Holds(in1, "  columns differ\n"));
    EXPECT_TRUE(Holds(in1, "[dbo].[t]\n  column [extra] only in 1\n"));
    EXPECT_TRUE(Holds(in1, "1 table: 0 identical, 1 different; left out: 1 column\n"));
    RunOnA(u"ALTER TABLE t DROP COLUMN extra");
    RunOnB(u"ALTER TABLE t ADD extra int NULL");
    const Outcome in2 = Compare({"-t", "t"});
    EXPECT_EQ(in2.exitCode, 1);
    EXPECT_TRUE(Holds(in2, "[dbo].[t]\n  column [extra] only in 2\n"));
}

TEST_F(VerdictTest, ColumnsThatDifferInLetterCaseAloneAreTwoColumns) {
    RunOnA(u"CREATE TABLE t (" + std::u16string(Key) + u", Name int)");
    RunOnB(u"CREATE TABLE t (" + std::u16string(Key) + u", name int)");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome, "  column [Name] only in 1\n  column [name] only in 2\n"));
}

TEST_F(VerdictTest, DriftOfTypeLengthAndNullabilityIsToldButIsNoDifference) {
    const std::u16string begin = u"CREATE TABLE t (" + std::u16string(Key);
    RunOnA(begin +
           u", a int NULL, b nvarchar(10) NULL, c decimal(9,2) NULL, d int NULL, e int NULL)");
    RunOnB(begin +
           u", a bigint NULL, b nvarchar(20) NULL, c decimal(9,3) NULL, d int NOT NULL, e int "
           u"NULL)");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Holds(outcome,
                      "[dbo].[t]\n"
                      "  column [a] is int NULL in 1, bigint NULL in 2\n"
                      "  column [b] is nvarchar(10) NULL in 1, nvarchar(20) NULL in 2\n"
                      "  column [c] is decimal(9,2) NULL in 1, decimal(9,3) NULL in 2\n"
                      "  column [d] is int NULL in 1, int NOT NULL in 2\n"
                      "\n"));
}

// '01' becomes 1 before the server compares it.
TEST_F(VerdictTest, TypesThatAreConvertedWithLossAreNotComparedWhole) {
    const struct {
        const char16_t *in1, *in2, *value1, *value2;
        int exitCode;
    } cases[] = {
        {u"varchar(5)", u"int", u"'01'", u"1", 3},
        {u"bigint", u"real", u"16777217", u"16777216", 3},
        {u"decimal(38,2)", u"decimal(20,10)", u"1", u"1", 3},
        {u"int", u"bigint", u"1", u"1", 0},
        {u"int", u"decimal(20,4)", u"1", u"1", 0},
        {u"money", u"decimal(19,4)", u"1", u"1", 0},
        {u"varchar(5)", u"nvarchar(9)", u"'x'", u"N'x'", 0},
        {u"date", u"datetime", u"'20200102'", u"'20200102'", 0},
        {u"real", u"float", u"0.5", u"0.5", 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(QuillonLib::ToUtf8(each.in1) + " and " + QuillonLib::ToUtf8(each.in2));
        const auto table = [](const std::u16string& type, const std::u16string& value) {
            return u"CREATE TABLE t (" + std::u16string(Key) + u", v " + type +
                   u" NULL)\nGO\nINSERT t VALUES (1, " + value + u")";
        };
        RunOnA(table(each.in1, each.value1));
        RunOnB(table(each.in2, each.value2));
        const Outcome outcome = Compare({"-t", "t"});
        EXPECT_EQ(outcome.exitCode, each.exitCode) << outcome.out << outcome.err;
        const bool told =
            Holds(outcome,
                  "  not compared: column [v]: the server converts one of its types to the "
                  "other first, which can make values equal that are not\n");
        EXPECT_EQ(told, each.exitCode == 3) << outcome.out;
        RunOnBoth(u"DROP TABLE t");
    }
}

TEST_F(VerdictTest, DriftOfCollationIsTold) {
    const std::u16string begin = u"CREATE TABLE t (" + std::u16string(Key);
    RunOnA(begin + u", a varchar(9) COLLATE Latin1_General_CI_AS NULL)");
    RunOnB(begin + u", a varchar(9) COLLATE Czech_CI_AS NULL)");
    EXPECT_TRUE(Holds(Compare({"-t", "t"}),
                      "  column [a] is varchar(9) COLLATE Latin1_General_CI_AS NULL in 1, "
                      "varchar(9) COLLATE Czech_CI_AS NULL in 2\n"));
}

TEST_F(VerdictTest, ATableOfOneDatabaseAloneIsADifferenceEvenWhenNamed) {
    Make(Key, u"1");
    RunOnB(u"DROP TABLE t");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome, "0 tables: 0 identical, 0 different, 1 in one database only\n"));
    EXPECT_EQ(outcome.err, "quillon: only in " + one + ", and left out: [dbo].[t]\n");
}

TEST_F(VerdictTest, FailureGoesBeforeDifferenceAndDifferenceBeforeDoubt) {
    Make(std::u16string(Key) + u", c ntext", u"1, N'x'");
    EXPECT_EQ(Compare({"-t", "t", "-t", "p"}).exitCode, 1);
    server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[c]"));
    EXPECT_EQ(Compare({"-t", "t", "-t", "p", "-t", "c"}).exitCode, 2);
    EXPECT_EQ(Compare({"-t", "t", "--accept-uncompared"}).exitCode, 0);
    server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[c]"));
    EXPECT_EQ(Compare({"-t", "t", "-t", "c", "--accept-uncompared"}).exitCode, 2);
}

TEST_F(VerdictTest, RowsSaysTheSameAsCompare) {
    Make(std::u16string(Key) + u", c ntext", u"1, N'x'");
    const Outcome rows = OnBoth({"rows", "--by-server", "t"});
    EXPECT_EQ(rows.exitCode, 3);
    EXPECT_EQ(rows.err,
              "quillon: not compared: column [c]: the server does not compare values of type "
              "ntext\n");
    EXPECT_EQ(OnBoth({"rows", "--by-server", "t", "--accept-uncompared"}).exitCode, 0);
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p"}).exitCode, 1);
}

TEST_F(VerdictTest, SyncThatFindsNothingDoesNotCallItIdentical) {
    Make(std::u16string(Key) + u", c ntext", u"1, N'x'");
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "t"}).exitCode, 3);
    EXPECT_EQ(
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "t", "--accept-uncompared"})
            .exitCode,
        0);
}

TEST_F(VerdictTest, SyncCountsTablesOfOneDatabaseAlone) {
    RunOnB(u"CREATE TABLE extra (id int)");
    const Outcome outcome =
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome, "2 tables: 2 identical, 0 different, 1 in one database only\n"));
}

// Two rows of one key: how many are alike cannot be told from the counts.
TEST_F(VerdictTest, NumbersThatAreNotKnownAreNotShown) {
    RunOnA(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT UQ_t UNIQUE, n int)\nGO\n"
        u"INSERT t VALUES (1, 1)");
    RunOnB(
        u"CREATE TABLE t (id int NOT NULL, n int)\nGO\n"
        u"INSERT t VALUES (1, 1), (1, 1)");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome,
                      "[dbo].[t]          1          2          -          0          -          -"
                      "  different\n"));
}

// Two rows in each, and two different ones in both together: the counts alone would call it
// identical.
TEST_F(VerdictTest, ARowThatStandsTwiceOnOneSideIsNeverIdentical) {
    RunOnA(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT UQ_t UNIQUE, n int)\nGO\n"
        u"INSERT t VALUES (1, 1), (2, 2)");
    RunOnB(
        u"CREATE TABLE t (id int NOT NULL, n int)\nGO\n"
        u"INSERT t VALUES (1, 1), (1, 1)");
    const Outcome outcome = Compare({"-t", "t"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(Holds(outcome, "  no difference found\n"));
    EXPECT_TRUE(Holds(outcome,
                      "[dbo].[t]\n  not compared: how often its rows occur: no index promises both "
                      "databases that its key is unique\n"));
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "t"}).exitCode, 3);
}

TEST_F(VerdictTest, ATypeThatTheServerRefusesInEitherDatabaseLeavesTheColumnOut) {
    for (const char16_t* type : {u"xml", u"ntext"}) {
        RunOnA(u"CREATE TABLE t (" + std::u16string(Key) + u", c nvarchar(20))");
        RunOnB(u"CREATE TABLE t (" + std::u16string(Key) + u", c " + type + u")");
        const Outcome outcome = Compare({"-t", "t"});
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_TRUE(Holds(outcome,
                          "  not compared: column [c]: the server does not compare values "
                          "of type " +
                              QuillonLib::ToUtf8(type) + "\n"));
        RunOnBoth(u"DROP TABLE t");
    }
}

TEST_F(VerdictTest, NothingIsCalledNothingToDoWhereNotEverythingWasCompared) {
    Make(std::u16string(Key) + u", c ntext", u"1, N'x'");
    EXPECT_TRUE(Holds(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "t"}),
                      "\nNo difference was found: nothing to do.\n"));
}

TEST_F(VerdictTest, ALineEndInANameForgesNoLine) {
    RunOnBoth(u"CREATE TABLE [x\nquillon: 1 table: 1 identical] (id int)");
    RunOnB(u"DROP TABLE [x\nquillon: 1 table: 1 identical]");
    const Outcome outcome = Compare({});
    EXPECT_EQ(outcome.err, "quillon: only in " + one +
                               ", and left out: [dbo].[x\\nquillon: 1 table: 1 identical]\n");
}

TEST_F(VerdictTest, AChoiceForATableOfOneSideIsNoError) {
    RunOnA(u"CREATE TABLE only1 (id int)");
    const Outcome outcome = Compare({"-t", "only1", "-t", "p", "--columns", "only1=id"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
}

}  // namespace
}  // namespace quillon
