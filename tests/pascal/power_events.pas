{ The events of the class, received by a sink and written down as one character each: '+' for the
  supply on, '-' for off. }
unit power_events;

{$mode objfpc}{$H+}

interface

uses
  zentrel_interface;

type
  IPowerEvents = interface(IDispatch)
    ['{69D54976-4B55-493E-B5FF-E27DC45E2CA6}']
  end;

  TPowerEvents = class(TInterfacedObject, IDispatch, IPowerEvents)
  private
    FStates: string;
  public
    function GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
    function GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt;
      DispIDs: Pointer): HRESULT; stdcall;
    function Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
    { What has come since the last call. }
    function Taken: string;
    { The same, once anything has come; messages are dispatched meanwhile. }
    function TakenWithin(Milliseconds: LongWord): string;
  end;

implementation

uses
  ActiveX, SysUtils, Variants, Windows;

const
  PowerStateChange = 1;

function TPowerEvents.GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
begin
  Count := 0;
  Result := S_OK;
end;

function TPowerEvents.GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := E_NOTIMPL;
end;

function TPowerEvents.GetIDsOfNames(const IID: TGUID; Names: Pointer;
  NameCount, LocaleID: LongInt; DispIDs: Pointer): HRESULT; stdcall;
begin
  Result := E_NOTIMPL;
end;

function TPowerEvents.Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
var
  State: Variant;
begin
  if (DispID <> PowerStateChange) or (TDispParams(Params).cArgs <> 1) then
    Exit(DISP_E_MEMBERNOTFOUND);
  State := PVariant(TDispParams(Params).rgvarg)^;
  if VarType(State) <> varBoolean then
    FStates := FStates + '?'
  else if State then
    FStates := FStates + '+'
  else
    FStates := FStates + '-';
  Result := S_OK;
end;

function TPowerEvents.Taken: string;
begin
  Result := FStates;
  FStates := '';
end;

function TPowerEvents.TakenWithin(Milliseconds: LongWord): string;
var
  Start, Passed: QWord;
  Message: TMsg;
begin
  Start := GetTickCount64;
  repeat
    while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
      DispatchMessage(Message);
    Passed := GetTickCount64 - Start;
    if (FStates <> '') or (Passed >= Milliseconds) then Break;
    MsgWaitForMultipleObjects(0, nil, False, Milliseconds - Passed, QS_ALLINPUT);
  until False;
  Result := Taken;
end;

end.
