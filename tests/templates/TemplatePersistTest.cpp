// What Persist writes when picks are checked against two databases.
#include <gtest/gtest.h>

#include "TemplateDatabases.h"

namespace QuillonLib {
namespace {

class TemplatePersistTest : public TemplateDatabases {};

TEST_F(TemplatePersistTest, PersistDropsATableThatIsGoneFromAllThreeLists) {
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

TEST_F(TemplatePersistTest, PersistFailsWhereAGoneTableHasNoColumnOrIndexPick) {
    store.Persist();
    const std::string before = Read();
    store.Add(tmpTable, Both);
    DropFromBothAndRefresh(u"DROP TABLE both");
    const Raised raised = RaisedBy([&] { store.Persist(); });
    EXPECT_EQ(raised.number, 5);
    EXPECT_EQ(raised.description, u"Invalid procedure call or argument");
    EXPECT_EQ(Read(), before);
    EXPECT_TRUE(store.Dirty());
}

// Out of the tables, out of the tables with columns, and only then out of the tables with an index.
TEST_F(TemplatePersistTest, PersistFailsOnTheMissingIndexPickLast) {
    store.Add(tmpTable, Both);
    store.Add(tmpColumn, Both, u"c");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_EQ(RaisedBy([&] { store.Persist(); }).number, 5);
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<tables/><columns/><indexes/>"), std::string::npos) << Read();
}

TEST_F(TemplatePersistTest, PersistDropsColumnsThatAreGoneAndKeepsTheTableElement) {
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

TEST_F(TemplatePersistTest, IndexesAreNotCheckedOnWriting) {
    store.Add(tmpIndex, u"[dbo].[other]", u"PK_other");
    DropFromBothAndRefresh(u"ALTER TABLE other DROP CONSTRAINT PK_other");
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<index id=\"PK_other\"/>"), std::string::npos) << Read();
}

TEST_F(TemplatePersistTest, ATableElementIsWrittenEvenIfAllItsColumnsAreGone) {
    RunInBoth(u"ALTER TABLE both ADD g int NULL");
    store.Add(tmpColumn, Both, u"d");
    store.Add(tmpColumn, Both, u"g");
    DropFromBothAndRefresh(u"ALTER TABLE both DROP COLUMN d\nGO\nALTER TABLE both DROP COLUMN g");
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<columns><table id=\"[dbo].[both]\"/></columns>"), std::string::npos)
        << Read();
    EXPECT_FALSE(store.ItemExists(tmpColumn, Both, u"d"));
    EXPECT_FALSE(store.ItemExists(tmpColumn, Both, u"g"));
}

// A table that is not picked itself is dropped from no list, and its columns one by one.
TEST_F(TemplatePersistTest, TheElementOfAGoneTableWithColumnPicksIsWritten) {
    store.Add(tmpTable, Other);
    store.Add(tmpColumn, Both, u"c");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<tables><table id=\"[dbo].[other]\"/></tables>"
                          "<columns><table id=\"[dbo].[both]\"/></columns><indexes/>"),
              std::string::npos)
        << Read();
}

TEST_F(TemplatePersistTest, AnEmptiedColumnListStays) {
    store.Add(tmpColumn, Both, u"c");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_TRUE(store.Persist());
    const auto lists = std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
    ASSERT_TRUE(lists->ItemExists(Both));
    EXPECT_EQ(lists->Item(Both)->Count(), 0);

    // Among the tables with columns too: it is written again, and can be removed from both once.
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<columns><table id=\"[dbo].[both]\"/></columns>"), std::string::npos)
        << Read();
    EXPECT_EQ(RaisedBy([&] { store.Remove(tmpColumn, Both); }).number, 0);
    EXPECT_EQ(RaisedBy([&] { store.Remove(tmpColumn, Both); }).number, 5);
    EXPECT_TRUE(store.Persist());
    EXPECT_NE(Read().find("<columns/>"), std::string::npos) << Read();
}

// The picks are checked as they are read, which needs the databases of the template.
TEST_F(TemplatePersistTest, PersistReadsTheDatabaseNamesBeforeTheLists) {
    Write(StoredPicks);
    ComparisonTemplates again;
    again.DatabasesObject(databases);
    again.Load(file.u16string());
    again.LoadTemplate(u"Default");
    EXPECT_TRUE(again.Persist());
    EXPECT_EQ(Read(), StoredPicks);
    EXPECT_TRUE(again.ItemExists(tmpTable, Both));
    EXPECT_TRUE(again.ItemExists(tmpColumn, Both, u"c"));
    EXPECT_TRUE(again.ItemExists(tmpIndex, Both, u"PK_both"));
}

TEST_F(TemplatePersistTest, AFailedPersistLeavesTheDocumentPartlyRewritten) {
    RunInBoth(u"CREATE TABLE third (id int)");
    store.Add(tmpTable, u"[dbo].[third]");
    store.Add(tmpColumn, Other, u"id");
    EXPECT_TRUE(store.Persist());
    const std::string before = Read();

    store.Remove(tmpTable, u"[dbo].[third]");
    store.Add(tmpTable, Other);
    store.Add(tmpTable, Both);
    store.Add(tmpTable, u"[dbo].[third]");
    store.Remove(tmpColumn, Other);
    EXPECT_EQ(store.Database3(), u"");
    store.Add(tmpIndex, Other, u"PK_other");
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_EQ(RaisedBy([&] { store.Persist(); }).number, 5);
    EXPECT_EQ(Read(), before);

    // The tables up to the one that is gone are in the document; the other lists are as before.
    store.Flush();
    EXPECT_EQ(Tables(store), Texts{Other});
    EXPECT_TRUE(store.ItemExists(tmpColumn, Other, u"id"));
    EXPECT_FALSE(store.ItemExists(tmpIndex, Other, u"PK_other"));
}

TEST_F(TemplatePersistTest, AFailedPersistLeavesTheDatabaseNamesInTheDocument) {
    store.Add(tmpTable, Both);
    DropFromBothAndRefresh(u"DROP TABLE both");
    EXPECT_EQ(RaisedBy([&] { store.Persist(); }).number, 5);
    store.Flush();
    EXPECT_EQ(store.Database1(), u"one");
    EXPECT_EQ(store.Database2(), u"two");
    EXPECT_EQ(store.Database3(), u"");
    EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace
}  // namespace QuillonLib
