// Foreign keys of the target that act by themselves on rows that a script deletes or updates.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class Cascades : public GuardedOrNot {
  protected:
    // Rows of c that refer to nothing; the key is not trusted afterwards.
    static std::u16string Orphans(std::u16string_view rows) {
        return u"ALTER TABLE c NOCHECK CONSTRAINT FK_c INSERT c VALUES " + std::u16string(rows) +
               u" ALTER TABLE c WITH NOCHECK CHECK CONSTRAINT FK_c";
    }

    void MakeTables(const std::u16string& actions) {
        RunOnBoth(
            u"CREATE TABLE p (id int PRIMARY KEY, code int UNIQUE, a int)"
            u" CREATE TABLE c (id int PRIMARY KEY, p int NULL DEFAULT (1) CONSTRAINT FK_c"
            u" REFERENCES p (code) " +
            actions + u")");
    }

    std::u16string States() {
        return On2(
            u"SELECT CAST(SUM(CAST(is_disabled AS int)) AS varchar(9)) + ' ' +"
            u" CAST(SUM(CAST(is_not_trusted AS int)) AS varchar(9)) FROM sys.foreign_keys");
    }
};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, Cascades, ::testing::Bool());

constexpr std::u16string_view Suspended =
    u"-- Suspended, and checked again at the end: foreign key FK_c of [dbo].[c]\r\n";

constexpr std::u16string_view WouldReferToNothing =
    u"Foreign key [FK_c] of [dbo].[c]: rows would refer to what is no longer there.";

// The children are the same on both sides, and not chosen.
TEST_P(Cascades, DoNotReachTablesThatAreNotWritten) {
    for (const auto* action : {u"CASCADE", u"SET NULL", u"SET DEFAULT"}) {
        SCOPED_TRACE(ToUtf8(action));
        DropOnBoth(u"c");
        DropOnBoth(u"p");
        MakeTables(u"ON DELETE " + std::u16string(action));
        RunOnBoth(u"INSERT p VALUES (1, 1, 1), (2, 2, 2), (3, 3, 3)");
        RunOn1(u"DELETE p WHERE id = 3 INSERT c VALUES (1, 1), (2, 2)");
        RunOn2(u"INSERT c VALUES (1, 1), (2, 2), (3, 3)");
        const std::u16string script = Script({u"p"});
        EXPECT_TRUE(Holds(script, Suspended));
        EXPECT_TRUE(Holds(script, u"-- Takes the right to alter [dbo].[c]\r\n"));
        // a row would be left without what it refers to
        EXPECT_TRUE(Holds(OnlyErrorOf(script), u"FK_c"));
        EXPECT_EQ(On2(u"SELECT SUM(p) FROM c"), u"6");
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM p"), u"3");
        // both together agree
        ExpectToConverge({u"p", u"c"});
        EXPECT_EQ(On2(u"SELECT SUM(p) FROM c"), u"3");
        EXPECT_EQ(States(), u"0 0");
    }
}

