// Procedures, dynamic text, variables and control flow.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(Procedures, ScriptsCreateCallAndDropThemInATransaction) {
    Box box;
    box.Text(
        u"CREATE TABLE [dbo].[Customer] (Id int PRIMARY KEY, Name nvarchar(50), D datetime, F "
        u"float, "
        u"M money, B varbinary(10))");
    const std::u16string drop =
        u"IF EXISTS (select * from dbo.sysobjects where id = "
        u"object_id(N'[dbo].[prcTmp_QVX_Insert]') and "
        u"OBJECTPROPERTY(id, N'IsProcedure') = 1) drop procedure [dbo].[prcTmp_QVX_Insert]";
    EXPECT_EQ(box.Text(u"BEGIN TRANSACTION"), "");
    EXPECT_EQ(box.Text(drop), "");
    EXPECT_EQ(
        box.Text(u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS nvarchar (50), @P3 AS "
                 u"datetime, @P4 AS float, @P5 AS money, @P6 AS varbinary (10)) AS\r\nINSERT INTO "
                 u"[dbo].[Customer] ([Id], [Name], [D], [F], [M], [B]) VALUES (@P1, @P2, @P3, @P4, "
                 u"@P5, @P6)"),
        "");
    EXPECT_EQ(
        box.Text(
            u"EXEC prcTmp_QVX_Insert 7, N'O''Brien', '20240115 13:45:30.123', 1.5E+300, 12.34, "
            u"0x0102\r\nEXEC prcTmp_QVX_Insert -7, NULL, NULL, -2.5, -1, NULL"),
        "#1\n#1\n");
    EXPECT_EQ(box.Text(drop), "");
    EXPECT_EQ(box.Text(u"COMMIT"), "");
    EXPECT_EQ(box.Text(u"SELECT * FROM Customer ORDER BY Id"),
              "-7|NULL|NULL|-2.5|-1.0000|NULL\n"
              "7|O'Brien|1174294539037|1.5000000000000001e+300|12.3400|0x0102\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM sysobjects WHERE xtype='P'"), "0\n");
}

TEST(Procedures, BadArgumentsSkipTheCallOnly) {
    Box box;
    box.Text(u"CREATE PROCEDURE p @a int, @b tinyint = 5 AS SELECT @a, @b");
    EXPECT_EQ(box.Text(u"EXEC p 'x' EXEC p 1"),
              "!8114 Error converting data type varchar to int.\n1|5\n");
    EXPECT_EQ(box.Text(u"EXEC p"),
              "!201 Procedure or function 'p' expects parameter '@a', which was not supplied.\n");
    EXPECT_EQ(box.Text(u"EXEC p 1, 2, 3"),
              "!8144 Procedure or function p has too many arguments specified.\n");
    EXPECT_EQ(box.Text(u"EXEC p @c = 1"), "!8145 @c is not a parameter for procedure p.\n");
    EXPECT_EQ(box.Text(u"EXEC p @b = 7, @a = 1 EXEC p 2, DEFAULT EXEC p 3, NULL"),
              "1|7\n2|5\n3|NULL\n");
    EXPECT_EQ(box.Text(u"EXEC p 1, 300"), "!8114 Error converting data type int to tinyint.\n");
}

TEST(Procedures, ParametersCutTextSilently) {
    Box box;
    box.Text(u"CREATE PROCEDURE p @a varchar(3), @b decimal(5,2) AS SELECT @a, @b");
    EXPECT_EQ(box.Text(u"EXEC p 'abcdef', 1.239"), "abc|1.24\n");
}

TEST(Procedures, OutputAndReturnValues) {
    Box box;
    box.Text(
        u"CREATE PROCEDURE p @a int, @b int OUTPUT AS SET NOCOUNT ON SET @b = @a * 2 RETURN 7");
    EXPECT_EQ(box.Text(u"DECLARE @r int, @o int EXEC @r = p 3, @o OUTPUT SELECT @r, @o"), "7|6\n");
    EXPECT_EQ(box.Text(u"DECLARE @o int EXEC p @a = 4, @b = @o OUTPUT SELECT @o"), "8\n");
}

TEST(Procedures, ErrorsEndTheInnerScopeOnly) {
    Box box;
    box.Text(u"CREATE PROCEDURE p AS SELECT * FROM nosuch SELECT 'inner'");
    const Result r = box.Run(u"EXEC p SELECT 'outer'");
    EXPECT_EQ(r.text, "!208 Invalid object name 'nosuch'.\nouter\n");
    EXPECT_EQ(r.errors.at(0).procedure, u"p");
    EXPECT_EQ(box.Text(u"EXEC('SELECT 1 1') SELECT 'outer'"),
              "!102 Incorrect syntax near '1'.\nouter\n");
}

