// Picks that are checked against two databases.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "templates/ComparisonTemplates.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

class TemplateValidationTest : public SandboxTest {
  protected:
    TemplateValidationTest() {
        std::string name = (std::filesystem::temp_directory_path() / "quillon-XXXXXX").string();
        folder = mkdtemp(name.data());
        file = folder / "Templates.xml";
        server.Run(u"CREATE DATABASE one\nGO\nCREATE DATABASE two");
        RunInBoth(
            u"CREATE TABLE both (id int NOT NULL CONSTRAINT PK_both PRIMARY KEY, c int, d int)");
        RunInBoth(u"CREATE TABLE other (id int NOT NULL CONSTRAINT PK_other PRIMARY KEY)");
        server.Run(
            u"USE one\nGO\nCREATE TABLE only1 (id int)\nGO\nALTER TABLE both ADD e int NULL\nGO\n"
            u"CREATE UNIQUE INDEX ix1 ON both (c)");
        databases = std::make_shared<Databases>();
        Add(u"one");
        Add(u"two");
        store.Load(file.u16string());
        store.DatabasesObject(databases);
        EXPECT_EQ(store.Database1(), u"");
        store.Database1(u"one");
        store.Database2(u"two");
    }
    ~TemplateValidationTest() override { std::filesystem::remove_all(folder); }

    void Add(const char16_t* name) {
        const auto database = databases->Add();
        database->Server(server.Address());
        database->DatabaseName(name);
        database->Username(u"sa");
        database->Password(u"sandbox");
        database->Description(name);
    }
    void RunInBoth(const std::u16string& sql) {
        server.Run(u"USE one\nGO\n" + sql + u"\nGO\nUSE two\nGO\n" + sql);
    }
    void DropFromBothAndRefresh(const std::u16string& sql) {
        RunInBoth(sql);
        for (const auto& database : *databases)
            database->Refresh();
    }
    std::string Read() const {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    std::filesystem::path folder;
    std::filesystem::path file;
    std::shared_ptr<Databases> databases;
    ComparisonTemplates store;
};

constexpr const char16_t* Both = u"[dbo].[both]";

TEST_F(TemplateValidationTest, PicksThatBothDatabasesHaveAreAccepted) {
    store.Add(tmpTable, Both);
    store.Add(tmpColumn, Both, u"c");
    store.Add(tmpIndex, Both, u"PK_both");
    EXPECT_TRUE(store.ItemExists(tmpTable, Both));
    EXPECT_TRUE(store.ItemExists(tmpColumn, Both, u"c"));
    EXPECT_TRUE(store.ItemExists(tmpIndex, Both, u"PK_both"));
    EXPECT_TRUE(store.Dirty());
}

TEST_F(TemplateValidationTest, PicksThatOneDatabaseLacksAreDroppedSilently) {
    store.Persist();
    store.Add(tmpTable, u"[dbo].[only1]");
    store.Add(tmpColumn, Both, u"e");
    store.Add(tmpColumn, u"[dbo].[only1]", u"id");
    store.Add(tmpIndex, Both, u"ix1");
    EXPECT_FALSE(store.ItemExists(tmpTable, u"[dbo].[only1]"));
    EXPECT_FALSE(store.ItemExists(tmpColumn, Both, u"e"));
    EXPECT_FALSE(store.ItemExists(tmpIndex, Both, u"ix1"));
    EXPECT_FALSE(store.Dirty());
}

TEST_F(TemplateValidationTest, PicksThatTheFirstDatabaseLacksAreDroppedToo) {
    server.Run(
        u"USE two\nGO\nCREATE TABLE only2 (id int)\nGO\nALTER TABLE both ADD f int NULL\nGO\n"
        u"CREATE UNIQUE INDEX ix2 ON both (d)");
    store.Add(tmpTable, u"[dbo].[only2]");
    store.Add(tmpColumn, Both, u"f");
    store.Add(tmpIndex, Both, u"ix2");
    EXPECT_FALSE(store.ItemExists(tmpTable, u"[dbo].[only2]"));
    EXPECT_FALSE(store.ItemExists(tmpColumn, Both, u"f"));
    EXPECT_FALSE(store.ItemExists(tmpIndex, Both, u"ix2"));
}

TEST_F(TemplateValidationTest, TheThirdDatabaseTakesNoPart) {
    store.Database3(u"nowhere");
    store.Add(tmpTable, Both);
    EXPECT_TRUE(store.ItemExists(tmpTable, Both));
}

// The names were looked up before there was a collection: they stay unknown until one changes.
TEST_F(TemplateValidationTest, DatabasesSetLateAreNotLookedUp) {
    ComparisonTemplates late;
    late.Load(file.u16string());
    EXPECT_EQ(late.Database1(), u"");
    late.Database1(u"one");
    late.Database2(u"two");
    late.DatabasesObject(databases);
    EXPECT_EQ(late.DatabasesObject(), databases);
    late.Add(tmpTable, Both);
    EXPECT_FALSE(late.ItemExists(tmpTable, Both));
    late.Database1(u"");
    late.Database1(u"one");
    late.Database2(u"");
    late.Database2(u"two");
    late.Add(tmpTable, Both);
    EXPECT_TRUE(late.ItemExists(tmpTable, Both));
}

TEST_F(TemplateValidationTest, AnErrorOfADatabaseReachesTheCaller) {
    server.Kill();
    EXPECT_NE(RaisedBy([&] { store.Add(tmpTable, Both); }).number, 0);
    EXPECT_FALSE(store.ItemExists(tmpTable, Both));
    server.Restart();
    store.Add(tmpTable, Both);
    EXPECT_TRUE(store.ItemExists(tmpTable, Both));
}

TEST_F(TemplateValidationTest, PersistDropsATableThatIsGoneFromAllThreeLists) {
    store.Add(tmpTable, u"[dbo].[other]");
    store.Add(tmpTable, Both);
    store.Add(tmpColumn, Both, u"c");
    store.Add(tmpIndex, Both, u"PK_both");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Read(),
              "<templates><lasttemplate name=\"Default\"/><template id=\"Default\">"
              "<database1 name=\"one\"/><database2 name=\"two\"/><database3 name=\"\"/>"
              "<tables><table id=\"[dbo].[other]\"/></tables><columns/><indexes/></template>"
              "</templates>");
    EXPECT_FALSE(store.ItemExists(tmpTable, Both));
    EXPECT_FALSE(store.ItemExists(tmpColumn, u"[dbo].[other]", u"c"));
    // the column picks themselves stay in memory
    EXPECT_TRUE(store.ItemExists(tmpColumn, Both, u"c"));
}

