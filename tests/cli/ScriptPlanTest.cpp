// Which tables a script brings over, in what order, and what is said of the others.
#include <gtest/gtest.h>

#include <fstream>

#include "cli/TableDependencies.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

using Groups = std::vector<std::vector<std::u16string>>;

class ScriptPlanTest : public ProgramTest {
  protected:
    Outcome Script(std::vector<std::string> options) const {
        options.insert(options.begin(), {"script", "--by-server", "-o", File("u.sql")});
        return OnBoth(std::move(options));
    }
    Outcome Sync(std::vector<std::string> options) const {
        options.insert(options.begin(), {"sync", "--by-server", "--to", "2", "--yes"});
        return OnBoth(std::move(options));
    }
    std::string Text() const { return Read("u.sql"); }
    // Whether a line says that a table, or a part of it, is left out, and why.
    static testing::AssertionResult LeavesOut(const Outcome& outcome, const std::string& line) {
        return Holds(outcome.err, "quillon: left out: " + line + "\n");
    }
    bool HasSection(const std::string& table) const {
        return Text().find("PRINT 'Updating records in [dbo].[" + table + "]'") !=
                   std::string::npos ||
               Text().find("PRINT 'Deleting records in [dbo].[" + table + "]'") !=
                   std::string::npos;
    }
};

// A chain of references: z -> y -> x, with names that sort the parents first and last.
constexpr const char16_t* Chain =
    u"CREATE TABLE a1 (id int NOT NULL CONSTRAINT PK_a1 PRIMARY KEY)\nGO\n"
    u"CREATE TABLE m2 (id int NOT NULL CONSTRAINT PK_m2 PRIMARY KEY, a int CONSTRAINT FK_m2 "
    u"REFERENCES a1 (id))\nGO\n"
    u"CREATE TABLE b3 (id int NOT NULL CONSTRAINT PK_b3 PRIMARY KEY, m int CONSTRAINT FK_b3 "
    u"REFERENCES m2 (id))\nGO\n";

constexpr const char16_t* ChainRows =
    u"INSERT a1 VALUES (1)\nGO\nINSERT m2 VALUES (1, 1)\nGO\nINSERT b3 VALUES (1, 1)";