TEST(Procedures, CanDropThemselves) {
    Box box;
    box.Text(u"CREATE PROCEDURE p AS DROP PROCEDURE p SELECT 'gone'");
    EXPECT_EQ(box.Text(u"EXEC p EXEC p"), "gone\n!2812 Could not find stored procedure 'p'.\n");
}

TEST(Procedures, ChangesOfTheirTablesAreSeen) {
    Box box;
    box.Text(u"CREATE TABLE t (a int) INSERT t VALUES (1)");
    box.Text(u"CREATE PROCEDURE p AS SELECT * FROM t");
    EXPECT_EQ(box.Text(u"EXEC p"), "1\n");
    box.Text(u"ALTER TABLE t ADD b int NOT NULL DEFAULT 2");
    EXPECT_EQ(box.Text(u"EXEC p"), "1|2\n");
    Client other(*box.backend, u"w");
    other.Text(u"DROP TABLE t CREATE TABLE t (z varchar(5)) INSERT t VALUES ('new')");
    EXPECT_EQ(box.Text(u"EXEC p"), "new\n");
}

TEST(Procedures, NestTo32Levels) {
    Box box;
    box.Text(u"CREATE PROCEDURE p AS EXEC p");
    EXPECT_EQ(box.ErrorOf(u"EXEC p"), 217);
}

TEST(Batches, ControlFlow) {
    Box box;
    EXPECT_EQ(
        box.Text(u"DECLARE @i int, @s nvarchar(100) SET @i=0 WHILE @i<5 BEGIN SET @i=@i+1 IF @i=2 "
                 u"CONTINUE IF @i=4 BREAK SET @s=ISNULL(@s,'')+CAST(@i AS varchar)+',' END SELECT "
                 u"@i,@s"),
        "4|1,3,\n");
    EXPECT_EQ(box.Text(u"IF 1=0 SELECT 'a' ELSE IF EXISTS (SELECT 1) SELECT 'b' ELSE SELECT 'c'"),
              "b\n");
    EXPECT_EQ(box.Text(u"SELECT 1 RETURN SELECT 2"), "1\n");
    EXPECT_EQ(box.Text(u"DECLARE @x int SELECT @x = 5 SELECT @x, @@ROWCOUNT"), "5|1\n");
}

TEST(Batches, MessagesAndRaisedErrors) {
    Box box;
    EXPECT_EQ(box.Text(u"PRINT 'hello ' + CAST(5 AS varchar)"), ">hello 5\n");
    EXPECT_EQ(box.Text(u"RAISERROR('boom %d %s',16,2,5,'x') SELECT @@ERROR"),
              "!50000 boom 5 x\n50000\n");
    EXPECT_EQ(box.Text(u"RAISERROR('note',10,1)"), ">note\n");
    EXPECT_EQ(
        box.Text(
            u"BEGIN TRY SELECT 1/0 END TRY BEGIN CATCH SELECT ERROR_NUMBER(), ERROR_MESSAGE() END "
            u"CATCH SELECT 'on'"),
        "8134|Divide by zero error encountered.\non\n");
}

TEST(Batches, DynamicText) {
    Box box;
    EXPECT_EQ(box.Text(u"DECLARE @s nvarchar(50) SET @s = N'SELECT 1 AS x' EXEC(@s)"), "1\n");
    EXPECT_EQ(box.Text(u"EXEC sp_executesql N'SELECT @a + 1', N'@a int', 41"), "42\n");
    EXPECT_EQ(
        box.Text(
            u"DECLARE @o int EXEC sp_executesql N'SET @x = 9', N'@x int OUTPUT', @o OUTPUT SELECT "
            u"@o"),
        "9\n");
    EXPECT_EQ(box.Text(u"CREATE DATABASE d2"), "");
    EXPECT_EQ(box.Text(u"EXEC('USE d2 SELECT DB_NAME()') SELECT DB_NAME()"), "@d2\nd2\n@w\nw\n");
}

TEST(Batches, CountsFollowNocount) {
    Box box;
    box.Text(u"CREATE TABLE t (a int)");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1),(2)"), "#2\n");
    EXPECT_EQ(box.Text(u"SET NOCOUNT ON INSERT t VALUES (3) SET NOCOUNT OFF DELETE t"), "#3\n");
}

}  // namespace
}  // namespace sandbox::testing
