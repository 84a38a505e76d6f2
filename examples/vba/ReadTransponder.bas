Attribute VB_Name = "ReadTransponder"
' Reads a transponder into the selected cell of a sheet and the two below it. For 32-bit Office; in
' 64-bit Office CreateObject answers error 429, unless the component has been opened to 64-bit
' programs.
' Its makers have not run it: they had no Office.
Option Explicit

Private Const S_OKAY As Long = 0
Private Const S_BAD_PORT As Long = 3

Public Sub ReadIntoCells()
    Const kPort As Long = 7
    Dim box As Object, status As Long
    Set box = CreateObject("QmZentrel.Zentrel")
    status = box.DeviceOpen(kPort)
    If status = S_OKAY Then
        status = box.DeviceInit()
        If status = S_BAD_PORT Then status = S_OKAY     ' the simulator plays the box
    End If
    If status = S_OKAY Then status = box.ReadXpdr()
    If status = S_OKAY Then
        ActiveCell.Value = box.Xpdr
        ActiveCell.Offset(1, 0).Value = box.Util
        ActiveCell.Offset(2, 0).Value = box.Reading
    Else
        MsgBox "The transponder was not read: " & box.Status(status), vbExclamation
    End If
    box.DeviceClose
End Sub
