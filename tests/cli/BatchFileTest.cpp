// The list of a batch, without a server.
#include "cli/BatchFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "cli/BatchIndex.h"
#include "tests/support/TemporaryFolder.h"

namespace quillon {
namespace {

class BatchFile : public testing::Test {
  protected:
    BatchFile() : folder(QuillonLib::test::MakeTemporaryFolder()) {
        config = (folder / "c.ini").string();
        std::ofstream(config) << "[sales]\nserver = s\ndatabase = d\nuser = reader\n"
                                 "[open]\nserver = s\ndatabase = d\n";
    }
    ~BatchFile() override { std::filesystem::remove_all(folder); }

    std::vector<BatchSetup> Parse(const std::string& text) const {
        return ParseBatchFile(text, "b.ini", config);
    }
    std::string Failure(const std::string& text) const {
        try {
            Parse(text);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }
    // Of a line behind a pair that is right; it is the fourth.
    std::string FailureOf(const std::string& line) const {
        const std::string failure =
            Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\n" + line + "\n");
        constexpr std::string_view Place = "b.ini, line 4: ";
        EXPECT_EQ(failure.substr(0, Place.size()), Place) << line;
        return failure.substr(std::min(failure.size(), Place.size()));
    }

    std::filesystem::path folder;
    std::string config;
};

TEST_F(BatchFile, HoldsPairsInTheirOrder) {
    const auto setups = Parse(
        "# every night\r\n"
        "[sales]\r\n"
        "description = The copy\r\n"
        "database1 = sales\r\n"
        "database2 = sales\r\n"
        "table = dbo.a*\r\n"
        "table = b\r\n"
        "exclude = dbo.ab\r\n"
        "key = a=x,y\r\n"
        "key = b=z\r\n"
        "where = a=x = 1\r\n"
        "ignore = changed at\r\n"
        "ignore-case = yes\r\n"
        "snapshot = no\r\n"
        "jobs = 3\r\n"
        "[ by server ]\n"
        "database1 = s/one\n"
        "database2 = s/two\n"
        "user = reader\n"
        "by-server = yes\n"
        "index = a=IX\n"
        "columns = a=x,y\n"
        "accept-uncompared = yes");
    ASSERT_EQ(setups.size(), 2u);
    EXPECT_EQ(setups[0].name, "sales");
    EXPECT_EQ(setups[0].description, "The copy");
    EXPECT_FALSE(setups[0].options.ByServer());
    const auto options = setups[0].options.Direct().Options();
    EXPECT_TRUE(options.equality.ignoreCase);
    EXPECT_FALSE(options.snapshot);
    EXPECT_EQ(options.jobs, 3);
    ASSERT_EQ(options.ignoredColumns.size(), 1u);
    EXPECT_EQ(options.ignoredColumns[0], u"changed at");
    TableLists lists;
    lists.tables = {u"[dbo].[a]", u"[dbo].[b]"};
    ComparisonRequest request;
    const auto tables = setups[0].options.Direct().Tables(lists, request);
    EXPECT_EQ(tables[0].where, u"x = 1");
    EXPECT_EQ(tables[0].keyColumns, (std::vector<std::u16string>{u"x", u"y"}));
    EXPECT_EQ(tables[1].keyColumns, (std::vector<std::u16string>{u"z"}));
    EXPECT_EQ(setups[1].name, "by server");
    EXPECT_TRUE(setups[1].options.ByServer());
    EXPECT_EQ(setups[1].options.Accepted(3), 0);
    EXPECT_EQ(setups[0].options.Accepted(3), 3);
}

TEST_F(BatchFile, SaysWhatIsWrongWithALine) {
    EXPECT_EQ(FailureOf("what"), "'what' is not SETTING = VALUE");
    EXPECT_EQ(FailureOf("[a/b]"), "'[a/b]' is not [NAME]; a name holds no /");
    EXPECT_EQ(FailureOf("[p]"), "[p] is there already");
    EXPECT_EQ(FailureOf("exclud = a"), "there is no setting 'exclud'; did you mean exclude?");
    for (const std::string option : {"config", "quiet", "verbose", "log"}) {
        EXPECT_EQ(FailureOf(option + " = yes"),
                  "'" + option + "' is an option of the command line, not of a pair");
    }
    EXPECT_EQ(FailureOf("password = x"),
              "passwords do not belong here; write password-command or password-variable");
    EXPECT_EQ(FailureOf("database2 = open"), "'database2' is set twice");
    EXPECT_EQ(FailureOf("table ="), "'table' has no value");
    EXPECT_EQ(FailureOf("snapshot = true"), "'true' is neither yes nor no");
    EXPECT_EQ(FailureOf("float-digits = 18"), "float-digits: '18' is no number from 1 to 17");
    EXPECT_EQ(FailureOf("encryption = on"), "encryption: 'on' is none of off, request and require");
    EXPECT_EQ(FailureOf("table = a.b.c.d.e").substr(0, 1), "'");
    EXPECT_NE(FailureOf("key = a").find("TABLE=NAME,NAME,..."), std::string::npos);
    EXPECT_NE(FailureOf("where = a").find("TABLE=CONDITION"), std::string::npos);
}

TEST_F(BatchFile, SaysWhatSettingsDoNotGoTogether) {
    EXPECT_EQ(FailureOf("drop-linked-servers = yes"),
              "drop-linked-servers goes with by-server only: without it no server compares");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\nignore = x\nby-server = yes\n"),
              "b.ini, line 4: ignore does not go with by-server: there the server compares");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\nkey = a=x\nkey = dbo.A=y\n"),
              "b.ini, line 5: key: [dbo].[A] has two choices");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\nkey = a=x\nindex = dbo.A=i\n"),
              "b.ini, line 5: index: [dbo].[A] has two choices, the other one by key");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\nindex = a=i\nkey = A=x\n"),
              "b.ini, line 5: key: [dbo].[A] has two choices, the other one by index");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = sales\nindex = a=i\nkey = b=x\n"),
              "none");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\nuser = reader\n[q]\n"),
              "b.ini, line 1: [p] has no database2");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ntemplate = t\nuser = x\n"),
              "b.ini, line 2: the databases are those of the template");
}

