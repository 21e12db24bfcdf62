' Every member of Database and of what its catalog holds.
Option Explicit

' A property bag as a script has it.
Class Bag
    Private values
    Private names
    Private Sub Class_Initialize
        Set values = CreateObject("Scripting.Dictionary")
    End Sub
    Public Sub WriteProperty(name, value)
        If values.Exists(name) Then Forget name
        values.Add name, value
        names = names & name & " "
    End Sub
    Public Function ReadProperty(name, absent)
        If Not values.Exists(name) Then
            ReadProperty = absent
        ElseIf IsObject(values(name)) Then
            Set ReadProperty = values(name)
        Else
            ReadProperty = values(name)
        End If
    End Function
    Public Function Written
        Written = names
    End Function
    Public Sub Forget(name)
        values.Remove name
    End Sub
End Class

Function NewSource
    Set NewSource = NewDatabase(CreateObject("QuillonLib.Databases"), "Source")
End Function

Sub Properties
    Dim database
    Set database = CreateObject("QuillonLib.Database")
    Equal "", database.Server, "Server"
    Equal "", database.Database, "Database"
    Equal "", database.Username, "Username"
    Equal "", database.Password, "Password"
    Equal False, database.NTSecurity, "NTSecurity"
    Equal "", database.Description, "Description"
    Equal "", database.LinkedServer, "LinkedServer"
    Equal False, database.CheckDependencies, "CheckDependencies"
    Equal 0, database.ID, "ID"
    Equal "", database.LastError, "LastError"

    database.Server = "HOST\INSTANCE"
    database.Database = "pubs"
    database.Username = "user"
    database.Password = "secret"
    database.NTSecurity = True
    database.Description = "Größe Łódź"
    database.LinkedServer = "KARNOBE_1"
    database.CheckDependencies = True
    Equal "HOST\INSTANCE", database.Server, "Server"
    Equal "pubs", database.Database, "Database"
    Equal "user", database.Username, "Username"
    Equal "secret", database.Password, "Password"
    IsTrue database.NTSecurity, "NTSecurity"
    Equal "Größe Łódź", database.Description, "Description"
    Equal "KARNOBE_1", database.LinkedServer, "LinkedServer"
    IsTrue database.CheckDependencies, "CheckDependencies"

    Dim flag
    flag = 0
    database.CheckDependencies = flag
    Equal False, database.CheckDependencies, "CheckDependencies of a variable"
    Equal 0, flag, "the variable stays"
    database.Server = 127
    Equal "127", database.Server, "a number becomes text"
    database.Server = Empty
    Equal "", database.Server, "Empty becomes no text"

    On Error Resume Next
    database.Server = Null
    RaisedNumber 13, "Server of Null"
    database.NTSecurity = "maybe"
    RaisedNumber 13, "NTSecurity of a text"
    database.CheckDependencies = "maybe"
    RaisedNumber 13, "CheckDependencies of a text"
    database.ID = 5
    RaisedNumber 438, "ID cannot be written"
    On Error Goto 0
End Sub

Sub Logins
    Dim database, loaded, number, refused
    Set database = NewSource
    IsTrue database.Load, "Load"
    Equal "", database.LastError, "LastError"
    database.Password = "wrong"
    On Error Resume Next
    loaded = database.Load
    number = Err.Number
    refused = Err.Description
    Equal "QuillonLib", Err.Source, "the source of a refused login"
    Err.Clear
    On Error Goto 0
    Equal -2147217843, number, "the number of a refused login"
    Contains "Login failed for user 'sa'", refused, "a refused login"
    Equal refused, database.LastError, "LastError"
    database.Password = "sandbox"
    database.Database = "Nowhere"
    IsTrue database.Load, "Load does not look at the database"
    On Error Resume Next
    Set loaded = database.Tables
    RaisedNumber 3265, "Tables of a database that is not there"
    On Error Goto 0
    database.Database = "Source"
    Equal 6, database.Tables.Count, "the next read starts afresh"
    Equal "", database.LastError, "LastError is cleared"
End Sub

Sub Tables
    Dim database, catalog, table, refreshed
    Set database = NewSource
    Set catalog = database.Tables
    IsTrue catalog Is database.Tables, "the catalog is kept"
    refreshed = database.Refresh
    IsTrue IsEmpty(refreshed), "Refresh gives Empty"
    Equal False, catalog Is database.Tables, "Refresh drops the catalog"
    Equal 6, catalog.Count, "the old one stays"

    Set table = catalog.Item("[DBO].[customers]")
    IsTrue table Is catalog(1), "by key and by position"
    Equal "Customers", table.Name, "Name"
    Equal "dbo", table.Owner, "Owner"
    Equal "[dbo].[Customers]", table.Description, "Description"
    Equal False, table.IsView, "IsView"
    IsTrue catalog.ItemExists("dbo", "Customers"), "ItemExists"
    IsTrue catalog.ItemExists("DBO", "customers"), "ItemExists in another case"
    Equal False, catalog.ItemExists("dbo", "Nothing"), "ItemExists of what is not there"
    Equal 0, table.ParentDependencies.Count, "dependencies that were not asked for"

    On Error Resume Next
    Set table = catalog("[dbo].[Nothing]")
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "an absent table"
    Set table = catalog(7)
    RaisedNumber 5, "a table beyond the end"
    Equal False, catalog.ItemExists("[dbo].[Customers]"), "never reached"
    RaisedNumber 449, "ItemExists with one argument"
    Set table = catalog.Item(1, 2)
    RaisedNumber 450, "Item with two arguments"
    On Error Goto 0
End Sub

