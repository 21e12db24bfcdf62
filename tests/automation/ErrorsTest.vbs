' Every number that a member raises, with its description and its source, where the tests of its class
' do not have it: files, templates, comparisons, servers.
Option Explicit

Dim databases, database1, database2, utils, folder, files
Set databases = CreateObject("QuillonLib.Databases")
Set database1 = NewDatabase(databases, "Source")
Set database2 = NewDatabase(databases, "Target")
Set utils = CreateObject("QuillonLib.Utils")
Set files = CreateObject("Scripting.FileSystemObject")
folder = Host.Environment("QUILLON_TEST_FOLDER")

Function Compare(tables)
    Set Compare = utils.CompareContents(database1, database2, database2, tables, Nothing, Nothing)
End Function

Sub WriteFile(name, text)
    Dim file
    Set file = files.CreateTextFile(folder & "\" & name)
    file.Write text
    file.Close
End Sub

Sub TemplateFiles
    Dim store, done
    files.CreateFolder folder & "\folder.xml"
    Set store = CreateObject("QuillonLib.ComparisonTemplates")
    Equal False, store.Load(folder & "\folder.xml"), "Load of a folder"
    store.LoadTemplate "T"
    store.Database1 = "One"
    On Error Resume Next
    done = store.Persist
    Contains "Cannot write the file '", Err.Description, "its description"
    Raised 75, "*", "QuillonLib", "Persist where a folder is"
    On Error Goto 0
    Equal "One", store.Database1, "nothing is lost"

    WriteFile "null.xml", "<templates><lasttemplate name=""T""/><template id=""T""><database1/></template></templates>"
    Set store = CreateObject("QuillonLib.ComparisonTemplates")
    IsTrue store.Load(folder & "\null.xml"), "Load of a file that lacks a name"
    On Error Resume Next
    store.LoadTemplate "T"
    If Err.Number = 0 Then done = store.Database1
    Raised 94, "Invalid use of Null", "QuillonLib", "a name that is not there"
    On Error Goto 0

    WriteFile "broken.xml", "<templates><lasttemplate"
    Set store = CreateObject("QuillonLib.ComparisonTemplates")
    Equal False, store.Load(folder & "\broken.xml"), "Load of what is no XML"
    store.LoadTemplate "T"
    On Error Resume Next
    done = store.NewTemplate("O'Brien")
    Contains "template[@id='O'Brien']", Err.Description, "its description"
    Raised -2147467259, "*", "QuillonLib", "a name that a path cannot hold"
    On Error Goto 0
End Sub

' A property bag that holds one value.
Class Holding
    Public Value
    Public Sub WriteProperty(name, value)
    End Sub
    Public Function ReadProperty(name, absent)
        ReadProperty = absent
        If name = "Server" Then ReadProperty = Value
    End Function
End Class

Sub Bags
    Dim bag
    Set bag = New Holding
    bag.Value = Null
    On Error Resume Next
    database1.ReadProperties bag
    Raised 94, "Invalid use of Null", "QuillonLib", "Null in a bag"
    On Error Goto 0
    Equal "Source", database1.Database, "the settings stay"
End Sub

Sub Tables
    Dim results, started
    started = "Error comparing databases Source And Target" & vbCrLf & vbCrLf & "Error comparing "
    On Error Resume Next
    Set results = Compare(Array("[dbo].[Different]"))
    Raised -2147221502, utils.LastError, "CompareTable", "no column in common"
    Contains started & "[dbo].[Different]" & vbCrLf & "All columns differ", utils.LastError, "its text"
    Set results = Compare(Array("[dbo].[KeyDiffers]"))
    Raised 3704, utils.LastError, "QuillonLib", "a key column that the other side lacks"
    Set results = Compare(Array("[dbo].[Types]"))
    Raised -2147217900, utils.LastError, "QuillonLib", "a query that the server refuses"
    Contains started & "[dbo].[Types]" & vbCrLf, utils.LastError, "its text"
    Contains "xml", utils.LastError, "and its cause"
    On Error Goto 0
    utils.SuppressCompareProcessErrors = True
    Set results = Compare(Array("[dbo].[KeyDiffers]", "[dbo].[Different]", "[dbo].[Rows]"))
    utils.SuppressCompareProcessErrors = False
    Equal "Error comparing [dbo].[KeyDiffers]" & vbCrLf & "Key columns differ", results(1).Error, "Error of the one"
    Equal "Error comparing [dbo].[Different]" & vbCrLf & "All columns differ", results(2).Error, "Error of the other"
    Equal "", results(3).Error, "Error of a table that was compared"

    Dim same, different, missing, additional, toRight, toLeft
    Set results = Compare(Array("[dbo].[Stamped]", "[dbo].[Gone]"))
    On Error Resume Next
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, toRight, toLeft, 15, 0
    Raised -2147221502, "No script can be written for [dbo].[Stamped]: its key column [stamp] cannot be written into a script", "QuillonLib", "a key that no script can hold"
    On Error Goto 0
    RunOn database2, Array("DROP TABLE [dbo].[Gone]")
    toRight = "as it was"
    On Error Resume Next
    utils.GetRecordsets database1, database2, database2, results(2), same, different, missing, additional, toRight, toLeft, 15, 0
    Contains "Invalid object name", Err.Description, "its description"
    Raised -2147217865, "*", "QuillonLib", "a table that is gone"
    On Error Goto 0
    Equal "as it was", toRight, "a script that could not be written"
    IsTrue IsEmpty(toLeft), "a variable that was never set stays so"
End Sub

Sub Servers
    Dim database, names, loaded, catalog
    Set database = NewDatabase(databases, "Nowhere")
    On Error Resume Next
    Set catalog = database.Tables
    Raised 3265, "The server has no database named 'Nowhere'.", "QuillonLib", "a database that is not there"
    Equal "The server has no database named 'Nowhere'.", database.LastError, "LastError"
    database.Server = "127.0.0.1,1"
    loaded = database.Load
    Raised -2147467259, database.LastError, "QuillonLib", "a server that does not answer"
    IsTrue database.LastError <> "", "LastError of it"
    names = utils.AvailableDatabases("127.0.0.1,1", "sa", "sandbox")
    Raised -2147467259, utils.LastError, "QuillonLib", "AvailableDatabases of it"
    IsTrue utils.LastError <> "", "LastError of it"
    On Error Goto 0
End Sub

Sub Gone
    Dim results, same, different, missing, additional, toRight, toLeft
    Set results = Compare(Array("[dbo].[Rows]"))
    database2.Password = "wrong"
    On Error Resume Next
    utils.GetRecordsets database1, database2, database2, results(1), same, different, missing, additional, toRight, toLeft, 15, 0
    Contains "Login failed for user 'sa'", Err.Description, "its description"
    Raised -2147217843, "*", "QuillonLib", "GetRecordsets without a login"
    utils.GetUpdateScripts database1, database2, database2, results, toLeft, toRight, 15, 0
    Contains "Login failed for user 'sa'", Err.Description, "its description"
    Raised -2147217843, "*", "QuillonLib", "GetUpdateScripts without a login"
    On Error Goto 0
    database2.Password = "sandbox"
End Sub

TemplateFiles
Bags
Tables
Servers
Gone
