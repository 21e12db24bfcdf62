// Templates at the command line: nobody loses a pick, and nothing but a template file is written.
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/cli/ProgramCall.h"
#include "tests/support/TemporaryFolder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

std::string Template(const std::string& id, const std::string& databases,
                     const std::string& picks) {
    return "<template id=\"" + id + "\">" + databases + picks + "</template>";
}
std::string Databases(const std::string& one, const std::string& two, const std::string& three) {
    return "<database1 name=\"" + one + "\"/><database2 name=\"" + two + "\"/><database3 name=\"" +
           three + "\"/>";
}
std::string Picks(const std::string& table) {
    return "<tables><table id=\"" + table + "\"/></tables><columns><table id=\"" + table +
           "\"><column id=\"c1\"/><column id=\"c2\"/></table><table id=\"[dbo].[more]\"><column "
           "id=\"m\"/></table></columns><indexes><table id=\"" +
           table + "\"><index id=\"PK_" + table + "\"/></table></indexes>";
}
std::string File(const std::string& last, const std::string& templates) {
    return "<templates><lasttemplate name=\"" + last + "\"/>" + templates + "</templates>";
}

const std::string Default =
    Template("Default", Databases("s/d1", "s/d2", "s/d3"), Picks("[dbo].[D]"));
const std::string Nightly =
    Template("nightly", Databases("s/n1", "s/n2", "s/n3"), Picks("[dbo].[N]"));
const std::string Weekly =
    Template("weekly", Databases("s/w1", "s/w2", "s/w3"), Picks("[dbo].[W]"));

class TemplateCommandTest : public ::testing::Test {
  protected:
    TemplateCommandTest() {
        folder = QuillonLib::test::MakeTemporaryFolder();
        file = folder / "t.xml";
    }
    ~TemplateCommandTest() override { fs::remove_all(folder); }

    void Write(const std::string& content) const {
        std::ofstream(file, std::ios::binary) << content;
    }
    std::string Read() const {
        if (!fs::is_regular_file(file)) return {};
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    Outcome Call(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"template", "--templates", file.string()});
        return CallProgram(arguments);
    }
    void ExpectDone(const std::vector<std::string>& arguments) const {
        const Outcome outcome = Call(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    }
    // Fails with one line and leaves the file alone.
    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& line) const {
        const bool existed = fs::exists(file);
        const std::string before = Read();
        const Outcome outcome = Call(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.err, "quillon: " + line + "\n");
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(fs::exists(file), existed);
        EXPECT_EQ(Read(), before);
    }

    fs::path folder;
    fs::path file;
};

const std::vector<std::vector<std::string>> Reading{{"list"},
                                                    {"show", "nightly"},
                                                    {"use", "nightly"},
                                                    {"remove", "nightly"},
                                                    {"pick", "table", "x"},
                                                    {"drop", "table", "x"}};

TEST_F(TemplateCommandTest, RemovingTheOneInUseRemovesNothingElse) {
    Write(File("nightly", Default + Nightly + Weekly));
    ExpectDone({"remove", "nightly"});
    EXPECT_EQ(Read(), File("Default", Default + Weekly));
}

TEST_F(TemplateCommandTest, RemovingAnotherOneRemovesNothingElse) {
    Write(File("nightly", Default + Nightly + Weekly));
    ExpectDone({"remove", "weekly"});
    EXPECT_EQ(Read(), File("nightly", Default + Nightly));
    Write(File("Default", Default + Nightly + Weekly));
    ExpectDone({"remove", "nightly"});
    EXPECT_EQ(Read(), File("Default", Default + Weekly));
    Write(File("", Default + Nightly));
    ExpectDone({"remove", "nightly"});
    EXPECT_EQ(Read(), File("Default", Default));
}

TEST_F(TemplateCommandTest, RemovingTheLastOneLeavesAnEmptyDefault) {
    Write(File("nightly", Nightly));
    ExpectDone({"remove", "nightly"});
    EXPECT_EQ(Read(), File("Default", Template("Default", Databases("", "", ""),
                                               "<tables/><columns/><indexes/>")));
}

TEST_F(TemplateCommandTest, RemovingWhileTheOneInUseIsMissingMakesNone) {
    Write(File("gone", Default + Nightly));
    ExpectDone({"remove", "nightly"});
    EXPECT_EQ(Read(), File("Default", Default));
}

TEST_F(TemplateCommandTest, DefaultIsNotRemoved) {
    Write(File("nightly", Default + Nightly + Template("DEFAULTS", "", "")));
    ExpectRefused({"remove", "Default"}, "the template Default cannot be removed");
}

TEST_F(TemplateCommandTest, NewSavesEveryPickOfTheOneInUse) {
    Write(File("nightly", Default + Nightly + Weekly));
    ExpectDone({"new", "copy"});
    EXPECT_EQ(Read(), File("copy", Default + Nightly + Weekly +
                                       Template("copy", Databases("s/n1", "s/n2", "s/n3"),
                                                Picks("[dbo].[N]"))));
}

