' Comparisons: choices, events, failures; every member of their results.
Option Explicit

Dim database1, database2, utils
Set database1 = NewDatabase(CreateObject("QuillonLib.Databases"), "Source")
Set database2 = NewDatabase(CreateObject("QuillonLib.Databases"), "Target")
Set utils = CreateObject("QuillonLib.Utils")

Dim heard, failures, cancelProcess
heard = ""
failures = ""
cancelProcess = False

Sub First_Status(sMessage, iPercent, bCancel)
    heard = heard & "first " & sMessage & " " & VarType(sMessage) & VarType(iPercent) & VarType(bCancel) & ";"
End Sub

Sub Second_Status(sMessage, iPercent, bCancel)
    heard = heard & "second " & bCancel & ";"
    If sMessage = "Comparing Same" Then bCancel = True
End Sub

Sub Third_ProcessError(lErrNum, sError, bCancelProcess)
    failures = failures & lErrNum & " " & sError & ";"
    bCancelProcess = cancelProcess
End Sub

Function Compare(tables, indexes, columns)
    Set Compare = utils.CompareContents(database1, database2, database2, tables, indexes, columns)
End Function

Sub Choices
    Dim indexes, columns, names, results
    Set indexes = CreateObject("QuillonLib.KeyedList")
    Set columns = CreateObject("QuillonLib.KeyedList")
    Set names = CreateObject("QuillonLib.KeyedList")
    indexes.Add "UX_Customers_name", "[DBO].[customers]"
    names.Add "id"
    columns.Add names, "[dbo].[Orders]"
    Set results = Compare(Array("[dbo].[Customers]", "[dbo].[Orders]"), indexes, columns)
    IsTrue results("[dbo].[Customers]").Columns("name").PrimaryKey, "the chosen index"
    Equal False, results(1).Columns("id").PrimaryKey, "in place of the primary key"
    IsTrue results(2).Columns("total").CannotCompare, "a column that was not chosen"
    Equal 4, results(2).RecordsInUnion, "rows by the chosen columns"

    Set columns = CreateObject("QuillonLib.KeyedList")
    columns.Add Array("id", "customer"), "[dbo].[Orders]"
    columns.Add "no list", "[dbo].[Customers]"
    Set results = Compare(Array("[dbo].[Orders]", "[dbo].[Customers]"), Nothing, columns)
    IsTrue results(1).Columns("note").CannotCompare, "chosen by an array"
    Equal False, results(1).Columns("customer").CannotCompare, "chosen by an array"
    Equal False, results(2).Columns("name").CannotCompare, "what is no list is no choice"

    Set indexes = CreateObject("Scripting.Dictionary")
    Set columns = CreateObject("Scripting.Dictionary")
    Set names = CreateObject("Scripting.Dictionary")
    names.Add "name", "any"
    indexes.Add "[dbo].[Customers]", "UX_Customers_name"
    columns.Add "[dbo].[Orders]", names
    Set results = Compare(Array("[dbo].[Customers]", "[dbo].[Orders]"), indexes, columns)
    IsTrue results(1).Columns("name").PrimaryKey, "an index in a dictionary"
    IsTrue results(2).Columns("note").CannotCompare, "columns in a dictionary"
    Equal 1, columns.Count, "the dictionary stays as it was"
    Set results = utils.CompareContentsEx(database1, database2, database2, Array("[dbo].[Customers]", "[dbo].[Orders]"), indexes, columns)
    IsTrue results(1).Columns("name").PrimaryKey, "CompareContentsEx, index"
    IsTrue results(2).Columns("note").CannotCompare, "CompareContentsEx, columns"

    On Error Resume Next
    indexes.Add "[DBO].[CUSTOMERS]", "PK_Customers"
    Set results = utils.CompareContentsEx(database1, database2, database2, Array("[dbo].[Same]"), indexes, columns)
    RaisedNumber 457, "keys that differ in case"
    Set results = utils.CompareContentsEx(database1, database2, database2, Array("[dbo].[Same]"), Nothing, columns)
    RaisedNumber 91, "no dictionary"
    Set results = utils.CompareContentsEx(database1, database2, database2, Array("[dbo].[Same]"), database1, columns)
    RaisedNumber 438, "an object that is no dictionary"
    Set results = Compare(Array("[dbo].[Same]"), database1, Nothing)
    Raised 13, "Type mismatch", "QuillonLib", "an object that is no collection"
    On Error Goto 0

    Set results = Compare(Array("[dbo].[Same]"), Empty, Null)
    IsTrue results(1).Identical, "Empty and Null are no choice either"

    Set columns = CreateObject("QuillonLib.KeyedList")
    columns.Add Array("id", "ID"), "[dbo].[Same]"
    utils.SuppressCompareProcessErrors = True
    Set results = Compare(Array("[dbo].[Same]", "[dbo].[NoKey]"), Nothing, columns)
    utils.SuppressCompareProcessErrors = False
    Contains "This key is already associated", results(1).Error, "a column chosen twice"
    Equal "", results(2).Error, "it fails its table alone"
    UnreadableLists
