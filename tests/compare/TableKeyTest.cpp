// Which columns are the key of a table.
#include <gtest/gtest.h>

#include <string>

#include "TableComparisonFixture.h"

namespace QuillonLib {
namespace {

// Which columns of a table become the key, where nothing is chosen.
struct KeyCase {
    const char* name;
    const char16_t* on1;
    const char16_t* on2;
    Texts key;  // empty: the table has none
};
std::ostream& operator<<(std::ostream& out, const KeyCase& each) {
    return out << each.name;
}

class TableKeyCaseTest : public TableComparisonFixture,
                         public ::testing::WithParamInterface<KeyCase> {};

TEST_P(TableKeyCaseTest, IsTheKey) {
    RunIn(u"one", GetParam().on1);
    RunIn(u"two", GetParam().on2);
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_EQ(KeyColumns(*result), GetParam().key);
    EXPECT_EQ(result->HasPrimaryKey(), !GetParam().key.empty());
}

constexpr const char16_t* Keyless = u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)";
constexpr const char16_t* TwoUniqueIndexes =
    u"CREATE TABLE t (a int NOT NULL, b int NOT NULL, c int NOT NULL)\nGO\n"
    u"CREATE INDEX plain ON t (a)\nGO\n"
    u"CREATE UNIQUE INDEX first ON t (b)\nGO\nCREATE UNIQUE INDEX second ON t (c)";
constexpr const char16_t* UniqueConstraint =
    u"CREATE TABLE t (a int NOT NULL, b int NOT NULL CONSTRAINT UQ_t UNIQUE)";
constexpr const char16_t* PrimaryKeyBesideAUniqueIndex =
    u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)\nGO\n"
    u"CREATE UNIQUE CLUSTERED INDEX ix ON t (a)\nGO\n"
    u"ALTER TABLE t ADD CONSTRAINT PK_t PRIMARY KEY NONCLUSTERED (b)";
// A column belongs to the key where its name between marks, "#a#", stands in the key, "#a##b#".
constexpr const char16_t* NamesThatOccurInTheKey =
    u"CREATE TABLE t (a int NOT NULL, b int NOT NULL, [a##b] int NULL, [a#b] int NULL, "
    u"[b##a] int NULL, CONSTRAINT PK_t PRIMARY KEY (a, b))";

INSTANTIATE_TEST_SUITE_P(
    Declared, TableKeyCaseTest,
    ::testing::Values(
        KeyCase{"NotPrimaryKeysOfNamesInAnotherCase",
                u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY)",
                u"CREATE TABLE t (id int NOT NULL CONSTRAINT pk_T PRIMARY KEY)",
                {}},
        KeyCase{"ThePrimaryKeyOfDatabase1WhereThatOfDatabase2HasOtherColumns",
                u"CREATE TABLE t (a int NOT NULL CONSTRAINT PK_t PRIMARY KEY, b int NOT NULL)",
                u"CREATE TABLE t (a int NOT NULL, b int NOT NULL CONSTRAINT PK_t PRIMARY KEY)",
                {u"a"}},
        KeyCase{"TheFirstUniqueIndex", TwoUniqueIndexes, TwoUniqueIndexes, {u"b"}},
        KeyCase{"AUniqueConstraint", UniqueConstraint, UniqueConstraint, {u"b"}},
        KeyCase{"ThePrimaryKeyBeforeAUniqueIndex",
                PrimaryKeyBesideAUniqueIndex,
                PrimaryKeyBesideAUniqueIndex,
                {u"b"}},
        KeyCase{"NotAUniqueIndexOfDatabase2Alone",
                Keyless,
                u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)\nGO\n"
                u"CREATE UNIQUE INDEX ix_b ON t (b)",
                {}},
        KeyCase{"TheUniqueIndexOfDatabase1",
                u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)\nGO\n"
                u"CREATE UNIQUE INDEX ix_a ON t (a)",
                u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)\nGO\n"
                u"CREATE UNIQUE INDEX ix_b ON t (b)",
                {u"a"}},
        KeyCase{"EveryColumnWhoseMarkedNameOccursInIt",
                NamesThatOccurInTheKey,
                NamesThatOccurInTheKey,
                {u"a", u"b", u"a##b"}}),
    [](const auto& info) { return std::string(info.param.name); });

