{ QmZentrel for clients in Pascal, early bound: identifiers, constants, and the members in the order
  of their slots. An object is made by CreateComObject(CLASS_Zentrel) as _Zentrel, in an apartment
  of its own (CoInitialize); the component is 32-bit, and so is the program.

  Written down by hand rather than taken from the type library, so that neither can be wrong without
  the other. }
unit zentrel_interface;

{$IFDEF FPC}{$mode objfpc}{$ENDIF}{$H+}

interface

uses
  ActiveX;

const
  CLASS_Zentrel: TGUID = '{FC8682E2-9814-4065-86F6-49F1E6A8704B}';
  DIID___Zentrel: TGUID = '{69D54976-4B55-493E-B5FF-E27DC45E2CA6}';

  LIBID_QmZentrel: TGUID = '{314317B4-1F1E-4FA7-B288-75070A78C531}';

  { ZentrelStatus: what a command answers }
  S_OKAY = 0;
  S_TIMEOUT = 1;
  S_BAD_RESPONSE = 2;
  S_BAD_PORT = 3;
  S_BAD_SUM = 4;
  S_BAD_DATA = 5;
  S_MSG_TOO_LONG = 6;
  S_BAD_PARAMETER = 7;

  { MIF_Masks: the parts of DeviceMIF }
  MIF_MASK_TYPE = $0F;
  MIF_MASK_IDT = $10;
  MIF_MASK_2IF = $20;

  { TELIC2_ElectricFlags: bits of the status of an electric sub-device }
  EF_Reverse = 1;
  EF_Flood = 2;
  EF_SensorError = 4;
  EF_NVRAMFailure = 8;
  EF_Tilt = 16;
  EF_Attack = 32;

  { TELIC2_Commands: messages of the sub-device }
  T2_ReverseCountTotal = 8;
  T2_ReverseThreshold = 9;
  T2_JitterCount = 10;
  T2_JitterThreshold = 11;
  T2_PreScaleCount = 12;
  T2_ReverseCountContiguous = 13;
  T2_SensorThresholdLow = 14;
  T2_SensorThresholdHigh = 15;
  T2_SensorThresholdFlood = 16;
  T2_HardwareID = 17;
  T2_CentronHID = 18;

  { The event, of DIID___Zentrel: PowerStateChange(NewState: WordBool) }
  DISPID_PowerStateChange = 1;

