#include "catalog/CatalogReader.h"

#include <gtest/gtest.h>

#include "catalog/Identifiers.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

TEST(Identifiers, AreQuotedByDoubling) {
    EXPECT_EQ(QuoteIdentifier(u"a]b["), u"[a]]b[]");
    EXPECT_EQ(QuoteText(u"O'Brien"), u"N'O''Brien'");
}

TEST(ObjectFacts, AnIndexIsFoundExactlyFirstAndThenInAnyCase) {
    ObjectFacts facts;
    facts.Indexes = {{u"K", 2, {u"a"}}, {u"k", 2, {u"b"}}, {u"Other", 2, {u"c"}}};
    EXPECT_EQ(facts.FindIndex(u"K"), &facts.Indexes[0]);
    EXPECT_EQ(facts.FindIndex(u"k"), &facts.Indexes[1]);
    EXPECT_EQ(facts.FindIndex(u"oTHER"), &facts.Indexes[2]);
    EXPECT_EQ(facts.FindIndex(u"Othe"), nullptr);
}

class CatalogReaderTest : public SandboxTest, public ::testing::WithParamInterface<const char*> {
  protected:
    CatalogReaderTest() : versioned(box.AddServer(Versioned(GetParam()))) {
        versioned.Run(u"CREATE DATABASE [odd]]name'x]\nGO\nUSE [odd]]name'x]");
    }
    static sandbox::ServerSettings Versioned(const char* version) {
        sandbox::ServerSettings settings;
        settings.name = u"VERSIONED";
        settings.version = version;
        return settings;
    }
    void Run(const std::u16string& sql) { versioned.Run(u"USE [odd]]name'x]\nGO\n" + sql); }
    CatalogReader Reader() {
        LoginData login;
        login.Server = versioned.Address();
        login.Username = u"sa";
        login.Password = u"sandbox";
        CatalogReader reader(LogIn(login));
        reader.UseDatabase(u"ODD]name'x");
        return reader;
    }
    ObjectFacts Facts(const ObjectName& name) {
        CatalogReader reader = Reader();
        const auto objects = reader.Objects({&name, 1});
        const ObjectFacts* found = FindObject(objects, name);
        return found == nullptr ? ObjectFacts() : *found;
    }
    sandbox::Server& versioned;
};

TEST_P(CatalogReaderTest, EveryTypeIsNamedAsTheServerNamesIt) {
    Run(u"CREATE TABLE t (a bit, b tinyint, c smallint, d int, e bigint, f decimal(38,10), "
        u"g numeric(5,0), h money, i smallmoney, j float, k real, l datetime, m smalldatetime, "
        u"n char(3), o varchar(4), p text, q nchar(5), r nvarchar(6), s ntext, t binary(7), "
        u"u varbinary(8), v image, w uniqueidentifier, x timestamp)");
    const ObjectFacts facts = Facts({u"dbo", u"t"});
    std::vector<std::u16string> types;
    for (const auto& column : facts.Columns)
        types.push_back(column.DataType);
    EXPECT_EQ(types, (std::vector<std::u16string>{u"bit",
                                                  u"tinyint",
                                                  u"smallint",
                                                  u"int",
                                                  u"bigint",
                                                  u"decimal",
                                                  u"numeric",
                                                  u"money",
                                                  u"smallmoney",
                                                  u"float",
                                                  u"real",
                                                  u"datetime",
                                                  u"smalldatetime",
                                                  u"char",
                                                  u"varchar",
                                                  u"text",
                                                  u"nchar",
                                                  u"nvarchar",
                                                  u"ntext",
                                                  u"binary",
                                                  u"varbinary",
                                                  u"image",
                                                  u"uniqueidentifier",
                                                  u"timestamp"}));
    const auto column = [&](const char16_t* name) { return *facts.FindColumn(name); };
    EXPECT_EQ(column(u"f").NumericPrecision, 38);
    EXPECT_EQ(column(u"f").NumericScale, 10);
    EXPECT_EQ(column(u"g").NumericPrecision, 5);
    EXPECT_EQ(column(u"g").NumericScale, 0);
    EXPECT_EQ(column(u"n").Length, 3);
    EXPECT_EQ(column(u"o").Length, 4);
    EXPECT_EQ(column(u"q").Length, 5);
    EXPECT_EQ(column(u"r").Length, 6);
    EXPECT_EQ(column(u"t").Length, 7);
    EXPECT_EQ(column(u"u").Length, 8);
    EXPECT_TRUE(column(u"a").AllowNulls);
}

