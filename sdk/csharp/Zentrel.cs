// QmZentrel for clients in C# and other languages of .NET, early bound: the interfaces in the order of
// their slots, which the run time goes by. No type library has to be imported.
//
//   var box = (_Zentrel)new Zentrel();
//   ZentrelStatus status = box.DeviceOpen(7);
//   if (status == ZentrelStatus.S_OKAY) status = box.DeviceInit();  // learns what box it is
//
// The component is 32-bit: build for x86, or open it to 64-bit programs. It lives in a single-threaded apartment ([STAThread]).
// A property with an index is a method here, get_NAME.
using System;
using System.Runtime.InteropServices;

namespace QmZentrel {
    /// <summary>Masks over the meter-interface value and the values of the catalogs.</summary>
    public enum MIF_Masks {
        MIF_MASK_TYPE = 0x0F,
        MIF_MASK_IDT = 0x10,
        MIF_MASK_2IF = 0x20
    }

    /// <summary>Flag bits of the electric variant's status.</summary>
    public enum TELIC2_ElectricFlags {
        EF_Reverse = 1,
        EF_Flood = 2,
        EF_SensorError = 4,
        EF_NVRAMFailure = 8,
        EF_Tilt = 16,
        EF_Attack = 32
    }

    /// <summary>Message identifiers of the TELIC2 sub-device.</summary>
    public enum TELIC2_Commands {
        T2_ReverseCountTotal = 8,
        T2_ReverseThreshold = 9,
        T2_JitterCount = 10,
        T2_JitterThreshold = 11,
        T2_PreScaleCount = 12,
        T2_ReverseCountContiguous = 13,
        T2_SensorThresholdLow = 14,
        T2_SensorThresholdHigh = 15,
        T2_SensorThresholdFlood = 16,
        T2_HardwareID = 17,
        T2_CentronHID = 18
    }

    /// <summary>The result code of every box command.</summary>
    public enum ZentrelStatus {
        S_OKAY = 0,
        S_TIMEOUT = 1,
        S_BAD_RESPONSE = 2,
        S_BAD_PORT = 3,
        S_BAD_SUM = 4,
        S_BAD_DATA = 5,
        S_MSG_TOO_LONG = 6,
        S_BAD_PARAMETER = 7
    }

