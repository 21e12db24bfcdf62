#include "catalog/Database.h"

#include <gtest/gtest.h>

#include "data/ConnectionString.h"
#include "data/PropertyBag.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

class DatabaseTest : public SandboxTest {
  protected:
    DatabaseTest() {
        server.Run(
            u"CREATE DATABASE world\nGO\nUSE world\nGO\n"
            u"CREATE TABLE city (id int NOT NULL CONSTRAINT PK_city PRIMARY KEY, name "
            u"nvarchar(20))\nGO\n"
            u"CREATE TABLE area (id int NOT NULL, a int NOT NULL)\nGO\n"
            u"CREATE VIEW plain AS SELECT id FROM dbo.city\nGO\n"
            u"CREATE VIEW indexed WITH SCHEMABINDING AS SELECT id, name FROM dbo.city\nGO\n"
            u"CREATE UNIQUE CLUSTERED INDEX ix ON indexed (id)\nGO\n"
            u"CREATE SCHEMA geo\nGO\nCREATE TABLE geo.city (id int)");
        database = MakeDatabase(u"world");
        server.ClearLog();
    }
    static std::vector<std::u16string> Descriptions(const TableObjects& tables) {
        std::vector<std::u16string> descriptions;
        for (const auto& table : tables)
            descriptions.push_back(table->Description());
        return descriptions;
    }
    std::shared_ptr<Database> database;
};

TEST(Database, BeginsEmpty) {
    Database database;
    EXPECT_EQ(database.Server(), u"");
    EXPECT_EQ(database.DatabaseName(), u"");
    EXPECT_EQ(database.Username(), u"");
    EXPECT_EQ(database.Password(), u"");
    EXPECT_EQ(database.Description(), u"");
    EXPECT_EQ(database.LinkedServer(), u"");
    EXPECT_EQ(database.LastError(), u"");
    EXPECT_FALSE(database.NTSecurity());
    EXPECT_FALSE(database.CheckDependencies());
    EXPECT_EQ(database.ID(), 0);
}

TEST(ConnectionString, IsPutTogetherFromTheSettingsAsTheyStand) {
    EXPECT_EQ(BuildConnectionString(u"s", u"d", false, u"u", u"p"),
              u"driver={SQL Server};server=s;database=d;uid=u;pwd=p");
    EXPECT_EQ(BuildConnectionString(u"s", u"d", false, u"", u"p"),
              u"driver={SQL Server};server=s;database=d;uid=;pwd=p");
    EXPECT_EQ(BuildConnectionString(u"s", u"d", true, u"u", u"p"),
              u"driver={SQL Server};server=s;database=d");
    EXPECT_EQ(BuildConnectionString(u"a;b{c}", u"d;", false, u"u}", u"{p;"),
              u"driver={SQL Server};server=a;b{c};database=d;;uid=u};pwd={p;");
}

TEST_F(DatabaseTest, LoadProvesTheLoginAndNoMore) {
    EXPECT_TRUE(database->Load());
    database->DatabaseName(u"nowhere");
    EXPECT_TRUE(database->Load());
    for (const auto& entry : server.Log())
        EXPECT_EQ(entry.database, u"master");
    EXPECT_EQ(Batches(server).size(), 0U);
}

TEST_F(DatabaseTest, ARefusedLoginIsRaisedAndRemembered) {
    database->Password(u"wrong");
    for (const auto& action : {std::function<void()>([&] { database->Load(); }),
                               std::function<void()>([&] { database->Tables(); })}) {
        const Raised raised = RaisedBy(action);
        EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
        EXPECT_EQ(raised.description,
                  u"[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
                  u"[FreeTDS][SQL Server]Unable to connect to data source");
        EXPECT_EQ(database->LastError(), raised.description);
    }
    database->Password(u"sandbox");
    EXPECT_TRUE(database->Load());
    EXPECT_EQ(database->LastError(), u"");
}

TEST_F(DatabaseTest, AServerThatCannotBeReachedIsRaisedAndRemembered) {
    database->Server(u"127.0.0.1,1");
    const Raised raised = RaisedBy([&] { database->Load(); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80004005));
    EXPECT_EQ(database->LastError(), raised.description);
    EXPECT_NE(raised.description, u"");
}

TEST_F(DatabaseTest, TablesListsUserTablesThenIndexedViews) {
    EXPECT_EQ(Descriptions(*database->Tables()),
              (std::vector<std::u16string>{u"[dbo].[area]", u"[dbo].[city]", u"[geo].[city]",
                                           u"[dbo].[indexed]"}));
    EXPECT_FALSE(database->Tables()->Item(u"[dbo].[city]")->IsView());
    EXPECT_TRUE(database->Tables()->Item(u"[dbo].[indexed]")->IsView());
}

