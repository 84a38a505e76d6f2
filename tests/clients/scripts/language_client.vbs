' What a script sees of the component: values of its own types, errors with number, source and text.
' Arguments: the port of the box, and the names of interface 2, interval 3 and message 8 in the catalog.
' The last line is "END 0" when everything is as expected.
Option Explicit

Dim zentrel, result, failures, number, cbo, held, fixedArray(2), dynamicArray, emptyArray()

Sub Expect(what, actual, expected)
  If CStr(actual) <> CStr(expected) Then
    failures = failures + 1
    WScript.Echo "FAILED " & what & ": " & actual & " instead of " & expected
  End If
End Sub

Sub ExpectError(what, expected)
  Expect what, Err.Number, expected
  Err.Clear
End Sub

failures = 0
On Error Resume Next
Set zentrel = CreateObject("QmZentrel.Zentrel")
ExpectError "creating", 0

result = zentrel.ZentrelSignature(5)
Expect "number of a fault", Err.Number, 65535
Expect "source of a fault", Err.Source, "QmZentrel"
Expect "description of a fault", Err.Description, "Application-defined or object-defined error"
Err.Clear

result = zentrel.Power
ExpectError "reading what can only be set", 438
result = zentrel.NoSuchMember
ExpectError "an unknown member", 438
result = zentrel.DeviceOpen()
ExpectError "a missing argument", 450
result = zentrel.DeviceOpen("abc")
ExpectError "a text that is no number", 13
result = zentrel.ZentrelSignature(40000)
ExpectError "a number that does not fit", 6

zentrel.Util = "12"
Expect "a number given as text", zentrel.Util, 12
number = 7
zentrel.Util = number
Expect "a number given by reference", zentrel.Util, 7
zentrel.IDToggle = True
Expect "a Boolean", zentrel.IDToggle, True
ExpectError "setting properties", 0

' --- Names ---
zentrel.DeviceMIF = 2
zentrel.TXI = 3
Expect "the name of the interface", zentrel.MIFName, WScript.Arguments(1)
Expect "the name of the interval", zentrel.TXIName, WScript.Arguments(2)
Expect "any name", zentrel.Name("SOFTWARE\QuenmoorComms\TELIC2\Messages", 8), WScript.Arguments(3)
Expect "a missing name", zentrel.Name("SOFTWARE\QuenmoorComms\TELIC2\Messages\", 999), "Invalid"
ExpectError "names", 0

' --- A combo box that is an object of the script ---
Class Box
  Public Texts
  Private numbers
  Public Count
  Private newest
  Public Selection

  Private Sub Class_Initialize
    ReDim Texts(40)
    ReDim numbers(40)
  End Sub
  Public Sub Clear
    Count = 0
    Selection = -1
  End Sub
  Public Sub AddItem(item)
    newest = Count
    Texts(newest) = item
    Count = Count + 1
  End Sub
  Public Property Get NewIndex
    NewIndex = newest
  End Property
  Public Property Get ListCount
    ListCount = Count
  End Property
  Public Property Get ItemData(index)
    ItemData = numbers(index)
  End Property
  Public Property Let ItemData(index, value)
    numbers(index) = value
  End Property
  Public Property Let ListIndex(index)
    Selection = index
  End Property
End Class

Set cbo = New Box
cbo.Clear
Expect "filling a box with messages", zentrel.TELIC2EnumMessages(cbo, 9), True
ExpectError "filling a box", 0
Expect "the first item", cbo.Texts(0) & "=" & cbo.ItemData(0), "NOP=-1"
Expect "the second item", cbo.Texts(1) & "=" & cbo.ItemData(1), "08 " & WScript.Arguments(3) & "=8"
Expect "the selected item", cbo.ItemData(cbo.Selection), 9
Expect "the default of the default", zentrel.TELIC2EnumMessages(cbo), True
Expect "the item selected by default", cbo.Selection, 0
Expect "filling a box with devices", zentrel.TELIC2EnumDevices(cbo), True
zentrel.TELIC2Device = cbo.Texts(0)
Expect "the device", zentrel.TELIC2Device, cbo.Texts(0)
Expect "filling a box with tests", zentrel.TELIC2EnumTestMessages(cbo, 99), True
Expect "the last item", cbo.Texts(cbo.Count - 1) & "=" & cbo.ItemData(cbo.Selection), "Invalid=99"
Expect "Nothing is no box", zentrel.TELIC2EnumMessages(Nothing), False
Expect "the component is no box", zentrel.TELIC2EnumDevices(zentrel), False
ExpectError "boxes", 0

' --- Arrays in every shape that the language has; message 8 holds &H1234, message 9 &H5678 ---
Expect "a length", zentrel.TELIC2_Length(8), 2
zentrel.DeviceOpen CLng(WScript.Arguments(0))
zentrel.DeviceInit
fixedArray(0) = 8
fixedArray(1) = "9"
ReDim dynamicArray(1)
Expect "a fixed and a dynamic array", zentrel.TELIC2Read(2, fixedArray, dynamicArray), 0
Expect "the first message", dynamicArray(0), &H1234
Expect "the second message", dynamicArray(1), &H5678
Expect "the type of a number that was read", TypeName(dynamicArray(0)), "Long"
Expect "arrays within expressions", zentrel.TELIC2Read(1, Array(9), Array(0)), 0
held = Array(0, 0, 0)
Expect "an array in a variable", zentrel.TELIC2Read(2, Array(9, 8), held), 0
Expect "what the variable holds", held(0) & " " & held(1) & " " & held(2), "22136 4660 0"
Expect "writing", zentrel.TELIC2Write(1, Array(8), Array(&H4321)), 0
Expect "reading back", zentrel.TELIC2Read(1, Array(8), held), 0
Expect "what was written", held(0), &H4321
Expect "an unknown message", zentrel.Status(zentrel.TELIC2Read(1, Array(7), held)), _
  "Invalid data parameter for command"
ExpectError "arrays", 0
result = zentrel.TELIC2Read(1, Array(8), emptyArray)
ExpectError "an array without dimensions", 65535
result = zentrel.TELIC2Read(2, Array(8, 9), Array(0))
ExpectError "an array that is too short", 65535
result = zentrel.TELIC2Read(1, 8, held)
ExpectError "a number for an array", 13
zentrel.DeviceClose

zentrel.DeviceOpen 0, False
ExpectError "a method called as a statement", 0
Expect "a status as text", zentrel.Status(zentrel.DeviceOpen(0)), _
  "COM port invalid or not available"
zentrel.DeviceClose
ExpectError "closing", 0

WScript.Echo "END " & failures