TEST_P(CatalogReaderTest, EachColumnHasItsCollationAndCodePage) {
    Run(u"CREATE TABLE t (a varchar(5), b char(5) COLLATE Czech_CI_AS, c text COLLATE "
        u"Cyrillic_General_CI_AS, d varchar(5) COLLATE japanese_ci_as_ks_ws, e nvarchar(5) COLLATE "
        u"Thai_CS_AS, f int, g varchar(5) COLLATE SQL_Latin1_General_CP850_CI_AS, h varbinary(5), "
        u"i varchar(5) COLLATE Latin1_General_BIN)");
    const ObjectFacts facts = Facts({u"dbo", u"t"});
    std::vector<std::pair<std::u16string, std::int32_t>> collations;
    for (const auto& column : facts.Columns)
        collations.emplace_back(column.Collation, column.CodePage);
    EXPECT_EQ(collations, (std::vector<std::pair<std::u16string, std::int32_t>>{
                              {u"SQL_Latin1_General_CP1_CI_AS", 1252},
                              {u"Czech_CI_AS", 1250},
                              {u"Cyrillic_General_CI_AS", 1251},
                              {u"Japanese_CI_AS_KS_WS", 932},
                              {u"Thai_CS_AS", 0},
                              {u"", 0},
                              {u"SQL_Latin1_General_CP850_CI_AS", 850},
                              {u"", 0},
                              {u"Latin1_General_BIN", 1252}}));
    EXPECT_EQ(facts.FindColumn(u"b")->DatabaseCodePage, 1252);
    EXPECT_EQ(facts.FindColumn(u"e")->DatabaseCodePage, 1252);
    EXPECT_EQ(facts.FindColumn(u"f")->DatabaseCodePage, 0);
}

TEST_P(CatalogReaderTest, AnIndexCarriesOneFlagAtMost) {
    Run(u"CREATE TABLE t (a int NOT NULL CONSTRAINT PK PRIMARY KEY NONCLUSTERED, "
        u"b int NOT NULL CONSTRAINT UQ UNIQUE, c int NOT NULL, d int NOT NULL)\nGO\n"
        u"CREATE UNIQUE INDEX UX ON t (d, c)\nGO\nCREATE INDEX IX ON t (c)");
    const ObjectFacts facts = Facts({u"dbo", u"t"});
    ASSERT_EQ(facts.Indexes.size(), 4U);
    EXPECT_EQ(facts.FindIndex(u"pk")->Type, 0x800);
    EXPECT_EQ(facts.FindIndex(u"UQ")->Type, 0x1000);
    EXPECT_EQ(facts.FindIndex(u"UX")->Type, 2);
    EXPECT_EQ(facts.FindIndex(u"IX")->Type, 0);
    EXPECT_EQ(facts.FindIndex(u"UX")->Columns, (std::vector<std::u16string>{u"d", u"c"}));
    EXPECT_EQ(facts.PrimaryKey(), facts.FindIndex(u"PK"));
}

TEST_P(CatalogReaderTest, NamesWithQuotesAndBracketsAreFound) {
    Run(u"CREATE TABLE [dbo].[t]]able 'q'] ([c]]ol 'q'] int NOT NULL)");
    const ObjectFacts facts = Facts({u"dbo", u"t]able 'q'"});
    ASSERT_EQ(facts.Columns.size(), 1U);
    EXPECT_EQ(facts.Columns[0].Name, u"c]ol 'q'");
}

TEST_P(CatalogReaderTest, NamesAreMatchedAsTheServerMatchesThem) {
    Run(u"CREATE TABLE Mixed (id int)");
    EXPECT_EQ(Facts({u"DBO", u"mIXED"}).Object.Name, u"Mixed");
}

TEST_P(CatalogReaderTest, WhatDoesNotExistIsLeftOut) {
    Run(u"CREATE TABLE t (id int)\nGO\nCREATE PROCEDURE p AS SELECT 1");
    CatalogReader reader = Reader();
    const std::vector<ObjectName> names{
        {u"dbo", u"t"}, {u"dbo", u"x"}, {u"no", u"t"}, {u"dbo", u"p"}, {u"", u""}};
    EXPECT_EQ(reader.Objects(names).size(), 1U);
    EXPECT_TRUE(reader.Objects({}).empty());
}

TEST_P(CatalogReaderTest, ManyObjectsTakeTwoQueries) {
    std::vector<ObjectName> names;
    for (int i = 0; i < 30; ++i) {
        names.push_back({u"dbo", u"t" + ToText(i)});
        Run(u"CREATE TABLE " + names.back().Name + u" (id int NOT NULL PRIMARY KEY)");
    }
    CatalogReader reader = Reader();
    versioned.ClearLog();
    EXPECT_EQ(reader.Objects(names).size(), 30U);
    EXPECT_EQ(versioned.Log().size(), 2U);
}

