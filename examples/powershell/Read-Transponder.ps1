<#
.SYNOPSIS
Reads a transponder and answers it as an object.
.DESCRIPTION
The component is 32-bit, and the 32-bit PowerShell has an execution policy of its own, by which it runs
no script unless told otherwise: start the script with
C:\Windows\SysWOW64\WindowsPowerShell\v1.0\powershell.exe -ExecutionPolicy Bypass -File Read-Transponder.ps1 -Port 7
Its makers have not run it: they had no PowerShell.
.PARAMETER Port
The number of the COM port with the box.
#>
param([Parameter(Mandatory = $true)][int]$Port)

$ErrorActionPreference = 'Stop'
$box = New-Object -ComObject QmZentrel.Zentrel

function Assert-Okay([string]$What, [int]$Status) {
    if ($Status -ne 0) { throw "$What failed with status ${Status}: $($box.Status($Status))" }
}

try {
    Assert-Okay 'Opening the port' $box.DeviceOpen($Port)
    $initialised = $box.DeviceInit()
    if ($initialised -ne 3) { Assert-Okay 'Initialising the box' $initialised }    # 3: the simulator
    Assert-Okay 'Reading' $box.ReadXpdr()
    [pscustomobject]@{
        Transponder = '{0:X6}' -f $box.Xpdr
        Software    = $box.TravonelVersion
        Utility     = $box.Util
        Reading     = $box.Reading
        Tamper      = $box.Tamper
    }
} finally {
    [void]$box.DeviceClose()
    [void][Runtime.InteropServices.Marshal]::ReleaseComObject($box)
}
