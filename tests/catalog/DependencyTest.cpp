// Which tables depend on which others.
#include <gtest/gtest.h>

#include <algorithm>

#include "catalog/CatalogBuilder.h"
#include "catalog/DependencyLoader.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

using Texts = std::vector<std::u16string>;

Texts Names(const Dependencies& dependencies) {
    Texts names;
    for (const auto& dependency : dependencies)
        names.push_back(dependency->Name());
    std::sort(names.begin(), names.end());
    return names;
}

class DependencyTest : public SandboxTest {
  protected:
    DependencyTest() {
        server.Run(u"CREATE DATABASE world");
        database = MakeDatabase(u"world");
        database->CheckDependencies(true);
    }
    void Run(const std::u16string& sql) { server.Run(u"USE world\nGO\n" + sql); }
    Texts Parents(const std::u16string& table) {
        return Names(*database->Tables()->Item(table)->ParentDependencies());
    }
    Texts Children(const std::u16string& table) {
        return Names(*database->Tables()->Item(table)->ChildDependencies());
    }

    std::shared_ptr<Database> database;
};

constexpr const char16_t* AAndB =
    u"CREATE TABLE b (id int NOT NULL PRIMARY KEY)\nGO\n"
    u"CREATE TABLE a (id int NOT NULL PRIMARY KEY, b1 int REFERENCES b, b2 int REFERENCES b)";

TEST_F(DependencyTest, TwoForeignKeysGiveOneEntryOnEitherSide) {
    Run(AAndB);
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{u"[dbo].[b]"});
    EXPECT_EQ(Children(u"[dbo].[a]"), Texts{});
    EXPECT_EQ(Parents(u"[dbo].[b]"), Texts{});
    EXPECT_EQ(Children(u"[dbo].[b]"), Texts{u"[dbo].[a]"});
}

TEST_F(DependencyTest, AForeignKeyToTheTableItselfGivesNoEntry) {
    Run(u"CREATE TABLE a (id int NOT NULL PRIMARY KEY, up int REFERENCES a)");
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{});
    EXPECT_EQ(Children(u"[dbo].[a]"), Texts{});
}

TEST_F(DependencyTest, AViewDependsOnItsTables) {
    Run(u"CREATE TABLE a (id int NOT NULL PRIMARY KEY)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.a\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    EXPECT_EQ(Parents(u"[dbo].[v]"), Texts{u"[dbo].[a]"});
    EXPECT_EQ(Children(u"[dbo].[v]"), Texts{});
    EXPECT_EQ(Children(u"[dbo].[a]"), Texts{u"[dbo].[v]"});
}

// "dtproperties" is a user table by its type, but came with the server.
TEST_F(DependencyTest, ObjectsOfTheServerAreNeverListed) {
    sandbox::ServerSettings old;
    old.name = u"OLD";
    old.version = "8.00.2039";
    sandbox::Server& oldServer = box.AddServer(old);
    oldServer.Run(
        u"CREATE DATABASE world\nGO\nUSE world\nGO\n"
        u"CREATE TABLE a (id int NOT NULL PRIMARY KEY)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS"
        u" SELECT a.id, p.id AS p FROM dbo.a a INNER JOIN dbo.dtproperties p ON a.id = p.id\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id, p)");
    ASSERT_EQ(oldServer.Scalar(u"SELECT COUNT(*) FROM world..sysdepends WHERE depid ="
                               u" (SELECT id FROM world..sysobjects WHERE name = 'dtproperties')"),
              u"1");
    database->Server(oldServer.Address());
    EXPECT_EQ(Parents(u"[dbo].[v]"), Texts{u"[dbo].[a]"});
    EXPECT_EQ(Children(u"[dbo].[a]"), Texts{u"[dbo].[v]"});
    EXPECT_FALSE(database->Tables()->ItemExists(u"[dbo].[dtproperties]"));
}

TEST_F(DependencyTest, ALostConnectionIsToldWithoutATable) {
    Run(AAndB);
    server.AddFault({.kind = sandbox::FaultKind::Drop, .contains = u"sysreferences"});
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_EQ(raised.description,
              u"Error getting dependency information.\r\n"
              u"[FreeTDS][SQL Server]Unexpected EOF from the server");
    EXPECT_EQ(database->LastError(), raised.description);
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{u"[dbo].[b]"});
}

