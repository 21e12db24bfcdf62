#include "catalog/TableObject.h"

#include <gtest/gtest.h>

#include "catalog/CatalogBuilder.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

TEST(TableObjects, AreFoundByOwnerAndNameInAnyCase) {
    TableObjects tables;
    const auto table =
        CatalogBuilder::AddTable(tables, {u"dbo", u"Order Details"}, false, {}, u"world");
    EXPECT_EQ(table->Description(), u"[dbo].[Order Details]");
    EXPECT_EQ(table->Name(), u"Order Details");
    EXPECT_EQ(table->Owner(), u"dbo");
    EXPECT_TRUE(tables.ItemExists(u"dbo", u"Order Details"));
    EXPECT_TRUE(tables.ItemExists(u"DBO", u"order details"));
    EXPECT_FALSE(tables.ItemExists(u"dbo", u"T"));
    EXPECT_EQ(tables.Item(u"[DBO].[ORDER DETAILS]"), table);
    EXPECT_EQ(table->ParentDependencies()->Count(), 0);
    EXPECT_EQ(table->ChildDependencies()->Count(), 0);
}

TEST(TableObjects, AddingTheSameTwiceIsError457) {
    TableObjects tables;
    CatalogBuilder::AddTable(tables, {u"dbo", u"t"}, false, {}, u"");
    EXPECT_EQ(RaisedBy([&] {
                  CatalogBuilder::AddTable(tables, {u"DBO", u"T"}, false, {}, u"");
              }).number,
              457);
    EXPECT_EQ(RaisedBy([&] { (void)tables.Item(u"[dbo].[x]"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)tables.Item(2); }).number, 5);
}

TEST(IndexObjects, WhatIsAbsentIsError5) {
    IndexObjects indexes;
    CatalogBuilder::AddIndex(indexes, {u"PK_t", 0x800, {}});
    EXPECT_EQ(indexes.Item(u"pk_T")->Name(), u"PK_t");
    EXPECT_EQ(indexes.Item(1)->Name(), u"PK_t");
    EXPECT_EQ(RaisedBy([&] { (void)indexes.Item(u"UQ_a"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)indexes.Item(u"1"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)indexes.Item(0); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)indexes.Item(2); }).number, 5);
    EXPECT_TRUE(indexes.ItemExists(u"pk_T"));
    EXPECT_FALSE(indexes.ItemExists(u"UQ_a"));
    EXPECT_FALSE(indexes.ItemExists(2));
}

TEST(IndexObjects, NamesThatDifferInCaseOnlyAreError457) {
    IndexObjects indexes;
    CatalogBuilder::AddIndex(indexes, {u"K", 2, {}});
    EXPECT_EQ(RaisedBy([&] { CatalogBuilder::AddIndex(indexes, {u"k", 0x800, {}}); }).number, 457);
    ASSERT_EQ(indexes.Count(), 1);
    EXPECT_EQ(indexes.Item(1)->Name(), u"K");
    EXPECT_FALSE(indexes.Item(1)->PrimaryKey());
}

// Both generations of catalogs.
class TableObjectTest : public SandboxTest, public ::testing::WithParamInterface<const char*> {
  protected:
    TableObjectTest() : versioned(box.AddServer(Versioned(GetParam()))) {
        versioned.Run(
            u"CREATE DATABASE world\nGO\nUSE world\nGO\n"
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, "
            u"a int NOT NULL CONSTRAINT UQ_a UNIQUE, b int NOT NULL, twice AS id * 2)\nGO\n"
            u"CREATE INDEX plain ON t (b)\nGO\nCREATE UNIQUE INDEX uix ON t (b, a)\nGO\n"
            u"CREATE TABLE bare (id int)\nGO\n"
            u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, a FROM dbo.t\nGO\n"
            u"CREATE UNIQUE CLUSTERED INDEX vix ON v (id)");
        database = MakeDatabase(versioned, u"world");
    }
    static sandbox::ServerSettings Versioned(const char* version) {
        sandbox::ServerSettings settings;
        settings.name = u"VERSIONED";
        settings.version = version;
        return settings;
    }
    sandbox::Server& versioned;
    std::shared_ptr<Database> database;
};

