"""Reads a transponder and tells when the box's supply goes on and off.

    python read_transponder.py PORT

PORT is the number of the COM port with the box. Needs a 32-bit Python with the package pywin32, for
the component is 32-bit. Ends with 0 when the transponder has been read, otherwise with 1.
"""

import sys

import pythoncom
import win32com.client

S_OKAY = 0
S_BAD_PORT = 3


class SupplyEvents:
    """Told by the component; the events of the count-down come while messages are pumped."""

    def OnPowerStateChange(self, NewState):
        print("The supply is", "on" if NewState else "off")


class Failed(Exception):
    """A command that has not succeeded."""


def check(box, what, status):
    if status != S_OKAY:
        raise Failed(f"{what} failed with status {status}: {box.Status(status)}")


def read(port):
    # Makes the classes of the type library on first use.
    box = win32com.client.DispatchWithEvents("QmZentrel.Zentrel", SupplyEvents)
    check(box, "Opening the port", box.DeviceOpen(port, False))
    initialised = box.DeviceInit()
    if initialised != S_BAD_PORT:  # else the simulator plays the box
        check(box, "Initialising the box", initialised)
    check(box, "Reading", box.ReadXpdr())
    print(f"Transponder {box.Xpdr:06X}, software {box.TravonelVersion}")
    print(f"Utility code {box.Util}, reading {box.Reading}, tamper count {box.Tamper}")
    # Arrays come back beside the status: what is handed over stays as it is.
    status, _, data = box.TELIC2Read(1, [8], [0])
    print("Message 8:", data[0] if status == S_OKAY else box.Status(status))
    check(box, "Closing", box.DeviceClose())


def main():
    if len(sys.argv) != 2 or not sys.argv[1].isdigit():
        print("Usage: python read_transponder.py PORT")
        return 1
    try:
        read(int(sys.argv[1]))
    except (Failed, pythoncom.com_error) as error:
        print("Failed:", error)
        return 1
    print("Done.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
