// How "rows" shows values: what differs in kind never looks the same.
#include <gtest/gtest.h>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class RowsDisplayTest : public ProgramTest {
  protected:
    RowsDisplayTest() {
        for (const auto* use : {u"USE a\nGO\n", u"USE b\nGO\n"})
            server.Run(use + std::u16string(u"CREATE TABLE v (id int NOT NULL CONSTRAINT PK_v "
                                            u"PRIMARY KEY, n nvarchar(40) NULL)"));
    }
    // How a value stands in database 1 alone. `literal` is T-SQL.
    std::string Shown(const std::u16string& literal) {
        server.Run(u"USE a\nGO\nDELETE v\nGO\nINSERT v VALUES (1, " + literal + u")");
        const std::string out = OnBoth({"rows", "--by-server", "v", "--here"}).out;
        const std::string row = "\n1   ";
        const std::size_t begin = out.find(row) + row.size();
        return out.substr(begin, out.find('\n', begin) - begin);
    }
    // The two cells of a differing value.
    std::string Changed(const std::u16string& literal1, const std::u16string& literal2) {
        server.Run(u"USE a\nGO\nDELETE v\nGO\nINSERT v VALUES (1, " + literal1 + u")");
        server.Run(u"USE b\nGO\nDELETE v\nGO\nINSERT v VALUES (1, " + literal2 + u")");
        const std::string out = OnBoth({"rows", "--by-server", "v", "--different"}).out;
        return out.substr(std::string("Different: 1\n   id  n\n").size());
    }
};

TEST_F(RowsDisplayTest, NullAndTheTextNullLookDifferent) {
    EXPECT_EQ(Shown(u"NULL"), "NULL");
    EXPECT_EQ(Shown(u"N'NULL'"), "'NULL'");
    EXPECT_EQ(Shown(u"N'null'"), "null");
    EXPECT_EQ(Changed(u"NULL", u"N'NULL'"), "1  1   *NULL\n2  1   *'NULL'\n\n");
}

TEST_F(RowsDisplayTest, TheMarkOfAChangeAndTextThatBeginsWithItLookDifferent) {
    EXPECT_EQ(Shown(u"N'*one'"), "'*one'");
    EXPECT_EQ(Changed(u"N'one'", u"N'*one'"), "1  1   *one\n2  1   *'*one'\n\n");
    EXPECT_EQ(Changed(u"N'*NULL'", u"NULL"), "1  1   *'*NULL'\n2  1   *NULL\n\n");
}

TEST_F(RowsDisplayTest, TextStandsAsItIsWhereItIsPlain) {
    for (const char16_t* text : {u"one", u"o''clock", u"a b", u"C:\\new\\table", u"0xyz", u"a*b",
                                 u"12", u"\u00e9\u4e2d", u"say \"a\""}) {
        std::string expected = QuillonLib::ToUtf8(text);
        if (const std::size_t quotes = expected.find("''"); quotes != std::string::npos)
            expected.erase(quotes, 1);
        EXPECT_EQ(Shown(u"N'" + std::u16string(text) + u"'"), expected);
    }
}

TEST_F(RowsDisplayTest, BlanksAndEmptyTextCanBeSeen) {
    EXPECT_EQ(Shown(u"N''"), "''");
    EXPECT_EQ(Shown(u"N' a'"), "' a'");
    EXPECT_EQ(Shown(u"N'a '"), "'a '");
    EXPECT_EQ(Shown(u"N'a' + NCHAR(160)"), "'a\u00a0'");
    EXPECT_EQ(Shown(u"N'a  b'"), "'a  b'");  // or it would look like two cells
}

TEST_F(RowsDisplayTest, TextThatLooksBinaryOrQuotedIsQuoted) {
    EXPECT_EQ(Shown(u"N'0x00FF'"), "'0x00FF'");
    EXPECT_EQ(Shown(u"N'0x'"), "'0x'");
    EXPECT_EQ(Shown(u"N'''a'''"), "'''a'''");
}

TEST_F(RowsDisplayTest, EscapesStandInQuotesAndOnlyThere) {
    EXPECT_EQ(Shown(u"N'a' + NCHAR(13) + NCHAR(10) + NCHAR(9) + NCHAR(27) + N'[31m'"),
              "'a\\r\\n\\t\\x1B[31m'");
    EXPECT_EQ(Shown(u"N'a\\n'"), "a\\n");
    EXPECT_EQ(Shown(u"N'a\\n''' + NCHAR(10)"), "'a\\\\n''\\n'");
    EXPECT_EQ(Shown(u"NCHAR(8238) + N'x' + NCHAR(155)"), "'\\u202Ex\\x9B'");
    EXPECT_EQ(Shown(u"N'a' + NCHAR(55357)"), "'a\\uD83D'");
}

TEST_F(RowsDisplayTest, NamesOfColumnsAreEscapedToo) {
    for (const auto* use : {u"USE a\nGO\n", u"USE b\nGO\n"})
        server.Run(use + std::u16string(u"CREATE TABLE w (id int NOT NULL CONSTRAINT PK_w PRIMARY "
                                        u"KEY, [x\u001b[31m] int)"));
    server.Run(u"USE a\nGO\nINSERT w VALUES (1, 2)");
    EXPECT_NE(OnBoth({"rows", "--by-server", "w", "--here"}).out.find("\nid  x\\x1B[31m\n1   2\n"),
              std::string::npos);
}

TEST_F(RowsDisplayTest, ATitleIsOneLine) {
    server.Run(
        u"CREATE DATABASE [x\ny]\nGO\nUSE [x\ny]\nGO\nCREATE TABLE p (id int NOT NULL "
        u"CONSTRAINT PK_p PRIMARY KEY, n nvarchar(20) NULL)");
    const std::string odd = QuillonLib::ToUtf8(server.Address()) + "/x\ny";
    const Outcome outcome = Call({"rows", "--by-server", "p", one, odd, "--user", "sa", "--there"});
    EXPECT_EQ(outcome.out, "Only in " + QuillonLib::ToUtf8(server.Address()) + "/x\\ny: 0\n")
        << outcome.err;
}

TEST_F(RowsDisplayTest, TheHelpTellsHowToReadIt) {
    const std::string help = Call({"rows", "--by-server", "--help"}).out;
    EXPECT_NE(help.find("('NULL', '*x', '0x00',"), std::string::npos) << help;
    EXPECT_NE(help.find("a quote and a backslash are doubled"), std::string::npos) << help;
}

}  // namespace
}  // namespace quillon