// The row comes back under another key, and what it is referred by stays.
TEST_P(Cascades, DoNotTakeWhatRefersToARowThatComesAgain) {
    MakeTables(u"ON DELETE CASCADE ON UPDATE CASCADE");
    RunOn1(u"INSERT p VALUES (7, 5, 1), (2, 2, 1) INSERT c VALUES (1, 5), (2, 2)");
    RunOn2(u"INSERT p VALUES (1, 5, 1), (2, 2, 1) INSERT c VALUES (1, 5), (2, 2)");
    ExpectToConverge({u"p"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM c"), u"2");
    EXPECT_EQ(States(), u"0 0");
}

// Values that swap would be swapped in the children, too.
TEST_P(Cascades, DoNotFollowUpdatesOfWhatIsReferredTo) {
    MakeTables(u"ON UPDATE CASCADE");
    RunOn1(u"INSERT p VALUES (1, 8, 1), (2, 2, 1), (3, 3, 1) INSERT c VALUES (1, 8), (2, 2)");
    RunOn2(u"INSERT p VALUES (1, 2, 1), (2, 8, 1), (3, 3, 1) INSERT c VALUES (1, 8), (2, 2)");
    const std::u16string script = Script({u"p"});
    EXPECT_TRUE(Holds(script, Suspended));
    ExpectToConverge({u"p"});
    EXPECT_EQ(On2(u"SELECT p FROM c WHERE id = 1"), u"8");
    EXPECT_EQ(States(), u"0 0");
}

// Keys that do not act by themselves, of children that are the same on both sides. The value that
// they refer to passes from one row to another: to one that is inserted, from one that is deleted,
// or both; in between nobody has it.
TEST_P(Cascades, AreNotAloneInLosingWhatIsPassedOn) {
    const struct {
        const char16_t *one, *two;
    } cases[] = {
        {u"(1, 6, 0), (2, 5, 0)", u"(1, 5, 0)"},
        {u"(2, 5, 0)", u"(1, 5, 0), (2, 6, 0)"},
        {u"(2, 5, 0)", u"(1, 5, 0)"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.one));
        DropOnBoth(u"c");
        DropOnBoth(u"p");
        MakeTables(u"");
        RunOn1(std::u16string(u"INSERT p VALUES ") + each.one + u" INSERT c VALUES (1, 5)");
        RunOn2(std::u16string(u"INSERT p VALUES ") + each.two + u" INSERT c VALUES (1, 5)");
        const std::u16string script = Script({u"p"});
        EXPECT_TRUE(Holds(script, Suspended));
        ExpectToConverge({u"p"});
        EXPECT_EQ(States(), u"0 0");
        // children that would be left behind have it rolled back
        RunOn1(u"DELETE c DELETE p INSERT p VALUES (3, 7, 0)");
        EXPECT_TRUE(Holds(OnlyErrorOf(Script({u"p"})), u"FK_c"));
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM p WHERE code = 5"), u"1");
    }
}

// Rows that swap what is referred to do it at once, and those of the key itself cannot.
TEST_P(Cascades, AreNoReasonToSuspendWhatAnOrderKeeps) {
    MakeTables(u"");
    RunOnBoth(u"CREATE TABLE d (id int PRIMARY KEY, p int REFERENCES p (id))");
    RunOn1(
        u"INSERT p VALUES (1, 8, 1), (2, 2, 1) INSERT c VALUES (1, 8), (2, 2) INSERT d VALUES"
        u" (1, 1)");
    RunOn2(
        u"INSERT p VALUES (1, 2, 1), (2, 8, 1) INSERT c VALUES (1, 8), (2, 2) INSERT d VALUES"
        u" (1, 1)");
    EXPECT_FALSE(Holds(Script({u"p"}), u"ALTER TABLE"));
    ExpectToConverge({u"p"});
    RunOn1(u"INSERT p VALUES (3, 3, 1)");
    RunOn2(u"INSERT p VALUES (4, 4, 1) ALTER TABLE c NOCHECK CONSTRAINT FK_c");
    EXPECT_FALSE(Holds(Script({u"p"}), u"ALTER TABLE"));
    ExpectToConverge({u"p"});
}

// What does not happen to the rows they refer to, suspends none.
TEST_P(Cascades, AreLeftAloneWhereNothingSetsThemOff) {
    MakeTables(u"ON DELETE CASCADE ON UPDATE SET NULL");
    RunOn1(u"INSERT p VALUES (1, 1, 1), (2, 2, 2) INSERT c VALUES (1, 1)");
    RunOn2(u"INSERT p VALUES (1, 1, 9) INSERT c VALUES (1, 1), (2, 1)");
    const std::u16string script = Script({u"p", u"c"});
    EXPECT_FALSE(Holds(script, u"ALTER TABLE"));
    EXPECT_FALSE(Holds(script, u"right to alter"));
    ExpectToConverge({u"p", u"c"});
}

// Rows that refer to nothing have been there before.
TEST_P(Cascades, ThatAreNotTrustedAreGivenBackSo) {
    MakeTables(u"ON DELETE CASCADE");
    const std::u16string orphan = Orphans(u"(9, 99)");
    RunOn1(u"INSERT p VALUES (1, 1, 1) INSERT c VALUES (1, 1)\nGO\n" + orphan);
    RunOn2(u"INSERT p VALUES (1, 1, 1), (2, 2, 2) INSERT c VALUES (1, 1)\nGO\n" + orphan);
    EXPECT_EQ(States(), u"0 1");
    const std::u16string script = Script({u"p"});
    EXPECT_TRUE(Holds(script,
                      u"-- Suspended, and looked at for more rows that refer to nothing, for "
                      u"it was not trusted: foreign key FK_c of [dbo].[c]\r\n"));
    ExpectToConverge({u"p"});
    EXPECT_EQ(States(), u"0 1");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM c"), u"2");
}

// An untrusted key holds all the same for what happens from now on: a script must not make rows
// that refer to nothing while it has the key suspended.
TEST_P(Cascades, ThatAreNotTrustedLeaveNoMoreRowsBehind) {
    MakeTables(u"ON DELETE CASCADE");
    const std::u16string orphan = Orphans(u"(9, 99)");
    RunOn1(u"INSERT p VALUES (1, 1, 1) INSERT c VALUES (1, 1)\nGO\n" + orphan);
    RunOn2(u"INSERT p VALUES (1, 1, 1), (2, 2, 2) INSERT c VALUES (1, 1), (2, 2), (3, NULL)\nGO\n" +
           orphan);
    EXPECT_TRUE(Holds(OnlyErrorOf(Script({u"p"})), WouldReferToNothing));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM p"), u"2");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM c"), u"4");
    EXPECT_EQ(States(), u"0 1");
    // with the row that would be left behind gone, too
    RunOn2(u"DELETE c WHERE id = 2");
    ExpectToConverge({u"p"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM c"), u"3");
    EXPECT_EQ(States(), u"0 1");
}

TEST_P(Cascades, ThatAreNotTrustedLetNoMoreRowsReferToTheSameNothing) {
    MakeTables(u"ON DELETE CASCADE");
    RunOn1(u"INSERT p VALUES (1, 1, 1)\nGO\n" + Orphans(u"(8, 99), (9, 99)"));
    RunOn2(u"INSERT p VALUES (1, 1, 1), (2, 2, 2)\nGO\n" + Orphans(u"(9, 99)"));
    EXPECT_TRUE(Holds(OnlyErrorOf(Script({u"p", u"c"})), WouldReferToNothing));
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM p"), u"2");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM c"), u"1");
}