type
  _Zentrel = interface(IDispatch)
    ['{D8137FF8-FBFF-429D-BAB7-798BB06D6779}']
    function BoxStatus: LongInt; safecall;
    function ReadXpdr: LongInt; safecall;
    function ResetXpdr: LongInt; safecall;
    function WriteXpdr: LongInt; safecall;
    function Get_IDToggle: WordBool; safecall;
    procedure Set_IDToggle(NewValue: WordBool); safecall;
    function Get_MIFSelect: WordBool; safecall;
    procedure Set_MIFSelect(NewValue: WordBool); safecall;
    function Get_DeviceMIF: LongInt; safecall;
    procedure Set_DeviceMIF(NewValue: LongInt); safecall;
    function Get_MIFName: WideString; safecall;
    function Get_Util: LongInt; safecall;
    procedure Set_Util(NewValue: LongInt); safecall;
    function Get_Xpdr: LongInt; safecall;
    procedure Set_Xpdr(NewValue: LongInt); safecall;
    function Get_Tamper: LongInt; safecall;
    procedure Set_Tamper(NewValue: LongInt); safecall;
    function Get_Reading: LongInt; safecall;
    procedure Set_Reading(NewValue: LongInt); safecall;
    function Get_PLLWarmup: LongInt; safecall;
    procedure Set_PLLWarmup(NewValue: LongInt); safecall;
    function Get_PLLWarmUpName: WideString; safecall;
    function Get_TXI: LongInt; safecall;
    procedure Set_TXI(NewValue: LongInt); safecall;
    function Get_TXIName: WideString; safecall;
    function Get_MSI: LongInt; safecall;
    procedure Set_MSI(NewValue: LongInt); safecall;
    function Get_TravonelVersion: WideString; safecall;
    function Get_ZentrelVersion: WideString; safecall;
    function Get_ZentrelSignature(Index: SmallInt): LongInt; safecall;
    function Get_BatteryVoltage: Single; safecall;
    function Get_PowerTimeout: LongInt; safecall;
    procedure Set_PowerTimeout(NewValue: LongInt); safecall;
    function Get_VDelay: LongInt; safecall;
    procedure Set_VDelay(NewValue: LongInt); safecall;
    function Status(Code: LongInt): WideString; safecall;
    procedure Set_PowerManagement(NewValue: WordBool); safecall;
    function DeviceOpen(Port: LongInt; MaintainSupply: WordBool): LongInt; safecall;
    function DeviceInit: LongInt; safecall;
    function DeviceClose: LongInt; safecall;
    procedure Set_Power(NewValue: WordBool); safecall;
    function Get_Name(const RegRootKey: WideString; Index: LongInt): WideString; safecall;
    function TELIC2Read(NumMessages: LongInt;
      var MessageIDs, MessageData: PSafeArray): LongInt; safecall;
    function TELIC2Write(NumMessages: LongInt;
      var MessageIDs, MessageData: PSafeArray): LongInt; safecall;
    function TELIC2Test(NumMessages: LongInt;
      var MessageIDs, MessageData: PSafeArray): LongInt; safecall;
    function Get_TELIC2Device: WideString; safecall;
    procedure Set_TELIC2Device(const NewValue: WideString); safecall;
    function TELIC2EnumDevices(var Cbo: IDispatch): WordBool; safecall;
    function TELIC2EnumMessages(var Cbo: IDispatch; Default: LongInt): WordBool; safecall;
    function Get_TELIC2_Length(Index: LongInt): LongInt; safecall;
    function TELIC2EnumTestMessages(var Cbo: IDispatch; Default: LongInt): WordBool; safecall;
    function Get_TELIC2Test_RdLength(Index: LongInt): LongInt; safecall;
    function Get_TELIC2Test_WrLength(Index: LongInt): LongInt; safecall;
    function Get_Freq_A2: LongInt; safecall;
    procedure Set_Freq_A2(NewValue: LongInt); safecall;
    function Get_Freq_A1: LongInt; safecall;
    procedure Set_Freq_A1(NewValue: LongInt); safecall;
    function Get_Freq_A0: LongInt; safecall;
    procedure Set_Freq_A0(NewValue: LongInt); safecall;
    function Get_Clock_A: LongInt; safecall;
    procedure Set_Clock_A(NewValue: LongInt); safecall;
    function Get_PA_Power: LongInt; safecall;
    procedure Set_PA_Power(NewValue: LongInt); safecall;
    function Get_HasLeak: WordBool; safecall;
    procedure Set_HasLeak(NewValue: WordBool); safecall;
    function Get_LeakThreshold: LongInt; safecall;
    procedure Set_LeakThreshold(NewValue: LongInt); safecall;
    function Get_Freq_MSB: LongInt; safecall;
    procedure Set_Freq_MSB(NewValue: LongInt); safecall;
    function Get_Freq_MID: LongInt; safecall;
    procedure Set_Freq_MID(NewValue: LongInt); safecall;
    function Get_Freq_LSB: LongInt; safecall;
    procedure Set_Freq_LSB(NewValue: LongInt); safecall;
    function Get_BR_MSB: LongInt; safecall;
    procedure Set_BR_MSB(NewValue: LongInt); safecall;
    function Get_BR_LSB: LongInt; safecall;
    procedure Set_BR_LSB(NewValue: LongInt); safecall;
    function Get_EOL_CTRL: LongInt; safecall;
    procedure Set_EOL_CTRL(NewValue: LongInt); safecall;
    function Get_PA_CTRL: LongInt; safecall;
    procedure Set_PA_CTRL(NewValue: LongInt); safecall;
  end;

implementation

end.
