' Every member of Recordset, Fields and Field, and the value of every type of column.
Option Explicit

Const NoRecord = "Either BOF or EOF is True. The operation needs a current record."
Const NoItem = "Item cannot be found in the collection corresponding to the requested name or ordinal."
Const IsClosed = "Operation is not allowed when the object is closed."

' The rows that only database 1 has.
Function RowsOf(table)
    Dim databases, database1, database2, utils, results, same, different, missing, additional, toRight, toLeft
    Set databases = CreateObject("QuillonLib.Databases")
    Set database1 = NewDatabase(databases, "Source")
    Set database2 = NewDatabase(databases, "Target")
    Set utils = CreateObject("QuillonLib.Utils")
    Set results = utils.CompareContents(database1, database2, database2, Array(table), Nothing, Nothing)
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, _
        toRight, toLeft, cpoShowMissing + cpoShowDifferent, 0
    IsTrue same Is Nothing, "a row set that was not asked for is Nothing"
    Set RowsOf = missing
End Function

' Customers has one row that is missing; more rows come from an index that no row agrees on.
Function ManyRows
    Dim databases, database1, database2, utils, results, same, different, missing, additional, toRight, toLeft, indexes
    Set databases = CreateObject("QuillonLib.Databases")
    Set database1 = NewDatabase(databases, "Source")
    Set database2 = NewDatabase(databases, "Target")
    Set utils = CreateObject("QuillonLib.Utils")
    Set indexes = CreateObject("QuillonLib.KeyedList")
    indexes.Add "UX_Customers_name", "[dbo].[Customers]"
    Set results = utils.CompareContents(database1, database2, database2, Array("[dbo].[Customers]"), indexes, Nothing)
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, _
        toRight, toLeft, cpoShowMissing + cpoShowAdditional, 0
    Equal 2, additional.RecordCount, "additional rows"
    Set ManyRows = missing
End Function

Sub Cursor
    Dim rows
    Set rows = ManyRows
    Equal 2, rows.RecordCount, "RecordCount"
    Equal 1, rows.State, "State"
    Equal False, rows.BOF, "BOF"
    Equal False, rows.EOF, "EOF"
    Equal 1, rows.AbsolutePosition, "AbsolutePosition"
    Equal 2, rows("id").Value, "the first row"
    rows.MoveNext
    Equal 3, rows("id").Value, "the second row"
    Equal 2, rows.AbsolutePosition, "AbsolutePosition"
    rows.MoveNext
    IsTrue rows.EOF, "EOF"
    Equal -3, rows.AbsolutePosition, "AbsolutePosition past the last row"
    rows.MovePrevious
    Equal 3, rows("id").Value, "MovePrevious from the end"
    rows.MoveFirst
    rows.MovePrevious
    IsTrue rows.BOF, "BOF"
    Equal -2, rows.AbsolutePosition, "AbsolutePosition before the first row"
    rows.MoveNext
    Equal 2, rows("id").Value, "MoveNext from the beginning"
    rows.MoveLast
    Equal 3, rows("id").Value, "MoveLast"
    rows.AbsolutePosition = 1
    Equal 2, rows("id").Value, "AbsolutePosition set"

    On Error Resume Next
    Dim value
    rows.AbsolutePosition = 3
    Raised 3001, "An argument is of the wrong type or out of the acceptable range.", "QuillonLib", "AbsolutePosition past the end"
    rows.AbsolutePosition = 0
    RaisedNumber 3001, "AbsolutePosition 0"
    rows.MoveLast
    rows.MoveNext
    NotRaised "MoveNext from the last row"
    rows.MoveNext
    Raised 3021, NoRecord, "QuillonLib", "MoveNext past the end"
    value = rows("id").Value
    Raised 3021, NoRecord, "QuillonLib", "a value past the end"
    rows.MoveFirst
    rows.MovePrevious
    rows.MovePrevious
    Raised 3021, NoRecord, "QuillonLib", "MovePrevious before the beginning"
    rows.RecordCount = 1
    RaisedNumber 438, "RecordCount cannot be written"
    On Error Goto 0
End Sub

Sub NoRows
    Dim rows, value
    Set rows = RowsOf("[dbo].[Same]")
    Equal 0, rows.RecordCount, "RecordCount"
    IsTrue rows.BOF And rows.EOF, "BOF and EOF"
    Equal -1, rows.AbsolutePosition, "AbsolutePosition without rows"
    Equal 2, rows.Fields.Count, "there are fields"
    On Error Resume Next
    rows.MoveFirst
    Raised 3021, NoRecord, "QuillonLib", "MoveFirst"
    rows.MoveLast
    Raised 3021, NoRecord, "QuillonLib", "MoveLast"
    rows.MovePrevious
    Raised 3021, NoRecord, "QuillonLib", "MovePrevious"
    value = rows.GetRows
    Raised 3021, NoRecord, "QuillonLib", "GetRows"
    rows.AbsolutePosition = 1
    Raised 3021, NoRecord, "QuillonLib", "AbsolutePosition"
    On Error Goto 0
End Sub

