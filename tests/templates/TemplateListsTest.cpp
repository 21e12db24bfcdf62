// What becomes of lists that are read half, changed behind the store's back or walked while it
// changes, and of a file that is opened after another one.
#include <gtest/gtest.h>

#include "TemplateDatabases.h"
#include "TemplateFiles.h"

namespace QuillonLib {
namespace {

class TemplateListsTest : public TemplateFiles {
  protected:
    TemplateListsTest() {
        store.Load(Path());
        EXPECT_EQ(store.Database1(), u"");
    }
    std::shared_ptr<ColumnLists> Columns() {
        return std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
    }
    std::shared_ptr<NameList> Indexes() {
        return std::get<std::shared_ptr<NameList>>(store.Items(tmpIndex));
    }
    // What "Default" holds from its tables on.
    std::string Picks() const {
        const std::string content = Read();
        const std::size_t begin = content.find("<tables");
        return content.substr(begin, content.find("</template>") - begin);
    }
    static std::string InDefault(const std::string& picks) {
        return "<templates><lasttemplate name=\"\"/><template id=\"Default\">" + picks +
               "</template></templates>";
    }
    ComparisonTemplates store;
};

TEST_F(TemplateListsTest, AListThatIsReadHalfIsWrittenHalf) {
    Write(
        InDefault("<tables><table id=\"a\"/><table id=\"A\"/><table id=\"b\"/></tables>"
                  "<columns><table id=\"a\"><column id=\"c\"/><column id=\"C\"/>"
                  "<column id=\"d\"/></table></columns>"
                  "<indexes><table id=\"a\"><index id=\"i\"/></table><table id=\"a\">"
                  "<index id=\"j\"/></table><table id=\"b\"><index id=\"k\"/></table></indexes>"));
    ComparisonTemplates half;
    half.Load(Path());
    for (const enItemTypes kind : {tmpTable, tmpColumn, tmpIndex}) {
        EXPECT_EQ(NumberOf([&] { half.Items(kind); }), 457);
        EXPECT_EQ(NumberOf([&] { half.Items(kind); }), 0);  // it counts as read
    }
    EXPECT_TRUE(half.Persist());
    EXPECT_EQ(Picks(),
              "<tables><table id=\"a\"/></tables>"
              "<columns><table id=\"a\"><column id=\"c\"/></table></columns>"
              "<indexes><table id=\"a\"><index id=\"i\"/></table></indexes>"
              "<database1 name=\"\"/><database2 name=\"\"/><database3 name=\"\"/>");
}

TEST_F(TemplateListsTest, AfterFlushAListThatWasReadHalfIsReadAgain) {
    const std::string twice = InDefault("<tables><table id=\"a\"/><table id=\"a\"/></tables>");
    Write(twice);
    ComparisonTemplates half;
    half.Load(Path());
    EXPECT_EQ(NumberOf([&] { half.Items(tmpTable); }), 457);
    half.Flush();
    EXPECT_EQ(NumberOf([&] { half.Persist(); }), 457);
    EXPECT_EQ(Read(), twice);
}

TEST_F(TemplateListsTest, ANamesListThatIsHeldCanBeWalkedWhileTemplatesAreRemoved) {
    Write(TwoTemplates);
    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"Default");
    other.NewTemplate(u"Third");
    other.LoadTemplate(u"Default");
    const auto names = other.Templates();
    for (const std::u16string& name : *names)
        other.RemoveTemplate(name);
    EXPECT_EQ(Names(names), (Texts{u"Default", u"Nightly", u"Third"}));
    EXPECT_EQ(Names(other.Templates()), Texts{u"Default"});
    EXPECT_NE(other.Templates(), names);
}

TEST_F(TemplateListsTest, AListThatIsHeldCanBeReadWhileItsPicksAreRemoved) {
    for (const auto* column : {u"a", u"b", u"c"})
        store.Add(tmpColumn, u"t", column);
    const auto lists = Columns();
    const auto list = lists->Item(u"t");
    for (const std::u16string& column : Names(list))
        store.Remove(tmpColumn, u"t", column);
    EXPECT_EQ(list->Count(), 0);
    EXPECT_EQ(lists->Count(), 0);
    EXPECT_EQ(Columns(), lists);
}

TEST_F(TemplateListsTest, TheArrayOfTablesIsACopy) {
    store.Add(tmpTable, u"t");
    auto tables = std::get<TextArray>(store.Items(tmpTable));
    tables.Items.emplace_back(u"u");
    EXPECT_EQ(Tables(store), Texts{u"t"});
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Picks(), "<tables><table id=\"t\"/></tables><columns/><indexes/>");
}

