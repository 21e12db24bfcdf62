' Neither memory nor handles grow: not with objects made and released, not with comparisons.
Option Explicit

Sub Round(rounds)
    Dim i, databases, database, utils, sink, list
    For i = 1 To rounds
        Set databases = CreateObject("QuillonLib.Databases")
        Set database = databases.Add("One")
        database.Description = "round " & i
        For Each database In databases
            database.Database = "pubs"
        Next
        Set utils = CreateObject("QuillonLib.Utils")
        Set sink = CreateObject("QuillonLib.EventSink")
        Host.Connect sink, "Nobody_"
        Set utils.EventSink = sink
        Host.Disconnect sink
        Set list = CreateObject("QuillonLib.KeyedList")
        list.Add databases, "databases"
        list.Add utils.EncryptText("text", "key")
        On Error Resume Next
        list.Add 1, "databases"
        On Error Goto 0
    Next
End Sub

Sub Comparison(rounds)
    Dim i, databases, database1, database2, utils, sink, results, same, different, missing, additional, toRight, toLeft
    For i = 1 To rounds
        Set databases = CreateObject("QuillonLib.Databases")
        Set database1 = NewDatabase(databases, "Source")
        Set database2 = NewDatabase(databases, "Target")
        Set utils = CreateObject("QuillonLib.Utils")
        Set sink = CreateObject("QuillonLib.EventSink")
        Host.Connect sink, "Nobody_"
        Set utils.EventSink = sink
        Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Orders]"), Nothing, Nothing)
        utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, _
            toRight, toLeft, 15, 0
        Host.Disconnect sink
    Next
End Sub

' A leak of one byte in each round of objects would be more than this.
Const Unsteady = 1000

Sub Steady(bytesBefore, handlesBefore, rounds, what)
    Dim bytes, handles
    bytes = Host.HeapBytes - bytesBefore
    handles = Host.HandleCount - handlesBefore
    Host.Echo what & ": " & bytes & " bytes and " & handles & " handles more after " & rounds & " rounds"
    IsTrue bytesBefore > 0 And handlesBefore > 0, what & ", both are measured"
    IsTrue bytes < Unsteady, what & ", memory"
    IsTrue handles < 10, what & ", handles"
End Sub

Dim bytes, handles
Round 200
bytes = Host.HeapBytes
handles = Host.HandleCount
Round 1000
Steady bytes, handles, 1000, "Objects"

Comparison 20
bytes = Host.HeapBytes
handles = Host.HandleCount
Comparison 1000
Steady bytes, handles, 1000, "Comparisons"