End Sub

' A list of columns that cannot be read fails its table: fewer columns were to be compared than all.
Sub FailsItsTable(list)
    Dim columns, results
    Set columns = CreateObject("Scripting.Dictionary")
    columns.Add "[dbo].[Customers]", list
    Set results = Compare(Array("[dbo].[Customers]", "[dbo].[NoKey]"), Nothing, columns)
    Contains "Error comparing [dbo].[Customers]" & vbCrLf, results(1).Error, "a list that cannot be read"
    Equal 0, results(1).RecordsIn1, "nothing is compared"
    Equal "", results(2).Error, "it fails its table alone"
    Set results = utils.CompareContentsEx(database1, database2, database2, Array("[dbo].[Customers]"), _
        CreateObject("Scripting.Dictionary"), columns)
    Contains "Error comparing [dbo].[Customers]" & vbCrLf, results(1).Error, "of CompareContentsEx"
End Sub

Sub IsNoChoice(list)
    Dim columns, results
    Set columns = CreateObject("Scripting.Dictionary")
    columns.Add "[dbo].[Customers]", list
    Set results = Compare(Array("[dbo].[Customers]"), Nothing, columns)
    Equal "", results(1).Error, "no list at all"
    Equal False, results(1).Columns("name").CannotCompare, "is no choice"
End Sub

Sub UnreadableLists
    utils.SuppressCompareProcessErrors = True
    FailsItsTable Array("id", Null)
    FailsItsTable Array("id", Array("name"))
    FailsItsTable Array("id", database1)
    FailsItsTable database1
    IsNoChoice Null
    IsNoChoice Empty
    IsNoChoice Nothing
    utils.SuppressCompareProcessErrors = False
End Sub

' What an operation does not set stays as it was; what it sets to nothing becomes Nothing.
Sub UnsetOutputs
    Dim results, before, same, different, missing, additional, toRight, toLeft
    Set results = Compare(Array("[dbo].[NoKey]", "[dbo].[Same]"), Nothing, Nothing)
    different = Null
    Set missing = Nothing
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, toRight, toLeft, 15, 0
    IsTrue IsEmpty(same), "a variable that was never set, of a table without a key"
    IsTrue IsNull(different), "a variable that held Null"
    IsTrue missing Is Nothing, "a variable that held Nothing"
    IsTrue IsEmpty(additional), "the last row set"
    IsTrue IsEmpty(toRight) And IsEmpty(toLeft), "the scripts"
    utils.GetRecordsets database1, database2, database2, results(2), same, different, missing, additional, "", "", cpoShowMissing, 0
    Equal "Nothing", Shown(same), "a row set that was not asked for, in a variable never set"
    Equal "Nothing", Shown(different), "in one that held Null"
    Equal 0, missing.RecordCount, "one that was asked for"
    Set before = missing
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, toRight, toLeft, 15, 0
    IsTrue missing Is before, "a row set of an earlier call"
    additional = Empty
    database2.Password = "wrong"
    On Error Resume Next
    utils.GetRecordsets database1, database2, database2, results(2), same, different, missing, additional, toRight, toLeft, 15, 0
    RaisedNumber -2147217843, "no login"
    On Error Goto 0
    database2.Password = "sandbox"
    IsTrue IsEmpty(additional), "nothing is set by what failed before"
End Sub

