' Every simulated command, one after the other; who plays the box works the dialogs from outside.
' Arguments: "first" for the whole round, "second" for what a later process finds.
' One line per command, and "END" when the script has run to its end.
Option Explicit

Dim zentrel, identifiers(1), data(1)

Sub ShowRecord(what, status)
  WScript.Echo what & ": " & status & ", MIF " & zentrel.DeviceMIF & ", util " & zentrel.Util & _
    ", id " & zentrel.Xpdr & ", reading " & zentrel.Reading & ", tamper " & zentrel.Tamper & _
    ", leak " & CInt(zentrel.HasLeak) & " " & zentrel.LeakThreshold & ", TXI " & zentrel.TXI & _
    ", MSI " & zentrel.MSI & ", EOL " & zentrel.EOL_CTRL & ", version " & _
    zentrel.TravonelVersion & ", box " & zentrel.ZentrelVersion & " " & _
    FormatNumber(zentrel.BatteryVoltage, 2) & " " & Hex(zentrel.ZentrelSignature(0)) & " " & _
    Hex(zentrel.ZentrelSignature(1))
End Sub

Set zentrel = CreateObject("QmZentrel.Zentrel")
WScript.Echo "open: " & zentrel.DeviceOpen(3)
ShowRecord "read", zentrel.ReadXpdr()
If WScript.Arguments(0) = "first" Then
  WScript.Echo "box status: " & zentrel.BoxStatus()
  zentrel.Util = 99
  zentrel.Reading = 7777
  zentrel.Tamper = 200
  ShowRecord "write", zentrel.WriteXpdr()
  WScript.Echo "reset: " & zentrel.ResetXpdr()
  WScript.Echo "box status without a box: " & zentrel.BoxStatus()
  WScript.Echo "read without a transponder: " & zentrel.ReadXpdr()
  WScript.Echo "box status: " & zentrel.BoxStatus()
  WScript.Echo "read with the close box: " & zentrel.ReadXpdr()
  identifiers(0) = 8
  identifiers(1) = 17
  data(0) = 1234
  data(1) = -2
  WScript.Echo "messages written: " & zentrel.TELIC2Write(2, identifiers, data)
  WScript.Echo "messages tested: " & zentrel.TELIC2Test(1, Array(1), Array(0))
End If
identifiers(0) = 17
identifiers(1) = 9
WScript.Echo "messages read: " & zentrel.TELIC2Read(2, identifiers, data) & " " & data(0) & " " & _
  data(1)
WScript.Echo "init: " & zentrel.DeviceInit() & ", close: " & zentrel.DeviceClose()
WScript.Echo "END"
