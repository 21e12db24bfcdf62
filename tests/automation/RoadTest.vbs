' The whole road of a front end: databases, catalogs, a comparison with progress, its results, rows
' and scripts; the scripts run, and the second comparison finds nothing.
Option Explicit

Dim messages, percents, cancelAt
messages = ""
percents = ""
cancelAt = ""

Sub Sink_Status(sMessage, iPercent, bCancel)
    messages = messages & sMessage & ";"
    percents = percents & iPercent & ";"
    If sMessage = cancelAt Then bCancel = True
End Sub

Dim errorsSeen
errorsSeen = ""

Sub Sink_ProcessError(lErrNum, sError, bCancelProcess)
    errorsSeen = errorsSeen & sError & ";"
End Sub

Function Compare(utils, database1, database2, tables)
    Set Compare = utils.CompareContents(database1, database2, database2, tables, Nothing, Nothing)
End Function

Sub Road
    Dim databases, database1, database2
    Set databases = CreateObject("QuillonLib.Databases")
    Set database1 = NewDatabase(databases, "Source")
    Set database2 = NewDatabase(databases, "Target")
    database1.CheckDependencies = True
    IsTrue database1.Load, "Load"
    IsTrue database2.Load(), "Load"

    Dim table, names
    names = ""
    For Each table In database1.Tables
        names = names & table.Description & " "
    Next
    Equal "[dbo].[Customers] [dbo].[NoKey] [dbo].[OnlyHere] [dbo].[Orders] [dbo].[Same] [dbo].[Types] ", names, "the tables"
    IsTrue database1.Tables Is database1.Tables, "one catalog is one object"
    Equal "[dbo].[Customers]", database1.Tables("[DBO].[orders]").ParentDependencies("[dbo].[Customers]").Name, "a parent"
End Sub

Sub RoadOfComparison
    Dim databases, database1, database2, utils, sink, results, result, tables
    tables = Array("[dbo].[Orders]", "[dbo].[Customers]")  ' children first
    Set databases = CreateObject("QuillonLib.Databases")
    Set database1 = NewDatabase(databases, "Source")
    Set database2 = NewDatabase(databases, "Target")
    database1.CheckDependencies = True

    Set utils = CreateObject("QuillonLib.Utils")
    Set sink = CreateObject("QuillonLib.EventSink")
    Host.Connect sink, "Sink_"
    Set utils.EventSink = sink

    Set results = Compare(utils, database1, database2, tables)
    Equal "Connecting to The Source;Connecting to The Target;Connecting to The Target;" & _
        "Comparing Orders;Comparing Orders;Comparing Orders;Comparing Orders;Comparing Orders;" & _
        "Comparing Customers;Comparing Customers;Comparing Customers;Comparing Customers;Comparing Customers;", messages, "the progress"
    Equal "0;0;0;0;12;25;38;50;50;62;75;88;100;", percents, "the percentages"

    Equal 2, results.Count, "results"
    Set result = results("[dbo].[Customers]")
    Equal "[dbo].[Customers]", result.Name, "Name"
    IsTrue result.HasPrimaryKey, "HasPrimaryKey"
    Equal False, result.HasDodgyColumns, "HasDodgyColumns"
    Equal False, result.Identical, "Identical"
    Equal 3, result.RecordsIn1, "RecordsIn1"
    Equal 3, result.RecordsIn2, "RecordsIn2"
    Equal 5, result.RecordsInUnion, "RecordsInUnion"
    Equal 1, result.RecordsDiffering, "RecordsDiffering"
    Equal False, result.HasIdentity, "HasIdentity"
    Equal "", result.Error, "Error"
    Equal False, result.IsView, "IsView"
    Equal "[id], [name], [since]", result.Columns.ColumnList, "ColumnList"

    Dim same, different, missing, additional, toRight, toLeft
    utils.GetRecordsets database1, database2, database2, result, same, different, missing, additional, _
        toRight, toLeft, cpoShowIdentical + cpoShowDifferent + cpoShowMissing + cpoShowAdditional, 0
    Equal 1, same.RecordCount, "identical rows"
    Equal "Ada", same("name").Value, "an identical row"
    Equal "Grace", different("name_1").Value, "a differing row, side 1"
    Equal "Hopper", different.Fields("name_2").Value, "a differing row, side 2"
    Equal 3, missing("id").Value, "a missing row"
    Equal 4, additional(0).Value, "an additional row"
    Contains "prcTmp_QVX_Update", toRight, "the script for database 2"
    Contains "prcTmp_QVX_Update", toLeft, "the script for database 1"

    messages = ""
    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, _
        cpoShowDifferent + cpoShowMissing + cpoShowAdditional, 0
    Contains "Ordering scripts", messages, "the progress of the scripts"

    RunOn database2, utils.GetSQLStatementsFromScript(toRight)
    Set results = Compare(utils, database1, database2, tables)
    IsTrue results(2).Identical, "Customers after the script"
    IsTrue results(1).Identical, "Orders after the script"
    Equal "", errorsSeen, "no errors"

    cancelAt = "Comparing Customers"
    IsTrue Compare(utils, database1, database2, tables) Is Nothing, "a cancelled comparison"
    cancelAt = ""
    Host.Disconnect sink
    messages = ""
    Set results = Compare(utils, database1, database2, Array("[dbo].[Same]"))
    Equal "", messages, "no events after Disconnect"
End Sub

Road
RoadOfComparison