Sub ResultMembers
    Dim found, result, results, walked, added
    Set results = Compare(Array("[dbo].[Same]", "[dbo].[NoKey]", "[dbo].[Types]"), Nothing, Nothing)
    IsTrue results(1).Identical, "Identical"
    Equal False, results(2).HasPrimaryKey, "a table without a key"
    Equal False, results(2).Identical, "is not called identical"
    Equal 1, results(2).RecordsIn1, "its rows are counted"
    walked = ""
    For Each result In results
        walked = walked & result.Name & " "
    Next
    Equal "[dbo].[Same] [dbo].[NoKey] [dbo].[Types] ", walked, "For Each"
    IsTrue results("[DBO].[same]") Is results.Item(1), "by key and by position"
    IsTrue results.ItemExists("[dbo].[Same]"), "ItemExists"
    Equal False, results.ItemExists("[dbo].[Nothing]"), "ItemExists of an absent key"
    Equal "varchar 20", results(3).Columns("varchar").DataType & " " & results(3).Columns("varchar").Length, "DataType and Length"
    Equal "2 of 12", results(3).Columns("decimal").NumericScale & " of " & results(3).Columns("decimal").NumericPrecision, "NumericScale and NumericPrecision"
    IsTrue results(3).Columns("nvarchar").AllowNulls, "AllowNulls"
    Equal False, results(3).Columns("id").AllowNulls, "AllowNulls of a key"
    IsTrue results(3).Columns Is results(3).Columns, "Columns is one object"

    Set added = results.Add("[dbo].[New]")
    IsTrue results(4) Is added, "Add"
    Equal "", added.Name, "Name of a new result"
    Equal 0, added.Columns.Count, "Columns of a new result"
    results.Add
    Equal 5, results.Count, "Add without a key"
    results.Remove "[dbo].[Same]"
    results.Remove 1
    Equal 3, results.Count, "Remove"
    On Error Resume Next
    results.Add "[dbo].[NEW]"
    RaisedNumber 457, "Add of a key twice"
    results.Remove "[dbo].[Same]"
    RaisedNumber 5, "Remove of an absent key"
    Set found = results("[dbo].[Same]")
    RaisedNumber 5, "Item of an absent key"
    added.Identical = True
    RaisedNumber 438, "Identical cannot be written"
    On Error Goto 0
End Sub

Sub TableLists
    Dim results, tables(2)
    tables(1) = "[dbo].[Same]"
    tables(2) = "[dbo].[Orders]"
    tables(0) = "[dbo].[Types]"
    Equal 3, Compare(tables, Nothing, Nothing).Count, "an array that is a variable"
    Equal "[dbo].[Types]", tables(0), "which stays as it was"
    Equal 2, Compare(Split("[dbo].[Same] [dbo].[Orders]"), Nothing, Nothing).Count, "an array of another function"
    Equal 0, Compare(Array(), Nothing, Nothing).Count, "an empty list"
    Equal 1, Compare(utils.GetSQLStatementsFromScript("[dbo].[Same]"), Nothing, Nothing).Count, "an array of the library"
    On Error Resume Next
    Set results = Compare("[dbo].[Same]", Nothing, Nothing)
    RaisedNumber 13, "a text for an array"
    Set results = Compare(Array(Nothing), Nothing, Nothing)
    RaisedNumber 13, "an array of objects"
    Set results = Compare(Null, Nothing, Nothing)
    RaisedNumber 13, "Null for an array"
    Set results = Compare(Empty, Nothing, Nothing)
    RaisedNumber 13, "Empty for an array"
    On Error Goto 0
End Sub