// The catalog is read behind a login to the server alone. For the login to the database its name
// ends at the ";".
TEST_F(DependencyTest, ARefusedSecondLoginIsToldWithoutATable) {
    server.Run(u"CREATE DATABASE [nowhere;]");
    database->DatabaseName(u"nowhere;");
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(raised.description,
              u"Error getting dependency information.\r\n"
              u"[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
              u"[FreeTDS][SQL Server]Cannot open database \"nowhere\" requested by the login. The "
              u"login failed.\r\n"
              u"[FreeTDS][SQL Server]Unable to connect to data source");
    EXPECT_EQ(database->LastError(), raised.description);
}

// A table of the database's own stands for the server's list of owners: it names one of them only.
TEST_F(DependencyTest, AFailureAtATableIsRememberedWithItsName) {
    Run(u"CREATE SCHEMA nameless\nGO\n"
        u"CREATE TABLE nameless.b (id int NOT NULL PRIMARY KEY)\nGO\n"
        u"CREATE TABLE a (id int NOT NULL PRIMARY KEY, b int REFERENCES nameless.b)\nGO\n"
        u"CREATE TABLE sysusers (uid smallint, name nvarchar(20))\nGO\n"
        u"INSERT INTO sysusers SELECT uid, CASE WHEN name = 'dbo' THEN name END FROM sys.sysusers");
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_EQ(raised.number, 94);
    EXPECT_EQ(raised.description,
              u"Error getting dependency information.\r\n"
              u"Error getting dependency information for a\r\n"
              u"\r\n"
              u"Invalid use of Null");
    EXPECT_EQ(database->LastError(), raised.description);
    Run(u"DROP TABLE sysusers");
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{u"[nameless].[b]"});
    EXPECT_EQ(database->LastError(), u"");
}

TEST_F(DependencyTest, UnaskedForNothingIsRead) {
    Run(AAndB);
    database->CheckDependencies(false);
    server.ClearLog();
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{});
    EXPECT_EQ(Children(u"[dbo].[b]"), Texts{});
    for (const auto& batch : Batches(server)) {
        EXPECT_EQ(batch.find(u"sysreferences"), std::u16string::npos);
        EXPECT_EQ(batch.find(u"sysdepends"), std::u16string::npos);
    }
}

TEST_F(DependencyTest, RefreshBeginsWithEmptyLists) {
    Run(AAndB);
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{u"[dbo].[b]"});
    Run(u"DROP TABLE a\nGO\nCREATE TABLE a (id int NOT NULL PRIMARY KEY)");
    database->Refresh();
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{});
}

