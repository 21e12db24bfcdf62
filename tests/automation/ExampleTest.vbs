' Runs examples/windows/compare.vbs, which is read after this file, as cscript would: WScript and the
' client of the server, which this host does not have, are stood in for.
Option Explicit

Dim output
output = ""

Class ArgumentList
    Public Default Function Item(index)
        Select Case index
            Case 0
                Item = Host.Environment("QUILLON_TEST_SERVER")
            Case 1
                Item = "Source"
            Case 2
                Item = "Target"
            Case 3
                Item = "sa"
        End Select
    End Function
    Public Property Get Count
        Count = 4
    End Property
End Class

Class Keyboard
    Public Function ReadLine
        ReadLine = "sandbox"
    End Function
End Class

Class ScriptingHost
    Private argumentList_
    Public StdIn
    Private Sub Class_Initialize
        Set argumentList_ = New ArgumentList
        Set StdIn = New Keyboard
    End Sub
    Public Property Get Arguments
        Set Arguments = argumentList_
    End Property
    Public Sub Echo(text)
        output = output & text & vbLf
    End Sub
    Public Function CreateObject(name, prefix)
        Dim made
        Set made = Host.CreateObject(name)
        Host.Connect made, prefix
        Set CreateObject = made
    End Function
End Class

' The results of a batch. As with ADO, an error is raised when its own result is reached.
Class SqlResults
    Public Function NextRecordset
        Dim messages
        messages = Host.NextSql
        Set NextRecordset = Nothing
        If IsNull(messages) Then Exit Function
        If messages <> "" Then Err.Raise vbObjectError, "Server", messages
        Set NextRecordset = Me
    End Function
End Class

Class SqlConnection
    Public CommandTimeout
    Private Sub Class_Initialize
        CommandTimeout = 30
    End Sub
    Public Sub Open(text)
        Host.OpenSql text
    End Sub
    Public Function Execute(batch)
        Dim messages
        If CommandTimeout <> 0 Then Host.Fail "A long batch would end after " & CommandTimeout & " seconds"
        messages = Host.StartSql(batch)
        If messages <> "" Then Err.Raise vbObjectError, "Server", messages
        Set Execute = New SqlResults
    End Function
    Public Sub Close
        Host.CloseSql
    End Sub
End Class

Function CreateObject(name)
    If name = "ADODB.Connection" Then
        Set CreateObject = New SqlConnection
    Else
        Set CreateObject = Host.CreateObject(name)
    End If
End Function

Dim WScript
Set WScript = New ScriptingHost