class TableKeyTest : public TableComparisonFixture {};

TEST_F(TableKeyTest, PrimaryKeysOfOtherNamesGiveNoKey) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_1 PRIMARY KEY)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_2 PRIMARY KEY)");
    RunInBoth(u"INSERT t VALUES (1)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_FALSE(result->HasPrimaryKey());
    EXPECT_EQ(result->RecordsIn1(), 1);
    EXPECT_EQ(result->RecordsInUnion(), 0);
    EXPECT_EQ(result->Error(), u"");
}

TEST_F(TableKeyTest, PrimaryKeysOfOneNameWhoseColumnsAreNotInCommonFailTheTable) {
    RunIn(u"one", u"CREATE TABLE u (a int NOT NULL CONSTRAINT PK_u PRIMARY KEY, b int NOT NULL)");
    RunIn(u"two", u"CREATE TABLE u (b int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    EXPECT_EQ(CompareOne(u"[dbo].[u]")->Error(),
              u"Error comparing [dbo].[u]\r\nKey columns differ");
    ExpectOneProcessError(3704, ClosedText);
}

TEST_F(TableKeyTest, AChosenIndexIsTheKey) {
    RunInBoth(Keyed);
    RunInBoth(u"CREATE INDEX ix_ba ON t (b, a)");
    indexes.Add(u"IX_ba", u"[DBO].[T]");
    server.ClearLog();
    RunIn(u"one", u"INSERT t VALUES (1,1,N'x')");
    RunIn(u"two", u"INSERT t VALUES (2,1,N'x'),(3,2,N'x')");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_TRUE(result->HasPrimaryKey());
    EXPECT_EQ(KeyColumns(*result), (Texts{u"a", u"b"}));
    EXPECT_EQ(Told(server).back(),
              u"SELECT COUNT(*) FROM [one].[dbo].[t] T1 INNER JOIN [two].[dbo].[t] T2 ON "
              u"T1.[a]=T2.[a] AND T1.[b]=T2.[b]  WHERE (T1.[id]<>T2.[id]) ");
}

TEST_F(TableKeyTest, AChosenIndexIsThatOfDatabase1) {
    RunInBoth(u"CREATE TABLE t (a int NOT NULL, b int NOT NULL)");
    RunIn(u"one", u"CREATE INDEX ix ON t (a)");
    RunIn(u"two", u"CREATE INDEX ix ON t (b)\nGO\nCREATE INDEX only2 ON t (a)");
    indexes.Add(u"ix", u"[dbo].[t]");
    EXPECT_EQ(KeyColumns(*CompareOne(u"[dbo].[t]")), Texts{u"a"});
    indexes.Remove(u"[dbo].[t]");
    indexes.Add(u"only2", u"[dbo].[t]");
    EXPECT_EQ(CompareOne(u"[dbo].[t]")->Error(),
              u"Error comparing [dbo].[t]\r\n"
              u"The table [dbo].[t] in database 'one' has no index named 'only2'.");
}

TEST_F(TableKeyTest, AnEmptyIndexChoiceIsNone) {
    RunInBoth(Keyed);
    indexes.Add(u"", u"[dbo].[t]");
    EXPECT_EQ(KeyColumns(*CompareOne(u"[dbo].[t]")), Texts{u"id"});
}

TEST_F(TableKeyTest, AChosenIndexThatIsNotThereFailsTheTable) {
    RunInBoth(Keyed);
    indexes.Add(u"nothing", u"[dbo].[t]");
    EXPECT_EQ(CompareOne(u"[dbo].[t]")->Error(),
              u"Error comparing [dbo].[t]\r\n"
              u"The table [dbo].[t] in database 'one' has no index named 'nothing'.");
}

}  // namespace
}  // namespace QuillonLib
