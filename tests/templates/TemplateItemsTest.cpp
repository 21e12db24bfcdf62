// Picks and database names.
#include <gtest/gtest.h>

#include "TemplateFiles.h"

namespace QuillonLib {
namespace {

const Picks OneOfEachKind{
    {tmpTable, u"[dbo].[T]"}, {tmpColumn, u"[dbo].[T]", u"c"}, {tmpIndex, u"[dbo].[T]", u"i"}};

class TemplateItemsTest : public TemplateFiles {
  protected:
    void SetUp() override { store.Load(Path()); }

    Texts Columns(const std::u16string& table) {
        const auto lists = std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
        return lists->ItemExists(table) ? Names(lists->Item(table)) : Texts{u"(no list)"};
    }
    Texts Indexes() { return Names(std::get<std::shared_ptr<NameList>>(store.Items(tmpIndex))); }

    ComparisonTemplates store;
};

TEST_F(TemplateItemsTest, WithoutDatabasesEveryPickIsAccepted) {
    Add(store, OneOfEachKind);
    EXPECT_TRUE(HoldsAll(store, OneOfEachKind));
}

TEST_F(TemplateItemsTest, WithDatabasesThatAreNotKnownEveryPickIsRefusedSilently) {
    const auto databases = std::make_shared<Databases>();
    databases->Add()->Description(u"one");
    store.DatabasesObject(databases);
    EXPECT_EQ(store.DatabasesObject(), databases);
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"one");
    store.Database2(u"ONE");  // descriptions are compared letter for letter
    EXPECT_EQ(store.Database3(), u"");
    Add(store, OneOfEachKind);
    EXPECT_TRUE(HoldsNone(store, OneOfEachKind));
}

TEST_F(TemplateItemsTest, EveryKindOfPickIsAChange) {
    for (const enItemTypes kind : {tmpTable, tmpColumn, tmpIndex}) {
        store.Persist();
        EXPECT_FALSE(store.Dirty());
        store.Add(kind, u"[dbo].[T]", u"x");
        EXPECT_TRUE(store.Dirty()) << kind;
    }
}

TEST_F(TemplateItemsTest, ARemovedIndexIsNotWritten) {
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    store.Remove(tmpIndex, u"[dbo].[T]");
    EXPECT_FALSE(store.ItemExists(tmpIndex, u"[dbo].[T]", u"i"));
    EXPECT_TRUE(store.Persist());
    EXPECT_TRUE(Holds(Read(), "<indexes/>"));
}

TEST_F(TemplateItemsTest, RemovingTheLastColumnRemovesTheTableFromTheColumnLists) {
    store.Add(tmpColumn, u"[dbo].[T]", u"c");
    store.Remove(tmpColumn, u"[dbo].[T]", u"C");
    EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"(no list)"});
    store.Persist();
    EXPECT_TRUE(Holds(Read(), "<columns/>"));
}

TEST_F(TemplateItemsTest, RemovingOneOfTwoColumnsKeepsTheOther) {
    store.Add(tmpColumn, u"[dbo].[T]", u"a");
    store.Add(tmpColumn, u"[dbo].[T]", u"b");
    store.Remove(tmpColumn, u"[dbo].[T]", u"a");
    EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"b"});
}

TEST_F(TemplateItemsTest, RemovingColumnsWithoutANameRemovesAll) {
    store.Add(tmpColumn, u"[dbo].[T]", u"a");
    store.Add(tmpColumn, u"[dbo].[T]", u"b");
    store.Remove(tmpColumn, u"[dbo].[T]");
    EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"(no list)"});
    EXPECT_EQ(NumberOf([&] { store.Remove(tmpColumn, u"[dbo].[T]"); }), 5);
}

TEST_F(TemplateItemsTest, RemovingWhatIsAbsentIsError5BeforeAnythingIsDirty) {
    store.Persist();
    EXPECT_EQ(NumberOf([&] { store.Remove(tmpTable, u"t"); }), 5);
    EXPECT_EQ(NumberOf([&] { store.Remove(tmpColumn, u"t", u"c"); }), 5);
    EXPECT_EQ(NumberOf([&] { store.Remove(tmpIndex, u"t"); }), 5);
    EXPECT_FALSE(store.Dirty());
}