TEST_F(DatabaseTest, AtCompatibilityLevel70NoViewIsListed) {
    server.Run(u"EXEC sp_dbcmptlevel 'world', 70");
    EXPECT_FALSE(database->Tables()->ItemExists(u"dbo", u"indexed"));
    server.Run(u"EXEC sp_dbcmptlevel 'world', 80");
    database->Refresh();
    EXPECT_TRUE(database->Tables()->ItemExists(u"dbo", u"indexed"));
}

TEST_F(DatabaseTest, ReadingTablesTwiceTouchesTheServerOnce) {
    const auto first = database->Tables();
    const auto sent = server.Log().size();
    EXPECT_EQ(database->Tables(), first);
    EXPECT_EQ(server.Log().size(), sent);
    EXPECT_EQ(Logins(server), 1);
}

TEST_F(DatabaseTest, RefreshMakesTheNextReadAskAgain) {
    const auto first = database->Tables();
    database->Refresh();
    const auto second = database->Tables();
    EXPECT_NE(first, second);
    // what was handed out keeps its own login data
    database->Password(u"wrong");
    EXPECT_EQ(first->Item(u"[dbo].[city]")->Columns()->Count(), 2);
}

TEST_F(DatabaseTest, RefreshDoesNotClearTheLastError) {
    database->DatabaseName(u"nowhere");
    RaisedBy([&] { database->Tables(); });
    database->Refresh();
    EXPECT_NE(database->LastError(), u"");
}

TEST_F(DatabaseTest, AMissingDatabaseFailsAndTheNextReadTriesAgain) {
    database->DatabaseName(u"nowhere");
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_EQ(raised.number, 3265);
    EXPECT_EQ(raised.description, u"The server has no database named 'nowhere'.");
    EXPECT_EQ(database->LastError(), raised.description);
    server.Run(u"CREATE DATABASE nowhere");
    EXPECT_EQ(database->Tables()->Count(), 0);
    EXPECT_EQ(database->LastError(), u"");
}

TEST_F(DatabaseTest, AFailingCatalogQueryLeavesNoCatalog) {
    server.AddFault(ErrorIn(u"sys.objects"));
    const Raised raised = RaisedBy([&] { database->Tables(); });
    EXPECT_EQ(raised.description, u"[FreeTDS][SQL Server]made to fail");
    EXPECT_EQ(database->LastError(), raised.description);
    EXPECT_EQ(database->Tables()->Count(), 4);
}

TEST_F(DatabaseTest, IntegratedLoginsSendNeitherNameNorPassword) {
    database->NTSecurity(true);
    RaisedBy([&] { database->Load(); });  // whether the driver can do it is not ours
    for (const auto& entry : server.Log())
        EXPECT_EQ(entry.user, u"");
}

TEST_F(DatabaseTest, PropertiesAreWrittenAndReadBackWithoutThePassword) {
    database->NTSecurity(true);
    database->LinkedServer(u"L");
    database->CheckDependencies(true);
    const auto tables = [&] {
        database->NTSecurity(false);
        database->CheckDependencies(false);
        auto loaded = database->Tables();
        database->NTSecurity(true);
        database->CheckDependencies(true);
        return loaded;
    }();
    PropertyBag bag;
    database->WriteProperties(bag);
    EXPECT_FALSE(bag.Contains(u"Password"));

    Database restored;
    restored.Password(u"from before");
    restored.ReadProperties(bag);
    EXPECT_TRUE(restored.NTSecurity());
    EXPECT_EQ(restored.Username(), u"sa");
    EXPECT_EQ(restored.Password(), u"");
    EXPECT_EQ(restored.DatabaseName(), u"world");
    EXPECT_EQ(restored.Server(), server.Address());
    EXPECT_EQ(restored.Description(), u"the world");
    EXPECT_EQ(restored.LinkedServer(), u"");
    EXPECT_FALSE(restored.CheckDependencies());
    EXPECT_EQ(restored.Tables(), tables);
}

TEST_F(DatabaseTest, ABagWithoutTablesLeavesTheCatalogUnloaded) {
    PropertyBag bag;
    bag.Write(u"NTSecurity", false);
    bag.Write(u"Username", u"sa");
    bag.Write(u"Database", u"world");
    bag.Write(u"Server", server.Address());
    bag.Write(u"Description", u"restored");
    Database restored;
    restored.ReadProperties(bag);
    restored.Password(u"sandbox");
    EXPECT_EQ(restored.Description(), u"restored");
    EXPECT_EQ(restored.Tables()->Count(), 4);
    EXPECT_EQ(Logins(server), 1);
}

}  // namespace
}  // namespace QuillonLib