TEST_P(TableObjectTest, ColumnsAndIndexesAreReadTogetherTheFirstTime) {
    const auto table = database->Tables()->Item(u"[dbo].[t]");
    versioned.ClearLog();
    const auto columns = table->Columns();
    const auto sent = versioned.Log().size();
    EXPECT_GT(sent, 0U);
    const auto indexes = table->Indexes();
    EXPECT_EQ(table->Columns(), columns);
    EXPECT_EQ(versioned.Log().size(), sent);

    ASSERT_EQ(columns->Count(), 4);
    EXPECT_EQ(columns->Item(1)->Name(), u"id");
    EXPECT_EQ(columns->Item(4)->Name(), u"twice");
    EXPECT_TRUE(columns->Item(4)->Computed());
    EXPECT_FALSE(columns->Item(1)->Computed());

    ASSERT_EQ(indexes->Count(), 3);  // none that is not unique
    EXPECT_EQ(indexes->Item(1)->Name(), u"PK_t");
    EXPECT_EQ(indexes->Item(2)->Name(), u"UQ_a");
    EXPECT_EQ(indexes->Item(3)->Name(), u"uix");
    EXPECT_TRUE(indexes->Item(u"PK_t")->PrimaryKey());
    EXPECT_FALSE(indexes->Item(u"UQ_a")->PrimaryKey());
    EXPECT_FALSE(indexes->Item(u"uix")->PrimaryKey());
    EXPECT_FALSE(indexes->ItemExists(u"plain"));
}

// The rest is for a comparison, or for the caller, to set.
TEST_P(TableObjectTest, OfAColumnOnlyTheNameAndTheComputedFlagAreRead) {
    versioned.Run(
        u"USE world\nGO\nCREATE TABLE wide (amount decimal(9, 2) NOT NULL PRIMARY KEY, "
        u"note nvarchar(20) NULL, body text NULL, half AS amount / 2)");
    const auto columns = database->Tables()->Item(u"[dbo].[wide]")->Columns();
    ASSERT_EQ(columns->Count(), 4);
    EXPECT_EQ(columns->Item(1)->Name(), u"amount");
    EXPECT_EQ(columns->Item(2)->Name(), u"note");
    EXPECT_EQ(columns->Item(3)->Name(), u"body");
    EXPECT_EQ(columns->Item(4)->Name(), u"half");
    EXPECT_FALSE(columns->Item(1)->Computed());
    EXPECT_FALSE(columns->Item(2)->Computed());
    EXPECT_FALSE(columns->Item(3)->Computed());
    EXPECT_TRUE(columns->Item(4)->Computed());
    for (const auto& column : *columns) {
        EXPECT_FALSE(column->PrimaryKey());
        EXPECT_FALSE(column->CannotCompare());
        EXPECT_EQ(column->DataType(), u"");
        EXPECT_EQ(column->Length(), 0);
        EXPECT_EQ(column->NumericScale(), 0);
        EXPECT_EQ(column->NumericPrecision(), 0);
        EXPECT_FALSE(column->AllowNulls());
    }
}

TEST_P(TableObjectTest, ATableWithoutAUniqueIndexHasNone) {
    EXPECT_EQ(database->Tables()->Item(u"[dbo].[bare]")->Indexes()->Count(), 0);
}

TEST_P(TableObjectTest, AViewHasColumnsAndIndexesToo) {
    const auto view = database->Tables()->Item(u"[dbo].[v]");
    EXPECT_TRUE(view->IsView());
    EXPECT_EQ(view->Columns()->Count(), 2);
    ASSERT_EQ(view->Indexes()->Count(), 1);
    EXPECT_EQ(view->Indexes()->Item(1)->Name(), u"vix");
    EXPECT_FALSE(view->Indexes()->Item(1)->PrimaryKey());  // clustered, but no constraint
}