TEST_F(DependencyTest, BothQueriesAsTheyAreSent) {
    Run(AAndB);
    server.ClearLog();
    database->Tables();
    Texts batches = Batches(server);
    ASSERT_GE(batches.size(), 2U);
    EXPECT_EQ(batches[batches.size() - 2],
              u"SELECT '[' + u.name + '].[' + o.name + ']' AS Name, 'T' AS Type, '[' + u1.name + "
              u"'].[' + o1.name + ']' AS DepName, 'T' AS DepType \r\n"
              u"FROM sysreferences r \r\n"
              u"INNER JOIN sysobjects o ON r.fkeyid = o.id \r\n"
              u"INNER JOIN sysusers u ON o.uid = u.uid \r\n"
              u"INNER JOIN sysobjects o1 ON r.rkeyid = o1.id \r\n"
              u"INNER JOIN sysusers u1 ON o1.uid = u1.uid");
    EXPECT_EQ(batches.back(),
              u"SELECT DISTINCT '[' + u.name + '].[' + o.name + ']' AS Name, \r\n"
              u"Type = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
              u"WHEN objectproperty (o.id, 'IsView')=1 THEN 2 \r\n"
              u"ELSE 0 END, '[' + u1.name + '].[' + o1.name + ']' AS DepName, \r\n"
              u"DepType = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
              u"WHEN objectproperty (o1.id, 'IsView')=1 THEN 2 \r\n"
              u"ELSE 0 END \r\n"
              u"FROM sysdepends d \r\n"
              u"INNER JOIN sysobjects o ON d.id=o.id \r\n"
              u"INNER JOIN sysusers u ON o.uid=u.uid \r\n"
              u"INNER JOIN sysobjects o1 ON d.depid=o1.id \r\n"
              u"INNER JOIN sysusers u1 ON o1.uid=u1.uid \r\n"
              u"WHERE (OBJECTPROPERTY (o.id, 'IsUserTable')=1 \r\n"
              u"OR OBJECTPROPERTY (o.id, 'IsView')=1) \r\n"
              u"AND (OBJECTPROPERTY (o1.id, 'IsUserTable')=1 \r\n"
              u"OR OBJECTPROPERTY (o1.id, 'IsView')=1) \r\n"
              u"AND OBJECTPROPERTY (o.id, 'IsMSShipped')=0 AND OBJECTPROPERTY (o1.id, "
              u"'IsMSShipped')=0");
}

TEST_F(DependencyTest, AFailingQueryIsToldWithoutATable) {
    Run(AAndB);
    server.AddFault(ErrorIn(u"sysdepends"));
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_NE(raised.number, 0);
    EXPECT_EQ(raised.description,
              u"Error getting dependency information.\r\n"
              u"[FreeTDS][SQL Server]made to fail");
    EXPECT_EQ(database->LastError(), raised.description);
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(Parents(u"[dbo].[a]"), Texts{u"[dbo].[b]"});
}

class DependencyRowsTest : public ::testing::Test {
  protected:
    DependencyRowsTest() {
        for (const char16_t* name : {u"a", u"b"})
            CatalogBuilder::AddTable(tables, {u"dbo", name}, false, {}, u"world");
        CatalogBuilder::AddTable(tables, {u"dbo", u"v"}, true, {}, u"world");
    }
    // The rows of foreign keys, then those of recorded dependencies.
    void Load(std::vector<DependencyRow> foreignKeys, std::vector<DependencyRow> objects) {
        LoadDependencies(
            [&](std::u16string_view sql) {
                return sql.find(u"sysreferences") != sql.npos ? foreignKeys : objects;
            },
            tables);
    }
    static DependencyRow Row(const char16_t* name, const char16_t* depName) {
        return {Value(name), Value(depName)};
    }

    TableObjects tables;
};

TEST_F(DependencyRowsTest, ANullNameIsToldWithItsTable) {
    const Raised raised = RaisedBy([&] {
        Load({Row(u"[dbo].[a]", u"[dbo].[b]"), {Value(u"[dbo].[b]"), Value::Null()}}, {});
    });
    EXPECT_EQ(raised.number, 94);
    EXPECT_EQ(raised.description,
              u"Error getting dependency information.\r\n"
              u"Error getting dependency information for b\r\n"
              u"\r\n"
              u"Invalid use of Null");
}

TEST_F(DependencyRowsTest, AFailureOfTheQueryKeepsItsNumberAndSource) {
    const Raised raised = RaisedBy([&] {
        LoadDependencies(
            [](std::u16string_view) -> std::vector<DependencyRow> {
                throw Error(17, u"no answer", u"the server");
            },
            tables);
    });
    EXPECT_EQ(raised.number, 17);
    EXPECT_EQ(raised.description, u"Error getting dependency information.\r\nno answer");
    EXPECT_EQ(raised.source, u"the server");
}

