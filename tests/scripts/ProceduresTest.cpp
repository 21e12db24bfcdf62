// The temporary procedures of a script, and which columns they carry.
#include "scripts/Procedures.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"
#include "catalog/CatalogBuilder.h"
#include "scripts/ScriptColumns.h"

namespace QuillonLib {
namespace {

constexpr enShowOptions NoOptions{};

ColumnFacts Facts(const std::u16string& name, const std::u16string& type, std::int32_t length = 0,
                  std::int32_t precision = 0, std::int32_t scale = 0, bool computed = false) {
    ColumnFacts facts;
    facts.Name = name;
    facts.DataType = type;
    facts.Length = length;
    facts.NumericPrecision = precision;
    facts.NumericScale = scale;
    facts.Computed = computed;
    return facts;
}

class ProceduresTest : public ::testing::Test {
  protected:
    ColumnObject& Add(const ColumnFacts& facts, bool key = false) {
        const auto column = CatalogBuilder::AddFullColumn(*result.Columns(), facts);
        column->PrimaryKey(key);
        return *column;
    }
    // The third line of a definition.
    static std::u16string HeaderOf(const std::u16string& definition) {
        const std::size_t begin = definition.find(u"CREATE PROCEDURE");
        return definition.substr(begin, definition.find(u"\r\n", begin) - begin);
    }
    static std::u16string BodyOf(const std::u16string& definition) {
        const std::size_t begin = definition.find(u") AS\r\n") + 6;
        return definition.substr(begin, definition.find(u"\r\nGO\r\n", begin) - begin);
    }

    TableDifference result;
};

// A result's name is set by comparisons alone; this one has none.
TEST_F(ProceduresTest, TheThreeDefinitions) {
    Add(Facts(u"Id", u"int", 4), true);
    Add(Facts(u"Name", u"nvarchar", 50));
    const ProcedureDefinitions procedures = DefineProcedures(result, NoOptions);
    EXPECT_EQ(procedures.Update,
              u"IF EXISTS (select * from dbo.sysobjects where id = "
              u"object_id(N'[dbo].[prcTmp_QVX_Update]') and OBJECTPROPERTY(id, N'IsProcedure') = "
              u"1) drop procedure [dbo].[prcTmp_QVX_Update]\r\n"
              u"GO\r\n"
              u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS nvarchar (50)) AS\r\n"
              u"UPDATE  SET [Name]=@P2 WHERE [Id]=@P1\r\n"
              u"GO\r\n");
    EXPECT_EQ(procedures.Insert,
              u"IF EXISTS (select * from dbo.sysobjects where id = "
              u"object_id(N'[dbo].[prcTmp_QVX_Insert]') and OBJECTPROPERTY(id, N'IsProcedure') = "
              u"1) drop procedure [dbo].[prcTmp_QVX_Insert]\r\n"
              u"GO\r\n"
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS nvarchar (50)) AS\r\n"
              u"INSERT INTO  ([Id], [Name]) VALUES (@P1, @P2)\r\n"
              u"GO\r\n");
    EXPECT_EQ(procedures.Delete,
              u"IF EXISTS (select * from dbo.sysobjects where id = "
              u"object_id(N'[dbo].[prcTmp_QVX_Delete]') and OBJECTPROPERTY(id, N'IsProcedure') = "
              u"1) drop procedure [dbo].[prcTmp_QVX_Delete]\r\n"
              u"GO\r\n"
              u"CREATE PROCEDURE prcTmp_QVX_Delete(@P1 AS int) AS\r\n"
              u"DELETE FROM  WHERE [Id]=@P1\r\n"
              u"GO\r\n");
}

TEST_F(ProceduresTest, DeclarationsHaveTheSizeOfTheirType) {
    Add(Facts(u"k", u"int", 4), true);
    Add(Facts(u"a", u"char", 1));
    Add(Facts(u"b", u"nchar", 2));
    Add(Facts(u"c", u"varchar", 10));
    Add(Facts(u"d", u"nvarchar", 4000));
    Add(Facts(u"e", u"binary", 16));
    Add(Facts(u"f", u"varbinary", 8000));
    Add(Facts(u"g", u"decimal", 9, 18, 4));
    Add(Facts(u"h", u"numeric", 17, 38, 0));
    Add(Facts(u"i", u"money", 8, 19, 4));
    Add(Facts(u"j", u"datetime", 8, 23, 3));
    Add(Facts(u"l", u"VARCHAR", 10));
    EXPECT_EQ(HeaderOf(DefineProcedures(result, NoOptions).Insert),
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS char (1), @P3 AS nchar (2), "
              u"@P4 AS varchar (10), @P5 AS nvarchar (4000), @P6 AS binary (16), @P7 AS varbinary "
              u"(8000), @P8 AS decimal (18,4), @P9 AS numeric (38,0), @P10 AS money, @P11 AS "
              u"datetime, @P12 AS VARCHAR) AS");
}