TEST_F(TemplateItemsTest, DuplicatesAreError457) {
    Add(store, OneOfEachKind);
    EXPECT_EQ(NumberOf([&] { store.Add(tmpTable, u"[DBO].[t]"); }), 457);
    EXPECT_EQ(NumberOf([&] { store.Add(tmpColumn, u"[DBO].[t]", u"C"); }), 457);
    EXPECT_EQ(NumberOf([&] { store.Add(tmpIndex, u"[dbo].[T]", u"other"); }), 457);
}

TEST_F(TemplateItemsTest, TableAndColumnLookUpsIgnoreCaseIndexNamesDoNot) {
    Add(store, {{tmpTable, u"[dbo].[T]"},
                {tmpColumn, u"[dbo].[T]", u"Col"},
                {tmpIndex, u"[dbo].[T]", u"PK_T"}});
    EXPECT_TRUE(HoldsAll(store, {{tmpTable, u"[DBO].[t]"},
                                 {tmpColumn, u"[DBO].[t]", u"COL"},
                                 {tmpIndex, u"[DBO].[t]", u"PK_T"}}));
    EXPECT_TRUE(HoldsNone(store, {{tmpIndex, u"[dbo].[T]", u"pk_t"},
                                  {tmpColumn, u"[dbo].[T]", u"x"},
                                  {tmpIndex, u"[dbo].[U]", u"PK_T"}}));
}

TEST_F(TemplateItemsTest, UnknownKindsDoNothingAndExist) {
    const auto unknown = static_cast<enItemTypes>(3);
    EXPECT_TRUE(store.ItemExists(unknown, u"anything"));
    store.Add(unknown, u"anything");
    EXPECT_FALSE(store.Dirty());
    EXPECT_TRUE(std::holds_alternative<std::monostate>(store.Items(unknown)));
    store.Remove(unknown, u"anything");
    EXPECT_TRUE(store.Dirty());
}

TEST_F(TemplateItemsTest, TablesOfAnEmptyTemplateAreAnArrayWithoutElements) {
    const auto items = store.Items(tmpTable);
    ASSERT_TRUE(std::holds_alternative<TextArray>(items));
    EXPECT_EQ(std::get<TextArray>(items).UpperBound(), -1);
}

TEST_F(TemplateItemsTest, TablesAreAnArrayFromZeroInOrder) {
    store.Add(tmpTable, u"[dbo].[B]");
    store.Add(tmpTable, u"[dbo].[A]");
    EXPECT_EQ(std::get<TextArray>(store.Items(tmpTable)),
              TextArray(Texts{u"[dbo].[B]", u"[dbo].[A]"}, 0));
}

TEST_F(TemplateItemsTest, MoreThan32767TablesOverflow) {
    for (int i = 0; i < 32767; ++i)
        store.Add(tmpTable, ToText(i));
    EXPECT_EQ(Tables(store).size(), 32767U);
    store.Add(tmpTable, u"one more");
    ExpectError(6, u"Overflow", [&] { store.Items(tmpTable); });
}

TEST_F(TemplateItemsTest, ChangesThroughTheSharedListsReachTheStore) {
    store.Add(tmpColumn, u"[dbo].[T]", u"a");
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn))
        ->Item(u"[dbo].[T]")
        ->Add(u"b", u"b");
    EXPECT_TRUE(store.ItemExists(tmpColumn, u"[dbo].[T]", u"b"));
    store.Persist();
    EXPECT_TRUE(Holds(Read(), "<column id=\"a\"/><column id=\"b\"/>"));
}

TEST_F(TemplateItemsTest, AnIndexChangedThroughTheSharedListIsWritten) {
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    const auto indexes = std::get<std::shared_ptr<NameList>>(store.Items(tmpIndex));
    indexes->Remove(u"[dbo].[T]");
    indexes->Add(u"j", u"[dbo].[T]");
    EXPECT_TRUE(store.ItemExists(tmpIndex, u"[dbo].[T]", u"j"));
    EXPECT_TRUE(store.Persist());
    EXPECT_TRUE(Holds(Read(), "<table id=\"[dbo].[T]\"><index id=\"j\"/></table>"));
}

