' The flags and the limit of the row-set and script operations, results of every kind, and databases
' on other servers.
Option Explicit

Dim databases, database1, database2, utils
Set databases = CreateObject("QuillonLib.Databases")
Set database1 = NewDatabase(databases, "Source")
Set database2 = NewDatabase(databases, "Target")
Set utils = CreateObject("QuillonLib.Utils")

Function Compared(table)
    Set Compared = utils.CompareContents(database1, database2, database2, Array(table), Nothing, Nothing)(1)
End Function

Dim same, different, missing, additional, toRight, toLeft
Sub Read(table, options, limit)
    utils.GetRecordsets database1, database2, database2, Compared(table), same, different, missing, additional, _
        toRight, toLeft, options, limit
End Sub

' How often a part stands in a text.
Function Times(part, text)
    Times = UBound(Split(text, part))
End Function

Const AllRows = 15

Sub Limit
    Read "[dbo].[Rows]", AllRows, 2
    Equal 3, same.RecordCount, "identical rows, without the flag"
    Equal 5, different.RecordCount, "differing rows"
    Equal 5, missing.RecordCount, "missing rows"
    Equal 4, additional.RecordCount, "additional rows"
    Equal 5, Times("EXEC prcTmp_QVX_Insert", toRight), "insert lines for database 2"
    Equal 4, Times("EXEC prcTmp_QVX_Delete", toRight), "delete lines for database 2"
    Equal 4, Times("EXEC prcTmp_QVX_Insert", toLeft), "insert lines for database 1"
    Equal 5, Times("EXEC prcTmp_QVX_Delete", toLeft), "delete lines for database 1"
    Equal 5, Times("EXEC prcTmp_QVX_Update", toLeft), "update lines for database 1"
    Contains "EXEC prcTmp_QVX_Update 4, 4", toRight, "the value of database 1 goes to database 2"
    Contains "EXEC prcTmp_QVX_Update 4, 40", toLeft, "and that of database 2 to database 1"
    Contains "EXEC prcTmp_QVX_Insert 11, 100", toRight, "a row of database 1"
    Contains "EXEC prcTmp_QVX_Insert 21, 200", toLeft, "a row of database 2"
    Contains "-- Run this on " & database2.Server & ".Target to", toRight, "where the one is run"
    Contains "-- Run this on " & database1.Server & ".Source to", toLeft, "where the other is run"

    Read "[dbo].[Rows]", AllRows + cpoLimitRecordsReturned, 2
    Equal 2, same.RecordCount, "identical rows, limited"
    Equal 2, different.RecordCount, "differing rows, limited"
    Equal 2, missing.RecordCount, "missing rows, limited"
    Equal 2, additional.RecordCount, "additional rows, limited"
    Equal 2, Times("EXEC prcTmp_QVX_Insert", toRight), "the scripts follow the row sets"
    Equal 2, Times("EXEC prcTmp_QVX_Update", toLeft), "in both directions"

    Dim results
    Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Rows]"), Nothing, Nothing)
    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, AllRows + cpoLimitRecordsReturned, 1
    Equal 1, Times("EXEC prcTmp_QVX_Insert", toRight), "a limit of one in a script of all tables"
    Equal 1, Times("EXEC prcTmp_QVX_Delete", toLeft), "in both directions"
End Sub

Sub AskedFor
    Read "[dbo].[Rows]", cpoShowDifferent, 0
    IsTrue same Is Nothing, "identical rows that nobody asked for"
    IsTrue missing Is Nothing, "missing rows that nobody asked for"
    IsTrue additional Is Nothing, "additional rows that nobody asked for"
    Equal 5, different.RecordCount, "the differing rows"
    Equal 0, Times("EXEC prcTmp_QVX_Insert", toRight & toLeft), "no lines of what nobody asked for"
    Read "[dbo].[Rows]", cpoShowIdentical, 0
    Equal 3, same.RecordCount, "the identical rows"
    IsTrue different Is Nothing, "a row set of an earlier call is Nothing"
    Equal 0, Times("EXEC", toRight & toLeft), "no line comes from identical rows"
    Read "[dbo].[Rows]", 0, 0
    IsTrue same Is Nothing, "no flag, no row set"
    Contains "BEGIN TRANSACTION", toRight, "but a script"
    Read "[dbo].[Rows]", cpoShowAdditional + 32 + 64, 0
    Equal 4, additional.RecordCount, "flags for the caller's own use change nothing"