TEST_P(TableObjectTest, ATableThatIsGoneFailsOnceAndThenStaysEmpty) {
    const auto table = database->Tables()->Item(u"[dbo].[bare]");
    versioned.Run(u"USE world\nGO\nDROP TABLE bare");
    const Raised raised = RaisedBy([&] { table->Columns(); });
    EXPECT_EQ(raised.number, 3265);
    EXPECT_EQ(raised.description, u"The database 'world' has no table or view [dbo].[bare].");
    EXPECT_EQ(database->LastError(), u"");
    versioned.ClearLog();
    EXPECT_EQ(table->Columns()->Count(), 0);
    EXPECT_EQ(table->Indexes()->Count(), 0);
    EXPECT_EQ(versioned.Log().size(), 0U);
}

TEST_P(TableObjectTest, ATableWhoseNameAViewHasTakenIsNotFound) {
    const auto table = database->Tables()->Item(u"[dbo].[bare]");
    versioned.Run(u"USE world\nGO\nDROP TABLE bare\nGO\nCREATE VIEW bare AS SELECT id FROM t");
    const Raised raised = RaisedBy([&] { table->Columns(); });
    EXPECT_EQ(raised.number, 3265);
    EXPECT_EQ(raised.description, u"The database 'world' has no table or view [dbo].[bare].");
    EXPECT_EQ(table->Columns()->Count(), 0);
}

TEST_P(TableObjectTest, AViewWhoseNameATableHasTakenIsNotFound) {
    const auto view = database->Tables()->Item(u"[dbo].[v]");
    versioned.Run(u"USE world\nGO\nDROP VIEW v\nGO\nCREATE TABLE v (id int)");
    EXPECT_EQ(RaisedBy([&] { view->Indexes(); }).number, 3265);
    EXPECT_EQ(view->Columns()->Count(), 0);
}

TEST_P(TableObjectTest, TheColumnsStayWhereTheIndexesCannotBeRead) {
    const auto table = database->Tables()->Item(u"[dbo].[t]");
    versioned.AddFault(ErrorIn(u"index_columns"));
    versioned.AddFault(ErrorIn(u"sysindexkeys"));
    EXPECT_EQ(RaisedBy([&] { table->Indexes(); }).description,
              u"[FreeTDS][SQL Server]made to fail");
    EXPECT_EQ(database->LastError(), u"");
    versioned.ClearFaults();
    versioned.ClearLog();
    EXPECT_EQ(table->Columns()->Count(), 4);
    EXPECT_EQ(table->Indexes()->Count(), 0);
    EXPECT_EQ(versioned.Log().size(), 0U);
}

TEST_P(TableObjectTest, AServerThatIsAwayIsNotAskedAgain) {
    const auto table = database->Tables()->Item(u"[dbo].[t]");
    versioned.Kill();
    EXPECT_NE(RaisedBy([&] { table->Indexes(); }).number, 0);
    EXPECT_EQ(database->LastError(), u"");
    versioned.Restart();
    versioned.ClearLog();
    EXPECT_EQ(table->Columns()->Count(), 0);
    EXPECT_EQ(table->Indexes()->Count(), 0);
    EXPECT_EQ(Logins(versioned), 0);
    EXPECT_EQ(versioned.OpenConnections(), 0);
}

TEST_P(TableObjectTest, ALoginThatIsRefusedIsNotTriedAgain) {
    const LoginData login{versioned.Address(), u"sa", u"wrong", false};
    TableObjects tables;
    const auto table = CatalogBuilder::AddTable(tables, {u"dbo", u"t"}, false, login, u"world");
    EXPECT_EQ(RaisedBy([&] { table->Columns(); }).description,
              u"[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
              u"[FreeTDS][SQL Server]Unable to connect to data source");
    EXPECT_EQ(table->Columns()->Count(), 0);
    EXPECT_EQ(table->Indexes()->Count(), 0);
}

INSTANTIATE_TEST_SUITE_P(Versions, TableObjectTest, ::testing::Values("8.00.2039", "10.50.6000"));

}  // namespace
}  // namespace QuillonLib
