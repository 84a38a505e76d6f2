{ Reads a transponder with the supply on demand, and shows the box's supply going on and off.

    watch_supply PORT SECONDS

  PORT is the number of the COM port with the box; after SECONDS without a command the supply goes
  off. Made for 32-bit Windows with the unit zentrel_interface of the development kit. Ends with 0
  when the supply was seen to go on and off, otherwise with 1. }
program watch_supply;

{$mode objfpc}{$H+}

uses
  ActiveX, ComObj, SysUtils, Variants, Windows, zentrel_interface;

type
  TSink = class(TInterfacedObject, IDispatch)
  public
    On_, Off: Integer;
    function QueryInterface(constref IID: TGUID; out Obj): LongInt; stdcall;
    function GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
    function GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt;
      DispIDs: Pointer): HRESULT; stdcall;
    function Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
  end;

function TSink.QueryInterface(constref IID: TGUID; out Obj): LongInt; stdcall;
begin
  { The event interface is an IDispatch with an identifier of its own. }
  if IsEqualGUID(IID, DIID___Zentrel) then
    Result := inherited QueryInterface(IDispatch, Obj)
  else
    Result := inherited QueryInterface(IID, Obj);
end;

function TSink.GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
begin
  Count := 0;
  Result := S_OK;
end;

function TSink.GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := E_NOTIMPL;
end;

function TSink.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt;
  DispIDs: Pointer): HRESULT; stdcall;
begin
  Result := E_NOTIMPL;
end;

function TSink.Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
begin
  if DispID <> DISPID_PowerStateChange then
    Exit(DISP_E_MEMBERNOTFOUND);
  if PVariant(TDispParams(Params).rgvarg)^ then
  begin
    Inc(On_);
    WriteLn('The supply is on');
  end
  else
  begin
    Inc(Off);
    WriteLn('The supply is off');
  end;
  Result := S_OK;
end;

procedure Check(const Box: _Zentrel; const What: string; Status: LongInt);
begin
  if Status <> S_OKAY then
    raise Exception.CreateFmt('%s failed with status %d: %s', [What, Status, Box.Status(Status)]);
end;

{ The events of the count-down come as messages. }
procedure DispatchMessages(Milliseconds: LongWord);
var
  Message: TMsg;
begin
  MsgWaitForMultipleObjects(0, nil, False, Milliseconds, QS_ALLINPUT);
  while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
    DispatchMessage(Message);
end;

procedure Watch(Port, Seconds: LongInt);
const
  { The supply goes off by a clock that ticks once a second. }
  Spare = 3;
var
  Box: _Zentrel;
  Sink: TSink;
  Held: IDispatch;
  Cookie: DWord;
  Start: QWord;
begin
  Box := CreateComObject(CLASS_Zentrel) as _Zentrel;
  Sink := TSink.Create;
  Held := Sink;
  InterfaceConnect(Box, DIID___Zentrel, Held, Cookie);

  Check(Box, 'Opening the port', Box.DeviceOpen(Port, False));
  if Box.DeviceInit <> S_BAD_PORT then
    Check(Box, 'Reading', Box.ReadXpdr);
  { Every reply with the facts of the box sets the time-out anew: so after the last command, and the
    count-down begins once more with it. }
  Box.Set_PowerTimeout(Seconds);
  Box.Set_Power(False);
  WriteLn('Reading ', Box.Get_Reading, '; waiting for the supply to go off');
  Start := GetTickCount64;
  while (Sink.Off = 0) and (GetTickCount64 - Start < QWord(Seconds + Spare) * 1000) do
    DispatchMessages(100);

  InterfaceDisconnect(Box, DIID___Zentrel, Cookie);
  Check(Box, 'Closing', Box.DeviceClose);
  if (Sink.On_ = 0) or (Sink.Off = 0) then
    raise Exception.Create('The supply was not seen to go on and off');
end;

begin
  if ParamCount <> 2 then
  begin
    WriteLn('Usage: watch_supply PORT SECONDS');
    Halt(1);
  end;
  try
    Watch(StrToInt(ParamStr(1)), StrToInt(ParamStr(2)));
  except
    on E: Exception do
    begin
      WriteLn('Failed: ', E.Message);
      Halt(1);
    end;
  end;
  WriteLn('Done.');
end.