Sub FieldsOfRows
    Dim rows, field, walked, found
    Set rows = ManyRows
    walked = ""
    For Each field In rows.Fields
        walked = walked & field.Name & " " & field.Type & " "
    Next
    Equal "id 3 name 202 since 135 ", walked, "For Each over Fields"
    Equal 3, rows.Fields.Count, "Count"
    Equal "name", rows.Fields(1).Name, "by number, from 0"
    Equal "name", rows.Fields.Item("NAME").Name, "by name, in another case"
    IsTrue rows.Fields("name") Is rows(1), "one field is one object"
    IsTrue rows.Fields Is rows.Fields, "and so are the fields"
    Set field = rows("id")
    rows.MoveNext
    Equal 3, field.Value, "a field follows the row"
    Equal "3", "" & field, "Value is the default member"
    On Error Resume Next
    Set found = rows.Fields("nothing")
    Raised 3265, NoItem, "QuillonLib", "an absent name"
    Set found = rows(3)
    Raised 3265, NoItem, "QuillonLib", "a number beyond the end"
    Set found = rows(-1)
    Raised 3265, NoItem, "QuillonLib", "a number before the beginning"
    Set found = rows(Null)
    Raised 13, "Type mismatch", "QuillonLib", "Null"
    field.Value = 5
    RaisedNumber 438, "Value cannot be written"
    On Error Goto 0
End Sub

Sub Values
    Dim rows
    Set rows = RowsOf("[dbo].[Types]")
    Equal vbLong, VarType(rows("id").Value), "int"
    Equal True, rows("bit").Value, "bit"
    Equal vbByte, VarType(rows("tinyint").Value), "tinyint"
    Equal "200", CStr(rows("tinyint").Value), "tinyint"
    Equal vbInteger, VarType(rows("smallint").Value), "smallint"
    Equal -5, rows("smallint").Value, "smallint"
    Equal 20, VarType(rows("bigint").Value), "bigint"
    Equal vbSingle, VarType(rows("real").Value), "real"
    Equal vbDouble, VarType(rows("float").Value), "float"
    Equal "0.25", CStr(rows("float").Value), "float"
    Equal vbCurrency, VarType(rows("money").Value), "money"
    Equal "12.3456", CStr(rows("money").Value), "money"
    Equal 14, VarType(rows("decimal").Value), "decimal"
    Equal "123456789012345678901234567890123456.78", rows("wide").Value, "a decimal that automation has no number for"
    Equal vbDate, VarType(rows("datetime").Value), "datetime"
    Equal 2001, Year(rows("datetime").Value), "datetime"
    Equal 6, Second(rows("datetime").Value), "datetime"
    Equal "abc  ", rows("char").Value, "char"
    Equal "text", rows("varchar").Value, "varchar"
    Equal "Größe", rows("nvarchar").Value, "nvarchar"
    Equal vbArray + vbByte, VarType(rows("binary").Value), "varbinary"
    Equal "{0E984725-C51C-4BF4-9960-E1C80E27ABA0}", rows("guid").Value, "uniqueidentifier"
    IsTrue IsNull(rows("nothing").Value), "NULL"

    Dim field, types
    types = ""
    For Each field In rows.Fields
        types = types & field.Type & " "
    Next
    Equal "3 11 17 2 20 4 5 6 131 131 135 129 200 202 204 72 202 ", types, "the types of the fields"
End Sub

Sub AllAtOnce
    Dim rows, block
    Set rows = ManyRows
    block = rows.GetRows
    Equal 2, UBound(block, 1), "fields in the first dimension, from 0"
    Equal 1, UBound(block, 2), "rows in the second"
    Equal "Grace", block(1, 0), "a cell"
    Equal 3, block(0, 1), "another"
    IsTrue rows.EOF, "GetRows moves past what it gave"
    rows.MoveFirst
    block = rows.GetRows(1)
    Equal 0, UBound(block, 2), "so many rows"
    Equal 2, rows.AbsolutePosition, "the row behind them"
    block = rows.GetRows(-1, 1, "name")
    Equal 0, UBound(block, 1), "one field"
    Equal "Grace", block(0, 0), "from the first row"
    block = rows.GetRows(5, 2, Array("name", 0))
    Equal 0, UBound(block, 2), "from the last row"
    Equal 3, block(1, 0), "fields by name and by number"
    On Error Resume Next
    rows.MoveFirst
    block = rows.GetRows(1, 7)
    RaisedNumber 3001, "a bookmark"
    block = rows.GetRows(1, 0, "nothing")
    Raised 3265, NoItem, "QuillonLib", "an absent field"
    On Error Goto 0
End Sub

Sub Closed
    Dim rows, field, value
    Set rows = ManyRows
    Set field = rows("id")
    rows.Close
    Equal 0, rows.State, "State"
    On Error Resume Next
    rows.Close
    Raised 3704, IsClosed, "QuillonLib", "Close"
    value = rows.RecordCount
    Raised 3704, IsClosed, "QuillonLib", "RecordCount"
    value = rows.EOF
    Raised 3704, IsClosed, "QuillonLib", "EOF"
    value = rows.BOF
    Raised 3704, IsClosed, "QuillonLib", "BOF"
    rows.MoveFirst
    Raised 3704, IsClosed, "QuillonLib", "MoveFirst"
    value = rows.GetRows
    Raised 3704, IsClosed, "QuillonLib", "GetRows"
    value = field.Value
    Raised 3704, IsClosed, "QuillonLib", "Value"
    value = field.Name
    Raised 3704, IsClosed, "QuillonLib", "Name"
    value = rows.Fields.Count
    Raised 3704, IsClosed, "QuillonLib", "Fields"
    value = rows.AbsolutePosition
    Raised 3704, IsClosed, "QuillonLib", "AbsolutePosition"
    On Error Goto 0
End Sub

Cursor
NoRows
FieldsOfRows
Values
AllAtOnce
Closed
