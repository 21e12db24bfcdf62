// Picks that are checked against two databases.
#include <gtest/gtest.h>

#include "TemplateDatabases.h"

namespace QuillonLib {
namespace {

class TemplateValidationTest : public TemplateDatabases {};

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
