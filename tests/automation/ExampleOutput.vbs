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
