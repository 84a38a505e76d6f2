{ Properties of every type, each set early bound and read late bound, and the other way round. }
unit property_checks;

{$mode objfpc}{$H+}

interface

uses
  zentrel_interface;

procedure CheckProperties(const Early: _Zentrel);
procedure CheckErrors(const Early: _Zentrel);

implementation

uses
  ActiveX, ComObj, SysUtils, Variants, expectations;

procedure CheckTransponderNumbers(const Early: _Zentrel; const Late: Variant);
begin
  Early.Set_DeviceMIF(5);
  Early.Set_Util(41);
  Early.Set_Xpdr($123456);
  Early.Set_Tamper(17);
  Early.Set_Reading(7654321);
  Early.Set_PLLWarmup(12);
  Early.Set_TXI(9);
  Early.Set_MSI(14);
  Early.Set_PowerTimeout(90);
  Early.Set_VDelay(2500);
  ExpectTyped('DeviceMIF', Late.DeviceMIF, 5, varInteger);
  ExpectTyped('Util', Late.Util, 41, varInteger);
  ExpectTyped('Xpdr', Late.Xpdr, $123456, varInteger);
  ExpectTyped('Tamper', Late.Tamper, 17, varInteger);
  ExpectTyped('Reading', Late.Reading, 7654321, varInteger);
  ExpectTyped('PLLWarmup', Late.PLLWarmup, 12, varInteger);
  ExpectTyped('TXI', Late.TXI, 9, varInteger);
  ExpectTyped('MSI', Late.MSI, 14, varInteger);
  ExpectTyped('PowerTimeout', Late.PowerTimeout, 90, varInteger);
  ExpectTyped('VDelay', Late.VDelay, 2500, varInteger);

  Late.DeviceMIF := 6;
  Late.Util := '42';  { a text is converted }
  Late.Xpdr := 43.0;
  Late.Tamper := 18;
  Late.Reading := 44;
  Late.PLLWarmup := 7;
  Late.TXI := 8;
  Late.MSI := 3;
  Late.PowerTimeout := 91;
  Late.VDelay := 1500;
  Expect('DeviceMIF, early', Early.Get_DeviceMIF, 6);
  Expect('Util, early', Early.Get_Util, 42);
  Expect('Xpdr, early', Early.Get_Xpdr, 43);
  Expect('Tamper, early', Early.Get_Tamper, 18);
  Expect('Reading, early', Early.Get_Reading, 44);
  Expect('PLLWarmup, early', Early.Get_PLLWarmup, 7);
  Expect('TXI, early', Early.Get_TXI, 8);
  Expect('MSI, early', Early.Get_MSI, 3);
  Expect('PowerTimeout, early', Early.Get_PowerTimeout, 91);
  Expect('VDelay, early', Early.Get_VDelay, 1500);
end;

procedure CheckRadioNumbers(const Early: _Zentrel; const Late: Variant);
begin
  Early.Set_LeakThreshold(300);
  Early.Set_Freq_MSB(101);
  Early.Set_Freq_MID(102);
  Early.Set_Freq_LSB(103);
  Early.Set_BR_MSB(104);
  Early.Set_BR_LSB(105);
  Early.Set_EOL_CTRL(106);
  Early.Set_PA_CTRL(107);
  ExpectTyped('LeakThreshold, cut', Late.LeakThreshold, 255, varInteger);
  ExpectTyped('Freq_MSB', Late.Freq_MSB, 101, varInteger);
  ExpectTyped('Freq_MID', Late.Freq_MID, 102, varInteger);
  ExpectTyped('Freq_LSB', Late.Freq_LSB, 103, varInteger);
  ExpectTyped('BR_MSB', Late.BR_MSB, 104, varInteger);
  ExpectTyped('BR_LSB', Late.BR_LSB, 105, varInteger);
  ExpectTyped('EOL_CTRL', Late.EOL_CTRL, 106, varInteger);
  ExpectTyped('PA_CTRL', Late.PA_CTRL, 107, varInteger);

  Late.LeakThreshold := 120;
  Late.Freq_MSB := 121;
  Late.Freq_MID := 122;
  Late.Freq_LSB := 123;
  Late.BR_MSB := 124;
  Late.BR_LSB := 125;
  Late.EOL_CTRL := 126;
  Late.PA_CTRL := 127;
  Expect('LeakThreshold, early', Early.Get_LeakThreshold, 120);
  Expect('Freq_MSB, early', Early.Get_Freq_MSB, 121);
  Expect('Freq_MID, early', Early.Get_Freq_MID, 122);
  Expect('Freq_LSB, early', Early.Get_Freq_LSB, 123);
  Expect('BR_MSB, early', Early.Get_BR_MSB, 124);
  Expect('BR_LSB, early', Early.Get_BR_LSB, 125);
  Expect('EOL_CTRL, early', Early.Get_EOL_CTRL, 126);
  Expect('PA_CTRL, early', Early.Get_PA_CTRL, 127);
