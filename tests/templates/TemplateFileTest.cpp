// The file and the template-level operations.
#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

#include "TemplateFiles.h"
#include "core/LibraryFolder.h"

namespace QuillonLib {
namespace {

std::filesystem::path FolderOfThisProgram() {
#ifdef _WIN32
    wchar_t file[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, file, MAX_PATH);
    return std::filesystem::path(file).parent_path();
#else
    return std::filesystem::canonical("/proc/self/exe").parent_path();
#endif
}

class TemplateFileTest : public TemplateFiles {
  protected:
    void SetUp() override { store.Load(Path()); }
    ComparisonTemplates store;
};

TEST_F(TemplateFileTest, FirstUseWithNoFile) {
    EXPECT_EQ(Names(store.Templates()), Texts{});
    EXPECT_EQ(store.CurrentTemplate(), u"");
    EXPECT_EQ(Tables(store), Texts{});
    EXPECT_EQ(store.CurrentTemplate(), u"Default");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Read(),
              "<templates><lasttemplate name=\"Default\"/><template id=\"Default\">"
              "<tables/><database1 name=\"\"/><database2 name=\"\"/><database3 name=\"\"/>"
              "<columns/><indexes/></template></templates>");
}

TEST_F(TemplateFileTest, NewTemplateWritesItsElementsInOrder) {
    store.LoadTemplate(u"");
    EXPECT_EQ(store.Database1(), u"");
    store.Database1(u"World");
    store.Database2(u"World, stale");
    store.Database3(u"World");
    store.Add(tmpTable, u"[dbo].[City]");
    store.Add(tmpColumn, u"[dbo].[City]", u"Name");
    store.Add(tmpIndex, u"[dbo].[City]", u"PK_City");
    EXPECT_TRUE(store.NewTemplate(u"Weekly"));
    EXPECT_EQ(store.CurrentTemplate(), u"Weekly");
    const std::string written = Read();
    const std::string wanted =
        "<template id=\"Weekly\"><database1 name=\"World\"/>"
        "<database2 name=\"World, stale\"/><database3 name=\"World\"/>"
        "<tables><table id=\"[dbo].[City]\"/></tables>"
        "<columns><table id=\"[dbo].[City]\"><column id=\"Name\"/></table></columns>"
        "<indexes><table id=\"[dbo].[City]\"><index id=\"PK_City\"/></table></indexes></template>";
    EXPECT_TRUE(Holds(written, wanted));
    EXPECT_TRUE(Holds(written, "<lasttemplate name=\"Weekly\"/>"));
}

TEST_F(TemplateFileTest, LoadTellsWhetherTheFileWasRead) {
    EXPECT_FALSE(ComparisonTemplates().Load(Path()));  // missing
    const struct {
        const char* content;
        bool read;
    } cases[] = {
        {TwoTemplates, true},
        {"", false},
        {"<templates><template></templates>", false},
        {"<a/><b/>", false},
    };
    for (const auto& each : cases) {
        Write(each.content);
        EXPECT_EQ(ComparisonTemplates().Load(Path()), each.read) << each.content;
    }
    EXPECT_FALSE(ComparisonTemplates().Load(folder.u16string()));  // a folder
    EXPECT_EQ(Read(), "<a/><b/>");
}

TEST_F(TemplateFileTest, LoadOfWhatCannotBeReadIsFalse) {
#ifdef __linux__
    // A regular file whose first byte cannot be read.
    EXPECT_FALSE(ComparisonTemplates().Load(u"/proc/self/mem"));
#endif
    ComparisonTemplates other;
    const std::u16string noPath = Path() + std::u16string{0xD83D};
    EXPECT_FALSE(other.Load(noPath));
    EXPECT_FALSE(other.Load(noPath));
    EXPECT_EQ(Names(other.Templates()), Texts{});
    EXPECT_EQ(NumberOf([&] { other.NewTemplate(u"a"); }), 75);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(TemplateFileTest, AnUnreadableFileGivesAnEmptyStore) {
    Write("<templates><template");
    ComparisonTemplates other;
    EXPECT_FALSE(other.Load(Path()));
    EXPECT_EQ(Names(other.Templates()), Texts{});
}

TEST_F(TemplateFileTest, LoadOfTheLoadedPathKeepsUnsavedChanges) {
    store.Add(tmpTable, u"[dbo].[T]");
    EXPECT_TRUE(store.Dirty());
    EXPECT_FALSE(store.Load(Path()));
    EXPECT_TRUE(store.Dirty());
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
}

TEST_F(TemplateFileTest, LoadOfAnotherPathClearsDirtyAndKeepsTheCurrentTemplate) {
    store.Add(tmpTable, u"[dbo].[T]");
    store.Load((folder / "other.xml").u16string());
    EXPECT_FALSE(store.Dirty());
    EXPECT_EQ(store.CurrentTemplate(), u"Default");
    EXPECT_EQ(Tables(store), Texts{u"[dbo].[T]"});
}

// What is bound belongs to the file that was open before; it must neither crash nor reach the new
// file by itself.
TEST_F(TemplateFileTest, ElementsOfTheFileBeforeStayUsable) {
    auto other = Loaded(TwoTemplates);
    other.LoadTemplate(u"Default");
    EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
    other.Load((folder / "other.xml").u16string());
    EXPECT_EQ(other.Database1(), u"a");
    EXPECT_TRUE(other.Persist());
    EXPECT_EQ(Read(), TwoTemplates);
    EXPECT_EQ(std::filesystem::file_size(folder / "other.xml"), 0U);
}

TEST_F(TemplateFileTest, TheDefaultPathIsBesideTheLibrary) {
    // the tests hold the library themselves
    const std::filesystem::path beside = FolderOfThisProgram() / "Templates.xml";
    EXPECT_EQ(LibraryFolder() / "Templates.xml", beside);
    Write(TwoTemplates);
    std::filesystem::rename(file, beside);

    ComparisonTemplates byEmptyPath;
    EXPECT_TRUE(byEmptyPath.Load(u""));
    EXPECT_FALSE(byEmptyPath.Load(beside.u16string()));  // already loaded
    ComparisonTemplates byFirstUse;
    EXPECT_EQ(Names(byFirstUse.Templates()), (Texts{u"Default", u"Nightly"}));
    EXPECT_FALSE(byFirstUse.Load(u""));
    std::filesystem::remove(beside);
}

TEST_F(TemplateFileTest, TemplatesAreListedInFileOrder) {
    auto other = Loaded(TwoTemplates);
    EXPECT_EQ(Names(other.Templates()), (Texts{u"Default", u"Nightly"}));
    EXPECT_EQ(other.Templates()->Item(u"NIGHTLY"), u"Nightly");
    EXPECT_EQ(other.CurrentTemplate(), u"Nightly");
}

TEST_F(TemplateFileTest, NamesThatDifferInCaseOnlyAreError457) {
    auto other = Loaded(
        "<templates><lasttemplate name=\"\"/><template id=\"A\"/><template id=\"a\"/></templates>");
    EXPECT_EQ(NumberOf([&] { other.Templates(); }), 457);
    EXPECT_EQ(NumberOf([&] { other.NewTemplate(u"B"); }), 457);
}

TEST_F(TemplateFileTest, EmptyNameAndDefaultAreTheSame) {
    Write(TwoTemplates);
    for (const char16_t* name : {u"", u"Default"}) {
        LoadedTemplates other(file);
        other.LoadTemplate(name);
        EXPECT_EQ(other.CurrentTemplate(), u"Default");
        EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
    }
}

TEST_F(TemplateFileTest, AnotherTemplateBringsItsOwnPicksAndDatabases) {
    auto other = Loaded(TwoTemplates);
    EXPECT_EQ(other.Database1(), u"a");
    EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
    EXPECT_FALSE(other.ItemExists(tmpColumn, u"[dbo].[U]", u"c1"));
    EXPECT_FALSE(other.ItemExists(tmpIndex, u"[dbo].[U]", u"PK_U"));
    other.LoadTemplate(u"Nightly");
    EXPECT_EQ(other.Database1(), u"x");
    EXPECT_EQ(Tables(other), Texts{});
    EXPECT_TRUE(other.ItemExists(tmpColumn, u"[dbo].[U]", u"c1"));
    EXPECT_TRUE(other.ItemExists(tmpIndex, u"[dbo].[U]", u"PK_U"));
}

TEST_F(TemplateFileTest, LoadTemplateIsCaseSensitive) {
    auto other = Loaded(TwoTemplates);
    other.LoadTemplate(u"default");
    EXPECT_EQ(other.CurrentTemplate(), u"default");
    EXPECT_EQ(Tables(other), Texts{});
}

TEST_F(TemplateFileTest, NewTemplateRefusesANameInAnyCase) {
    auto other = Loaded(TwoTemplates);
    EXPECT_FALSE(other.NewTemplate(u"DEFAULT"));
    EXPECT_FALSE(other.NewTemplate(u"nightly"));
    EXPECT_EQ(Read(), TwoTemplates);
    EXPECT_EQ(other.CurrentTemplate(), u"Nightly");
}

TEST_F(TemplateFileTest, NewTemplateSavesWhatWasCurrent) {
    auto other = Loaded(TwoTemplates);
    other.LoadTemplate(u"Default");
    EXPECT_EQ(other.Database1(), u"a");
    EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
    EXPECT_TRUE(other.NewTemplate(u"Copy"));
    EXPECT_FALSE(other.Dirty());

    LoadedTemplates again(file);
    again.LoadTemplate(u"Copy2");  // bind something, so that Copy can be bound
    again.LoadTemplate(u"Copy");
    EXPECT_EQ(again.Database1(), u"a");
    EXPECT_EQ(again.Database3(), u"c");
    EXPECT_EQ(Tables(again), Texts{u"[dbo].[T]"});
}

TEST_F(TemplateFileTest, RemoveTemplateRefusesDefaultInAnyCase) {
    auto other = Loaded(TwoTemplates);
    for (const char16_t* name : {u"Default", u"default", u"DEFAULT"})
        EXPECT_FALSE(other.RemoveTemplate(name)) << ToUtf8(name);
    EXPECT_FALSE(other.Dirty());
    EXPECT_EQ(Names(other.Templates()), (Texts{u"Default", u"Nightly"}));
}

TEST_F(TemplateFileTest, RemovingWhatIsNotThereIsTrueAndChangesNothing) {
    EXPECT_TRUE(store.RemoveTemplate(u"Weekly"));
    EXPECT_FALSE(store.Dirty());
}

TEST_F(TemplateFileTest, RemovalReachesTheFileWithPersist) {
    auto other = Loaded(TwoTemplates);
    other.LoadTemplate(u"Default");
    EXPECT_TRUE(other.RemoveTemplate(u"Nightly"));
    EXPECT_TRUE(other.Dirty());
    EXPECT_EQ(Read(), TwoTemplates);
    EXPECT_EQ(Names(other.Templates()), Texts{u"Default"});
    EXPECT_TRUE(other.Persist());
    EXPECT_FALSE(Holds(Read(), "Nightly"));
}

TEST_F(TemplateFileTest, DefaultInheritsFromARemovedCurrentTemplate) {
    auto other = Loaded(TwoTemplates);
    other.LoadTemplate(u"Other");
    other.LoadTemplate(u"Nightly");
    EXPECT_EQ(other.Database1(), u"x");
    EXPECT_TRUE(other.ItemExists(tmpColumn, u"[dbo].[U]", u"c1"));
    EXPECT_TRUE(other.ItemExists(tmpIndex, u"[dbo].[U]", u"PK_U"));
    EXPECT_EQ(Tables(other), Texts{});
    EXPECT_TRUE(other.RemoveTemplate(u"Nightly"));
    EXPECT_EQ(other.CurrentTemplate(), u"Default");
    other.Persist();
    EXPECT_EQ(Read(),
              "<templates><lasttemplate name=\"Default\"/>"
              "<template id=\"Default\"><database1 name=\"x\"/><database2 name=\"y\"/>"
              "<database3 name=\"z\"/><tables/>"
              "<columns><table id=\"[dbo].[U]\"><column id=\"c1\"/><column id=\"c2\"/></table>"
              "</columns><indexes><table id=\"[dbo].[U]\"><index id=\"PK_U\"/></table></indexes>"
              "</template><template id=\"Other\"/></templates>");
}

TEST_F(TemplateFileTest, PersistBeforeAnyDocumentIsFalse) {
    ComparisonTemplates untouched;
    EXPECT_FALSE(untouched.Persist());
    EXPECT_FALSE(std::filesystem::exists(LibraryFolder() / "Templates.xml"));
}

TEST_F(TemplateFileTest, TheStoredTemplateIsCurrentButNotBound) {
    auto other = Loaded(TwoTemplates);
    other.Templates();
    EXPECT_EQ(other.CurrentTemplate(), u"Nightly");
    other.LoadTemplate(u"Nightly");
    EXPECT_EQ(NumberOf([&] { other.Items(tmpTable); }), 91);
    EXPECT_EQ(NumberOf([&] { other.Items(tmpColumn); }), 91);
    EXPECT_EQ(NumberOf([&] { other.ItemExists(tmpIndex, u"t", u"i"); }), 91);
    EXPECT_EQ(NumberOf([&] { other.Database1(); }), 91);
    EXPECT_EQ(NumberOf([&] { other.Persist(); }), 91);
    other.LoadTemplate(u"Default");
    EXPECT_EQ(Tables(other), Texts{u"[dbo].[T]"});
}

TEST_F(TemplateFileTest, ARootOfAnotherNameServesAsItStands) {
    Write("<settings><window width=\"3\"/></settings>");
    ComparisonTemplates other;
    EXPECT_TRUE(other.Load(Path()));
    other.LoadTemplate(u"Mine");
    other.Persist();
    EXPECT_EQ(Read(),
              "<settings><window width=\"3\"/><lasttemplate name=\"Mine\"/>"
              "<template id=\"Mine\"><database1 name=\"\"/><database2 name=\"\"/>"
              "<database3 name=\"\"/><tables/><columns/><indexes/></template></settings>");
}

TEST_F(TemplateFileTest, ForeignElementsAttributesAndCommentsStay) {
    auto other = Loaded(
        "<?xml version=\"1.0\"?><!-- ours --><templates owner=\"me\"><note>keep</note>"
        "<lasttemplate seen=\"1\" name=\"A\"/>"
        "<template colour=\"red\" id=\"A\"><!-- picks --><extra/><tables/><indexes/><columns/>"
        "<database3 name=\"3\"/><database2 name=\"2\"/><database1 name=\"1\"/></template>"
        "</templates>");
    other.LoadTemplate(u"B");
    other.LoadTemplate(u"A");
    EXPECT_EQ(other.Database1(), u"1");
    other.Add(tmpTable, u"[dbo].[T]");
    other.RemoveTemplate(u"B");
    other.Persist();
    EXPECT_EQ(Read(),
              "<?xml version=\"1.0\"?><!-- ours --><templates owner=\"me\"><note>keep</note>"
              "<lasttemplate seen=\"1\" name=\"A\"/>"
              "<template colour=\"red\" id=\"A\"><!-- picks --><extra/>"
              "<tables><table id=\"[dbo].[T]\"/></tables><indexes/><columns/>"
              "<database3 name=\"3\"/><database2 name=\"2\"/><database1 name=\"1\"/></template>"
              "</templates>");
}

TEST_F(TemplateFileTest, AMissingNameOrIdIsError94) {
    using Use = std::function<void(ComparisonTemplates&)>;
    const Use templates = [](ComparisonTemplates& of) { of.Templates(); };
    const Use database = [](ComparisonTemplates& of) { of.Database1(); };
    const auto items = [](enItemTypes kind) -> Use {
        return [kind](ComparisonTemplates& of) { of.Items(kind); };
    };
    const struct {
        std::string content;
        Use use;
    } cases[] = {
        {"<templates><lasttemplate/></templates>", templates},
        {"<templates><template/></templates>", templates},
        {InDefault("<database1/>"), database},
        {InDefault("<database2/>"), database},
        {InDefault("<database3/>"), database},
        {InDefault("<tables><table/></tables>"), items(tmpTable)},
        {InDefault("<columns><table id=\"t\"><column/></table></columns>"), items(tmpColumn)},
        {InDefault("<columns><table><column id=\"c\"/></table></columns>"), items(tmpColumn)},
        {InDefault("<indexes><table id=\"t\"><index/></table></indexes>"), items(tmpIndex)},
    };
    for (const auto& each : cases) {
        auto other = Loaded(each.content);
        EXPECT_EQ(NumberOf([&] { each.use(other); }), 94) << each.content;
    }
}

TEST_F(TemplateFileTest, APathThatIsTooLongIsAFileThatIsMissing) {
    EXPECT_FALSE(ComparisonTemplates().Load(std::u16string(5000, u'x')));
}

// Both see the templates as they are now, not as they were listed once.
TEST_F(TemplateFileTest, TheListOfTemplatesFollowsLoadAndLoadTemplate) {
    EXPECT_EQ(Names(store.Templates()), Texts{});
    store.LoadTemplate(u"fresh");
    EXPECT_EQ(Names(store.Templates()), Texts{u"fresh"});
    Write(TwoTemplates);
    const std::filesystem::path copy = folder / "copy.xml";
    std::filesystem::copy_file(file, copy);
    store.Load(copy.u16string());
    EXPECT_EQ(Names(store.Templates()), (Texts{u"Default", u"Nightly"}));
}

TEST_F(TemplateFileTest, RemoveTemplateWorksOnTheFileThatWasLoadedLast) {
    Write(TwoTemplates);
    const std::filesystem::path copy = folder / "copy.xml";
    std::filesystem::copy_file(file, copy);
    LoadedTemplates other(file);
    other.LoadTemplate(u"Default");
    other.Load(copy.u16string());
    EXPECT_TRUE(other.RemoveTemplate(u"Nightly"));
    EXPECT_TRUE(other.Dirty());
    EXPECT_EQ(Names(other.Templates()), Texts{u"Default"});
}

TEST_F(TemplateFileTest, OtherEncodingsAreReadAndUtf8IsWritten) {
    Write(
        "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><templates><template "
        "id=\"caf\xE9\"/></templates>");
    ComparisonTemplates latin;
    EXPECT_TRUE(latin.Load(Path()));
    EXPECT_EQ(Names(latin.Templates()), Texts{u"caf\u00e9"});
    latin.NewTemplate(u"\u20ac");
    EXPECT_EQ(Read().substr(0, 39), "<?xml version=\"1.0\" encoding=\"utf-8\"?><");
    EXPECT_TRUE(Holds(Read(), "\"caf\xC3\xA9\""));
    EXPECT_TRUE(Holds(Read(), "\"\xE2\x82\xAC\""));

    const std::u16string utf16 = u"\uFEFF<templates><template id=\"\u4E2D\"/></templates>";
    Write(std::string(reinterpret_cast<const char*>(utf16.data()), utf16.size() * 2));
    ComparisonTemplates wide;
    EXPECT_TRUE(wide.Load(Path()));
    EXPECT_EQ(Names(wide.Templates()), Texts{u"\u4E2D"});

    Write("<templates><template id=\"caf\xE9\"/></templates>");  // neither UTF-8 nor declared
    EXPECT_FALSE(ComparisonTemplates().Load(Path()));
}

TEST_F(TemplateFileTest, TenThousandTablesRoundTrip) {
    for (int i = 0; i < 10000; ++i) {
        const std::u16string table = u"[dbo].[Table " + ToText(i) + u"]";
        store.Add(tmpTable, table);
        store.Add(tmpColumn, table, u"id");
        store.Add(tmpIndex, table, u"PK");
    }
    store.Persist();
    LoadedTemplates other(file);
    other.LoadTemplate(u"x");
    other.LoadTemplate(u"Default");
    const Texts tables = Tables(other);
    ASSERT_EQ(tables.size(), 10000U);
    EXPECT_EQ(tables.front(), u"[dbo].[Table 0]");
    EXPECT_EQ(tables.back(), u"[dbo].[Table 9999]");
    EXPECT_TRUE(other.ItemExists(tmpColumn, u"[dbo].[Table 5000]", u"ID"));
    EXPECT_TRUE(other.ItemExists(tmpIndex, u"[dbo].[Table 9999]", u"PK"));
}

}  // namespace
}  // namespace QuillonLib
