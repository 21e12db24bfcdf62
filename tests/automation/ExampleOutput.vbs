' What the example said.
Sub Said(line)
    If InStr(vbLf & output, vbLf & line & vbLf) > 0 Then
        Host.Pass
    Else
        Host.Fail "The example did not say: " & line & vbLf & output
    End If
End Sub

Said "[dbo].[Customers]: 1 rows differ, 3 rows in the first, 3 in the second"
Said "[dbo].[Same]: identical"
Said "[dbo].[NoKey]: no key to compare by"
Said "  missing: id=12 customer=3 total=3 note=only here"
Said "100 % Comparing Customers"
Said "Tables that still differ: 0"

' A batch whose second statement fails: the example notices, and nothing of the script stays.
Sub Refused
    Dim database, number, text
    Set database = NewDatabase(CreateObject("QuillonLib.Databases"), "Target")
    On Error Resume Next
    RunScript database, "BEGIN TRANSACTION" & vbCrLf & "GO" & vbCrLf & _
        "INSERT INTO [dbo].[Same] VALUES (3, 1)" & vbCrLf & _
        "INSERT INTO [dbo].[Same] VALUES (1, 1)" & vbCrLf & _
        "INSERT INTO [dbo].[Same] VALUES (4, 1)" & vbCrLf & "GO" & vbCrLf & "COMMIT"
    number = Err.Number
    text = Err.Description
    On Error Goto 0
    If number = vbObjectError And InStr(text, "PK_Same") > 0 Then
        Host.Pass
    Else
        Host.Fail "An error behind the first result was not noticed: " & number & " " & text
    End If
    text = Host.RunSql("IF @@TRANCOUNT <> 0 RAISERROR('still open', 16, 1)")
    If text = "" Then Host.Pass Else Host.Fail "The server did not end the transaction: " & text
    Host.OpenSql "driver={SQL Server};server=" & database.Server & ";database=Target;uid=sa;pwd=sandbox"
    text = Host.RunSql("IF (SELECT COUNT(*) FROM [dbo].[Same]) <> 2 RAISERROR('rows stayed', 16, 1)")
    Host.CloseSql
    If text = "" Then Host.Pass Else Host.Fail "A script that failed left something behind: " & text
End Sub

Refused