end;

{ The names of an earlier version are others for the same numbers. }
procedure CheckOldRadioNames(const Early: _Zentrel; const Late: Variant);
begin
  Early.Set_Freq_A2(140);
  Early.Set_Freq_A1(141);
  Early.Set_Freq_A0(142);
  Early.Set_Clock_A(143);
  Early.Set_PA_Power(144);
  Expect('Freq_A2 as Freq_MSB', Late.Freq_MSB, 140);
  Expect('Freq_A1 as Freq_MID', Late.Freq_MID, 141);
  Expect('Freq_A0 as Freq_LSB', Late.Freq_LSB, 142);
  Expect('Clock_A as BR_MSB', Late.BR_MSB, 143);
  Expect('PA_Power as BR_LSB', Late.BR_LSB, 144);

  Late.Freq_A2 := 150;
  Late.Freq_A1 := 151;
  Late.Freq_A0 := 152;
  Late.Clock_A := 153;
  Late.PA_Power := 154;
  Expect('Freq_A2, early', Early.Get_Freq_A2, 150);
  Expect('Freq_A1, early', Early.Get_Freq_A1, 151);
  Expect('Freq_A0, early', Early.Get_Freq_A0, 152);
  Expect('Clock_A, early', Early.Get_Clock_A, 153);
  Expect('PA_Power, early', Early.Get_PA_Power, 154);

  Early.Set_Freq_MSB(160);
  Early.Set_Freq_MID(161);
  Early.Set_Freq_LSB(162);
  Early.Set_BR_MSB(163);
  Early.Set_BR_LSB(164);
  ExpectTyped('Freq_A2', Late.Freq_A2, 160, varInteger);
  ExpectTyped('Freq_A1', Late.Freq_A1, 161, varInteger);
  ExpectTyped('Freq_A0', Late.Freq_A0, 162, varInteger);
  ExpectTyped('Clock_A', Late.Clock_A, 163, varInteger);
  ExpectTyped('PA_Power', Late.PA_Power, 164, varInteger);
end;

procedure CheckBooleans(const Early: _Zentrel; const Late: Variant);
begin
  Early.Set_DeviceMIF(0);
  Early.Set_IDToggle(True);
  ExpectTyped('IDToggle', Late.IDToggle, True, varBoolean);
  ExpectTyped('MIFSelect', Late.MIFSelect, False, varBoolean);
  Late.MIFSelect := True;
  Late.IDToggle := False;
  Expect('MIFSelect, early', Early.Get_MIFSelect, True);
  Expect('IDToggle, early', Early.Get_IDToggle, False);
  Expect('the bit of MIFSelect', Early.Get_DeviceMIF, $20);
  { Automation has one true value only. }
  Expect('MIFSelect as a number', Smallint(Early.Get_MIFSelect), -1);
  Early.Set_HasLeak(True);
  ExpectTyped('HasLeak', Late.HasLeak, True, varBoolean);
  Late.HasLeak := False;
  Expect('HasLeak, early', Early.Get_HasLeak, False);
end;

