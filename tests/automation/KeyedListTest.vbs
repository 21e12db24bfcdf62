' Every member of KeyedList, as a list of the caller's own.
Option Explicit

Sub Members
    Dim list, walked, value, other
    Set list = CreateObject("QuillonLib.KeyedList")
    Set other = CreateObject("QuillonLib.KeyedList")
    Equal 0, list.Count, "Count of a new list"
    list.Add "PK_Orders", "[dbo].[Orders]"
    list.Add 5
    list.Add other, "list"
    list.Add Null
    Equal 4, list.Count, "Count"
    Equal "PK_Orders", list("[DBO].[orders]"), "Item by key, in another case"
    Equal 5, list.Item(2), "Item by position"
    IsTrue list("list") Is other, "Item that is an object"
    IsTrue IsNull(list(4)), "Item that is Null"
    walked = ""
    For Each value In list
        If Not IsObject(value) Then walked = walked & value & ";"
    Next
    Equal "PK_Orders;5;;", walked, "For Each"
    IsTrue list.ItemExists("LIST"), "ItemExists by key"
    IsTrue list.ItemExists(4), "ItemExists by position"
    Equal False, list.ItemExists(5), "ItemExists beyond the end"
    Equal False, list.ItemExists("nothing"), "ItemExists of an absent key"
    Equal False, list.ItemExists(Null), "ItemExists of Null"
    list.Remove "list"
    list.Remove 1
    Equal 2, list.Count, "Count after Remove"
    Equal 5, list(1), "what is left"
    list.Add "again", "LIST"
    Equal "again", list("list"), "a key that is free again"
End Sub

Sub Failures
    Dim list, value
    Set list = CreateObject("QuillonLib.KeyedList")
    list.Add 1, "one"
    On Error Resume Next
    list.Add 2, "ONE"
    Raised 457, "This key is already associated with an element of this collection", "QuillonLib", "a key twice"
    list.Add 2, 2
    Raised 13, "Type mismatch", "QuillonLib", "a key that is no text"
    value = list("two")
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "an absent key"
    list.Remove 2
    Raised 5, "Invalid procedure call or argument", "QuillonLib", "Remove beyond the end"
    list.Remove Null
    Raised 13, "Type mismatch", "QuillonLib", "Remove of Null"
    list.Add
    RaisedNumber 449, "Add without an argument"
    list.Add 1, "two", 3
    RaisedNumber 450, "Add with three arguments"
    Equal 1, list.Count, "nothing was added"
    On Error Goto 0
End Sub

Members
Failures