TEST_F(TemplateValidationTest, PersistFailsWhereAGoneTableHasNoColumnOrIndexPick) {
    store.Persist();
    const std::string before = Read();
    store.Add(tmpTable, Both);
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_EQ(RaisedBy([&] { store.Persist(); }).number, 5);
    EXPECT_EQ(Read(), before);
    EXPECT_TRUE(store.Dirty());
}

// Out of the tables, out of the tables with columns, and only then out of the tables with an index.
TEST_F(TemplateValidationTest, PersistFailsOnTheMissingIndexPickLast) {
    store.Add(tmpTable, Both);
    store.Add(tmpColumn, Both, u"c");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_EQ(RaisedBy([&] { store.Persist(); }).number, 5);
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<tables/><columns/><indexes/>"), std::string::npos) << Read();
}

TEST_F(TemplateValidationTest, PersistDropsColumnsThatAreGoneAndKeepsTheTableElement) {
    store.Add(tmpColumn, Both, u"c");
    store.Add(tmpColumn, Both, u"d");
    DropFromBothAndRefresh(u"ALTER TABLE both DROP COLUMN d");
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(
        Read().find("<columns><table id=\"[dbo].[both]\"><column id=\"c\"/></table></columns>"),
        std::string::npos)
        << Read();
    EXPECT_FALSE(store.ItemExists(tmpColumn, Both, u"d"));
}

TEST_F(TemplateValidationTest, IndexesAreNotCheckedOnWriting) {
    store.Add(tmpIndex, u"[dbo].[other]", u"PK_other");
    DropFromBothAndRefresh(u"ALTER TABLE other DROP CONSTRAINT PK_other");
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<index id=\"PK_other\"/>"), std::string::npos) << Read();
}

TEST_F(TemplateValidationTest, StoredPicksThatAreNoLongerValidAreDroppedOnReading) {
    store.Add(tmpTable, Both);
    store.Add(tmpTable, u"[dbo].[other]");
    store.Persist();
    DropFromBothAndRefresh(u"DROP TABLE both");
    ComparisonTemplates again;
    again.DatabasesObject(databases);
    again.Load(file.u16string());
    again.LoadTemplate(u"x");
    again.LoadTemplate(u"Default");
    EXPECT_EQ(again.Database1(), u"one");  // resolves the databases
    EXPECT_EQ(std::get<TextArray>(again.Items(tmpTable)).Items,
              std::vector<std::u16string>{u"[dbo].[other]"});
    EXPECT_FALSE(again.Dirty());
}

}  // namespace
}  // namespace QuillonLib
