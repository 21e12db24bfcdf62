// Tables of a batch: DECLARE @t TABLE, and what OUTPUT puts into them.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(TableVariables, BelongToTheirBatch) {
    Box box;
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(box.Text(u"DECLARE @t TABLE (n int IDENTITY, a varchar(5) PRIMARY KEY)"
                           u" INSERT INTO @t (a) VALUES ('x'), ('y') INSERT @t SELECT 'z'"
                           u" SELECT v.n, a FROM @T AS v WHERE EXISTS (SELECT * FROM @t)"),
                  "#2\n#1\n1|x\n2|y\n3|z\n");
    }
    EXPECT_EQ(box.Text(u"SELECT * FROM @t"), "!1087 Must declare the table variable \"@t\".\n");
    EXPECT_EQ(box.Text(u"DECLARE @t TABLE (a int) EXEC ('SELECT * FROM @t')"),
              "!1087 Must declare the table variable \"@t\".\n");
    EXPECT_EQ(box.Text(u"CREATE TABLE [@t] (a int) INSERT [@t] VALUES (7) SELECT * FROM [@t]"),
              "#1\n7\n");
}

TEST(TableVariables, OfAProcedureAreItsOwn) {
    Box box;
    box.Text(
        u"CREATE PROCEDURE p AS DECLARE @t TABLE (a int) INSERT @t VALUES (2) SELECT * FROM"
        u" @t");
    EXPECT_EQ(box.Text(u"DECLARE @t TABLE (a int) INSERT @t VALUES (1) EXEC p SELECT * FROM @t"),
              "#1\n#1\n2\n1\n");
}

TEST(TableVariables, AreDeclaredOnceInABatch) {
    Box box;
    EXPECT_EQ(box.ErrorOf(u"DECLARE @t TABLE (a int) DECLARE @T TABLE (a int)"), 134);
    EXPECT_EQ(box.Text(u"DECLARE @i int SET @i = 0 WHILE @i < 2 BEGIN DECLARE @t TABLE (a int)"
                       u" INSERT @t VALUES (@i) SET @i = @i + 1 END SELECT a FROM @t"),
              "#1\n#1\n0\n1\n");
}

TEST(TableVariables, HaveNoNamedConstraints) {
    Box box;
    box.Text(u"CREATE TABLE p (id int PRIMARY KEY)");
    EXPECT_EQ(box.ErrorOf(u"DECLARE @t TABLE (a int CONSTRAINT x PRIMARY KEY)"), 102);
    EXPECT_EQ(box.ErrorOf(u"DECLARE @t TABLE (a int REFERENCES p (id))"), 102);
    EXPECT_EQ(box.ErrorOf(u"DECLARE @i int, @t TABLE (a int)"), 156);
}

class Output : public ::testing::Test {
  protected:
    Output() {
        box.Text(u"CREATE TABLE t (id int PRIMARY KEY, a int)");
        box.Text(u"INSERT t VALUES (1, 10), (2, 20), (3, 30)");
    }
    // Lists what was met, and what was not.
    std::string Met(const std::u16string& statement) {
        return box.Text(
            u"SET NOCOUNT ON DECLARE @v TABLE (n int IDENTITY, k int, w int) INSERT INTO @v (k, w)"
            u" VALUES (1, 10), (2, 99), (5, 50), (3, 30) DECLARE @d TABLE (n int) " +
            statement +
            u" SELECT @@ROWCOUNT SELECT n FROM @d ORDER BY n SELECT k FROM @v AS v WHERE NOT EXISTS"
            u" (SELECT * FROM @d AS d WHERE d.n = v.n) ORDER BY v.n");
    }

    Box box;
};

TEST_F(Output, TellsWhatAnUpdateMeets) {
    EXPECT_EQ(Met(u"UPDATE t SET a = v.w + 1 OUTPUT v.n INTO @d FROM t INNER JOIN @v AS v ON"
                  u" t.id = v.k AND t.a = v.w"),
              "2\n1\n4\n2\n5\n");
    EXPECT_EQ(box.Text(u"SELECT a FROM t ORDER BY id"), "11\n20\n31\n");
}

TEST_F(Output, TellsWhatADeleteMeets) {
    EXPECT_EQ(Met(u"DELETE t OUTPUT v.n INTO @d FROM t INNER JOIN @v AS v ON t.id = v.k"),
              "3\n1\n2\n4\n5\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "0\n");
}

TEST_F(Output, HasARowForEachThatIsWritten) {
    EXPECT_EQ(box.Text(u"SET NOCOUNT ON DECLARE @v TABLE (n int) INSERT @v VALUES (4), (4)"
                       u" DECLARE @d TABLE (n int)"
                       u" DELETE t OUTPUT v.n INTO @d FROM t CROSS JOIN @v AS v WHERE t.id < 3"
                       u" SELECT n FROM @d"),
              "4\n4\n");
}

// Values of a key that swap are written in another way here.
TEST_F(Output, OfKeysThatSwap) {
    EXPECT_EQ(box.Text(u"SET NOCOUNT ON DECLARE @v TABLE (n int, k int, w int)"
                       u" INSERT @v VALUES (7, 1, 2), (8, 2, 1) DECLARE @d TABLE (n int)"
                       u" UPDATE t SET id = v.w OUTPUT v.n INTO @d FROM t INNER JOIN @v AS v ON"
                       u" t.id = v.k SELECT n FROM @d ORDER BY n SELECT a FROM t ORDER BY id"),
              "7\n8\n20\n10\n30\n");
}

TEST_F(Output, IsNothingWhereTheStatementFails) {
    EXPECT_EQ(box.Text(u"SET NOCOUNT ON DECLARE @v TABLE (n int) INSERT @v VALUES (4)"
                       u" DECLARE @d TABLE (n int)"
                       u" UPDATE t SET id = 1 OUTPUT v.n INTO @d FROM t CROSS JOIN @v AS v"
                       u" SELECT COUNT(*) FROM @d")
                  .substr(0, 5),
              "!2627");
    EXPECT_TRUE(box.Text(u"SET NOCOUNT ON DECLARE @v TABLE (n int) INSERT @v VALUES (4)"
                         u" DECLARE @d TABLE (n int)"
                         u" UPDATE t SET id = 1 OUTPUT v.n INTO @d FROM t CROSS JOIN @v AS v"
                         u" SELECT COUNT(*) FROM @d")
                    .ends_with("\n0\n"));
}

TEST_F(Output, IsOfJoinedSourcesOnly) {
    const auto error = [&](const std::u16string& output) {
        return box.ErrorOf(u"DECLARE @v TABLE (n int) DECLARE @d TABLE (n int) DELETE t OUTPUT " +
                           output + u" FROM t CROSS JOIN @v AS v");
    };
    EXPECT_EQ(error(u"t.id INTO @d"), 4104);
    EXPECT_EQ(error(u"deleted.id INTO @d"), 102);
    EXPECT_EQ(error(u"v.n"), 156);
    EXPECT_EQ(error(u"v.n, v.n INTO @d"), 213);
    EXPECT_EQ(error(u"v.n INTO @e"), 1087);
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "3\n");
}

TEST(RaisError, FillsInConstantsAndVariables) {
    Box box;
    EXPECT_EQ(box.Text(u"DECLARE @k nvarchar(9) SET @k = N'5%s' RAISERROR(N'a %s b', 16, 1, @k)"),
              "!50000 a 5%s b\n");
    EXPECT_EQ(box.ErrorOf(u"RAISERROR(N'a %s', 16, 1, LEFT('x', 1))"), 102);
}

}  // namespace
}  // namespace sandbox::testing
