{ A combo box as the class fills it: late bound, by the names of its members. It has no type
  information; its members are what tells that it is one. }
unit combo_box;

{$mode objfpc}{$H+}

interface

type
  TComboBox = class(TInterfacedObject, IDispatch)
  private
    FTexts: array of string;
    FData: array of LongInt;
    FNewIndex, FListIndex: LongInt;
    procedure Clear;
    procedure AddItem(const Text: string);
    procedure SetItemData(Index, Data: LongInt);
    function Call(Member: LongInt; Flags: Word; const Arguments: array of Variant): Variant;
  public
    function GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
    function GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt;
      DispIDs: Pointer): HRESULT; stdcall;
    function Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
    { 'TEXT=DATA;TEXT=DATA...' with a '>' before the selected entry. }
    function Content: string;
  end;

implementation

uses
  ActiveX, SysUtils, Variants, Windows;

const
  MemberNames: array[1..6] of string =
    ('Clear', 'AddItem', 'NewIndex', 'ItemData', 'ListCount', 'ListIndex');
  ClearID = 1;
  AddItemID = 2;
  NewIndexID = 3;
  ItemDataID = 4;
  ListCountID = 5;
  ListIndexID = 6;

type
  EMemberNotFound = class(Exception);

procedure TComboBox.Clear;
begin
  FTexts := nil;
  FData := nil;
  FNewIndex := -1;
  FListIndex := -1;
end;

procedure TComboBox.AddItem(const Text: string);
begin
  FNewIndex := Length(FTexts);
  SetLength(FTexts, FNewIndex + 1);
  SetLength(FData, FNewIndex + 1);
  FTexts[FNewIndex] := Text;
end;

procedure TComboBox.SetItemData(Index, Data: LongInt);
begin
  if (Index < 0) or (Index > High(FData)) then raise ERangeError.Create('ItemData');
  FData[Index] := Data;
end;

function TComboBox.Call(Member: LongInt; Flags: Word; const Arguments: array of Variant): Variant;
var
  IsPut: Boolean;
begin
  Result := Unassigned;
  IsPut := (Flags and DISPATCH_PROPERTYPUT) <> 0;
  if (Member = ClearID) and (Length(Arguments) = 0) then
    Clear
  else if (Member = AddItemID) and (Length(Arguments) >= 1) then
    AddItem(Arguments[0])
  else if (Member = NewIndexID) and not IsPut then
    Result := FNewIndex
  else if (Member = ItemDataID) and (Length(Arguments) = 2) and IsPut then
    SetItemData(Arguments[0], Arguments[1])
  else if (Member = ItemDataID) and (Length(Arguments) = 1) then
    Result := FData[LongInt(Arguments[0])]
  else if (Member = ListCountID) and not IsPut then
    Result := LongInt(Length(FTexts))
  else if (Member = ListIndexID) and IsPut then
    FListIndex := Arguments[0]
  else if Member = ListIndexID then
    Result := FListIndex
  else
    raise EMemberNotFound.Create('');
end;

function TComboBox.GetTypeInfoCount(out Count: LongInt): HRESULT; stdcall;
begin
  Count := 0;
  Result := S_OK;
end;

function TComboBox.GetTypeInfo(Index, LocaleID: LongInt; out TypeInfo): HRESULT; stdcall;
begin
  Pointer(TypeInfo) := nil;
  Result := E_NOTIMPL;
end;

function TComboBox.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: LongInt;
  DispIDs: Pointer): HRESULT; stdcall;
var
  Member: LongInt;
begin
  for Member := Low(MemberNames) to High(MemberNames) do
    if SameText(MemberNames[Member], string(WideString(PPWideChar(Names)^))) then
    begin
      PLongInt(DispIDs)^ := Member;
      Exit(S_OK);
    end;
  PLongInt(DispIDs)^ := DISPID_UNKNOWN;
  Result := DISP_E_UNKNOWNNAME;
end;

function TComboBox.Invoke(DispID: LongInt; const IID: TGUID; LocaleID: LongInt; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HRESULT; stdcall;
var
  Given: TDispParams absolute Params;
  Arguments: array of Variant;
  Value: Variant;
  I: Integer;
begin
  SetLength(Arguments, Given.cArgs);
  { They come last first. }
  for I := 0 to High(Arguments) do
    Arguments[I] := PVariant(@Given.rgvarg^[High(Arguments) - I])^;
  try
    Value := Call(DispID, Flags, Arguments);
    if VarResult <> nil then PVariant(VarResult)^ := Value;
    Result := S_OK;
  except
    on EMemberNotFound do Result := DISP_E_MEMBERNOTFOUND;
    on Exception do Result := DISP_E_TYPEMISMATCH;
  end;
end;

function TComboBox.Content: string;
var
  I: Integer;
begin
  Result := '';
  for I := 0 to High(FTexts) do
  begin
    if I > 0 then Result := Result + ';';
    if I = FListIndex then Result := Result + '>';
    Result := Result + FTexts[I] + '=' + IntToStr(FData[I]);
  end;
end;

end.