TEST_F(TemplateItemsTest, AMissingColumnListInTheSharedListIsError91) {
    store.Add(tmpColumn, u"[dbo].[T]", u"a");
    const std::string before = Read();
    const auto lists = std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
    lists->Remove(u"[dbo].[T]");
    lists->Add(nullptr, u"[dbo].[T]");
    EXPECT_EQ(NumberOf([&] { store.ItemExists(tmpColumn, u"[dbo].[T]", u"a"); }), 91);
    EXPECT_EQ(NumberOf([&] { store.Add(tmpColumn, u"[dbo].[T]", u"b"); }), 91);
    EXPECT_EQ(NumberOf([&] { store.Remove(tmpColumn, u"[dbo].[T]", u"a"); }), 91);
    EXPECT_EQ(NumberOf([&] { store.Persist(); }), 91);
    EXPECT_EQ(Read(), before);
}

// Tables and the index of a table are taken by their place, columns by their name as well.
TEST_F(TemplateItemsTest, ElementsOfAnyNameAreTablesAndTheFirstOneIsTheIndex) {
    auto other = Loaded(InDefault(
        "<tables><!--x--><any id=\"[dbo].[A]\"/><?x?><table id=\"[dbo].[T]\"/></tables>"
        "<columns><any id=\"[dbo].[A]\"><column id=\"no\"/></any>"
        "<table id=\"[dbo].[T]\"><any id=\"no\"/><column id=\"c\"/></table></columns>"
        "<indexes><any id=\"[dbo].[A]\"><index id=\"no\"/></any>"
        "<table id=\"[dbo].[T]\"><!--x--><?x?><any id=\"first\"/><index id=\"i\"/></table>"
        "</indexes>"));
    EXPECT_EQ(Tables(other), (Texts{u"[dbo].[A]", u"[dbo].[T]"}));
    const auto columns = std::get<std::shared_ptr<ColumnLists>>(other.Items(tmpColumn));
    EXPECT_EQ(columns->Count(), 1);
    EXPECT_EQ(Names(columns->Item(u"[dbo].[T]")), Texts{u"c"});
    const auto indexes = std::get<std::shared_ptr<NameList>>(other.Items(tmpIndex));
    EXPECT_EQ(Names(indexes), Texts{u"first"});
    EXPECT_EQ(indexes->Item(u"[dbo].[T]"), u"first");
}

TEST_F(TemplateItemsTest, AnElementOfAnyNameNeedsAnId) {
    const auto number = [&](enItemTypes kind, const std::string& content) {
        auto other = Loaded(InDefault(content));
        return NumberOf([&] { other.Items(kind); });
    };
    EXPECT_EQ(number(tmpTable, "<tables><any/></tables>"), 94);
    EXPECT_EQ(number(tmpIndex, "<indexes><table id=\"t\"><any/></table></indexes>"), 94);
    EXPECT_EQ(number(tmpColumn, "<columns><any/></columns>"), 0);
    EXPECT_EQ(number(tmpIndex, "<indexes><any/></indexes>"), 0);
}

// Each list clears the mark when it is read, whatever was changed in another one before.
TEST_F(TemplateItemsTest, ReadingAListClearsDirty) {
    Write(
        InDefault("<tables><table id=\"t\"/></tables>"
                  "<columns><table id=\"t\"><column id=\"c\"/></table></columns>"
                  "<indexes><table id=\"t\"><index id=\"i\"/></table></indexes>"));
    for (const enItemTypes read : {tmpTable, tmpColumn, tmpIndex}) {
        const enItemTypes changed = read == tmpTable ? tmpColumn : tmpTable;
        LoadedTemplates other(file);
        other.Add(changed, u"another", u"c");
        EXPECT_TRUE(other.Dirty()) << read;
        other.Items(read);
        EXPECT_FALSE(other.Dirty()) << read;
    }
}

TEST_F(TemplateItemsTest, OnlyTheFirstIndexOfATableIsLoaded) {
    auto other = Loaded(
        InDefault("<indexes>"
                  "<table id=\"[dbo].[T]\"><index id=\"first\"/><index id=\"second\"/></table>"
                  "<table id=\"[dbo].[U]\"/></indexes>"));
    EXPECT_TRUE(other.ItemExists(tmpIndex, u"[dbo].[T]", u"first"));
    EXPECT_FALSE(other.ItemExists(tmpIndex, u"[dbo].[T]", u"second"));
    EXPECT_FALSE(other.ItemExists(tmpIndex, u"[dbo].[U]", u""));
    EXPECT_FALSE(other.Dirty());
}

TEST_F(TemplateItemsTest, SettingADatabaseToItsValueChangesNothing) {
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"one");
    store.Add(tmpTable, u"[dbo].[T]");
    store.Persist();
    store.Database1(u"one");
    EXPECT_FALSE(store.Dirty());
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
}

