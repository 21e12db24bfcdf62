' Every member of Databases, and what its failures tell.
Option Explicit

Const NoSuchKey = "Invalid procedure call or argument"
Const KeyTaken = "This key is already associated with an element of this collection"

Sub Members
    Dim databases, first, second, third, walked, database
    Set databases = CreateObject("QuillonLib.Databases")
    Equal 0, databases.Count, "Count of a new collection"
    Equal False, databases.Dirty, "Dirty of a new collection"

    Set first = databases.Add
    Set second = databases.Add("Two")
    Set third = databases.Add
    Equal 3, databases.Count, "Count"
    IsTrue databases.Dirty, "Dirty after Add"
    Equal 2, second.ID, "ID"
    IsTrue databases.Item(1) Is first, "Item by position"
    IsTrue databases.Item("TWO") Is second, "Item by key, in another case"
    IsTrue databases("two") Is second, "Item is the default member"
    IsTrue databases(2.4) Is second, "a position is rounded"
    IsTrue databases("two") Is databases.Item(2), "one object, however it is asked for"

    walked = ""
    For Each database In databases
        walked = walked & database.ID & " "
    Next
    Equal "1 2 3 ", walked, "For Each"

    databases.Remove "two"
    Equal 2, databases.Count, "Count after Remove"
    IsTrue databases.ItemFromID(2) Is Nothing, "ItemFromID of what is gone"
    IsTrue databases.ItemFromID(3) Is third, "ItemFromID"
    Equal 4, databases.Add("Two").ID, "an ID is not given twice"
    Equal 2, second.ID, "a removed object stays as it was"

    databases.RemoveID 1
    IsTrue databases(1) Is third, "RemoveID"
    databases.RemoveID 99
    Equal 2, databases.Count, "RemoveID of what is not there"
    databases.Remove 1
    Equal 4, databases(1).ID, "Remove by position"

    IsTrue databases.ItemExists("Two"), "ItemExists by key"
    IsTrue databases.ItemExists(1), "ItemExists by position"
    Equal False, databases.ItemExists("Three"), "ItemExists of an absent key"
    Equal False, databases.ItemExists(2), "ItemExists beyond the end"
    Equal False, databases.ItemExists(Null), "ItemExists of Null"
    Equal False, databases.ItemExists(Nothing), "ItemExists of Nothing"
    Equal False, databases.ItemExists(Empty), "ItemExists of Empty"

    databases.Dirty = False
    IsTrue databases.Dirty, "Dirty is never cleared"
End Sub

Sub WalkedWhileChanged
    Dim databases, database, walked
    Set databases = CreateObject("QuillonLib.Databases")
    databases.Add
    databases.Add
    databases.Add
    walked = 0
    For Each database In databases
        databases.RemoveID database.ID
        walked = walked + 1
    Next
    Equal 3, walked, "For Each while items are removed"
    Equal 0, databases.Count, "what is left"
End Sub

Sub Failures
    Dim databases, found
    Set databases = CreateObject("QuillonLib.Databases")
    databases.Add "One"

    On Error Resume Next
    databases.Add "ONE"
    Raised 457, KeyTaken, "QuillonLib", "a key twice"
    Equal 1, databases.Count, "nothing was added"
    Equal 3, databases.Add.ID, "the ID was used up"
    databases.Add 5
    Raised 13, "Type mismatch", "QuillonLib", "a key that is no text"
    databases.Add Null
    Raised 13, "Type mismatch", "QuillonLib", "a key that is Null"
    Equal 4, databases.Add.ID, "a key of another kind uses up no ID"
    databases.Remove 3

    Set found = databases.Item("Two")
    Raised 5, NoSuchKey, "QuillonLib", "Item of an absent key"
    Set found = databases(3)
    Raised 5, NoSuchKey, "QuillonLib", "Item beyond the end"
    Set found = databases(0)
    Raised 5, NoSuchKey, "QuillonLib", "Item at 0"
    Set found = databases(-1)
    Raised 5, NoSuchKey, "QuillonLib", "Item at -1"
    Set found = databases(Empty)
    Raised 5, NoSuchKey, "QuillonLib", "Item of Empty"
    Set found = databases(Null)
    Raised 13, "Type mismatch", "QuillonLib", "Item of Null"
    Set found = databases(Nothing)
    Raised 13, "Type mismatch", "QuillonLib", "Item of Nothing"
    Set found = databases(10000000000)
    Raised 6, "Overflow", "QuillonLib", "Item far beyond the end"
    Set found = databases(databases)
    Raised 13, "Type mismatch", "QuillonLib", "Item of an object without a default value"
    databases.Remove "Two"
    Raised 5, NoSuchKey, "QuillonLib", "Remove of an absent key"
    databases.Remove 3
    Raised 5, NoSuchKey, "QuillonLib", "Remove beyond the end"
    Equal 2, databases.Count, "nothing was removed"

    databases.RemoveID "one"
    RaisedNumber 13, "RemoveID of a text"
    databases.RemoveID
    RaisedNumber 449, "RemoveID without an argument"
    databases.RemoveID 1, 2
    RaisedNumber 450, "RemoveID with two arguments"
    found = databases.ItemExists
    RaisedNumber 449, "ItemExists without an argument"
    databases.Count = 3
    RaisedNumber 438, "Count cannot be written"
    databases.Dirty = "maybe"
    RaisedNumber 13, "Dirty of a text"
    databases.Clear
    RaisedNumber 438, "no such member"
    On Error Goto 0
End Sub

Members
WalkedWhileChanged
Failures