TEST_F(BatchFile, KnowsPlacesAndLoginsBeforeAnythingRuns) {
    EXPECT_EQ(Failure("[p]\ndatabase1 = sale\ndatabase2 = sales\n"),
              "b.ini, line 2: 'sale' is neither SERVER/DATABASE nor a connection in " + config +
                  "; did you mean sales?");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = a/\n"),
              "b.ini, line 3: 'a/' is not SERVER/DATABASE, as in db.example.org/sales");
    EXPECT_EQ(Failure("[p]\ndatabase1 = s/d\ndatabase2 = sales\n"),
              "b.ini, line 2: [p] has no login for database1: name a connection that has one, or "
              "write user");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = open\n"),
              "b.ini, line 3: [p] has no login for database2: name a connection that has one, or "
              "write user2");
    EXPECT_EQ(Failure("[p]\ndatabase1 = sales\ndatabase2 = open\nuser2 = x\n"), "none");
    EXPECT_EQ(Failure("[p]\ndatabase1 = open\ndatabase2 = s/d\nintegrated = yes\n"), "none");
    EXPECT_EQ(Failure("[p]\ndatabase1 = open\ndatabase2 = s/d\nintegrated = no\n"),
              "b.ini, line 2: [p] has no login for database1: name a connection that has one, or "
              "write user");
}

TEST_F(BatchFile, IsNotEmpty) {
    EXPECT_EQ(Failure("# nothing\n"), "b.ini: there is no [NAME] in it, and so no pair");
    EXPECT_EQ(Failure("table = a\n"), "b.ini, line 1: 'table' stands before the first [NAME]");
}

TEST(BatchSliceTest, SlicesAreTheListAndShareNothing) {
    std::vector<int> taken(10, 0);
    for (const char* text : {"1/3", "2/3", "3/3"}) {
        const BatchSlice slice = ParseBatchSlice(text);
        for (std::size_t i = 0; i < taken.size(); ++i)
            taken[i] += slice.Has(i) ? 1 : 0;
    }
    EXPECT_EQ(taken, std::vector<int>(10, 1));
    const BatchSlice second = ParseBatchSlice("2/3");
    EXPECT_FALSE(second.Has(0));
    EXPECT_TRUE(second.Has(1));
    EXPECT_TRUE(second.Has(4));
    EXPECT_TRUE(ParseBatchSlice("1/1").Has(7));
    for (const char* text : {"", "3", "0/3", "4/3", "1/0", "a/b", "1/3/4", "-1/3", "1/1000001"})
        EXPECT_THROW(ParseBatchSlice(text), std::runtime_error) << text;
}

TEST(BatchIndexTest, NamesOfFilesArePlainAndTellPairsApart) {
    std::vector<BatchSetup> setups;
    for (const char* name :
         {"sales", "Sales", "a b/../c", "a_b____c", "index", "..", "CON", "com1"})
        setups.emplace_back().name = name;
    const std::vector<std::string> expected = {"sales.html",      "Sales-2.html", "a_b____c.html",
                                               "a_b____c-2.html", "_index.html",  "__.html",
                                               "_CON.html",       "_com1.html"};
    EXPECT_EQ(ReportNames(setups), expected);
    EXPECT_EQ(IndexName({1, 1}), "index.html");
    EXPECT_EQ(IndexName({3, 10}), "index-3-of-10.html");
}

TEST(BatchIndexTest, NothingInItIsMarkup) {
    std::vector<BatchResult> results(1);
    results[0].name = "<b>\"a\"&'";
    results[0].description = "</style><script>x</script>";
    results[0].place1 = "s/<i>";
    results[0].summary = "line\n</td>\x1b[31m";
    results[0].outcome = BatchOutcome::Failed;
    const std::string page = IndexPage(results, "<file>", {2, 3}, Stopwatch());
    const std::string line = page.substr(page.find("<tbody>"));
    EXPECT_EQ(line,
              "<tbody>\n<tr><td class=\"name\">&lt;b&gt;&quot;a&quot;&amp;&#39;<div class=\"soft\">"
              "&lt;/style&gt;&lt;script&gt;x&lt;/script&gt;</div></td><td class=\"verdict\"><span "
              "class=\"chip failed\">failed</span></td><td class=\"name\">s/&lt;i&gt;</td><td "
              "class=\"name\"></td><td class=\"summary\">line\n&lt;/td&gt;\\x1B[31m</td></tr>\n"
              "</tbody>\n</table></div>\n</main>\n</body>\n</html>\n");
    EXPECT_NE(page.find("<dd class=\"name\">&lt;file&gt;</dd><dt>Slice</dt><dd>2 of 3</dd>"),
              std::string::npos);
    EXPECT_NE(page.find("<p>1 pair: 1 failed</p>"), std::string::npos);
    EXPECT_NE(page.find("default-src 'none'"), std::string::npos);
}

}  // namespace
}  // namespace quillon