// Listed in the catalog's order, parent a1 would share a pass with its children and lose its rows
// before they do.
TEST_F(ScriptPlanTest, ChildrenAreListedBeforeTheirParentsSoThatDeletesSucceed) {
    RunOnBoth(Chain);
    RunOnB(ChainRows);
    const Outcome outcome = Sync({"-t", "a1", "-t", "m2", "-t", "b3"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM a1"), u"0");
}

TEST_F(ScriptPlanTest, InsertsFollowParentsToChildren) {
    RunOnBoth(Chain);
    RunOnA(ChainRows);
    EXPECT_EQ(Sync({"-t", "b3", "-t", "m2", "-t", "a1"}).exitCode, 0);
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM b3"), u"1");
}

// Tables without a key, views and failed tables count in the library's passes and would end them
// before the chain is through.
TEST_F(ScriptPlanTest, TablesThatGetNoScriptDoNotCutADeepChain) {
    RunOnBoth(std::u16string(Chain) +
              u"CREATE TABLE k1 (x int)\nGO\nCREATE TABLE k2 (x int)\nGO\nCREATE TABLE k3 (x int)");
    RunOnA(std::u16string(ChainRows) + u"\nGO\nINSERT k1 VALUES (1)");
    const Outcome outcome =
        Script({"-t", "k1", "-t", "k2", "-t", "k3", "-t", "b3", "-t", "m2", "-t", "a1"});
    EXPECT_TRUE(HasSection("a1"));
    EXPECT_TRUE(HasSection("m2"));
    EXPECT_TRUE(HasSection("b3")) << Text();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(LeavesOut(outcome, "[dbo].[k1]: the databases share no key to match its rows by"));
}

TEST_F(ScriptPlanTest, AScriptThatBringsEverythingOverIsExitCode0) {
    EXPECT_EQ(Script({}).exitCode, 0);
    EXPECT_TRUE(HasSection("p"));
    EXPECT_TRUE(HasSection("c"));
}

class CycleTest : public ScriptPlanTest {
  protected:
    CycleTest() {
        // r and s refer to each other, d to r, and q to itself.
        RunOnBoth(
            u"CREATE TABLE r (id int NOT NULL CONSTRAINT PK_r PRIMARY KEY, s int NULL)\nGO\n"
            u"CREATE TABLE s (id int NOT NULL CONSTRAINT PK_s PRIMARY KEY, r int NULL CONSTRAINT "
            u"FK_s REFERENCES r (id))\nGO\n"
            u"ALTER TABLE r ADD CONSTRAINT FK_r FOREIGN KEY (s) REFERENCES s (id)\nGO\n"
            u"CREATE TABLE d (id int NOT NULL CONSTRAINT PK_d PRIMARY KEY, r int NULL CONSTRAINT "
            u"FK_d REFERENCES r (id))\nGO\n"
            u"CREATE TABLE q (id int NOT NULL CONSTRAINT PK_q PRIMARY KEY, q int NULL CONSTRAINT "
            u"FK_q REFERENCES q (id))");
        RunOnA(
            u"INSERT r VALUES (1, NULL)\nGO\nINSERT s VALUES (1, 1)\nGO\n"
            u"UPDATE r SET s = 1\nGO\nINSERT d VALUES (1, NULL)\nGO\nINSERT q VALUES (1, NULL)");
    }
    const std::vector<std::string> tables{"-t", "r", "-t", "s", "-t", "d", "-t", "q"};
    std::vector<std::string> With(std::vector<std::string> options) const {
        options.insert(options.end(), tables.begin(), tables.end());
        return options;
    }
};

TEST_F(CycleTest, TablesOfACycleAreNamedAndOthersGetTheirSections) {
    const Outcome outcome = Script(With({}));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(
        outcome.err,
        "Written: " + File("u.sql") +
            "\n"
            "quillon: left out: [dbo].[r]: it belongs to a cycle of tables that refer to each "
            "other; --suspend-constraints brings it over\n"
            "quillon: left out: [dbo].[s]: it belongs to a cycle of tables that refer to each "
            "other; --suspend-constraints brings it over\n");
    EXPECT_TRUE(HasSection("d")) << Text();
    EXPECT_TRUE(HasSection("q"));
    EXPECT_FALSE(HasSection("r"));
    const Outcome sync = Sync(With({}));
    EXPECT_EQ(sync.exitCode, 1);
    EXPECT_TRUE(Holds(sync.err, "quillon: left out: [dbo].[r]: it belongs to a cycle"));
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM d"), u"1");
}

TEST_F(CycleTest, SuspendedConstraintsBringACycleOver) {
    const Outcome outcome = Sync(With({"--suspend-constraints"}));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_EQ(InB(u"SELECT s FROM r"), u"1");
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1 OR "
                  u"is_not_trusted = 1"),
              u"0");
}

TEST_F(CycleTest, AScriptWithSuspendedConstraintsBringsACycleOver) {
    EXPECT_EQ(Script(With({"--suspend-constraints", "--no-comments"})).exitCode, 0);
    const std::string text = Text();
    EXPECT_EQ(text.substr(3, 23), "BEGIN TRANSACTION\r\nALTE");
    RunOnB(QuillonLib::FromUtf8(text.substr(3)));
    EXPECT_EQ(
        OnBoth({"compare", "--by-server", "-t", "r", "-t", "s", "-t", "d", "-t", "q"}).exitCode, 0);
}

// A row that breaks a foreign key does not end a batch, so that what follows would run.
TEST_F(CycleTest, ASuspendingScriptThatCannotBeCheckedCommitsNothing) {
    RunOnB(
        u"CREATE TABLE w (r int CONSTRAINT FK_w REFERENCES r (id))\nGO\n"
        u"INSERT r VALUES (77, NULL)\nGO\nINSERT w VALUES (77)");
    EXPECT_EQ(Script(With({"--suspend-constraints"})).exitCode, 0);
    const auto target = MakeDatabase(u"b");
    QuillonLib::Connection connection;
    connection.Open(u"driver={SQL Server};server=" + server.Address() +
                    u";database=b;uid=sa;pwd=sandbox");
    // A client that goes on after errors.
    int errors = 0;
    const auto pieces =
        QuillonLib::Utils().GetSQLStatementsFromScript(QuillonLib::FromUtf8(Text().substr(3)));
    for (const std::u16string& batch : pieces.Items) {
        try {
            connection.Execute(batch);
        } catch (const QuillonLib::Error&) {
            ++errors;
        }
    }
    connection.Close();
    EXPECT_GE(errors, 1);
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM r WHERE id = 77"), u"1");
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM q"), u"0");
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1"), u"0");
}

