// Text of code pages on its way through the scripts: the target holds the bytes of the source, or
// there is an error with the names of the table and the column.
#include "scripts/CarriedText.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

class CarriedTextTest : public ScriptsFixture {
  protected:
    // Databases of that collation, from now on `one` and `two`.
    void UseDatabasesOf(const std::u16string& collation, const char* version = "15.0.2000") {
        sandbox::ServerSettings settings;
        settings.name = u"OTHER";
        settings.version = version;
        host = &box.AddServer(settings);
        for (const char16_t* name : {u"one", u"two"}) {
            host->Run(std::u16string(u"CREATE DATABASE ") + name +
                      (collation.empty() ? u"" : u" COLLATE " + collation));
        }
        one = MakeDatabase(*host, u"one");
        two = MakeDatabase(*host, u"two");
    }
    void RunOn(const std::u16string& database, const std::u16string& sql) {
        host->Run(u"USE " + database + u"\nGO\n" + sql);
    }
    void RunOnBoth(const std::u16string& sql) {
        RunOn(u"one", sql);
        RunOn(u"two", sql);
    }
    std::u16string Bytes(const std::u16string& database, const std::u16string& column, int id) {
        return host->Scalar(u"SELECT CAST(" + column + u" AS varbinary(max)) FROM " + database +
                            u"..t WHERE id = " + ToText(id));
    }
    TableOutputs Scripts() {
        const auto result = CompareOne(u"[dbo].[t]");
        EXPECT_EQ(result->Error(), u"");
        TableOutputs outputs;
        GetRecordsets(result, outputs);
        return outputs;
    }
    std::u16string ErrorOfScripts() {
        return RaisedBy([this] { Scripts(); }).description;
    }

    sandbox::Server* host = &server;
};

TEST_F(CarriedTextTest, BytesWithoutACharacterReachTheTarget) {
    RunOnBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) NULL, c "
        u"char(4) NULL, m varchar(max) NULL, l text NULL)");
    RunOn(u"one",
          u"INSERT t VALUES (1, 0x41818D8F909D, 0x819D, 0x813F00, CAST(CAST(0x9081 AS "
          u"varchar(9)) AS text))\nINSERT t VALUES (2, 'a', 'b', 'c', 'd')");
    RunOn(u"two", u"INSERT t VALUES (2, 0x81, 0x8D, 0x8F, CAST(CAST(0x9D AS varchar(9)) AS text))");
    const TableOutputs outputs = Scripts();
    EXPECT_EQ(outputs.right->Fields(u"v").Value(), Value(u"A\x81\x8D\x8F\x90\x9D"));
    RunOn(u"two", outputs.sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), u"0x41818D8F909D");
    EXPECT_EQ(Bytes(u"two", u"c", 1), u"0x819D2020");
    EXPECT_EQ(Bytes(u"two", u"m", 1), u"0x813F00");
    EXPECT_EQ(Bytes(u"two", u"CAST(l AS varchar(max))", 1), u"0x9081");
    EXPECT_EQ(Bytes(u"two", u"v", 2), u"0x61");
    RunOn(u"one", outputs.sLeft);
    EXPECT_EQ(Bytes(u"one", u"v", 2), u"0x81");
    EXPECT_EQ(Bytes(u"one", u"c", 2), u"0x8D202020");
    EXPECT_EQ(Bytes(u"one", u"m", 2), u"0x8F");
    EXPECT_EQ(Bytes(u"one", u"CAST(l AS varchar(max))", 2), u"0x9D");
    EXPECT_EQ(host->Scalar(u"SELECT COUNT(*) FROM one..t"), u"1");
}

struct PageCase {
    const char* name;
    const char16_t* collation;
    const char16_t* bytes;
};

class EachCodePage : public CarriedTextTest, public ::testing::WithParamInterface<PageCase> {};

