// Reads a transponder, early bound, and tells when the box's supply goes on and off.
//
//   EarlyBound PORT
//
// PORT is the number of the COM port with the box. Built for x86, with csharp/Zentrel.cs of the
// development kit:
//
//   csc /platform:x86 EarlyBound.cs Zentrel.cs
//
// Ends with 0 when the transponder has been read, otherwise with 1.
using System;
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;
using QmZentrel;

[ComVisible(true), ClassInterface(ClassInterfaceType.None)]
public class SupplyEvents : __Zentrel {
    public void PowerStateChange(bool newState) {
        Console.WriteLine(newState ? "The supply is on" : "The supply is off");
    }
}

static class EarlyBound {
    static void Check(_Zentrel box, string what, ZentrelStatus status) {
        if (status != ZentrelStatus.S_OKAY)
            throw new ApplicationException(what + " failed with status " + (int)status + ": " + box.Status(status));
    }

    static void Read(int port) {
        var box = (_Zentrel)new Zentrel();
        IConnectionPoint point;
        int cookie;
        var events = typeof(__Zentrel).GUID;
        ((IConnectionPointContainer)box).FindConnectionPoint(ref events, out point);
        point.Advise(new SupplyEvents(), out cookie);
        try {
            Check(box, "Opening the port", box.DeviceOpen(port, false));
            var initialised = box.DeviceInit();
            if (initialised != ZentrelStatus.S_BAD_PORT)  // else the simulator plays the box
                Check(box, "Initialising the box", initialised);
            Check(box, "Reading", box.ReadXpdr());
            Console.WriteLine("Transponder {0}, software {1}", box.Xpdr, box.TravonelVersion);
            Console.WriteLine("Utility code {0}, reading {1}, tamper count {2}", box.Util, box.Reading, box.Tamper);
            Check(box, "Closing", box.DeviceClose());
        } finally {
            point.Unadvise(cookie);
            Marshal.ReleaseComObject(box);
        }
    }

    [STAThread]
    static int Main(string[] arguments) {
        int port;
        if (arguments.Length != 1 || !int.TryParse(arguments[0], out port)) {
            Console.WriteLine("Usage: EarlyBound PORT");
            return 1;
        }
        try {
            Read(port);
        } catch (Exception error) {  // a COMException: the call itself has failed
            Console.WriteLine("Failed: " + error.Message);
            return 1;
        }
        Console.WriteLine("Done.");
        return 0;
    }
}
