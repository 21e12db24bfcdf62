' Compares all tables that two databases share, shows what differs, makes the second database agree
' with the first, and compares again.
'
'     cscript compare.vbs SERVER DATABASE1 DATABASE2 USER
'
' Asks for the password of USER; without USER the login is integrated.
Option Explicit

Const cpoShowDifferent = 2
Const cpoShowMissing = 4
Const cpoShowAdditional = 8

Dim arguments, utils, sink
Set arguments = WScript.Arguments
Set utils = CreateObject("QuillonLib.Utils")
Set sink = WScript.CreateObject("QuillonLib.EventSink", "Sink_")
Set utils.EventSink = sink
' A table that cannot be compared is told of, and passed over.
utils.SuppressCompareProcessErrors = True

' Set bCancel to True to stop.
Sub Sink_Status(sMessage, iPercent, bCancel)
    WScript.Echo iPercent & " % " & sMessage
End Sub

Sub Sink_ProcessError(lErrNum, sError, bCancelProcess)
    WScript.Echo "Not compared: " & sError
End Sub

Dim password
If arguments.Count > 3 Then
    WScript.Echo "Password of " & arguments(3) & ":"
    password = WScript.StdIn.ReadLine
End If

Function NewDatabase(databases, name)
    Dim database
    Set database = databases.Add(name)
    database.Server = arguments(0)
    database.Database = name
    database.Description = name
    If arguments.Count > 3 Then
        database.Username = arguments(3)
        database.Password = password
    Else
        database.NTSecurity = True
    End If
    database.Load  ' an error when the login is refused
    Set NewDatabase = database
End Function

' The entries of the tables that both databases have, children first: then no row is deleted
' before those that refer to it.
Function SharedTables(database1, database2)
    Dim table, entries, left, placed, parent, ready
    Set left = CreateObject("Scripting.Dictionary")
    For Each table In database1.Tables
        If database2.Tables.ItemExists(table.Owner, table.Name) Then left.Add table.Description, 0
    Next
    entries = ""
    Do While left.Count > 0
        placed = 0
        For Each table In database1.Tables
            If left.Exists(table.Description) Then
                ready = True
                For Each parent In table.ChildDependencies
                    If left.Exists(parent.Name) And parent.Name <> table.Description Then ready = False
                Next
                If ready Then
                    If entries <> "" Then entries = entries & vbLf
                    entries = entries & table.Description
                    left.Remove table.Description
                    placed = placed + 1
                End If
            End If
        Next
        If placed = 0 Then Exit Do  ' a cycle, which is left out
    Loop
    SharedTables = Split(entries, vbLf)
End Function

Sub ShowResult(result)
    If result.Error <> "" Then
        WScript.Echo result.Name & ": " & result.Error
    ElseIf result.Identical Then
        WScript.Echo result.Name & ": identical"
    ElseIf Not result.HasPrimaryKey Then
        WScript.Echo result.Name & ": no key to compare by"
    Else
        WScript.Echo result.Name & ": " & result.RecordsDiffering & " rows differ, " & _
            result.RecordsIn1 & " rows in the first, " & result.RecordsIn2 & " in the second"
    End If
End Sub

Function Shown(value)
    If IsNull(value) Then
        Shown = "NULL"
    ElseIf IsArray(value) Then
        Shown = "(bytes)"
    Else
        Shown = CStr(value)
    End If
End Function

Sub ShowMissingRows(database1, database2, result)
    Dim same, different, missing, additional, toRight, toLeft, line, field
    utils.GetRecordsets database1, database2, database2, result, same, different, missing, additional, _
        toRight, toLeft, cpoShowMissing, 0
    If Not IsObject(missing) Then Exit Sub  ' nothing is set for a table without a key, or an error
    If missing Is Nothing Then Exit Sub
    Do Until missing.EOF
        line = "  missing:"
        For Each field In missing.Fields
            line = line & " " & field.Name & "=" & Shown(field.Value)
        Next
        WScript.Echo line
        missing.MoveNext
    Loop
End Sub

' Runs the batches of a script. A batch is many statements, each with a result of its own, and the
' error of one is raised only when its result is reached: all of them are walked. An error ends the
' script; the server rolls its transaction back (XACT_ABORT), and the COMMIT is never sent. Many rows
' take long, so nothing ends a batch after the usual 30 seconds.
Sub RunScript(database, script)
    Dim connection, login, batch, results
    login = ";uid=" & database.Username & ";pwd=" & database.Password
    If database.NTSecurity Then login = ";trusted_connection=yes"
    Set connection = CreateObject("ADODB.Connection")
    connection.Open "driver={SQL Server};server=" & database.Server & ";database=" & _
        database.Database & login
    connection.CommandTimeout = 0
    connection.Execute "SET XACT_ABORT ON"
    For Each batch In utils.GetSQLStatementsFromScript(script)
        If batch <> "" Then
            Set results = connection.Execute(batch)
            Do Until results Is Nothing
                Set results = results.NextRecordset
            Loop
        End If
    Next
    connection.Close
End Sub

Sub Main
    Dim databases, database1, database2, tables, results, result, toLeft, toRight, different
    Set databases = CreateObject("QuillonLib.Databases")
    Set database1 = NewDatabase(databases, arguments(1))
    Set database2 = NewDatabase(databases, arguments(2))
    database1.CheckDependencies = True
    tables = SharedTables(database1, database2)

    Set results = utils.CompareContents(database1, database2, database2, tables, Nothing, Nothing)
    If results Is Nothing Then
        WScript.Echo "Cancelled"
        Exit Sub
    End If
    For Each result In results
        ShowResult result
        ShowMissingRows database1, database2, result
    Next

    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, _
        cpoShowDifferent + cpoShowMissing + cpoShowAdditional, 0
    RunScript database2, toRight

    different = 0
    Set results = utils.CompareContents(database1, database2, database2, tables, Nothing, Nothing)
    For Each result In results
        If result.HasPrimaryKey And Not result.Identical Then different = different + 1
    Next
    WScript.Echo "Tables that still differ: " & different
End Sub

Main
