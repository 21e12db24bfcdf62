// Names that a path expression or XML finds hard to hold.
#include <gtest/gtest.h>

#include "TemplateFiles.h"

namespace QuillonLib {
namespace {

class TemplateNamesTest : public TemplateFiles {
  protected:
    void SetUp() override { store.Load(Path()); }
    ComparisonTemplates store;
};

constexpr auto Invalid = static_cast<std::int32_t>(0x80004005);

TEST_F(TemplateNamesTest, AnApostropheInATemplateNameIsAnErrorOfThePathExpression) {
    try {
        store.LoadTemplate(u"O'Brien");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), Invalid);
        EXPECT_EQ(error.Description().substr(0, 25), u"template[@id='O'Brien']: ");
        EXPECT_GT(error.Description().size(), 25U);
    }
}

// A name can be written so that its path expression matches the bound template.
TEST_F(TemplateNamesTest, RemovingTheBoundTemplateByATrickDoesNoHarm) {
    Write(TwoTemplates);
    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"Default");
    EXPECT_TRUE(other.RemoveTemplate(u"x' or @id='Default"));
    EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
    EXPECT_TRUE(other.Persist());
    EXPECT_EQ(Read().find("\"Default\"><"), std::string::npos) << Read();
}

TEST_F(TemplateNamesTest, RemovingTheRootByATrickIsAnError) {
    Write(TwoTemplates);
    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"Default");
    EXPECT_EQ(NumberOf([&] { other.RemoveTemplate(u"x'] | /* | y[@id='"); }), Invalid);
    EXPECT_EQ(Names(other.Templates()), (Texts{u"Default", u"Nightly"}));
}

TEST_F(TemplateNamesTest, NamesMayHoldEveryCharacterThatXmlEscapes) {
    const std::u16string name = u"[d&o].[<T> \"q\" 'a' \t\r\n ]\u00e9\U0001F600]";
    store.Add(tmpTable, name);
    store.Add(tmpColumn, name, u"a<b>&\"c\"'d'");
    store.Add(tmpIndex, name, u"\t&amp;\n");
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"<&\"'>");
    EXPECT_EQ(Tables(store), Texts{});  // another database drops the picks
    store.Add(tmpTable, name);
    store.Add(tmpColumn, name, u"a<b>&\"c\"'d'");
    EXPECT_TRUE(store.NewTemplate(u"a<b>&\"c\""));

    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"x");
    other.LoadTemplate(u"a<b>&\"c\"");
    EXPECT_EQ(other.Database1(), u"<&\"'>");
    EXPECT_EQ(Tables(other), Texts{name});
    EXPECT_TRUE(other.ItemExists(tmpColumn, name, u"a<b>&\"c\"'d'"));
}

TEST_F(TemplateNamesTest, ANameThatXmlCannotHoldIsAnErrorAndSavesNothing) {
    Write(TwoTemplates);
    for (const std::u16string& name : {std::u16string(u"a\0b", 3), std::u16string(u"\x01"),
                                       std::u16string{0xD83D}, std::u16string{0xFFFE}}) {
        ComparisonTemplates other;
        other.Load(Path());
        other.Add(tmpTable, name);
        EXPECT_EQ(NumberOf([&] { other.Persist(); }), Invalid);
        EXPECT_EQ(Read(), TwoTemplates);
    }
}

TEST_F(TemplateNamesTest, ATemplateNameThatXmlCannotHoldLeavesNoElementBehind) {
    Write(TwoTemplates);
    ComparisonTemplates other;
    other.Load(Path());
    EXPECT_EQ(NumberOf([&] { other.LoadTemplate(u"\x01"); }), Invalid);
    other.LoadTemplate(u"Default");
    EXPECT_TRUE(other.Persist());
    EXPECT_EQ(Names(other.Templates()), (Texts{u"Default", u"Nightly"}));
    ComparisonTemplates again;
    again.Load(Path());
    EXPECT_EQ(Names(again.Templates()), (Texts{u"Default", u"Nightly"}));
}

TEST_F(TemplateNamesTest, ADatabaseNameThatXmlCannotHoldLeavesNoElementBehind) {
    ComparisonTemplates other;
    other.Load(Path());
    other.LoadTemplate(u"a");
    other.Database1(u"\x01");
    EXPECT_EQ(NumberOf([&] { other.NewTemplate(u"b"); }), Invalid);
    other.Database1(u"fine");
    other.LoadTemplate(u"a");
    // An element without a name would be error 94.
    other.LoadTemplate(u"b");
    EXPECT_EQ(other.Database1(), u"fine");
}

