' What the test scripts check with, and the two databases that they compare.
Option Explicit

Const cpoShowIdentical = 1
Const cpoShowDifferent = 2
Const cpoShowMissing = 4
Const cpoShowAdditional = 8
Const cpoIgnoreReplCols = 16
Const cpoLimitRecordsReturned = 128
Const cpoNoScriptComments = 256
Const tmpTable = 0
Const tmpColumn = 1
Const tmpIndex = 2

' In place of the engine's own function of that name, which in one engine keeps the class in use.
Function CreateObject(name)
    Set CreateObject = Host.CreateObject(name)
End Function

Function Shown(value)
    If IsNull(value) Then
        Shown = "Null"
    ElseIf IsEmpty(value) Then
        Shown = "Empty"
    ElseIf IsObject(value) Then
        If value Is Nothing Then Shown = "Nothing" Else Shown = "an object"
    ElseIf IsArray(value) Then
        Shown = "an array"
    ElseIf VarType(value) = vbInteger Or VarType(value) = vbLong Then
        Shown = "number " & value
    Else
        Shown = TypeName(value) & " " & CStr(value)
    End If
End Function

' The same type and value; whole numbers of 16 and of 32 bits are one type.
Sub Equal(expected, actual, what)
    If Shown(expected) = Shown(actual) Then
        Host.Pass
    Else
        Host.Fail what & ": expected " & Shown(expected) & ", got " & Shown(actual)
    End If
End Sub

Sub IsTrue(condition, what)
    Equal True, condition, what
End Sub

Sub Contains(part, text, what)
    If InStr(text, part) > 0 Then
        Host.Pass
    Else
        Host.Fail what & ": " & part & " is not in " & text
    End If
End Sub

' To be called where errors are passed over: the error of the statement before.
Sub Raised(number, description, source, what)
    Dim n, d, s
    n = Err.Number
    d = Err.Description
    s = Err.Source
    Err.Clear
    Equal number, n, what & ", number"
    If description <> "*" Then Equal description, d, what & ", description"
    If source <> "*" Then Equal source, s, what & ", source"
End Sub

' Errors of the engine, which give their text in its own words.
Sub RaisedNumber(number, what)
    Raised number, "*", "*", what
End Sub

Sub NotRaised(what)
    If Err.Number = 0 Then
        Host.Pass
    Else
        Host.Fail what & ": error " & Err.Number & ", " & Err.Description
        Err.Clear
    End If
End Sub

Function NewDatabase(databases, name)
    Dim database
    Set database = databases.Add(name)
    database.Server = Host.Environment("QUILLON_TEST_SERVER")
    database.Database = name
    database.Username = "sa"
    database.Password = "sandbox"
    database.Description = "The " & name
    Set NewDatabase = database
End Function

' Runs the batches of a script on one connection.
Sub RunOn(database, statements)
    Dim statement, messages
    Host.OpenSql "driver={SQL Server};server=" & database.Server & ";database=" & _
        database.Database & ";uid=sa;pwd=sandbox"
    For Each statement In statements
        messages = ""
        If statement <> "" Then messages = Host.RunSql(statement)
        If messages <> "" Then Host.Fail "The server refused " & statement & ": " & messages
    Next
    Host.CloseSql
End Sub