Sub Arguments
    Dim results, toRight, toLeft, a, b, c, d
    On Error Resume Next
    Set results = utils.CompareContents(Nothing, database2, database2, Array("[dbo].[Same]"), Nothing, Nothing)
    RaisedNumber 91, "Nothing for a database"
    Set results = utils.CompareContents(utils, database2, database2, Array("[dbo].[Same]"), Nothing, Nothing)
    RaisedNumber 13, "another object for a database"
    Set results = utils.CompareContents("Source", database2, database2, Array("[dbo].[Same]"), Nothing, Nothing)
    RaisedNumber 13, "a text for a database"
    Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Same]"), Nothing)
    RaisedNumber 449, "an argument too few"
    Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Same]"), Nothing, Nothing, 1)
    RaisedNumber 450, "an argument too many"
    Set utils.EventSink = database1
    RaisedNumber 13, "another object for an event sink"
    utils.SuppressCompareProcessErrors = "maybe"
    RaisedNumber 13, "SuppressCompareProcessErrors of a text"
    utils.LastError = ""
    RaisedNumber 438, "LastError cannot be written"
    utils.GetUpdateScripts database1, database2, database2, database1, toLeft, toRight, 0, 0
    RaisedNumber 13, "another object for results"
    utils.GetRecordsets database1, database2, database2, Nothing, a, b, c, d, toRight, toLeft, 0, 0
    RaisedNumber 91, "Nothing for a result"
    Set a = database1
    Set results = Compare(Array("[dbo].[Same]"), Nothing, Nothing)
    utils.GetRecordsets database1, database2, database2, results(1), a, b, c, d, toRight, toLeft, 0, 0
    RaisedNumber 13, "another object where a row set is to come"
    utils.GetRecordsets database1, database2, database2, results(1), b, b, c, d, toRight, toLeft, Null, 0
    RaisedNumber 13, "Null for options"
    On Error Goto 0
    toRight = 5
    utils.GetRecordsets database1, database2, database2, results(1), Nothing, Nothing, Nothing, Nothing, toRight, toLeft, 0, 0
    Equal vbString, VarType(toRight), "a script replaces what the variable held"
End Sub

Sub Events
    Dim sink, other, results
    Set sink = CreateObject("QuillonLib.EventSink")
    Host.Connect sink, "First_"
    Host.Connect sink, "Second_"
    Set utils.EventSink = sink
    Set sink = Nothing
    Set results = Compare(Array("[dbo].[Same]", "[dbo].[Orders]"), Nothing, Nothing)
    IsTrue results Is Nothing, "cancelled by the second of two listeners"
    Contains "first Connecting to The Source 8211;second False;", heard, "types of the arguments, and the order"
    Equal 0, InStr(heard, "Comparing Orders"), "no table after the cancel"
    Set utils.EventSink = Nothing
    heard = ""
    Equal 1, Compare(Array("[dbo].[Same]"), Nothing, Nothing).Count, "without a sink"
    Equal "", heard, "no events without a sink"
End Sub

Sub FailedTables
    Dim sink, results, number, description, source
    On Error Resume Next
    Set results = Compare(Array("[dbo].[Same]", "[dbo].[OnlyHere]"), Nothing, Nothing)
    number = Err.Number
    description = Err.Description
    source = Err.Source
    On Error Goto 0
    Equal 3704, number, "the number of a table that fails early"
    Equal "QuillonLib", source, "its source"
    Contains "Error comparing databases Source And Target", description, "its description"
    Equal description, utils.LastError, "LastError"

    Set sink = CreateObject("QuillonLib.EventSink")
    Host.Connect sink, "Third_"
    Set utils.EventSink = sink
    utils.SuppressCompareProcessErrors = True
    IsTrue utils.SuppressCompareProcessErrors, "SuppressCompareProcessErrors"
    Set results = Compare(Array("[dbo].[OnlyHere]", "[dbo].[Same]"), Nothing, Nothing)
    Equal 2, results.Count, "the comparison goes on"
    Contains "Error comparing [dbo].[OnlyHere]", results(1).Error, "Error"
    Equal "3704 Operation is not allowed when the object is closed.;", failures, "ProcessError"
    Equal "", utils.LastError, "LastError stays empty"
    cancelProcess = True
    IsTrue Compare(Array("[dbo].[OnlyHere]", "[dbo].[Same]"), Nothing, Nothing) Is Nothing, "cancelled by a ProcessError"
    utils.SuppressCompareProcessErrors = False
    Host.Disconnect sink
    Set utils.EventSink = Nothing

    database1.Password = "wrong"
    On Error Resume Next
    Set results = Compare(Array("[dbo].[Same]"), Nothing, Nothing)
    RaisedNumber -2147217843, "a refused login"
    On Error Goto 0
    database1.Password = "sandbox"
    Contains "Error connecting to server", utils.LastError, "LastError of a refused login"
End Sub

Choices
UnsetOutputs
ResultMembers
TableLists
Arguments
Events
FailedTables