TEST_F(TemplateListsTest, ATableThatIsAddedToASharedListAloneIsNotWritten) {
    EXPECT_TRUE(store.Persist());
    Columns()->Add(std::make_shared<NameList>(), u"t");
    Columns()->Item(u"t")->Add(u"c", u"c");
    Indexes()->Add(u"i", u"t");
    EXPECT_TRUE(store.ItemExists(tmpColumn, u"t", u"c"));
    EXPECT_TRUE(store.ItemExists(tmpIndex, u"t", u"i"));
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Picks(), "<tables/><columns/><indexes/>");
}

TEST_F(TemplateListsTest, ATableThatIsGoneFromASharedListIsError5) {
    constexpr const char16_t* Invalid = u"Invalid procedure call or argument";
    store.Add(tmpColumn, u"t", u"c");
    store.Add(tmpIndex, u"t", u"i");
    EXPECT_TRUE(store.Persist());
    const std::string before = Read();
    const auto columns = Columns()->Item(u"t");
    Columns()->Remove(u"t");
    ExpectError(5, Invalid, [&] { store.Persist(); });
    Columns()->Add(columns, u"t");
    Indexes()->Remove(u"t");
    ExpectError(5, Invalid, [&] { store.Persist(); });
    EXPECT_EQ(Read(), before);
    Indexes()->Add(u"i", u"t");
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Read(), before);
}

TEST_F(TemplateListsTest, PersistAfterLoadOfAMissingFileMakesDefault) {
    ComparisonTemplates other;
    EXPECT_FALSE(other.Load(Path()));
    EXPECT_TRUE(other.Persist());
    EXPECT_EQ(other.CurrentTemplate(), u"Default");
    EXPECT_EQ(Read(),
              "<templates><lasttemplate name=\"Default\"/><template id=\"Default\">"
              "<database1 name=\"\"/><database2 name=\"\"/><database3 name=\"\"/><tables/>"
              "<columns/><indexes/></template></templates>");
}

TEST_F(TemplateListsTest, PersistAfterLoadOfAFileThatIsNoXmlReplacesIt) {
    Write("junk");
    ComparisonTemplates other;
    EXPECT_FALSE(other.Load(Path()));
    EXPECT_EQ(Read(), "junk");
    EXPECT_TRUE(other.Persist());
    EXPECT_NE(Read().find("<template id=\"Default\">"), std::string::npos) << Read();
}

// What is bound belongs to the file before.
TEST_F(TemplateListsTest, PersistAfterLoadOfAnotherFileSavesItAsItWasLoaded) {
    Write(TwoTemplates);
    const std::filesystem::path second = folder / "second.xml";
    const std::string content = InDefault("<tables><table id=\"z\"/></tables>");
    std::ofstream(second, std::ios::binary) << content;
    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"Nightly");
    other.Add(tmpTable, u"new");
    EXPECT_TRUE(other.Load(second.u16string()));
    EXPECT_TRUE(other.Persist());
    EXPECT_EQ(Read(), TwoTemplates);
    std::ifstream stream(second, std::ios::binary);
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>(stream), {}}), content);
}

class TemplateListsWithDatabases : public TemplateDatabases {};

TEST_F(TemplateListsWithDatabases, PicksThatAreReadBeforeTheNamesAreSavedAsNone) {
    const auto save = [&](bool namesFirst) {
        Write(StoredPicks);
        ComparisonTemplates again;
        again.DatabasesObject(databases);
        again.Load(file.u16string());
        if (namesFirst) again.Database1();
        for (const enItemTypes kind : {tmpTable, tmpColumn, tmpIndex})
            again.Items(kind);
        EXPECT_TRUE(again.Persist());
        return Read();
    };
    EXPECT_EQ(save(true), StoredPicks);
    EXPECT_NE(save(false).find("<tables/><columns/><indexes/>"), std::string::npos);
}

}  // namespace
}  // namespace QuillonLib