class TemplateApostropheTest : public TemplateFiles {
  protected:
    void SetUp() override {
        Write(TwoTemplates);
        store.Load(Path());
        store.LoadTemplate(u"Default");
    }
    // The parser's own words follow the expression.
    void ExpectRefused(const std::function<void()>& action) {
        try {
            action();
            ADD_FAILURE() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), Invalid);
            EXPECT_EQ(error.Description().substr(0, 25), u"template[@id='O'Brien']: ");
        }
    }
    ComparisonTemplates store;
};

// The name is current by then, and the lists are to be read again, of the template still bound.
TEST_F(TemplateApostropheTest, LoadTemplateHasSwitchedTheName) {
    store.Add(tmpTable, u"[dbo].[New]");
    store.Add(tmpColumn, u"[dbo].[New]", u"c");
    store.Add(tmpIndex, u"[dbo].[New]", u"i");
    EXPECT_EQ(store.Database1(), u"a");
    store.Database3(u"changed");
    store.Add(tmpTable, u"[dbo].[New]");
    ExpectRefused([&] { store.LoadTemplate(u"O'Brien"); });
    EXPECT_EQ(store.CurrentTemplate(), u"O'Brien");
    EXPECT_FALSE(store.Dirty());
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
    EXPECT_FALSE(store.ItemExists(tmpColumn, u"[dbo].[New]", u"c"));
    EXPECT_FALSE(store.ItemExists(tmpIndex, u"[dbo].[New]", u"i"));
    EXPECT_EQ(store.Database3(), u"c");
    EXPECT_EQ(Names(store.Templates()), (Texts{u"Default", u"Nightly"}));
    EXPECT_EQ(Read(), TwoTemplates);
}

TEST_F(TemplateApostropheTest, NewTemplateHasSwitchedTheNameAndKeepsTheLists) {
    store.Add(tmpTable, u"[dbo].[New]");
    ExpectRefused([&] { store.NewTemplate(u"O'Brien"); });
    EXPECT_EQ(store.CurrentTemplate(), u"O'Brien");
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(Tables(store), (Texts{u"[dbo].[T]", u"[dbo].[New]"}));
    EXPECT_EQ(Names(store.Templates()), (Texts{u"Default", u"Nightly"}));
    EXPECT_EQ(Read(), TwoTemplates);
}

TEST_F(TemplateApostropheTest, RemoveTemplateChangesNothing) {
    ExpectRefused([&] { store.RemoveTemplate(u"O'Brien"); });
    EXPECT_EQ(store.CurrentTemplate(), u"Default");
    EXPECT_FALSE(store.Dirty());
    EXPECT_EQ(Names(store.Templates()), (Texts{u"Default", u"Nightly"}));
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
}

// "Default" takes its place before the template is looked for.
TEST_F(TemplateApostropheTest, RemovingTheCurrentNameHasSwitchedToDefault) {
    store.LoadTemplate(u"Nightly");
    EXPECT_EQ(store.Database1(), u"x");
    ExpectRefused([&] { store.NewTemplate(u"O'Brien"); });
    ExpectRefused([&] { store.RemoveTemplate(u"O'Brien"); });
    EXPECT_EQ(store.CurrentTemplate(), u"Default");
    EXPECT_EQ(store.Database1(), u"x");
    EXPECT_FALSE(store.Dirty());
}

// Nothing is taken back: the template is there and current, and the next Persist saves it.
TEST_F(TemplateNamesTest, NewTemplateThatCannotSaveHasMadeTheTemplate) {
    const std::filesystem::path nowhere = folder / "nowhere";
    store.Load((nowhere / "Templates.xml").u16string());
    store.LoadTemplate(u"First");
    store.Add(tmpTable, u"[dbo].[T]");
    EXPECT_EQ(Names(store.Templates()), Texts{u"First"});
    EXPECT_EQ(NumberOf([&] { store.NewTemplate(u"Second"); }), 75);
    EXPECT_EQ(store.CurrentTemplate(), u"Second");
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(Names(store.Templates()), (Texts{u"First", u"Second"}));
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
    EXPECT_FALSE(store.NewTemplate(u"Second"));

    std::filesystem::create_directory(nowhere);
    EXPECT_TRUE(store.Persist());
    EXPECT_FALSE(store.Dirty());
    std::filesystem::rename(nowhere / "Templates.xml", file);
    EXPECT_EQ(
        Read(),
        "<templates><lasttemplate name=\"Second\"/><template id=\"First\"><tables/></template>"
        "<template id=\"Second\"><database1 name=\"\"/><database2 name=\"\"/>"
        "<database3 name=\"\"/><tables><table id=\"[dbo].[T]\"/></tables><columns/>"
        "<indexes/></template></templates>");
}

}  // namespace
}  // namespace QuillonLib