    [ComImport, Guid("D8137FF8-FBFF-429D-BAB7-798BB06D6779")]
    [InterfaceType(ComInterfaceType.InterfaceIsDual)]
    public interface _Zentrel {
        [DispId(0x6003001E)]
        ZentrelStatus BoxStatus();
        [DispId(0x6003001F)]
        ZentrelStatus ReadXpdr();
        [DispId(0x60030020)]
        ZentrelStatus ResetXpdr();
        [DispId(0x60030021)]
        ZentrelStatus WriteXpdr();
        [DispId(0x6803001A)]
        bool IDToggle {
            [return: MarshalAs(UnmanagedType.VariantBool)] get;
            [param: MarshalAs(UnmanagedType.VariantBool)] set;
        }
        [DispId(0x68030019)]
        bool MIFSelect {
            [return: MarshalAs(UnmanagedType.VariantBool)] get;
            [param: MarshalAs(UnmanagedType.VariantBool)] set;
        }
        [DispId(0x68030018)]
        int DeviceMIF { get; set; }
        [DispId(0x68030017)]
        string MIFName { get; }
        [DispId(0x68030016)]
        int Util { get; set; }
        [DispId(0x68030015)]
        int Xpdr { get; set; }
        [DispId(0x68030014)]
        int Tamper { get; set; }
        [DispId(0x68030013)]
        int Reading { get; set; }
        [DispId(0x68030012)]
        int PLLWarmup { get; set; }
        [DispId(0x68030011)]
        string PLLWarmUpName { get; }
        [DispId(0x68030010)]
        int TXI { get; set; }
        [DispId(0x6803000F)]
        string TXIName { get; }
        [DispId(0x6803000E)]
        int MSI { get; set; }
        [DispId(0x6803000D)]
        string TravonelVersion { get; }
        [DispId(0x6803000C)]
        string ZentrelVersion { get; }
        [DispId(0x6803000B)]
        int get_ZentrelSignature(short index);
        [DispId(0x6803000A)]
        float BatteryVoltage { get; }
        [DispId(0x68030009)]
        int PowerTimeout { get; set; }
        [DispId(0x68030008)]
        int VDelay { get; set; }
        [DispId(0x60030027)]
        string Status(ZentrelStatus code);
        [DispId(0x68030007)]
        bool PowerManagement { [param: MarshalAs(UnmanagedType.VariantBool)] set; }
        [DispId(0x60030028)]
        ZentrelStatus DeviceOpen(int port, [MarshalAs(UnmanagedType.VariantBool)] bool maintainSupply = true);
        [DispId(0x60030029)]
        ZentrelStatus DeviceInit();
        [DispId(0x6003002A)]
        ZentrelStatus DeviceClose();
        [DispId(0x68030006)]
        bool Power { [param: MarshalAs(UnmanagedType.VariantBool)] set; }
        [DispId(0x68030005)]
        string get_Name(string regRootKey, int index);
        [DispId(0x6003002F)]
        ZentrelStatus TELIC2Read(
            int numMessages,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageIDs,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageData);
        [DispId(0x60030030)]
        ZentrelStatus TELIC2Write(
            int numMessages,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageIDs,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageData);
        [DispId(0x60030031)]
        ZentrelStatus TELIC2Test(
            int numMessages,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageIDs,
            [In, Out, MarshalAs(UnmanagedType.SafeArray, SafeArraySubType = VarEnum.VT_I4)]
            ref int[] messageData);
        [DispId(0x68030004)]
        string TELIC2Device { get; set; }
        [DispId(0x60030032)]
        [return: MarshalAs(UnmanagedType.VariantBool)] bool TELIC2EnumDevices([MarshalAs(UnmanagedType.IDispatch)] ref object cbo);
        [DispId(0x60030033)]
        [return: MarshalAs(UnmanagedType.VariantBool)] bool TELIC2EnumMessages([MarshalAs(UnmanagedType.IDispatch)] ref object cbo, int selected = -1);
        [DispId(0x68030003)]
        int get_TELIC2_Length(int index);
        [DispId(0x60030034)]
        [return: MarshalAs(UnmanagedType.VariantBool)] bool TELIC2EnumTestMessages([MarshalAs(UnmanagedType.IDispatch)] ref object cbo, int selected = -1);
        [DispId(0x68030001)]
        int get_TELIC2Test_RdLength(int index);
        [DispId(0x68030000)]
        int get_TELIC2Test_WrLength(int index);
        [DispId(0x68030039)]
        int Freq_A2 { get; set; }
        [DispId(0x68030038)]
        int Freq_A1 { get; set; }
        [DispId(0x68030037)]
        int Freq_A0 { get; set; }
        [DispId(0x68030036)]
        int Clock_A { get; set; }
        [DispId(0x68030035)]
        int PA_Power { get; set; }
        [DispId(0x6803003B)]
        bool HasLeak {
            [return: MarshalAs(UnmanagedType.VariantBool)] get;
            [param: MarshalAs(UnmanagedType.VariantBool)] set;
        }
        [DispId(0x6803003A)]
        int LeakThreshold { get; set; }
        [DispId(0x68030042)]
        int Freq_MSB { get; set; }
        [DispId(0x68030041)]
        int Freq_MID { get; set; }
        [DispId(0x68030040)]
        int Freq_LSB { get; set; }
        [DispId(0x6803003F)]
        int BR_MSB { get; set; }
        [DispId(0x6803003E)]
        int BR_LSB { get; set; }
        [DispId(0x6803003D)]
        int EOL_CTRL { get; set; }
        [DispId(0x6803003C)]
        int PA_CTRL { get; set; }
    }

    /// <summary>The event: the box's supply has changed.</summary>
    [ComVisible(true), Guid("69D54976-4B55-493E-B5FF-E27DC45E2CA6")]
    [InterfaceType(ComInterfaceType.InterfaceIsIDispatch)]
    public interface __Zentrel {
        [DispId(1)]
        void PowerStateChange([MarshalAs(UnmanagedType.VariantBool)] bool newState);
    }

    [ComImport, Guid("FC8682E2-9814-4065-86F6-49F1E6A8704B")]
    public class Zentrel {
    }
}
