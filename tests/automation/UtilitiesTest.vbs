' The operations of Utils that need no comparison.
Option Explicit

Function Listed(list)
    Dim value
    Listed = ""
    For Each value In list
        Listed = Listed & "[" & value & "]"
    Next
End Function

Sub Discovery
    Dim utils, names, server
    Set utils = CreateObject("QuillonLib.Utils")
    server = Host.Environment("QUILLON_TEST_SERVER")
    names = utils.AvailableDatabases(server, "sa", "sandbox")
    Equal 1, LBound(names), "the first database stands at 1"
    Contains "[Source]", Listed(names), "a database"
    Contains "[Target]", Listed(names), "another"
    Dim user
    user = "sa"
    names = utils.AvailableDatabases(server, user, "sandbox")
    Equal "sa", user, "a variable for the user stays as it was"
    On Error Resume Next
    names = utils.AvailableDatabases(server, "sa", "wrong")
    RaisedNumber -2147217843, "a refused login"
    On Error Goto 0
    Contains "Login failed for user 'sa'", utils.LastError, "LastError"
    On Error Resume Next
    names = utils.AvailableDatabases(server, "sa")
    RaisedNumber -2147217843, "without a password"
    names = utils.AvailableDatabases
    RaisedNumber 449, "without a server"
    names = utils.AvailableDatabases(1, 2, 3, 4)
    RaisedNumber 450, "with too many arguments"
    On Error Goto 0
End Sub

Sub Splitting
    Dim utils, batches, line
    Set utils = CreateObject("QuillonLib.Utils")
    line = vbCrLf & "GO" & vbCrLf
    batches = utils.GetSQLStatementsFromScript("A" & line & "B" & line)
    Equal 0, LBound(batches), "from 0"
    Equal 2, UBound(batches), "an empty last piece is kept"
    Equal "[A][B][]", Listed(batches), "the pieces"
    Equal "A", batches(0), "an element"
    Equal -1, UBound(utils.GetSQLStatementsFromScript("")), "an empty script"
    Equal "[5]", Listed(utils.GetSQLStatementsFromScript(5)), "a number is a text"
    On Error Resume Next
    batches = utils.GetSQLStatementsFromScript(Null)
    RaisedNumber 13, "Null"
    batches = utils.GetSQLStatementsFromScript(utils)
    RaisedNumber 13, "an object"
    On Error Goto 0
End Sub

Sub Encryption
    Dim utils, bytes, text
    Set utils = CreateObject("QuillonLib.Utils")
    text = "Größe " & Chr(0) & " Łódź"
    bytes = utils.EncryptText(text, "pass phrase")
    Equal vbArray + vbByte, VarType(bytes), "an array of bytes"
    Equal text, utils.DecryptText(bytes, "pass phrase"), "there and back"
    IsTrue utils.DecryptText(bytes, "another") <> text, "a wrong pass phrase gives garbage"
    bytes = utils.EncryptText("secret", "key")
    Equal "secret", utils.DecryptText(utils.EncryptText("secret", "key"), "key"), "without a variable"
    ' RC4 is its own inverse: garbage of the right length comes back.
    text = utils.DecryptText("abc", "key")
    Equal 3, Len(text), "a text for bytes"
    Equal "abc", utils.DecryptText(text, "key"), "twice is none"
    On Error Resume Next
    bytes = utils.EncryptText("", "key")
    Raised 9, "Subscript out of range", "QuillonLib", "an empty text"
    text = utils.DecryptText(5, "key")
    Raised 13, "Type mismatch", "QuillonLib", "a number for bytes"
    text = utils.DecryptText(Null, "key")
    Raised 13, "Type mismatch", "QuillonLib", "Null for bytes"
    text = utils.DecryptText(Array(1, 2), "key")
    Raised 13, "Type mismatch", "QuillonLib", "an array of numbers for bytes"
    On Error Goto 0
End Sub

Discovery
Splitting
Encryption