Sub ColumnsAndIndexes
    Dim table, column, index, walked
    Set table = NewSource.Tables("[dbo].[Customers]")
    IsTrue table.Columns Is table.Columns, "the columns are kept"
    Equal 3, table.Columns.Count, "columns"
    Equal "[id], [name], [since]", table.Columns.ColumnList, "ColumnList"
    walked = ""
    For Each column In table.Columns
        walked = walked & column.Name & " "
    Next
    Equal "id name since ", walked, "For Each"
    Set column = table.Columns("NAME")
    IsTrue column Is table.Columns.Item(2), "by key and by position"
    Equal "name", column.Name, "Name"
    Equal False, column.PrimaryKey, "PrimaryKey"
    Equal False, column.CannotCompare, "CannotCompare"
    Equal "", column.DataType, "DataType, which the catalog does not fill"
    Equal 0, column.Length, "Length"
    Equal False, column.Computed, "Computed"
    Equal 0, column.NumericScale, "NumericScale"
    Equal 0, column.NumericPrecision, "NumericPrecision"
    Equal False, column.AllowNulls, "AllowNulls"
    column.CannotCompare = True
    Equal "[id], [since]", table.Columns.ColumnList, "ColumnList without the column"
    column.PrimaryKey = True
    IsTrue table.Columns(2).CannotCompare And table.Columns(2).PrimaryKey, "what was set stays"
    Equal "[id], [name], [since]", table.Columns.ColumnList, "a key column is listed"
    IsTrue table.Columns.ItemExists("id"), "ItemExists"
    Equal False, table.Columns.ItemExists("Id2"), "ItemExists of an absent column"
    Equal False, table.Columns.ItemExists(4), "ItemExists beyond the end"

    Equal 2, table.Indexes.Count, "indexes"
    walked = ""
    For Each index In table.Indexes
        walked = walked & index.Name & " " & index.PrimaryKey & " "
    Next
    Equal "PK_Customers True UX_Customers_name False ", walked, "For Each"
    IsTrue table.Indexes("pk_customers") Is table.Indexes.Item(1), "by key and by position"
    IsTrue table.Indexes.ItemExists("UX_Customers_name"), "ItemExists"
    Equal False, table.Indexes.ItemExists("UX"), "ItemExists of an absent index"

    On Error Resume Next
    Set column = table.Columns("nothing")
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "an absent column"
    Set index = table.Indexes("nothing")
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "an absent index"
    column.Name = "other"
    RaisedNumber 438, "Name cannot be written"
    column.PrimaryKey = "maybe"
    RaisedNumber 13, "PrimaryKey of a text"
    On Error Goto 0
End Sub

Sub Dependencies
    Dim database, orders, customers, dependency, walked
    Set database = NewSource
    database.CheckDependencies = True
    Set orders = database.Tables("[dbo].[Orders]")
    Set customers = database.Tables("[dbo].[Customers]")
    Equal 1, orders.ParentDependencies.Count, "parents"
    Equal 1, customers.ChildDependencies.Count, "children"
    Equal "[dbo].[Orders]", customers.ChildDependencies.AbsoluteItem(1).Name, "AbsoluteItem"
    Equal "[dbo].[Customers]", orders.ParentDependencies("[DBO].[CUSTOMERS]").Name, "Item"
    IsTrue orders.ParentDependencies.Item("[dbo].[Customers]") Is orders.ParentDependencies.AbsoluteItem(1), "one object"
    IsTrue orders.ParentDependencies.ItemExists("[dbo].[Customers]"), "ItemExists"
    Equal False, orders.ParentDependencies.ItemExists("[dbo].[Orders]"), "ItemExists of what is none"
    walked = ""
    For Each dependency In customers.ChildDependencies
        walked = walked & dependency.Name
    Next
    Equal "[dbo].[Orders]", walked, "For Each"
    On Error Resume Next
    Set dependency = orders.ParentDependencies(1)
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "a number is a name here"
    Set dependency = orders.ParentDependencies.AbsoluteItem(2)
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "AbsoluteItem beyond the end"
    Set dependency = orders.ParentDependencies.AbsoluteItem("first")
    RaisedNumber 13, "AbsoluteItem of a text"
    On Error Goto 0
End Sub

Sub Settings
    Dim database, restored, settings, count
    Set settings = New Bag
    Set database = NewSource
    database.CheckDependencies = True
    count = database.Tables.Count
    database.WriteProperties settings
    Equal "NTSecurity Username Database Server Description Tables ", settings.Written, "what is saved"

    Set restored = CreateObject("QuillonLib.Database")
    restored.Password = "to be forgotten"
    restored.ReadProperties settings
    Equal database.Server, restored.Server, "Server"
    Equal "Source", restored.Database, "Database"
    Equal "sa", restored.Username, "Username"
    Equal "The Source", restored.Description, "Description"
    Equal "", restored.Password, "Password"
    Equal False, restored.CheckDependencies, "CheckDependencies"
    IsTrue restored.Tables Is database.Tables, "the catalog"

    settings.Forget "Tables"
    settings.Forget "Description"
    settings.WriteProperty "NTSecurity", "True"
    restored.ReadProperties settings
    Equal "", restored.Description, "what the bag does not hold"
    IsTrue restored.NTSecurity, "a text for a flag"

    On Error Resume Next
    database.WriteProperties Nothing
    Raised 91, "Object variable not set", "QuillonLib", "no bag"
    database.WriteProperties database
    Raised 13, "Type mismatch", "QuillonLib", "an object that is no bag"
    database.ReadProperties "bag"
    RaisedNumber 13, "a text for a bag"
    settings.WriteProperty "Tables", database
    restored.ReadProperties settings
    Raised 13, "Type mismatch", "QuillonLib", "another object for a catalog"
    On Error Goto 0
End Sub

Properties
Logins
Tables
ColumnsAndIndexes
Dependencies
Settings