TEST_P(Cascades, ThatAreDisabledStaySo) {
    MakeTables(u"ON DELETE CASCADE");
    RunOnBoth(u"ALTER TABLE c NOCHECK CONSTRAINT FK_c");
    RunOn1(u"INSERT p VALUES (1, 1, 1) INSERT c VALUES (1, 1)");
    RunOn2(u"INSERT p VALUES (1, 1, 1), (2, 2, 2) INSERT c VALUES (1, 1)");
    EXPECT_FALSE(Holds(Script({u"p"}), u"ALTER TABLE"));
    ExpectToConverge({u"p"});
    EXPECT_EQ(States(), u"1 1");
}

// A cycle, too.
TEST_P(Cascades, OrNotKeysOfCyclesKeepWhatTheyWere) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, other int NOT NULL, CONSTRAINT self FOREIGN KEY"
        u" (other) REFERENCES t (id))\nGO\nALTER TABLE t NOCHECK CONSTRAINT self"
        u" INSERT t VALUES (5, 55) ALTER TABLE t WITH NOCHECK CHECK CONSTRAINT self");
    RunOn1(u"INSERT t VALUES (1,2),(2,1)");
    RunOn2(u"INSERT t VALUES (3,4),(4,3)");
    ExpectToConverge({u"t"});
    EXPECT_EQ(States(), u"0 1");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
}

TEST_P(Cascades, TakeTheRightToAlterTheirTable) {
    MakeTables(u"ON DELETE CASCADE");
    RunOn2(u"INSERT p VALUES (2, 2, 2)");
    RunOn2(
        u"CREATE LOGIN little WITH PASSWORD = 'l' CREATE USER little FOR LOGIN little"
        u" GRANT SELECT, INSERT, UPDATE, DELETE ON p TO little"
        u" GRANT SELECT, INSERT, UPDATE, DELETE ON c TO little");
    two->Username(u"little");
    two->Password(u"l");
    EXPECT_FALSE(Run(Script({u"p"})).empty());
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM p"), u"1");
    RunOn2(u"GRANT ALTER ON c TO little");
    ExpectToConverge({u"p"});
}

}  // namespace
}  // namespace QuillonLib
