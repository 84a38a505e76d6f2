' What a script sees of the component: values of its own types, errors with number, source and text.
' Needs no box. The last line is "END 0" when everything is as expected.
Option Explicit

Dim zentrel, result, failures, number, fixedArray(2), dynamicArray

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

fixedArray(0) = 8
ReDim dynamicArray(2)
result = zentrel.TELIC2Read(1, fixedArray, dynamicArray)
ExpectError "arrays for a member to come", &H80004001
result = zentrel.TELIC2EnumDevices(zentrel)
ExpectError "an object for a member to come", &H80004001
result = zentrel.TELIC2EnumMessages(Nothing)
ExpectError "Nothing for a member to come", &H80004001

zentrel.DeviceOpen 0, False
ExpectError "a method called as a statement", 0
Expect "a status as text", zentrel.Status(zentrel.DeviceOpen(0)), _
  "COM port invalid or not available"
zentrel.DeviceClose
ExpectError "closing", 0

WScript.Echo "END " & failures
