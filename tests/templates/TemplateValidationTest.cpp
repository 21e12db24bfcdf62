// Picks that are checked against two databases.
#include <gtest/gtest.h>

#include "TemplateDatabases.h"

namespace QuillonLib {
namespace {

const Picks InBoth{{tmpTable, Both}, {tmpColumn, Both, u"c"}, {tmpIndex, Both, u"PK_both"}};

class TemplateValidationTest : public TemplateDatabases {};

TEST_F(TemplateValidationTest, PicksThatBothDatabasesHaveAreAccepted) {
    Add(store, InBoth);
    EXPECT_TRUE(HoldsAll(store, InBoth));
    EXPECT_TRUE(store.Dirty());
}

TEST_F(TemplateValidationTest, PicksThatOneDatabaseLacksAreDroppedSilently) {
    store.Persist();
    const Picks picks{{tmpTable, u"[dbo].[only1]"},
                      {tmpColumn, Both, u"e"},
                      {tmpColumn, u"[dbo].[only1]", u"id"},
                      {tmpIndex, Both, u"ix1"}};
    Add(store, picks);
    EXPECT_TRUE(HoldsNone(store, picks));
    EXPECT_FALSE(store.Dirty());
}

TEST_F(TemplateValidationTest, PicksThatTheFirstDatabaseLacksAreDroppedToo) {
    server.Run(
        u"USE two\nGO\nCREATE TABLE only2 (id int)\nGO\nALTER TABLE both ADD f int NULL\nGO\n"
        u"CREATE UNIQUE INDEX ix2 ON both (d)");
    const Picks picks{
        {tmpTable, u"[dbo].[only2]"}, {tmpColumn, Both, u"f"}, {tmpIndex, Both, u"ix2"}};
    Add(store, picks);
    EXPECT_TRUE(HoldsNone(store, picks));
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

// Reading a list reads no names, and without names no database is known.
TEST_F(TemplateValidationTest, PicksThatAreReadBeforeTheNamesAreRefused) {
    Write(StoredPicks);
    ComparisonTemplates again;
    again.DatabasesObject(databases);
    again.Load(file.u16string());
    EXPECT_EQ(Tables(again), Texts{});
    EXPECT_FALSE(again.ItemExists(tmpColumn, Both, u"c"));
    EXPECT_FALSE(again.ItemExists(tmpIndex, Both, u"PK_both"));
    EXPECT_FALSE(again.Dirty());

    EXPECT_EQ(again.Database1(), u"one");
    EXPECT_EQ(Tables(again), Texts{});  // they have been read
    again.Flush();
    EXPECT_EQ(Tables(again), Texts{Both});
    EXPECT_TRUE(again.ItemExists(tmpColumn, Both, u"c"));
    EXPECT_TRUE(again.ItemExists(tmpIndex, Both, u"PK_both"));
}

TEST_F(TemplateValidationTest, WithoutTheFirstDatabaseEveryPickIsRefusedSilently) {
    store.Database1(u"nobody");
    EXPECT_EQ(store.Database2(), u"two");
    EXPECT_TRUE(store.Persist());
    Add(store, InBoth);
    EXPECT_TRUE(HoldsNone(store, InBoth));
    EXPECT_FALSE(store.Dirty());
}

TEST_F(TemplateValidationTest, OfTwoDatabasesOfOneDescriptionTheFirstIsUsed) {
    server.Run(u"CREATE DATABASE empty");
    AddDatabase(u"empty", u"one");  // after the real one
    AddDatabase(u"empty", u"twice");
    AddDatabase(u"two", u"twice");
    store.Database1(u"");
    store.Database1(u"one");
    store.Add(tmpTable, Both);
    EXPECT_EQ(Tables(store), Texts{Both});
    store.Database2(u"twice");
    store.Add(tmpTable, Both);
    EXPECT_EQ(Tables(store), Texts{});
}

// The description is another one then, and known to nobody.
TEST_F(TemplateValidationTest, ANameInAnotherCaseIsAnotherDatabase) {
    store.Add(tmpTable, Both);
    EXPECT_TRUE(store.Persist());
    store.Database1(u"ONE");
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(store.Database1(), u"ONE");
    EXPECT_EQ(Tables(store), Texts{});
    store.Add(tmpTable, Both);
    EXPECT_EQ(Tables(store), Texts{});
    store.Database1(u"one");
    store.Add(tmpTable, Both);
    EXPECT_EQ(Tables(store), Texts{Both});
}

// Errors other than "there is none" come out of every check as they went in.
class TemplateCheckErrorsTest : public TemplateDatabases,
                                public ::testing::WithParamInterface<int> {
  protected:
    static void ExpectRaised(std::int32_t number, const std::u16string& description,
                             const std::function<void()>& action) {
        const Raised raised = RaisedBy(action);
        EXPECT_EQ(raised.number, number);
        EXPECT_EQ(raised.source, u"");
        EXPECT_EQ(raised.description, description);
    }
    static void ExpectMissing(const std::function<void()>& action) {
        ExpectRaised(3265, u"The server has no database named 'nowhere'.", action);
    }
    // The first database or the second.
    void Lose() const {
        databases->Item(GetParam())->DatabaseName(u"nowhere");
        databases->Item(GetParam())->Refresh();
    }
};
INSTANTIATE_TEST_SUITE_P(EitherDatabase, TemplateCheckErrorsTest, ::testing::Values(1, 2));

TEST_P(TemplateCheckErrorsTest, AddRaisesThem) {
    EXPECT_TRUE(store.Persist());
    Lose();
    ExpectMissing([&] { store.Add(tmpTable, Both); });
    ExpectMissing([&] { store.Add(tmpColumn, Both, u"c"); });
    ExpectMissing([&] { store.Add(tmpIndex, Both, u"PK_both"); });
    EXPECT_FALSE(store.Dirty());
    EXPECT_TRUE(HoldsNone(store, InBoth));
}

TEST_P(TemplateCheckErrorsTest, PersistRaisesThemForTables) {
    store.Add(tmpTable, Both);
    Lose();
    ExpectMissing([&] { store.Persist(); });
    EXPECT_TRUE(store.Dirty());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(Tables(store), Texts{Both});
}

TEST_P(TemplateCheckErrorsTest, PersistRaisesThemForColumns) {
    store.Add(tmpColumn, Both, u"c");
    Lose();
    ExpectMissing([&] { store.Persist(); });
    EXPECT_TRUE(store.Dirty());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(store.ItemExists(tmpColumn, Both, u"c"));
}

TEST_P(TemplateCheckErrorsTest, ReadingRaisesThem) {
    Write(StoredPicks);
    ComparisonTemplates again;
    again.DatabasesObject(databases);
    again.Load(file.u16string());
    EXPECT_EQ(again.Database1(), u"one");
    Lose();
    ExpectMissing([&] { again.Items(tmpTable); });
    ExpectMissing([&] { again.ItemExists(tmpColumn, Both, u"c"); });
    ExpectMissing([&] { again.ItemExists(tmpIndex, Both, u"PK_both"); });
}

// The catalog still has the tables; what is in them is read when it is first asked for.
TEST_P(TemplateCheckErrorsTest, TheErrorOfATableIsRaisedToo) {
    store.Add(tmpTable, Both);
    const std::u16string name = GetParam() == 1 ? u"one" : u"two";
    server.Run(u"USE " + name + u"\nGO\nDROP TABLE both\nGO\nDROP TABLE other");
    ExpectRaised(3265, u"The database '" + name + u"' has no table or view [dbo].[both].",
                 [&] { store.Add(tmpColumn, Both, u"c"); });
    ExpectRaised(3265, u"The database '" + name + u"' has no table or view [dbo].[other].",
                 [&] { store.Add(tmpIndex, Other, u"PK_other"); });
}

TEST_P(TemplateCheckErrorsTest, ARefusedLoginIsRaisedToo) {
    databases->Item(GetParam())->Password(u"wrong");
    databases->Item(GetParam())->Refresh();
    ExpectRaised(static_cast<std::int32_t>(0x80040E4D),
                 u"[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
                 u"[FreeTDS][SQL Server]Unable to connect to data source",
                 [&] { store.Add(tmpTable, Both); });
}

}  // namespace
}  // namespace QuillonLib