End Sub

Sub Comments
    Read "[dbo].[Rows]", AllRows, 0
    Contains "-- Please make sure you BACK UP THE DATABASE", toRight, "a script with comments"
    Contains "-- Please make sure you BACK UP THE DATABASE", toLeft, "the other"
    Read "[dbo].[Rows]", AllRows + cpoNoScriptComments, 0
    Equal 0, Times("--", toRight & toLeft), "scripts without comments"
    Equal 1, InStr(toRight, "BEGIN TRANSACTION"), "begin at once"
    Dim results
    Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Rows]"), Nothing, Nothing)
    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, AllRows, 0
    Contains "-- Insert procedure for [dbo].[Rows]", toLeft, "a script of all tables with comments"
    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, AllRows + cpoNoScriptComments, 0
    Equal 0, Times("--", toRight & toLeft), "scripts of all tables without comments"
    Contains "PRINT 'Updating records in [dbo].[Rows]'", toRight, "what is printed stays"
End Sub

Sub ReplicationColumns
    Read "[dbo].[Replicated]", AllRows, 0
    Contains "EXEC prcTmp_QVX_Update 1, 10, '{0E984725-C51C-4BF4-9960-E1C80E27ABA0}'", toRight, "the column in a script"
    Read "[dbo].[Replicated]", AllRows + cpoIgnoreReplCols, 0
    Equal 0, Times("msrepl_tran_version", toRight & toLeft), "a script without the column"
    Contains "EXEC prcTmp_QVX_Update 1, 10" & vbCrLf, toRight, "its update line"
    Equal 3, missing.Fields.Count, "the row set has the column all the same"
End Sub

Sub Results
    Dim result
    Set result = Compared("[dbo].[Numbered]")
    IsTrue result.HasIdentity, "HasIdentity"
    Equal False, result.HasDodgyColumns, "HasDodgyColumns of a plain table"
    Read "[dbo].[Numbered]", AllRows, 0
    Contains "SET IDENTITY_INSERT [dbo].[Numbered] ON", toRight, "its script"

    Set result = Compared("[dbo].[Dodgy]")
    IsTrue result.HasDodgyColumns, "HasDodgyColumns"
    Equal False, result.HasIdentity, "HasIdentity of a table without one"
    IsTrue result.Columns("twice").Computed, "Computed"
    Equal False, result.Columns("n").Computed, "Computed of a plain column"
    IsTrue result.Columns("twice").CannotCompare, "a computed column is not compared"
    IsTrue result.Columns("note").CannotCompare, "nor is one of type ntext"
    IsTrue result.Columns("stamp").CannotCompare, "nor is a timestamp"
    Equal "[id], [n]", result.Columns.ColumnList, "what is compared"
    IsTrue result.Identical, "without them the rows are the same"

    Set result = Compared("[dbo].[Indexed]")
    IsTrue result.IsView, "IsView"
    IsTrue result.HasPrimaryKey, "an index of a view is a key"
    Equal 5, result.RecordsDiffering, "rows of a view"
    Read "[dbo].[Indexed]", AllRows, 0
    Equal 5, different.RecordCount, "row sets of a view"
    Equal 0, Times("EXEC", toRight & toLeft), "its scripts have no lines"

    Dim catalog
    Set catalog = database1.Tables
    IsTrue catalog("[dbo].[Indexed]").IsView, "IsView in the catalog"
    Equal False, catalog("[dbo].[Rows]").IsView, "IsView of a table"
    Equal "IX_Indexed", catalog("[dbo].[Indexed]").Indexes(1).Name, "its index"
