// Statement scripts of rows and tables that refer to one another.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class ScriptReferences : public GuardedOrNot {};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, ScriptReferences, ::testing::Bool());

TEST_P(ScriptReferences, OrderTablesByTheirForeignKeys) {
    RunOnBoth(
        u"CREATE TABLE p (id int PRIMARY KEY, n int) CREATE TABLE c (id int PRIMARY KEY,"
        u" p int NOT NULL REFERENCES p (id)) CREATE TABLE g (id int PRIMARY KEY,"
        u" c int REFERENCES c (id))");
    RunOn1(u"INSERT p VALUES (1,1),(2,2) INSERT c VALUES (1,1),(2,2) INSERT g VALUES (1,2),(2,1)");
    RunOn2(u"INSERT p VALUES (1,9),(3,3) INSERT c VALUES (1,1),(3,3) INSERT g VALUES (1,3),(3,3)");
    for (const auto& names : {std::vector<std::u16string>{u"g", u"p", u"c"},
                              std::vector<std::u16string>{u"p", u"c", u"g"}}) {
        SCOPED_TRACE(ToUtf8(names.front()));
        ExpectToConverge(names);
    }
}

TEST_P(ScriptReferences, RowsThatReferToTheirOwnTable) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, parent int REFERENCES t (id), a int)");
    RunOn1(
        u"INSERT t VALUES (9,NULL,1) INSERT t VALUES (1,9,1) INSERT t VALUES (2,1,2)"
        u" INSERT t VALUES (5,2,5) INSERT t VALUES (6,5,6)");
    RunOn2(
        u"INSERT t VALUES (8,NULL,1) INSERT t VALUES (7,8,1) INSERT t VALUES (5,7,5)"
        u" INSERT t VALUES (6,NULL,7)");
    RunOn2(u"UPDATE t SET parent = 7 WHERE id = 8");
    ExpectToConverge({u"t"});
}

TEST_P(ScriptReferences, TablesThatReferToEachOther) {
    RunOnBoth(
        u"CREATE TABLE a (id int PRIMARY KEY, b int NULL) CREATE TABLE b (id int PRIMARY KEY,"
        u" a int NOT NULL REFERENCES a (id)) ALTER TABLE a ADD CONSTRAINT ab FOREIGN KEY (b)"
        u" REFERENCES b (id)");
    RunOn1(
        u"INSERT a VALUES (1,NULL),(2,NULL) INSERT b VALUES (1,1),(2,2)"
        u" UPDATE a SET b = 3 - id");
    RunOn2(
        u"INSERT a VALUES (1,NULL),(3,NULL) INSERT b VALUES (3,3),(1,3)"
        u" UPDATE a SET b = 3");
    ExpectToConverge({u"a", u"b"});
}

TEST_P(ScriptReferences, CyclesThatCannotBeNullAreSuspended) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, other int NOT NULL, CONSTRAINT self FOREIGN KEY"
        u" (other) REFERENCES t (id))");
    RunOn1(u"INSERT t VALUES (1,2),(2,1),(3,3)");
    RunOn2(u"INSERT t VALUES (3,4),(4,3)");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script,
                      u"-- Suspended, and checked again at the end: foreign key self of "
                      u"[dbo].[t]\r\n"));
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t WHERE id + other IN (3, 6)"), u"3");
    EXPECT_EQ(On2(u"SELECT CAST(is_disabled AS int) + CAST(is_not_trusted AS int) FROM"
                  u" sys.foreign_keys WHERE name = 'self'"),
              u"0");
}

}  // namespace
}  // namespace QuillonLib
