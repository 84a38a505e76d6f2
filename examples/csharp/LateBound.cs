// Changes a transponder's utility code, late bound: nothing but the registered component is needed.
//
//   LateBound PORT UTILITY
//
// PORT is the number of the COM port with the box. Built for x86:
//
//   csc /platform:x86 LateBound.cs
//
// Ends with 0 when the transponder holds the new code, otherwise with 1.
using System;
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;

[ComImport, Guid("69D54976-4B55-493E-B5FF-E27DC45E2CA6")]
[InterfaceType(ComInterfaceType.InterfaceIsIDispatch)]
public interface IZentrelEvents {
    [DispId(1)]
    void PowerStateChange([MarshalAs(UnmanagedType.VariantBool)] bool newState);
}

[ComVisible(true), ClassInterface(ClassInterfaceType.None)]
public class SupplyEvents : IZentrelEvents {
    public void PowerStateChange(bool newState) {
        Console.WriteLine(newState ? "The supply is on" : "The supply is off");
    }
}

static class LateBound {
    const int S_OKAY = 0;
    const int S_BAD_PORT = 3;

    static void Check(dynamic box, string what, int status) {
        if (status != S_OKAY)
            throw new ApplicationException(what + " failed with status " + status + ": " + box.Status(status));
    }

    static void Change(int port, int utility) {
        var type = Type.GetTypeFromProgID("QmZentrel.Zentrel", true);
        dynamic box = Activator.CreateInstance(type);
        IConnectionPoint point;
        int cookie;
        var events = typeof(IZentrelEvents).GUID;
        ((IConnectionPointContainer)box).FindConnectionPoint(ref events, out point);
        point.Advise(new SupplyEvents(), out cookie);
        try {
            Check(box, "Opening the port", (int)box.DeviceOpen(port));
            var initialised = (int)box.DeviceInit();
            if (initialised != S_BAD_PORT)  // else the simulator plays the box
                Check(box, "Initialising the box", initialised);
            Check(box, "Reading", (int)box.ReadXpdr());
            Console.WriteLine("Utility code before: " + (int)box.Util);
            box.Util = utility;
            Check(box, "Writing", (int)box.WriteXpdr());
            Check(box, "Reading back", (int)box.ReadXpdr());
            Console.WriteLine("Utility code now: " + (int)box.Util);
            if ((int)box.Util != utility)
                throw new ApplicationException("The transponder does not hold what was written");
            Check(box, "Closing", (int)box.DeviceClose());
        } finally {
            point.Unadvise(cookie);
            Marshal.ReleaseComObject(box);
        }
    }

    [STAThread]
    static int Main(string[] arguments) {
        int port, utility;
        if (arguments.Length != 2 || !int.TryParse(arguments[0], out port) ||
            !int.TryParse(arguments[1], out utility)) {
            Console.WriteLine("Usage: LateBound PORT UTILITY");
            return 1;
        }
        try {
            Change(port, utility);
        } catch (Exception error) {
            Console.WriteLine("Failed: " + error.Message);
            return 1;
        }
        Console.WriteLine("Done.");
        return 0;
    }
}