TEST_P(CatalogReaderTest, WhatTheServerBroughtAlongIsNotTheUsers) {
    Run(u"CREATE TABLE mine (id int)");
    CatalogReader reader = Reader();
    const auto tables = reader.UserTables();
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_EQ(tables[0].Owner, u"dbo");
    EXPECT_EQ(tables[0].Name, u"mine");
}

TEST_P(CatalogReaderTest, CompatibilityLevelIsTheDatabases) {
    versioned.Run(u"EXEC sp_dbcmptlevel 'odd]name''x', 70");
    EXPECT_EQ(Reader().CompatibilityLevel(), 70);
}

INSTANTIATE_TEST_SUITE_P(Versions, CatalogReaderTest, ::testing::Values("8.00.2039", "10.50.6000"));

class ServerOfVersionTest : public SandboxTest {
  protected:
    std::vector<ColumnFacts> Columns(const char* version, const std::u16string& table,
                                     const std::u16string& collation = {}) {
        sandbox::ServerSettings settings;
        settings.name = u"VERSIONED";
        settings.version = version;
        sandbox::Server& versioned = box.AddServer(settings);
        versioned.Run(u"CREATE DATABASE d" + collation + u"\nGO\nUSE d\nGO\n" + table);
        LoginData login{versioned.Address(), u"sa", u"sandbox", false};
        CatalogReader reader(LogIn(login));
        reader.UseDatabase(u"d");
        const ObjectName name{u"dbo", u"t"};
        return reader.Objects({&name, 1}).at(0).Columns;
    }
};

TEST_F(ServerOfVersionTest, UTF8HasItsCodePage) {
    const auto columns = Columns("15.0.2000",
                                 u"CREATE TABLE t (a varchar(5) COLLATE "
                                 u"Latin1_General_100_CI_AS_SC_UTF8, b varchar(max) COLLATE "
                                 u"Japanese_XJIS_140_CS_AS_UTF8)");
    EXPECT_EQ(columns.at(0).Collation, u"Latin1_General_100_CI_AS_SC_UTF8");
    EXPECT_EQ(columns.at(0).CodePage, 65001);
    EXPECT_EQ(columns.at(1).CodePage, 65001);
}

TEST_F(ServerOfVersionTest, SqlServer7KnowsNoCollationOfAColumn) {
    const auto columns = Columns("7.00.623", u"CREATE TABLE t (a varchar(5), b int)");
    EXPECT_EQ(columns.at(0).DataType, u"varchar");
    EXPECT_EQ(columns.at(0).Collation, u"");
    EXPECT_EQ(columns.at(0).CodePage, 0);
    EXPECT_EQ(columns.at(0).DatabaseCodePage, 0);
}

TEST_F(ServerOfVersionTest, TheDatabaseHasACodePageOfItsOwn) {
    const auto columns =
        Columns("10.50.6000", u"CREATE TABLE t (a varchar(5) COLLATE Czech_CI_AS, b varchar(5))",
                u" COLLATE Japanese_CI_AS");
    EXPECT_EQ(columns.at(0).CodePage, 1250);
    EXPECT_EQ(columns.at(0).DatabaseCodePage, 932);
    EXPECT_EQ(columns.at(1).CodePage, 932);
}

class MaxTypesTest : public SandboxTest {};

TEST_F(MaxTypesTest, HaveLengthMinusOneAndAliasTypesTheirBaseType) {
    server.Run(
        u"CREATE DATABASE d\nGO\nUSE d\nGO\nCREATE TABLE t (a varchar(max), b nvarchar(max), "
        u"c varbinary(max), d xml, e date, f time(3), g datetime2(5), h datetimeoffset, "
        u"i sysname)");
    LoginData login{server.Address(), u"sa", u"sandbox", false};
    CatalogReader reader(LogIn(login));
    reader.UseDatabase(u"d");
    const ObjectName name{u"dbo", u"t"};
    const auto objects = reader.Objects({&name, 1});
    ASSERT_EQ(objects.size(), 1U);
    std::vector<std::pair<std::u16string, std::int32_t>> types;
    for (const auto& column : objects[0].Columns)
        types.emplace_back(column.DataType, column.Length);
    types.resize(4);
    EXPECT_EQ(types, (std::vector<std::pair<std::u16string, std::int32_t>>{
                         {u"varchar", -1}, {u"nvarchar", -1}, {u"varbinary", -1}, {u"xml", -1}}));
    EXPECT_EQ(objects[0].FindColumn(u"g")->DataType, u"datetime2");
    EXPECT_EQ(objects[0].FindColumn(u"i")->DataType, u"nvarchar");
    EXPECT_EQ(objects[0].FindColumn(u"i")->Length, 128);
}

}  // namespace
}  // namespace QuillonLib