procedure CheckTextsAndOthers(const Early: _Zentrel; const Late: Variant);
begin
  Early.Set_PLLWarmup(12);
  ExpectTyped('PLLWarmUpName', Late.PLLWarmUpName, '2.4 mS', varOleStr);
  Expect('PLLWarmUpName, early', Early.Get_PLLWarmUpName, '2.4 mS');
  Expect('Status', Late.Status(S_BAD_PORT), 'COM port invalid or not available');
  Expect('Status, early', Early.Status(S_MSG_TOO_LONG), 'Command message too long');
  ExpectTyped('BatteryVoltage before any reply', Late.BatteryVoltage, 0, varSingle);
  Expect('ZentrelSignature before any reply', Late.ZentrelSignature(1), 0);
end;

procedure CheckCatalogNames(const Early: _Zentrel; const Late: Variant);
const
  Messages = 'SOFTWARE\QuenmoorComms\TELIC2\Messages';
begin
  Expect('Name', Late.Name(Messages, 8), 'Reverse count total');
  Expect('Name of a path with its backslash, early', Early.Get_Name(Messages + '\', 17),
    'Hardware ID');
  Expect('Name of a missing key', Late.Name(Messages, 7), 'Invalid');
  Early.Set_DeviceMIF(2);
  Early.Set_TXI(3);
  Expect('MIFName', Late.MIFName, 'Encoder');
  Expect('TXIName, early', Early.Get_TXIName, 'Hourly');

  Expect('no sub-device at first', Late.TELIC2Device, '');
  Early.Set_TELIC2Device('Pascal');
  ExpectTyped('TELIC2Device', Late.TELIC2Device, 'Pascal', varOleStr);
  Late.TELIC2Device := 'Other';
  Expect('TELIC2Device, early', Early.Get_TELIC2Device, 'Other');
end;

procedure CheckProperties(const Early: _Zentrel);
var
  Late: Variant;
begin
  Late := Early as IDispatch;
  CheckTransponderNumbers(Early, Late);
  CheckRadioNumbers(Early, Late);
  CheckOldRadioNames(Early, Late);
  CheckBooleans(Early, Late);
  CheckTextsAndOthers(Early, Late);
  CheckCatalogNames(Early, Late);
end;

procedure ExpectFaultDetails(const What: string; Error: EOleException);
var
  Info: IErrorInfo;
begin
  Expect('number of ' + What, Error.ErrorCode, Fault);
  Expect('description of ' + What, Error.Message, 'Application-defined or object-defined error');
  Expect('source of ' + What, Error.Source, 'QmZentrel');
  Expect('error information left after ' + What, GetErrorInfo(0, Info), S_FALSE);
end;

procedure CheckErrors(const Early: _Zentrel);
var
  Late: Variant;
begin
  Late := Early as IDispatch;
  try
    Fail('a fault, early', Early.Get_ZentrelSignature(5));
  except
    on Error: EOleException do ExpectFaultDetails('a fault, early', Error);
  end;
  try
    Fail('a fault, late', Late.ZentrelSignature(5));
  except
    on Error: EOleException do ExpectFaultDetails('a fault, late', Error);
  end;
  try
    Early.Set_TXI(16);
    Fail('an interval without a name', Early.Get_TXIName);
  except
    on Error: EOleException do ExpectFaultDetails('an interval without a name', Error);
  end;
  try
    Fail('reading what can only be set', Late.Power);
  except
    on Error: EOleSysError do
      Expect('reading what can only be set', Error.ErrorCode, MemberNotFound);
  end;
  try
    Late.Reading := 'no number';
    Fail('a text that is no number', Late.Reading);
  except
    on Error: EOleSysError do Expect('a text that is no number', Error.ErrorCode, TypeMismatch);
  end;
  try
    Late.NoSuchMember;
    Fail('an unknown member', 'it is there');
  except
    on Error: EOleError do
      Expect('an unknown member', Pos('NoSuchMember', Error.Message) > 0, True);
  end;
end;

end.
