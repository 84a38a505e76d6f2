' Reads a transponder, changes its utility code and reading, writes it and reads it back.
'
'   cscript //nologo change_transponder.vbs PORT UTILITY READING
'
' PORT is the number of the COM port with the box. The script is 32-bit, as the component is: on
' 64-bit Windows start it with C:\Windows\SysWOW64\cscript.exe.
' Works with and without a catalog, and with the simulator, whose dialogs then play the box.
' Ends with 0 when the transponder holds what was written, otherwise with 1.
Option Explicit

Const S_OKAY = 0
Const S_BAD_PORT = 3
Const MIF_MASK_TYPE = 15
Const INTERFACES = "SOFTWARE\QuenmoorComms\Kernel\MIF"

Dim index, zentrel, port, newUtility, newReading, initialised

Sub Say(text)
  WScript.Echo text
End Sub

' Ends the script unless the command has succeeded.
Sub Check(what, status)
  If status = S_OKAY Then Exit Sub
  Say what & " failed with status " & status & ": " & zentrel.Status(status)
  zentrel.DeviceClose
  WScript.Quit 1
End Sub

Sub CheckError(what)
  If Err.Number = 0 Then Exit Sub
  Say what & " failed: " & Err.Description & " (" & Hex(Err.Number) & ")"
  WScript.Quit 1
End Sub

' A name that no catalog has is an error that the component reports by itself, before the script can
' handle it. Hence nobody asks MIFName; Name answers "Invalid" instead.
Function InterfaceName()
  InterfaceName = zentrel.Name(INTERFACES, zentrel.DeviceMIF And MIF_MASK_TYPE)
End Function

' Every catalog has interface 0, and with it the names of all intervals.
Function IntervalName()
  IntervalName = "Invalid"
  If zentrel.Name(INTERFACES, 0) <> "Invalid" Then IntervalName = zentrel.TXIName
End Function

' The number alone where it has no name.
Function NameOr(name, number)
  NameOr = number
  If name <> "Invalid" And name <> "" Then NameOr = name & " (" & number & ")"
End Function

Sub ShowRecord(title)
  Say title
  Say "  Transponder " & Right("00000" & Hex(zentrel.Xpdr), 6) & ", software " & _
      zentrel.TravonelVersion
  Say "  Utility code " & zentrel.Util & ", reading " & zentrel.Reading & _
      ", tamper count " & zentrel.Tamper
  Say "  Meter interface: " & NameOr(InterfaceName(), zentrel.DeviceMIF)
  Say "  Transmit interval: " & NameOr(IntervalName(), zentrel.TXI) & ", PLL warm-up " & _
      zentrel.PLLWarmUpName
End Sub

If WScript.Arguments.Count <> 3 Then
  Say "Usage: cscript //nologo change_transponder.vbs PORT UTILITY READING"
  WScript.Quit 1
End If
For index = 0 To 2
  If Not IsNumeric(WScript.Arguments(index)) Then
    Say "Not a number: " & WScript.Arguments(index)
    WScript.Quit 1
  End If
Next
port = CLng(WScript.Arguments(0))
newUtility = CLng(WScript.Arguments(1))
newReading = CLng(WScript.Arguments(2))

On Error Resume Next
Set zentrel = CreateObject("QmZentrel.Zentrel")
CheckError "Creating the object (is the DLL registered, and is this the 32-bit script host?)"

Say "Opening COM" & port
Check "Opening the port", zentrel.DeviceOpen(port)
initialised = zentrel.DeviceInit()
CheckError "Opening the box"
If initialised = S_BAD_PORT Then
  Say "The simulator plays the box"
Else
  Check "Initialising the box", initialised
  Say "The box answers: software " & zentrel.ZentrelVersion & ", signature " & _
      Hex(zentrel.ZentrelSignature(0)) & " " & Hex(zentrel.ZentrelSignature(1)) & ", battery " & _
      FormatNumber(zentrel.BatteryVoltage, 2) & " V"
End If

Check "Reading", zentrel.ReadXpdr()
CheckError "Reading"
ShowRecord "Read from the transponder:"

zentrel.Util = newUtility
zentrel.Reading = newReading
CheckError "Changing the record"
Check "Writing", zentrel.WriteXpdr()
CheckError "Writing"
Say "Written: utility code " & newUtility & ", reading " & newReading

' Waits by itself until the transponder has stored what was written.
Check "Reading back", zentrel.ReadXpdr()
CheckError "Reading back"
ShowRecord "Read back from the transponder:"

If zentrel.Util <> newUtility Or zentrel.Reading <> newReading Then
  Say "The transponder does not hold what was written."
  zentrel.DeviceClose
  WScript.Quit 1
End If

zentrel.DeviceClose
CheckError "Closing"
Say "Done."
WScript.Quit 0