// With every row checked: also those that had been there while nobody looked.
TEST_F(CycleTest, SuspendedKeysThatAreNotTrustedAreCheckedToo) {
    RunOnB(
        u"CREATE TABLE w (r int NULL CONSTRAINT FK_w REFERENCES r (id))\nGO\n"
        u"ALTER TABLE w NOCHECK CONSTRAINT FK_w\nGO\nINSERT w VALUES (88), (NULL)\nGO\n"
        u"ALTER TABLE w WITH NOCHECK CHECK CONSTRAINT FK_w");
    const std::u16string untrusted =
        u"USE b SELECT COUNT(*) FROM sys.foreign_keys WHERE is_not_trusted = 1";
    const Outcome refused = Sync(With({"--suspend-constraints"}));
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(Holds(refused.err, "FK_w"));
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM q"), u"0");
    EXPECT_EQ(server.Scalar(untrusted), u"1");
    RunOnB(u"DELETE w WHERE r = 88");
    EXPECT_EQ(Sync(With({"--suspend-constraints"})).exitCode, 0);
    EXPECT_EQ(server.Scalar(untrusted), u"0");
}

TEST_F(CycleTest, GroupsStandBeforeWhatTheyDependOn) {
    const auto database = MakeDatabase(u"a");
    database->CheckDependencies(true);
    const Groups groups = GroupByDependency(
        *database, {u"[dbo].[r]", u"[dbo].[q]", u"[dbo].[s]", u"[dbo].[d]", u"[dbo].[p]"});
    const auto at = [&](const std::vector<std::u16string>& group) {
        return std::find(groups.begin(), groups.end(), group) - groups.begin();
    };
    ASSERT_EQ(groups.size(), 4U);
    EXPECT_LT(at({u"[dbo].[d]"}), at({u"[dbo].[r]", u"[dbo].[s]"}));
    EXPECT_LT(at({u"[dbo].[r]", u"[dbo].[s]"}), 4);
    EXPECT_LT(at({u"[dbo].[q]"}), 4);
    EXPECT_LT(at({u"[dbo].[p]"}), 4);
}

// f refers to g, g to h, h to f and to i, which refers back to h; e refers to f.
TEST_F(CycleTest, ALongCycleWithABranchIsOneGroup) {
    RunOnBoth(
        u"CREATE TABLE f (id int NOT NULL CONSTRAINT PK_f PRIMARY KEY, g int NULL)\nGO\n"
        u"CREATE TABLE h (id int NOT NULL CONSTRAINT PK_h PRIMARY KEY, i int NULL, f int NULL "
        u"CONSTRAINT FK_h REFERENCES f (id))\nGO\n"
        u"CREATE TABLE g (id int NOT NULL CONSTRAINT PK_g PRIMARY KEY, h int NULL CONSTRAINT "
        u"FK_g REFERENCES h (id))\nGO\n"
        u"ALTER TABLE f ADD CONSTRAINT FK_f FOREIGN KEY (g) REFERENCES g (id)\nGO\n"
        u"CREATE TABLE i (id int NOT NULL CONSTRAINT PK_i PRIMARY KEY, h int NULL CONSTRAINT "
        u"FK_i REFERENCES h (id))\nGO\n"
        u"ALTER TABLE h ADD CONSTRAINT FK_hi FOREIGN KEY (i) REFERENCES i (id)\nGO\n"
        u"CREATE TABLE e (id int NOT NULL CONSTRAINT PK_e PRIMARY KEY, f int NULL CONSTRAINT "
        u"FK_e REFERENCES f (id))");
    const auto database = MakeDatabase(u"a");
    database->CheckDependencies(true);
    const Groups groups = GroupByDependency(
        *database, {u"[dbo].[f]", u"[dbo].[g]", u"[dbo].[h]", u"[dbo].[e]", u"[dbo].[i]"});
    EXPECT_EQ(groups,
              (Groups{{u"[dbo].[e]"}, {u"[dbo].[f]", u"[dbo].[g]", u"[dbo].[h]", u"[dbo].[i]"}}));
}

TEST_F(ScriptPlanTest, AKeyThatScriptsCannotCarryLeavesThatTableOutAlone) {
    RunOnBoth(
        u"CREATE TABLE k (a int NOT NULL, b AS a + 1 PERSISTED NOT NULL, n int NULL, CONSTRAINT "
        u"PK_k "
        u"PRIMARY KEY (b))");
    RunOnA(u"INSERT k (a, n) VALUES (1, 1)");
    const Outcome outcome = Script({});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(
        LeavesOut(outcome, "[dbo].[k]: its key column [b] cannot be written into a script"));
    EXPECT_TRUE(HasSection("p"));
    EXPECT_FALSE(HasSection("k"));
}