End Sub

' The number of ADO for each type of column, and what a value of it is to a script.
Sub Types
    Dim field, line, columns, result
    Set columns = CreateObject("QuillonLib.KeyedList")
    columns.Add Array("bit"), "[dbo].[Types]"  ' the server does not compare xml
    Set result = utils.CompareContents(database1, database2, database2, Array("[dbo].[Types]"), Nothing, columns)(1)
    utils.GetRecordsets database1, database2, database2, result, same, different, missing, additional, _
        toRight, toLeft, cpoShowMissing, 0
    line = ""
    For Each field In missing.Fields
        line = line & field.Name & " " & field.Type & " " & VarType(field.Value) & ";"
    Next
    Equal "id 3 3;bit 11 11;tinyint 17 17;smallint 2 2;int 3 3;bigint 20 20;real 4 4;float 5 5;" & _
        "money 6 6;smallmoney 6 6;decimal 131 14;numeric 131 14;datetime 135 7;smalldatetime 135 7;" & _
        "char 129 8;varchar 200 8;text 201 8;nchar 130 8;nvarchar 202 8;ntext 203 8;xml 203 8;" & _
        "date 202 8;time 202 8;datetime2 202 8;datetimeoffset 202 8;" & _
        "binary 128 8209;varbinary 204 8209;image 205 8209;timestamp 128 8209;uniqueidentifier 72 8;" & _
        "sql_variant 12 8;", line, "the types"
End Sub

' Database 1 on a server, database 2 on another one, the queries on either.
Sub OtherServers
    Dim far, result
    Set far = NewDatabase(CreateObject("QuillonLib.Databases"), "Target")
    far.Server = Host.Environment("QUILLON_TEST_OTHER")
    IsTrue far.Server <> database1.Server, "two servers"

    Set result = utils.CompareContents(database1, far, far, Array("[dbo].[Rows]"), Nothing, Nothing)(1)
    Equal "", result.Error, "a comparison across servers"
    Equal 5, result.RecordsDiffering, "its rows"
    Equal "KARNOBE_1", database1.LinkedServer, "database 1 is linked to the server of database 3"
    Equal "", far.LinkedServer, "database 2 is on it"
    utils.GetRecordsets database1, far, far, result, same, different, missing, additional, toRight, toLeft, AllRows, 0
    Equal 5, missing.RecordCount, "rows across servers"
    Contains "-- Run this on " & far.Server & ".Target to", toRight, "the script for the far server"

    database1.LinkedServer = ""
    Set result = utils.CompareContents(database1, far, database1, Array("[dbo].[Rows]"), Nothing, Nothing)(1)
    Equal 22, result.RecordsInUnion, "database 3 is database 1"
    Equal "", database1.LinkedServer, "database 1 is on its server"
    Equal "KARNOBE_2", far.LinkedServer, "database 2 is linked to it"
    utils.GetRecordsets database1, far, database1, result, same, different, missing, additional, toRight, toLeft, AllRows, 0
    Equal 4, additional.RecordCount, "rows across servers, the other way"
    Dim results
    Set results = utils.CompareContents(database1, far, database1, Array("[dbo].[Rows]"), Nothing, Nothing)
    utils.GetUpdateScripts database1, far, database1, results, toLeft, toRight, AllRows, 0
    Contains "-- Run this on " & far.Server & ".Target to", toRight, "a script of all tables across servers"
    RunOn far, utils.GetSQLStatementsFromScript(toRight)
    IsTrue utils.CompareContents(database1, far, database1, Array("[dbo].[Rows]"), Nothing, Nothing)(1).Identical, "the script ran on the far server"
    Equal False, Compared("[dbo].[Rows]").Identical, "and not on the near one"
End Sub

Limit
AskedFor
Comments
ReplicationColumns
Results
Types
OtherServers