TEST_P(EachCodePage, CarriesItsOwnBytes) {
    UseDatabasesOf(GetParam().collation);
    RunOnBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) NULL, m "
        u"varchar(max) NULL)");
    const std::u16string bytes = GetParam().bytes;
    RunOn(u"one", u"INSERT t VALUES (1, " + bytes + u", " + bytes + u")\nINSERT t VALUES (2, " +
                      bytes + u", NULL)");
    RunOn(u"two", u"INSERT t VALUES (1, 'a', NULL)");
    RunOn(u"two", Scripts().sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), bytes);
    EXPECT_EQ(Bytes(u"two", u"m", 1), bytes);
    EXPECT_EQ(Bytes(u"two", u"v", 2), bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Pages, EachCodePage,
    ::testing::Values(PageCase{"Western", u"Latin1_General_CI_AS", u"0x80818D8F909DE9"},
                      PageCase{"Czech", u"Czech_CI_AS", u"0x81B99E8390"},
                      PageCase{"Cyrillic", u"Cyrillic_General_CI_AS", u"0xC698FF80"},
                      PageCase{"Greek", u"Greek_CI_AS", u"0xAAE1D2FF81"},
                      PageCase{"Turkish", u"Turkish_CI_AS", u"0xDDF0818E"},
                      PageCase{"Hebrew", u"Hebrew_CI_AS", u"0xCAE0D9FF"},
                      PageCase{"Arabic", u"Arabic_CI_AS", u"0x81C7FF"},
                      PageCase{"Baltic", u"Latvian_CI_AS", u"0xA1A5E281"},
                      PageCase{"Vietnamese", u"Vietnamese_CI_AS", u"0xC3D28A61EC"},
                      PageCase{"Thai", u"Thai_CI_AS", u"0xA181DBFF"},
                      PageCase{"Dos", u"SQL_Latin1_General_CP437_CI_AS", u"0xE1B01AE6"},
                      PageCase{"MultilingualDos", u"SQL_Latin1_General_CP850_CI_AS", u"0xE1B01A7F"},
                      PageCase{"Japanese", u"Japanese_CI_AS", u"0x93FA61B180FD"},
                      PageCase{"Simplified", u"Chinese_PRC_CI_AS", u"0xD6D080FF"},
                      PageCase{"Korean", u"Korean_90_CI_AS", u"0xC7D180FF"},
                      PageCase{"Traditional", u"Chinese_Taiwan_Stroke_CI_AS", u"0xA4A480FF"},
                      PageCase{"Utf8", u"Latin1_General_100_CI_AS_SC_UTF8",
                               u"0xC3A9E697A5F09F9880"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(CarriedTextTest, ASecondSpellingIsRefusedByTableAndColumn) {
    UseDatabasesOf(u"Japanese_CI_AS");
    RunOnBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, 0x8790)");
    const Raised raised = RaisedBy([this] { Scripts(); });
    EXPECT_EQ(raised.number, ErrorNumber::DataAccess);
    EXPECT_EQ(
        raised.description,
        u"The rows of [dbo].[t] cannot be read whole. Column v holds bytes to which code page "
        u"932 gives no character of their own; they cannot be carried over.");
    // So is it in the row set of both sides, under the name of the field.
    RunOn(u"two", u"INSERT t VALUES (1, 'a')");
    EXPECT_EQ(ErrorOfScripts(),
              u"The rows of [dbo].[t] cannot be read whole. Column v_1 holds bytes to which code "
              u"page 932 gives no character of their own; they cannot be carried over.");
    EXPECT_EQ(RaisedBy([this] { UpdateScriptsOf({u"[dbo].[t]"}); }).description, ErrorOfScripts());
}

TEST_F(CarriedTextTest, InvalidUtf8IsRefusedByTableAndColumn) {
    UseDatabasesOf(u"Latin1_General_100_CI_AS_SC_UTF8");
    RunOnBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, 0x61C3)");
    EXPECT_EQ(ErrorOfScripts(),
              u"The rows of [dbo].[t] cannot be read whole. Column v holds U+FFFD, or bytes that "
              u"are no UTF-8, for which the server sends the same; they cannot be carried over.");
}

// A script's parameters are kept in the code page of the database, whatever that of the column is.
TEST_F(CarriedTextTest, TextThatTheDatabasesCodePageLacksIsRefused) {
    RunOnBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) COLLATE "
        u"Czech_CI_AS NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, N'ab\u00E9')");
    RunOn(u"two", Scripts().sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), u"0x6162E9");
    RunOn(u"one", u"INSERT t VALUES (2, N'\u0105')");
    const Raised raised = RaisedBy([this] { Scripts(); });
    EXPECT_EQ(raised.number, ErrorNumber::Comparison);
    EXPECT_EQ(raised.description,
              u"No script can be written for [dbo].[t]: its column [v] holds text that is not kept "
              u"in code page 1252, in which the database to change keeps parameters");
    RunOn(u"one", u"DELETE t WHERE id = 2");
    RunOn(u"two", u"UPDATE t SET v = N'\u0105'");  // now the script for `one` cannot be written
    EXPECT_EQ(ErrorOfScripts(), raised.description);
}