TEST_F(TemplateCommandTest, NewWithOtherDatabasesKeepsThePicksToo) {
    Write(File("nightly", Default + Nightly));
    ExpectDone({"new", "copy", "s/x1", "s/x2", "--via", "s/x3"});
    EXPECT_EQ(Read(), File("copy", Default + Nightly +
                                       Template("copy", Databases("s/x1", "s/x2", "s/x3"),
                                                Picks("[dbo].[N]"))));
    ExpectDone({"new", "third", "s/y1", "s/y2"});
    EXPECT_NE(Read().find(Template("third", Databases("s/y1", "s/y2", "s/y1"), Picks("[dbo].[N]"))),
              std::string::npos)
        << Read();
}

TEST_F(TemplateCommandTest, NewMakesTheFile) {
    ExpectDone({"new", "nightly", "s/n1", "s/n2"});
    const std::string none = "<tables/><columns/><indexes/>";
    EXPECT_EQ(Read(),
              File("nightly", Template("Default", Databases("", "", ""), none) +
                                  Template("nightly", Databases("s/n1", "s/n2", "s/n1"), none)));
}

TEST_F(TemplateCommandTest, NewRefusesANameThatIsTakenOrCannotBeUsed) {
    Write(File("nightly", Default + Nightly));
    ExpectRefused({"new", "NIGHTLY"}, "there is a template named NIGHTLY already");
    ExpectRefused({"new", "o'clock"}, "the name of a template cannot hold an apostrophe: o'clock");
    ExpectRefused({"new", ""}, "name: its value is empty\nRun with --help for more information.");
}

TEST_F(TemplateCommandTest, UseAndPickAndDropLoseNothing) {
    const std::string before = File("nightly", Default + Nightly + Weekly);
    Write(before);
    ExpectDone({"use", "weekly"});
    EXPECT_EQ(Read(), File("weekly", Default + Nightly + Weekly));
    ExpectDone({"use", "nightly"});
    EXPECT_EQ(Read(), before);
    ExpectDone({"pick", "table", "x"});
    EXPECT_NE(Read(), before);
    ExpectDone({"drop", "table", "x"});
    EXPECT_EQ(Read(), before);
}

TEST_F(TemplateCommandTest, APickThatIsThereAndOneThatIsNotAreTold) {
    Write(File("nightly", Default + Nightly));
    ExpectRefused({"pick", "table", "N"}, "the table is picked already");
    ExpectRefused({"pick", "column", "N", "C1"}, "the column is picked already");
    ExpectRefused({"pick", "index", "N", "IX"}, "N has an index already: drop it first");
    ExpectRefused({"drop", "table", "x"}, "the template in use has no such table");
    ExpectRefused({"drop", "column", "N", "x"}, "the template in use has no such column");
    ExpectRefused({"drop", "index", "x"}, "the template in use has no such index");
    ExpectRefused({"drop", "index", "N", "IX"}, "the template in use has no such index");
}

TEST_F(TemplateCommandTest, TheFileMayBeNamedBeforeAndBehindTheCommandAndItsArguments) {
    const std::string name = file.string();
    const std::vector<std::vector<std::string>> calls{
        {"template", "new", "a", "s/a", "s/b", "--templates", name},
        {"template", "pick", "--templates", name, "table", "x"},
        {"template", "pick", "column", "x", "c", "--templates=" + name},
        {"template", "--templates", name, "new", "b"},
        {"template", "use", "a", "--templates", name},
        {"template", "remove", "--templates", name, "b"},
        {"template", "drop", "column", "--templates", name, "x", "c"}};
    for (const auto& call : calls) {
        const Outcome outcome = CallProgram(call);
        EXPECT_EQ(outcome.exitCode, 0) << call[1] << ": " << outcome.err;
    }
    EXPECT_EQ(CallProgram({"template", "list", "--templates", name}).out, "  Default\n* a\n");
    EXPECT_EQ(CallProgram({"template", "show", "a", "--templates", name}).out,
              "Database 1: s/a\nDatabase 2: s/b\nDatabase 3: s/a\n[dbo].[x]\n");
}

TEST_F(TemplateCommandTest, TheFileIsNamedOnce) {
    Write(File("nightly", Default + Nightly));
    const std::string before = Read();
    const Outcome outcome =
        Call({"remove", "nightly", "--templates", (folder / "other.xml").string()});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err,
              "quillon: --templates: given twice\nRun with --help for more information.\n");
    EXPECT_EQ(Read(), before);
}