TEST_F(TemplateItemsTest, AnotherDatabaseEmptiesTheListsButForTheIndexNames) {
    Add(store, OneOfEachKind);
    EXPECT_EQ(store.Database2(), u"");
    store.Persist();
    store.Database2(u"two");
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(Tables(store), Texts{});
    EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"(no list)"});
    EXPECT_EQ(Indexes(), Texts{u"i"});
    EXPECT_EQ(NumberOf([&] { store.Add(tmpIndex, u"[dbo].[T]", u"i"); }), 457);
    store.Persist();
    EXPECT_TRUE(Holds(Read(), "<database2 name=\"two\"/>"));
    EXPECT_TRUE(Holds(Read(), "<indexes/>"));
}

TEST_F(TemplateItemsTest, FlushReadsEverythingAgain) {
    store.Add(tmpTable, u"[dbo].[T]");
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    EXPECT_EQ(store.Database1(), u"");
    store.Persist();
    store.Add(tmpTable, u"[dbo].[U]");
    store.Database1(u"changed");
    store.Flush();
    EXPECT_FALSE(store.Dirty());
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
    EXPECT_EQ(Indexes(), Texts{u"i"});
    EXPECT_EQ(store.Database1(), u"");
}

TEST_F(TemplateItemsTest, ANameSetBeforeItWasReadIsReplacedByTheStoredOne) {
    auto other = Loaded(InDefault("<database1 name=\"stored\"/>"));
    other.Database1(u"mine");
    EXPECT_TRUE(other.Dirty());
    EXPECT_EQ(other.Database1(), u"stored");
}

TEST_F(TemplateItemsTest, EachDatabaseHasItsOwnName) {
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"1");
    store.Database2(u"2");
    store.Database3(u"3");
    store.Persist();
    LoadedTemplates other(file);
    other.LoadTemplate(u"x");
    other.LoadTemplate(u"Default");
    EXPECT_EQ(other.Database1(), u"1");
    EXPECT_EQ(other.Database2(), u"2");
    EXPECT_EQ(other.Database3(), u"3");
}

TEST_F(TemplateItemsTest, RemovingIsAChangeForEveryKind) {
    store.Add(tmpTable, u"[dbo].[T]");
    for (const char16_t* column : {u"a", u"b", u"c", u"d"})
        store.Add(tmpColumn, u"[dbo].[T]", column);
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    const std::vector<std::function<void()>> removals{
        [&] { store.Remove(tmpTable, u"[dbo].[T]"); },
        [&] { store.Remove(tmpColumn, u"[dbo].[T]", u"a"); },  // one of several
        [&] { store.Remove(tmpColumn, u"[dbo].[T]"); },        // all
        [&] { store.Remove(tmpIndex, u"[dbo].[T]"); },
    };
    for (const auto& remove : removals) {
        EXPECT_TRUE(store.Persist());
        EXPECT_FALSE(store.Dirty());
        remove();
        EXPECT_TRUE(store.Dirty()) << &remove - removals.data();
    }
}

TEST_F(TemplateItemsTest, ErrorsOfTheListsKeepTheirTexts) {
    Add(store, OneOfEachKind);
    constexpr const char16_t* duplicate =
        u"This key is already associated with an element of this collection";
    ExpectError(457, duplicate, [&] { store.Add(tmpTable, u"[DBO].[t]"); });
    ExpectError(457, duplicate, [&] { store.Add(tmpColumn, u"[DBO].[t]", u"C"); });
    ExpectError(457, duplicate, [&] { store.Add(tmpIndex, u"[DBO].[t]", u"j"); });

    constexpr const char16_t* absent = u"Invalid procedure call or argument";
    ExpectError(5, absent, [&] { store.Remove(tmpTable, u"[dbo].[U]"); });
    ExpectError(5, absent, [&] { store.Remove(tmpColumn, u"[dbo].[U]", u"c"); });
    ExpectError(5, absent, [&] { store.Remove(tmpColumn, u"[dbo].[T]", u"d"); });
    ExpectError(5, absent, [&] { store.Remove(tmpColumn, u"[dbo].[U]"); });
    ExpectError(5, absent, [&] { store.Remove(tmpIndex, u"[dbo].[U]"); });
}