TEST_F(CarriedTextTest, BytesThatWouldBecomeOthersInTheDatabasesCodePageAreRefused) {
    RunOnBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) COLLATE "
        u"Cyrillic_General_CI_AS NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, 0x98)");  // U+0098, which 1252 spends on a tilde
    EXPECT_EQ(ErrorOfScripts(),
              u"No script can be written for [dbo].[t]: its column [v] holds text that is not kept "
              u"in code page 1252, in which the database to change keeps parameters");
}

// Of a key that becomes another text, other rows would be deleted.
TEST_F(CarriedTextTest, AKeyThatTheDatabasesCodePageLacksIsRefused) {
    RunOnBoth(
        u"CREATE TABLE t (k varchar(20) COLLATE Czech_CI_AS NOT NULL CONSTRAINT PK_t PRIMARY "
        u"KEY)");
    RunOn(u"two", u"INSERT t VALUES (N'\u0105')");
    RunOn(u"one", u"INSERT t VALUES ('?')");
    EXPECT_EQ(ErrorOfScripts(),
              u"No script can be written for [dbo].[t]: its column [k] holds text that is not kept "
              u"in code page 1252, in which the database to change keeps parameters");
}

TEST_F(CarriedTextTest, AKeyOfUndefinedBytesDeletesItsRow) {
    RunOnBoth(u"CREATE TABLE t (k varchar(20) NOT NULL CONSTRAINT PK_t PRIMARY KEY)");
    RunOn(u"two", u"INSERT t VALUES (0x81)\nINSERT t VALUES (0x3F)");
    RunOn(u"one", u"INSERT t VALUES (0x3F)");
    RunOn(u"two", Scripts().sRight);
    EXPECT_EQ(host->Scalar(u"SELECT COUNT(*) FROM two..t"), u"1");
    EXPECT_EQ(host->Scalar(u"SELECT CAST(k AS varbinary(9)) FROM two..t"), u"0x3F");
}

// A parameter cuts what is too long for it without a word.
TEST_F(CarriedTextTest, TextThatTakesMoreBytesThanAParameterHasIsRefused) {
    UseDatabasesOf(u"Latin1_General_100_CI_AS_SC_UTF8");
    RunOnBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(3) COLLATE "
        u"Latin1_General_CI_AS NULL, m varchar(max) COLLATE Latin1_General_CI_AS NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, N'a\u00E9', N'a\u00E9\u00E9\u00E9')");
    RunOn(u"two", Scripts().sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), u"0x61E9");
    EXPECT_EQ(Bytes(u"two", u"m", 1), u"0x61E9E9E9");
    RunOn(u"one", u"INSERT t VALUES (2, N'a\u00E9\u00E9', NULL)");
    EXPECT_EQ(ErrorOfScripts(),
              u"No script can be written for [dbo].[t]: its column [v] holds text that is not kept "
              u"in code page 65001, in which the database to change keeps parameters");
}