TEST_F(TemplateCommandTest, TheHelpOfEachCommandTellsOfTheFile) {
    for (const char* command : {"list", "show", "new", "use", "remove", "pick", "drop"}) {
        const Outcome outcome = CallProgram({"template", command, "--help"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_NE(outcome.out.find("--templates FILE"), std::string::npos) << outcome.out;
    }
}

// The store would take all columns of the table for "no column".
TEST_F(TemplateCommandTest, ColumnsAreDroppedByName) {
    const std::string before = File("nightly", Default + Nightly);
    Write(before);
    const Outcome outcome = Call({"drop", "column", "N"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err.find("quillon: The name of the column is required\n"), 0U) << outcome.err;
    EXPECT_EQ(Read(), before);
}

TEST_F(TemplateCommandTest, NewTakesTwoDatabasesOrNone) {
    const std::string before = File("nightly", Default + Nightly);
    Write(before);
    const Outcome outcome = Call({"new", "x", "s/a"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err.find("quillon: Two databases, or none, is required\n"), 0U)
        << outcome.err;
    EXPECT_EQ(Read(), before);
}

TEST_F(TemplateCommandTest, AMissingFileIsNotAMissingTemplate) {
    for (const auto& arguments : Reading)
        ExpectRefused(arguments, "there is no template file " + file.string());
    Write(File("weekly", Default + Weekly));
    for (const char* command : {"show", "use", "remove"}) {
        ExpectRefused({command, "nightly"}, file.string() + " has no template named nightly; it " +
                                                "has: Default, weekly");
        ExpectRefused({command, "Weekly"}, file.string() + " has no template named Weekly; it " +
                                               "has: Default, weekly");
    }
    Write("<templates/>");
    ExpectRefused({"show", "a"}, file.string() + " has no template named a; it has none");
    Write(File("gone", Default));
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"pick", "table", "x"}, {"drop", "table", "x"}, {"new", "a"}}) {
        ExpectRefused(arguments, file.string() + " has no template named gone; it has: Default");
    }
}

TEST_F(TemplateCommandTest, AFileThatIsNoTemplateFileIsRefusedAndStays) {
    auto commands = Reading;
    commands.push_back({"new", "a", "s/a", "s/b"});
    const auto expectRefused = [&](const std::string& reason) {
        for (const auto& arguments : commands) {
            ExpectRefused(arguments,
                          "cannot read the template file " + file.string() + ": " + reason);
        }
    };
    Write("junk");
    expectRefused("it is not well-formed XML: line 1, syntax error");
    Write("");
    expectRefused("it is not well-formed XML: line 1, no element found");
    Write(File("nightly", Nightly).substr(0, 200));
    expectRefused("it is not well-formed XML: line 1, unclosed token");
    std::string deep = "<templates>";
    for (int i = 0; i < 200'000; ++i)
        deep += "<template>";
    for (int i = 0; i < 200'000; ++i)
        deep += "</template>";
    Write(deep + "</templates>");
    expectRefused("its elements are nested more than 256 deep");
    Write("<?xml version='1.0' encoding='no-such'?>" + File("", Nightly));
    expectRefused("its encoding no-such is not known");
    fs::remove(file);
    fs::create_directory(file);
    expectRefused("it is a folder");
#ifndef _WIN32
    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    expectRefused("it is no regular file");
#endif
}

#ifndef _WIN32
TEST_F(TemplateCommandTest, AFileThatMayNotBeReadIsRefusedAndStays) {
    const std::string content = File("nightly", Default + Nightly);
    Write(content);
    fs::permissions(folder, fs::perms::all);
    fs::permissions(file, fs::perms::owner_write);
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(chown(file.c_str(), 65534, 65534), 0);
        ASSERT_EQ(seteuid(65534), 0);
    }
    std::vector<Outcome> outcomes;
    for (const auto& arguments : Reading)
        outcomes.push_back(Call(arguments));
    outcomes.push_back(Call({"new", "a", "s/a", "s/b"}));
    if (user == 0) {
        ASSERT_EQ(seteuid(user), 0);
    }
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.err, "quillon: cannot read the template file " + file.string() +
                                   ": Permission denied\n");
    }
    fs::permissions(file, fs::perms::owner_all);
    EXPECT_EQ(Read(), content);
}
#endif

TEST_F(TemplateCommandTest, ACodePageIsReadAndSavedAsUtf8) {
    Write("<?xml version=\"1.0\" encoding=\"windows-1252\"?>" +
          File("caf\xE9", Template("caf\xE9", Databases("s/a\x80", "s/b", "s/c"), "")));
    EXPECT_EQ(Call({"list"}).out, "* caf\u00e9\n");
    ExpectDone({"pick", "table", "\u20ac"});
    EXPECT_EQ(Read(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>" +
                  File("caf\u00e9", Template("caf\u00e9", Databases("s/a\u20ac", "s/b", "s/c"),
                                             "<tables><table id=\"[dbo].[\u20ac]\"/>"
                                             "</tables><columns/><indexes/>")));
}

TEST_F(TemplateCommandTest, NamesThatTheStoreCannotTellApartAreTold) {
    Write(File("a", Template("a", "", "") + Template("A", "", "")));
    for (const auto& arguments : Reading)
        ExpectRefused(arguments,
                      file.string() + " has two templates whose names are equal, in any case");
    // Listed, but not where the store finds it: it would make a second one.
    Write(File("a", Template("a", "", "<group>" + Template("inner", "", "") + "</group>")));
    ExpectRefused({"use", "inner"},
                  file.string() + " has two templates whose names are equal, in any case");
    Write("<templates><template/></templates>");
    for (const auto& arguments : Reading)
        ExpectRefused(arguments, file.string() + " has an element without its name or id");
}

}  // namespace
}  // namespace quillon