TEST_F(ScriptPlanTest, AKeyThatHoldsNullLeavesItsTableOut) {
    RunOnBoth(u"CREATE TABLE k (a int NULL CONSTRAINT UQ_k UNIQUE, n int NULL)");
    RunOnA(u"INSERT k VALUES (1, 1), (NULL, 2)");
    RunOnB(u"INSERT k VALUES (1, 2)");
    const Outcome outcome = Script({"-t", "k"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(LeavesOut(
        outcome, "[dbo].[k]: its key holds NULL in database 1, which no script can match"));
    RunOnA(u"DELETE k WHERE a IS NULL");
    EXPECT_EQ(Sync({"-t", "k"}).exitCode, 0);
}

TEST_F(ScriptPlanTest, AKeyThatIsNotUniqueOnTheOtherSideLeavesItsTableOut) {
    RunOnA(
        u"CREATE TABLE k (a int NOT NULL CONSTRAINT UQ_k UNIQUE, n int)\nGO\n"
        u"INSERT k VALUES (1, 1)");
    RunOnB(
        u"CREATE TABLE k (a int NOT NULL, n int)\nGO\n"
        u"INSERT k VALUES (1, 2), (1, 3)");
    const Outcome outcome = Script({"-t", "k"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(LeavesOut(outcome, "[dbo].[k]: its key is not unique in database 2"));
    RunOnB(u"DELETE k WHERE n = 3");
    EXPECT_EQ(Sync({"-t", "k"}).exitCode, 3);
    EXPECT_EQ(InB(u"SELECT n FROM k"), u"1");
}

TEST_F(ScriptPlanTest, TablesAndColumnsThatAreNotBroughtOverAreNamed) {
    RunOnA(u"CREATE TABLE extra (id int)\nGO\nALTER TABLE p ADD more int NULL");
    const Outcome outcome = Script({});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(LeavesOut(outcome, "[dbo].[p]: not whole: column [more] only in 1"));
    EXPECT_TRUE(LeavesOut(outcome, "[dbo].[extra]: only one database has it"));
    EXPECT_TRUE(HasSection("p"));
}

TEST_F(ScriptPlanTest, WhatWasNotComparedIsExitCode3UnlessAccepted) {
    RunOnBoth(u"ALTER TABLE p ADD doc ntext NULL");
    EXPECT_EQ(Script({}).exitCode, 3);
    EXPECT_EQ(Script({"--accept-uncompared"}).exitCode, 0);
}

TEST_F(ScriptPlanTest, AViewFollowsFromItsTables) {
    RunOnBoth(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.p\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX uix ON v (id)");
    const Outcome all = Script({});
    EXPECT_EQ(all.exitCode, 0);
    EXPECT_TRUE(LeavesOut(all, "[dbo].[v]: it is a view: its rows follow from its tables"));
    EXPECT_EQ(Script({"-t", "v"}).exitCode, 1);
}

TEST_F(ScriptPlanTest, AFailureNamesTheTableAndTheParentThatWasNotBroughtOver) {
    RunOnA(u"UPDATE c SET pid = 2 WHERE id = 2");
    const Outcome outcome = Sync({"-t", "c"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, ", about [dbo].[c], failed in " + two +
                                       ", and everything was rolled back:\n"));
    EXPECT_TRUE(Holds(outcome.err,
                      "The foreign key FK_c refers to [dbo].[p], which was not among the "
                      "tables compared: bring it over, too.\n"));
    EXPECT_FALSE(Holds(outcome.err, "--suspend-constraints"));
}

TEST_F(ScriptPlanTest, AFailingBatchNamesItsTable) {
    RunOnBoth(u"CREATE TABLE k (id int NOT NULL CONSTRAINT PK_k PRIMARY KEY, n nvarchar(9))");
    RunOnA(u"INSERT k VALUES (1, N'long text')");
    RunOnB(u"ALTER TABLE k ALTER COLUMN n nvarchar(4)");
    const Outcome outcome = Sync({"-t", "k", "-t", "p", "-t", "c", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, ", about [dbo].[k], failed in "));
}

TEST_F(ScriptPlanTest, KeysThatAParameterWouldCutLeaveTheirTableOut) {
    RunOnA(
        u"CREATE TABLE k (id varchar(5) NOT NULL CONSTRAINT PK_k PRIMARY KEY)\n"
        u"GO\nINSERT k VALUES ('ABCDE')");
    RunOnB(
        u"CREATE TABLE k (id varchar(10) NOT NULL CONSTRAINT PK_k PRIMARY KEY)\n"
        u"GO\nINSERT k VALUES ('ABCDE'), ('ABCDEF')");
    const Outcome outcome = Sync({"-t", "k"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(LeavesOut(outcome,
                          "[dbo].[k]: its column [id] is varchar(5) in 1 and "
                          "varchar(10) in 2: a script would change values that do not fit"));
    EXPECT_EQ(InB(u"SELECT COUNT(*) FROM k"), u"2");
}

TEST_F(ScriptPlanTest, ValuesThatAParameterWouldCutLeaveTheirTableOutOfScriptsForDatabase1) {
    const std::u16string begin = u"CREATE TABLE k (id int NOT NULL CONSTRAINT PK_k PRIMARY KEY, n ";
    RunOnA(begin + u"nvarchar(4))\nGO\nINSERT k VALUES (1, N'abcd')");
    RunOnB(begin + u"nvarchar(8))\nGO\nINSERT k VALUES (1, N'abcdefgh')");
    EXPECT_EQ(Script({"-t", "k", "--to", "1"}).exitCode, 1);
    EXPECT_FALSE(HasSection("k"));
    EXPECT_EQ(Sync({"-t", "k"}).exitCode, 0);  // to 2
}

TEST_F(ScriptPlanTest, AColumnThatOnlyOneSideCanWriteLeavesItsTableOut) {
    for (const auto& [in2, reason] :
         {std::pair(u"int IDENTITY(1,1) NOT NULL", "an identity column in one database only"),
          std::pair(u"AS id + 1", "computed in one database only")}) {
        const std::u16string begin =
            u"CREATE TABLE k (id int NOT NULL CONSTRAINT PK_k PRIMARY KEY, n ";
        RunOnA(begin + u"int NOT NULL)\nGO\nINSERT k VALUES (1, 5)");
        RunOnB(begin + in2 + u")");
        const Outcome outcome = Script({"-t", "k"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_TRUE(LeavesOut(outcome, "[dbo].[k]: its column [n] is " + std::string(reason)));
        RunOnBoth(u"DROP TABLE k");
    }
}

TEST_F(ScriptPlanTest, CascadesIntoOtherTablesAreNamed) {
    RunOnB(
        u"CREATE TABLE kid (p int CONSTRAINT FK_kid REFERENCES p (id) ON DELETE "
        u"CASCADE)");
    const Outcome outcome = Script({"-t", "p"});
    EXPECT_TRUE(
        Holds(outcome.err, "quillon: foreign key FK_kid in " + two +
                               " cascades: what is deleted or changed in [dbo].[p] reaches rows of "
                               "[dbo].[kid]\n"));
    EXPECT_FALSE(Holds(Script({"-t", "c"}).err, "cascades"));
}

TEST_F(ScriptPlanTest, KeysOfTablesInOtherSchemasAreSuspended) {
    RunOnBoth(
        u"CREATE SCHEMA s\nGO\n"
        u"CREATE TABLE s.m (id int NOT NULL CONSTRAINT PK_m PRIMARY KEY)\nGO\n"
        u"CREATE TABLE s.n (id int NOT NULL CONSTRAINT PK_n PRIMARY KEY, m int CONSTRAINT "
        u"FK_n REFERENCES s.m (id))");
    EXPECT_EQ(Script({"-t", "s.m", "-t", "s.n", "--suspend-constraints"}).exitCode, 0);
    RunOnA(u"INSERT s.m VALUES (1)");
    EXPECT_EQ(Script({"-t", "s.m", "-t", "s.n", "--suspend-constraints"}).exitCode, 0);
    EXPECT_TRUE(Holds(Text(), "ALTER TABLE [s].[n] NOCHECK CONSTRAINT [FK_n]\r\n"));
}

TEST_F(ScriptPlanTest, RowsOfOtherTablesThatReferToWhatGoesAreNamed) {
    RunOnB(
        u"CREATE TABLE d (p int CONSTRAINT FK_d REFERENCES p (id))\nGO\n"
        u"INSERT d VALUES (3)\nGO\nDELETE c");
    const Outcome outcome = Sync({"-t", "p"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err,
                      "Rows of [dbo].[d], which was not among the tables compared, refer by "
                      "the foreign key FK_d to rows that go: bring it over, too;"));
}

}  // namespace
}  // namespace quillon