TEST_F(ProceduresTest, MaxTypes) {
    Add(Facts(u"k", u"int", 4), true);
    Add(Facts(u"a", u"varchar", -1));
    Add(Facts(u"b", u"nvarchar", -1));
    Add(Facts(u"c", u"varbinary", -1));
    EXPECT_EQ(HeaderOf(DefineProcedures(result, NoOptions).Update),
              u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS varchar (max), @P3 AS "
              u"nvarchar (max), @P4 AS varbinary (max)) AS");
}

// The number of a parameter is that of its column among the script columns, not among the keys.
TEST_F(ProceduresTest, ACompositeKey) {
    Add(Facts(u"n", u"int", 4));
    Add(Facts(u"b", u"int", 4), true);
    Add(Facts(u"stamp", u"timestamp", 8));
    Add(Facts(u"a", u"char", 3), true);
    const ProcedureDefinitions procedures = DefineProcedures(result, NoOptions);
    EXPECT_EQ(HeaderOf(procedures.Delete),
              u"CREATE PROCEDURE prcTmp_QVX_Delete(@P2 AS int, @P3 AS char (3)) AS");
    EXPECT_EQ(BodyOf(procedures.Delete), u"DELETE FROM  WHERE [b]=@P2 AND [a]=@P3");
    EXPECT_EQ(BodyOf(procedures.Update), u"UPDATE  SET [n]=@P1 WHERE [b]=@P2 AND [a]=@P3");
    EXPECT_EQ(BodyOf(procedures.Insert), u"INSERT INTO  ([n], [b], [a]) VALUES (@P1, @P2, @P3)");
}

TEST_F(ProceduresTest, OnlyKeysGiveAnEmptySetList) {
    Add(Facts(u"k", u"int", 4), true);
    EXPECT_EQ(BodyOf(DefineProcedures(result, NoOptions).Update), u"UPDATE  SET  WHERE [k]=@P1");
}

TEST_F(ProceduresTest, NamesAreBracketedAsTheyStand) {
    Add(Facts(u"a [b", u"int", 4), true);
    EXPECT_EQ(BodyOf(DefineProcedures(result, NoOptions).Delete), u"DELETE FROM  WHERE [a [b]=@P1");
}

TEST_F(ProceduresTest, ClosingBracketsInNamesAreNotDoubled) {
    Add(Facts(u"a]b", u"int", 4), true);
    Add(Facts(u"n]", u"int", 4));
    const ProcedureDefinitions procedures = DefineProcedures(result, NoOptions);
    EXPECT_EQ(BodyOf(procedures.Update), u"UPDATE  SET [n]]=@P2 WHERE [a]b]=@P1");
    EXPECT_EQ(BodyOf(procedures.Insert), u"INSERT INTO  ([a]b], [n]]) VALUES (@P1, @P2)");
    EXPECT_EQ(BodyOf(procedures.Delete), u"DELETE FROM  WHERE [a]b]=@P1");
}

TEST_F(ProceduresTest, ComputedAndTimestampColumnsGetNoParameter) {
    Add(Facts(u"k", u"int", 4), true);
    Add(Facts(u"c", u"int", 4, 0, 0, true));
    Add(Facts(u"s", u"timestamp", 8));
    Add(Facts(u"x", u"text", 16));
    EXPECT_EQ(HeaderOf(DefineProcedures(result, NoOptions).Insert),
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS text) AS");
}

class ReplicationColumnTest : public ProceduresTest,
                              public ::testing::WithParamInterface<const char16_t*> {};

TEST_P(ReplicationColumnTest, IsLeftOutOnRequestInAnyCase) {
    Add(Facts(u"k", u"int", 4), true);
    Add(Facts(GetParam(), u"uniqueidentifier", 16));
    EXPECT_EQ(HeaderOf(DefineProcedures(result, NoOptions).Insert),
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS uniqueidentifier) AS");
    EXPECT_EQ(HeaderOf(DefineProcedures(result, cpoIgnoreReplCols).Insert),
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int) AS");
}

INSTANTIATE_TEST_SUITE_P(Cases, ReplicationColumnTest,
                         ::testing::Values(u"MSREPL_TRAN_VERSION", u"msrepl_tran_version",
                                           u"MSrepl_Tran_Version"));

TEST_F(ProceduresTest, AKeyColumnOutsideScriptsIsNamed) {
    Add(Facts(u"k", u"int", 4), true);
    EXPECT_EQ(KeyColumnOutsideScripts(*result.Columns(), NoOptions), u"");
    Add(Facts(u"s", u"timestamp", 8), true);
    EXPECT_EQ(KeyColumnOutsideScripts(*result.Columns(), NoOptions), u"s");
}

TEST_F(ProceduresTest, AReplicationKeyColumnIsOutsideOnRequestOnly) {
    Add(Facts(u"msrepl_tran_version", u"uniqueidentifier", 16), true);
    EXPECT_EQ(KeyColumnOutsideScripts(*result.Columns(), NoOptions), u"");
    EXPECT_EQ(KeyColumnOutsideScripts(*result.Columns(), cpoIgnoreReplCols),
              u"msrepl_tran_version");
}

}  // namespace
}  // namespace QuillonLib