TEST_F(CarriedTextTest, UnicodeTextThatTheColumnToChangeLacksIsRefused) {
    RunIn(u"one",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v nvarchar(20) "
          u"NULL)\nGO\nINSERT t VALUES (1, N'\u00E9')");
    RunIn(u"two",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) "
          u"NULL)");
    RunIn(u"two", Scripts().sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), u"0xE9");
    RunIn(u"one", u"INSERT t VALUES (2, N'\u0416')");
    EXPECT_EQ(ErrorOfScripts(),
              u"No script can be written for [dbo].[t]: its column [v] holds text that is not kept "
              u"in code page 1252, that of the column to change");
}

// What the comparison did not see has no known code page.
TEST_F(CarriedTextTest, OfAColumnAddedSinceTheComparisonOnlyAsciiIsRead) {
    RunOnBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY)");
    RunOn(u"two", u"INSERT t VALUES (1)");
    const auto result = CompareOne(u"[dbo].[t]");
    RunOn(u"two", u"ALTER TABLE t ADD x varchar(9) NULL");
    RunOn(u"two", u"UPDATE t SET x = 'What?'");
    TableOutputs outputs;
    GetRecordsets(result, outputs);
    EXPECT_EQ(outputs.left->Fields(u"x").Value(), Value(u"What?"));
    RunOn(u"two", u"UPDATE t SET x = N'\u00E9'");
    EXPECT_EQ(
        RaisedBy([&] { GetRecordsets(result, outputs); }).description,
        u"The rows of [dbo].[t] cannot be read whole. Column x holds characters beyond ASCII, "
        u"and its code page is not known.");
}

// The columns of either side alone are selected, too.
TEST_F(CarriedTextTest, ColumnsOfOneSideAloneAreReadInTheirCodePage) {
    RunIn(u"one",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a varchar(9) COLLATE "
          u"Czech_CI_AS)\nGO\nINSERT t VALUES (1, N'\u0105')");
    RunIn(u"two",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, b varchar(9) COLLATE "
          u"Cyrillic_General_CI_AS)\nGO\nINSERT t VALUES (2, N'\u0416')");
    const TableOutputs outputs = Scripts();
    EXPECT_EQ(outputs.right->Fields(u"a").Value(), Value(u"\u0105"));
    EXPECT_EQ(outputs.left->Fields(u"b").Value(), Value(u"\u0416"));
}

TEST_F(CarriedTextTest, OfSqlServer7OnlyAsciiIsRead) {
    UseDatabasesOf(u"", "7.00.623");
    RunOnBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v varchar(20) NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, 'What?')");
    RunOn(u"two", Scripts().sRight);
    EXPECT_EQ(Bytes(u"two", u"v", 1), u"0x576861743F");
    RunOn(u"one", u"INSERT t VALUES (2, 0xE9)");
    EXPECT_EQ(
        ErrorOfScripts(),
        u"The rows of [dbo].[t] cannot be read whole. Column v holds characters beyond ASCII, "
        u"and its code page is not known.");
}

TEST_F(CarriedTextTest, AVariantWithASubstituteIsRefusedByTableAndColumn) {
    RunOnBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, v sql_variant NULL)");
    RunOn(u"one", u"INSERT t VALUES (1, CAST(0x81 AS varchar(9)))");
    EXPECT_EQ(
        ErrorOfScripts(),
        u"The rows of [dbo].[t] cannot be read whole. Column v holds, in a sql_variant, text "
        u"of a code page with a question mark, or a byte without a character, which the driver "
        u"delivers as one; it cannot be carried over.");
}

}  // namespace
}  // namespace QuillonLib