TEST_F(DependencyRowsTest, BothQueriesTogetherGiveEachNameOnce) {
    Load({Row(u"[dbo].[a]", u"[dbo].[b]")},
         {Row(u"[dbo].[a]", u"[dbo].[b]"), Row(u"[dbo].[a]", u"[dbo].[a]"),
          Row(u"[dbo].[v]", u"[dbo].[a]")});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[a]")->ParentDependencies()), Texts{u"[dbo].[b]"});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[a]")->ChildDependencies()), Texts{u"[dbo].[v]"});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[v]")->ParentDependencies()), Texts{u"[dbo].[a]"});
}

TEST_F(DependencyRowsTest, NamesStandInTheOrderOfTheRows) {
    Load({Row(u"[dbo].[a]", u"[x].[3]"), Row(u"[dbo].[a]", u"[x].[1]")},
         {Row(u"[dbo].[a]", u"[x].[2]"), Row(u"[y].[2]", u"[dbo].[a]"),
          Row(u"[y].[1]", u"[dbo].[a]")});
    const auto& parents = *tables.Item(u"[dbo].[a]")->ParentDependencies();
    ASSERT_EQ(parents.Count(), 3);
    EXPECT_EQ(parents.AbsoluteItem(1)->Name(), u"[x].[3]");
    EXPECT_EQ(parents.AbsoluteItem(2)->Name(), u"[x].[1]");
    EXPECT_EQ(parents.AbsoluteItem(3)->Name(), u"[x].[2]");
    const auto& children = *tables.Item(u"[dbo].[a]")->ChildDependencies();
    ASSERT_EQ(children.Count(), 2);
    EXPECT_EQ(children.AbsoluteItem(1)->Name(), u"[y].[2]");
    EXPECT_EQ(children.AbsoluteItem(2)->Name(), u"[y].[1]");
}

// A name is found as it stands: a quote is not doubled, and case counts.
TEST_F(DependencyRowsTest, NamesAreComparedAsTheyStand) {
    CatalogBuilder::AddTable(tables, {u"dbo", u"O'Brien"}, false, {}, u"world");
    Load({Row(u"[dbo].[O'Brien]", u"[dbo].[b]"), Row(u"[DBO].[A]", u"[dbo].[b]")}, {});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[O'Brien]")->ParentDependencies()), Texts{u"[dbo].[b]"});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[a]")->ParentDependencies()), Texts{});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[b]")->ChildDependencies()),
              (Texts{u"[DBO].[A]", u"[dbo].[O'Brien]"}));
}

TEST_F(DependencyRowsTest, AViewTakesNothingFromForeignKeys) {
    Load({Row(u"[dbo].[v]", u"[dbo].[a]")}, {});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[v]")->ParentDependencies()), Texts{});
    EXPECT_EQ(Names(*tables.Item(u"[dbo].[a]")->ChildDependencies()), Texts{u"[dbo].[v]"});
}

TEST_F(DependencyRowsTest, ItemsAreFoundByNameAndByPosition) {
    Load({Row(u"[dbo].[a]", u"[dbo].[b]")}, {});
    const Dependencies& parents = *tables.Item(u"[dbo].[a]")->ParentDependencies();
    EXPECT_EQ(parents.Count(), 1);
    EXPECT_EQ(parents.Item(u"[dbo].[b]"), parents.AbsoluteItem(1));
    EXPECT_TRUE(parents.ItemExists(u"[dbo].[b]"));
    EXPECT_FALSE(parents.ItemExists(u"[dbo].[c]"));
    EXPECT_EQ(RaisedBy([&] { parents.Item(u"[dbo].[c]"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { parents.AbsoluteItem(0); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { parents.AbsoluteItem(2); }).number, 5);
}

}  // namespace
}  // namespace QuillonLib