TEST_F(TemplateItemsTest, AnyDatabaseEmptiesTheLists) {
    using Let = void (ComparisonTemplates::*)(std::u16string_view);
    EXPECT_EQ(store.Database1(), u"");
    for (const Let let : {static_cast<Let>(&ComparisonTemplates::Database1),
                          static_cast<Let>(&ComparisonTemplates::Database2),
                          static_cast<Let>(&ComparisonTemplates::Database3)}) {
        store.Add(tmpTable, u"[dbo].[T]");
        store.Add(tmpColumn, u"[dbo].[T]", u"c");
        EXPECT_TRUE(store.Persist());
        (store.*let)(u"another");
        EXPECT_TRUE(store.Dirty());
        EXPECT_EQ(Tables(store), Texts{});
        EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"(no list)"});
    }
    EXPECT_TRUE(store.Persist());
    EXPECT_TRUE(Holds(Read(), "<database3 name=\"another\"/>"));
}

TEST_F(TemplateItemsTest, ADatabaseNameInAnotherCaseIsAChange) {
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"one");
    store.Add(tmpTable, u"[dbo].[T]");
    EXPECT_TRUE(store.Persist());
    store.Database1(u"ONE");
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(store.Database1(), u"ONE");
    EXPECT_EQ(Tables(store), Texts{});
    EXPECT_TRUE(store.Persist());
    EXPECT_TRUE(Holds(Read(), "<database1 name=\"ONE\"/>"));
}

TEST_F(TemplateItemsTest, PersistReplacesANameSetBeforeItWasReadToo) {
    auto other = Loaded(InDefault("<database1 name=\"stored\"/><database3 name=\"third\"/>"));
    other.Database1(u"mine");
    other.Database2(u"yours");
    other.Database3(u"theirs");
    EXPECT_TRUE(other.Persist());
    EXPECT_TRUE(Holds(Read(), "<database1 name=\"stored\"/>"));
    EXPECT_TRUE(Holds(Read(), "<database3 name=\"third\"/>"));
    // There was no element of this one, so what was set has become its name.
    EXPECT_TRUE(Holds(Read(), "<database2 name=\"yours\"/>"));
    EXPECT_EQ(other.Database1(), u"stored");
    EXPECT_EQ(other.Database2(), u"yours");
}

// Whatever empties the column lists puts new ones in their place.
TEST_F(TemplateItemsTest, ColumnListsThatWereHandedOutStayAsTheyAre) {
    const std::vector<std::function<void()>> changes{
        [&] { store.Database1(u"another"); },
        [&] { store.Flush(); },
        [&] { store.LoadTemplate(u"another"); },
    };
    EXPECT_EQ(store.Database1(), u"");
    for (const auto& change : changes) {
        store.Add(tmpColumn, u"[dbo].[T]", u"c");
        const auto lists = std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
        const auto list = lists->Item(u"[dbo].[T]");
        EXPECT_EQ(std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn)), lists);
        change();
        EXPECT_NE(std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn)), lists);
        EXPECT_EQ(Columns(u"[dbo].[T]"), Texts{u"(no list)"});
        EXPECT_EQ(lists->Count(), 1);
        EXPECT_EQ(lists->Item(u"[dbo].[T]"), list);
        EXPECT_EQ(Names(list), Texts{u"c"});
        // No longer the store's own.
        list->Add(u"d", u"d");
        EXPECT_FALSE(store.ItemExists(tmpColumn, u"[dbo].[T]", u"d"));
    }
}

TEST_F(TemplateItemsTest, AnIndexListThatWasHandedOutStaysAsItIs) {
    const auto handedOut = [&] {
        return std::get<std::shared_ptr<NameList>>(store.Items(tmpIndex));
    };
    EXPECT_EQ(store.Database1(), u"");
    for (const bool flush : {true, false}) {
        store.Add(tmpIndex, u"[dbo].[T]", u"i");
        const auto list = handedOut();
        flush ? store.Flush() : store.LoadTemplate(u"another");
        EXPECT_EQ(Indexes(), Texts{});
        EXPECT_NE(handedOut(), list);
        EXPECT_EQ(Names(list), Texts{u"i"});
    }
    // Another database leaves the index names, and so the list.
    store.Add(tmpIndex, u"[dbo].[T]", u"i");
    const auto list = handedOut();
    store.Database1(u"another");
    EXPECT_EQ(handedOut(), list);
    EXPECT_EQ(Names(list), Texts{u"i"});
}

}  // namespace
}  // namespace QuillonLib
