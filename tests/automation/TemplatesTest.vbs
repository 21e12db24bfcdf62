' Every member of ComparisonTemplates. The file is in a folder of the test's own.
Option Explicit

Dim folder
folder = Host.Environment("QUILLON_TEST_FOLDER")

Function NewStore(name)
    Dim store
    Set store = CreateObject("QuillonLib.ComparisonTemplates")
    Equal False, store.Load(folder & "\" & name), "Load of a file that is not there"
    Set NewStore = store
End Function

Function Listed(list)
    Dim value
    Listed = ""
    For Each value In list
        Listed = Listed & value & " "
    Next
End Function

Sub WholeStore
    Dim store, again, fresh
    Set store = NewStore("store.xml")
    Equal "", store.CurrentTemplate, "CurrentTemplate before anything is read"
    fresh = store.LoadTemplate("")
    IsTrue IsEmpty(fresh), "LoadTemplate gives Empty"
    Equal "Default", store.CurrentTemplate, "CurrentTemplate"
    Equal False, store.Dirty, "Dirty"
    store.Database1 = "The Source"
    store.Database2 = "The Target"
    store.Database3 = "The Target"
    IsTrue store.Dirty, "Dirty after a change"
    IsTrue store.Persist, "Persist"
    Equal False, store.Dirty, "Dirty after Persist"
    store.Database3 = "The Third"
    Equal "The Third", store.Database3, "Database3"
    store.Flush
    Equal "The Target", store.Database3, "Flush drops what was not saved"
    store.Database3 = "The Third"
    IsTrue store.Persist, "Persist"
    Equal False, store.Dirty, "Dirty after Persist"
    IsTrue store.NewTemplate("Weekly"), "NewTemplate"
    Equal False, store.NewTemplate("WEEKLY"), "NewTemplate of a name that is there"
    Equal "Weekly", store.CurrentTemplate, "CurrentTemplate after NewTemplate"
    Equal "Default Weekly ", Listed(store.Templates), "Templates"
    Equal 2, store.Templates.Count, "Templates is a KeyedList"
    Equal "Weekly", store.Templates("weekly"), "by name"
    IsTrue store.Templates Is store.Templates, "one list is one object"

    Set again = CreateObject("QuillonLib.ComparisonTemplates")
    IsTrue again.Load(folder & "\store.xml"), "Load"
    Equal False, again.Load(folder & "\store.xml"), "Load of the file that is open"
    again.LoadTemplate "Weekly"
    Equal "The Source", again.Database1, "Database1"
    Equal "The Target", again.Database2, "Database2"
    Equal "The Third", again.Database3, "Database3"
    Equal "Weekly", again.CurrentTemplate, "the current template"

    Equal False, store.RemoveTemplate("default"), "RemoveTemplate of Default"
    IsTrue store.RemoveTemplate("Weekly"), "RemoveTemplate"
    Equal "Default ", Listed(store.Templates), "Templates after RemoveTemplate"
    IsTrue store.Persist, "Persist"
End Sub

Sub Picks
    Dim store, again, columns, names, index
    Set store = NewStore("picks.xml")
    store.LoadTemplate "Picks"
    store.Add tmpTable, "[dbo].[Orders]"
    store.Add tmpTable, "[dbo].[Customers]"
    store.Add tmpColumn, "[dbo].[Orders]", "id"
    store.Add tmpColumn, "[dbo].[Orders]", "total"
    store.Add tmpIndex, "[dbo].[Customers]", "UX_Customers_name"
    IsTrue store.Dirty, "Dirty"
    IsTrue store.ItemExists(tmpTable, "[DBO].[orders]"), "ItemExists of a table"
    IsTrue store.ItemExists(tmpColumn, "[dbo].[Orders]", "TOTAL"), "ItemExists of a column"
    Equal False, store.ItemExists(tmpColumn, "[dbo].[Orders]", "note"), "ItemExists of another column"
    IsTrue store.ItemExists(tmpIndex, "[dbo].[Customers]", "UX_Customers_name"), "ItemExists of an index"
    Equal False, store.ItemExists(tmpIndex, "[dbo].[Customers]", "ux_customers_name"), "an index name counts letter for letter"
    IsTrue store.ItemExists(3, "anything"), "ItemExists of another kind"

    Equal "[dbo].[Orders] [dbo].[Customers] ", Listed(store.Items(tmpTable)), "Items of tables"
    Set columns = store.Items(tmpColumn)
    IsTrue columns Is store.Items(tmpColumn), "the column lists are the store's own"
    Equal 1, columns.Count, "tables with column picks"
    Equal "id total ", Listed(columns("[dbo].[Orders]")), "the columns"
    Equal "UX_Customers_name", store.Items(tmpIndex).Item("[dbo].[Customers]"), "the index"
    IsTrue IsEmpty(store.Items(3)), "Items of another kind"

    columns("[dbo].[Orders]").Add "note", "note"
    IsTrue store.ItemExists(tmpColumn, "[dbo].[Orders]", "note"), "what is added to the list reaches the store"
    Set names = CreateObject("QuillonLib.KeyedList")
    names.Add "name", "name"
    columns.Add names, "[dbo].[Customers]"
    names.Add "since", "since"
    IsTrue columns("[dbo].[Customers]") Is names, "a list that was added is the same object"
    IsTrue store.ItemExists(tmpColumn, "[dbo].[Customers]", "since"), "and shared from then on"
    columns.Remove "[dbo].[Customers]"
    store.Remove tmpColumn, "[dbo].[Orders]", "id"
    Equal "total note ", Listed(columns("[dbo].[Orders]")), "Remove of a column"

    IsTrue store.Persist, "Persist"
    Set again = CreateObject("QuillonLib.ComparisonTemplates")
    IsTrue again.Load(folder & "\picks.xml"), "Load"
    again.LoadTemplate "Picks"
    Equal "[dbo].[Orders] [dbo].[Customers] ", Listed(again.Items(tmpTable)), "the tables again"
    Equal "total note ", Listed(again.Items(tmpColumn).Item(1)), "the columns again"
    store.Remove tmpTable, "[dbo].[Orders]"
    store.Remove tmpColumn, "[dbo].[Orders]"
    store.Remove tmpIndex, "[dbo].[Customers]"
    Equal 0, columns.Count, "Remove of all columns of a table"
    Equal "[dbo].[Customers] ", Listed(store.Items(tmpTable)), "Remove of a table"

    store.Remove tmpTable, "[dbo].[Customers]"
    IsTrue IsArray(store.Items(tmpTable)), "an empty array is an array"
    Equal "", Listed(store.Items(tmpTable)), "and has no elements"
End Sub

Sub Checked
    Dim store, databases
    Set databases = CreateObject("QuillonLib.Databases")
    NewDatabase databases, "Source"
    NewDatabase databases, "Target"
    Set store = NewStore("checked.xml")
    IsTrue store.DatabasesObject Is Nothing, "DatabasesObject"
    Set store.DatabasesObject = databases
    IsTrue store.DatabasesObject Is databases, "DatabasesObject is what was set"
    Equal "", store.Database1, "read before it is changed"
    store.Database1 = "The Source"
    store.Database2 = "The Target"
    store.Add tmpTable, "[dbo].[Orders]"
    store.Add tmpTable, "[dbo].[OnlyHere]"
    store.Add tmpColumn, "[dbo].[Orders]", "nothing"
    store.Add tmpIndex, "[dbo].[Orders]", "PK_Orders"
    Equal "[dbo].[Orders] ", Listed(store.Items(tmpTable)), "what both databases have"
    Equal 0, store.Items(tmpColumn).Count, "a column that is not there"
    Equal "PK_Orders", store.Items(tmpIndex).Item("[dbo].[Orders]"), "an index"
    Set store.DatabasesObject = Nothing
    IsTrue store.DatabasesObject Is Nothing, "DatabasesObject set to Nothing"
End Sub

Sub Failures
    Dim store, columns, made
    Set store = NewStore("failures.xml")
    store.LoadTemplate "Failures"
    store.Add tmpTable, "T"
    store.Add tmpIndex, "T", "I"
    On Error Resume Next
    store.Add tmpTable, "t"
    Raised 457, "This key is already associated with an element of this collection", "QuillonLib", "a table twice"
    store.Add tmpIndex, "T", "J"
    RaisedNumber 457, "a second index"
    store.Remove tmpTable, "U"
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "Remove of what is not picked"
    store.Remove tmpColumn, "T"
    RaisedNumber 5, "Remove of columns that are not picked"
    Set store.DatabasesObject = store
    Raised 13, "Type mismatch", "QuillonLib", "DatabasesObject of another kind"
    Set columns = store.Items(tmpColumn)
    columns.Add "text", "T"
    Raised 13, "Type mismatch", "QuillonLib", "a text among column lists"
    columns.Add store, "T"
    Raised 13, "Type mismatch", "QuillonLib", "another object among column lists"
    store.Items(tmpIndex).Add store, "V"
    Raised 13, "Type mismatch", "QuillonLib", "an object among names"
    made = store.NewTemplate("O'Brien")
    RaisedNumber -2147467259, "a name that a path cannot hold"
    store.Add
    RaisedNumber 449, "Add without arguments"
    store.Add "table", "T"
    RaisedNumber 13, "Add of a kind that is no number"
    store.Database1 = Null
    RaisedNumber 13, "Database1 of Null"
    made = store.Load
    RaisedNumber 449, "Load without an argument"
    On Error Goto 0
End Sub

WholeStore
Picks
Checked
Failures
