#include "catalog/Database.h"

#include <gtest/gtest.h>

#include <chrono>

#include "catalog/Databases.h"
#include "catalog/Login.h"
#include "data/Connection.h"
#include "data/ConnectionString.h"
#include "data/PropertyBag.h"
#include "data/Recordset.h"
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
    for (const auto& action : {std::function<void()>([&] { database->Load(); }),
                               std::function<void()>([&] { database->Tables(); })}) {
        database->Server(u"127.0.0.1,1");
        const Raised raised = RaisedBy(action);
        EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80004005));
        EXPECT_EQ(database->LastError(), raised.description);
        EXPECT_NE(raised.description.find(u"Unable to connect to data source"),
                  std::u16string::npos);
        database->Server(server.Address());
        action();
        EXPECT_EQ(database->LastError(), u"");
    }
}

TEST_F(DatabaseTest, NoOperationKeepsAConnection) {
    database->CheckDependencies(true);
    database->Load();
    EXPECT_EQ(ConnectionsLeft(server), 0);
    const auto tables = database->Tables();
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(tables->Item(u"[dbo].[city]")->Columns()->Count(), 2);
    EXPECT_EQ(ConnectionsLeft(server), 0);
    database->Refresh();
    server.AddFault(ErrorIn(u"sys.objects"));
    EXPECT_NE(RaisedBy([&] { database->Tables(); }).number, 0);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(DatabaseTest, ReadingALoadedCatalogClearsTheLastError) {
    const auto tables = database->Tables();
    database->Password(u"wrong");
    RaisedBy([&] { database->Load(); });
    ASSERT_NE(database->LastError(), u"");
    EXPECT_EQ(database->Tables(), tables);
    EXPECT_EQ(database->LastError(), u"");
}

TEST_F(DatabaseTest, NoPropertyDropsALoadedCatalog) {
    const auto tables = database->Tables();
    const std::function<void()> changes[] = {
        [&] { database->Server(u"elsewhere"); },    [&] { database->DatabaseName(u"other"); },
        [&] { database->Username(u"somebody"); },   [&] { database->Password(u"other"); },
        [&] { database->NTSecurity(true); },        [&] { database->Description(u"d"); },
        [&] { database->LinkedServer(u"linked"); }, [&] { database->CheckDependencies(true); }};
    for (const auto& change : changes) {
        change();
        EXPECT_EQ(database->Tables(), tables);
    }
}

TEST_F(DatabaseTest, OpenConnectionLeadsToTheDatabaseAndWaitsForEver) {
    const auto connection = OpenConnection(*database);
    EXPECT_EQ(connection->ConnectionString(), u"driver={SQL Server};server=" + server.Address() +
                                                  u";database=world;uid=sa;pwd=sandbox");
    Recordset rows;
    rows.Open(u"SELECT DB_NAME()", connection);
    EXPECT_EQ(rows.Fields(std::size_t{0}).Value().Get<std::u16string>(), u"world");
    rows.Close();
    // Whatever limit a caller's connection came with.
    Connection own;
    own.CommandTimeout(std::chrono::seconds(1));
    OpenConnection(*database, own);
    server.AddFault({.kind = sandbox::FaultKind::Delay, .delay = std::chrono::milliseconds(1500)});
    EXPECT_EQ(RaisedBy([&] { own.Execute(u"SELECT 1"); }).number, 0);
}

TEST_F(DatabaseTest, AFailingOpenConnectionIsRaisedAndNotRemembered) {
    database->Password(u"wrong");
    const Raised raised = RaisedBy([&] { OpenConnection(*database); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(raised.description,
              u"[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
              u"[FreeTDS][SQL Server]Unable to connect to data source");
    EXPECT_EQ(database->LastError(), u"");
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
    database->Server(u"127.0.0.1,1");
    database->DatabaseName(u"nowhere");
    database->Username(u"nobody");
    database->Password(u"wrong");
    database->NTSecurity(true);
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

// Whether the driver can do an integrated login depends on tickets; what it is given does not.
TEST_F(DatabaseTest, IntegratedLoginsSendNeitherNameNorPassword) {
    database->NTSecurity(true);
    Connection connection;
    RaisedBy([&] { OpenConnection(*database, connection); });
    EXPECT_EQ(connection.ConnectionString(),
              u"driver={SQL Server};server=" + server.Address() + u";database=world");
    RaisedBy([&] { database->Load(); });
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

TEST_F(DatabaseTest, NumberAndErrorAreNotRestored) {
    Databases databases;
    databases.Add();
    const auto second = databases.Add();
    second->Server(u"127.0.0.1,1");
    RaisedBy([&] { second->Load(); });
    ASSERT_EQ(second->ID(), 2);
    ASSERT_NE(second->LastError(), u"");
    PropertyBag bag;
    second->WriteProperties(bag);
    Database restored;
    restored.ReadProperties(bag);
    EXPECT_EQ(restored.Server(), u"127.0.0.1,1");
    EXPECT_EQ(restored.ID(), 0);
    EXPECT_EQ(restored.LastError(), u"");
}

TEST_F(DatabaseTest, AnUnloadedCatalogIsRestoredUnloaded) {
    PropertyBag bag;
    database->WriteProperties(bag);
    Database restored;
    restored.ReadProperties(bag);
    EXPECT_EQ(restored.Server(), server.Address());
    restored.Password(u"sandbox");
    EXPECT_EQ(Logins(server), 0);
    EXPECT_EQ(restored.Tables()->Count(), 4);
    EXPECT_EQ(Logins(server), 1);
}

TEST_F(DatabaseTest, ABagWithoutACatalogDropsTheOneThatIsLoaded) {
    const auto before = database->Tables();
    PropertyBag bag;
    Database().WriteProperties(bag);
    database->ReadProperties(bag);
    EXPECT_EQ(database->Server(), u"");
    database->Server(server.Address());
    database->DatabaseName(u"world");
    database->Username(u"sa");
    database->Password(u"sandbox");
    EXPECT_NE(database->Tables(), before);
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
