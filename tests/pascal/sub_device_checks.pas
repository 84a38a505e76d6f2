{ Sub-device messages with every kind of array that a Pascal client has. The box and the registry
  catalog are prepared by the script that runs the client; facts are printed as in box_checks. }
unit sub_device_checks;

{$mode objfpc}{$H+}

interface

uses
  zentrel_interface;

procedure CheckSubDevice(const Early: _Zentrel; Port: LongInt);

implementation

uses
  ActiveX, ComObj, SysUtils, Variants, combo_box, expectations;

type
  TCommand = (Read, Write, Test);

var
  Late: Variant;

{ --- Arrays --- }

function ArrayOf(ElementType: TVarType; LowBound: Integer;
  const Elements: array of LongInt): Variant;
var
  I: Integer;
begin
  Result := VarArrayCreate([LowBound, LowBound + High(Elements)], ElementType);
  for I := 0 to High(Elements) do
    Result[LowBound + I] := Elements[I];
end;

function Numbers(const Elements: array of LongInt): Variant;
begin
  Result := ArrayOf(varInteger, 0, Elements);
end;

function VariantsOf(const Elements: array of LongInt): Variant;
begin
  Result := ArrayOf(varVariant, 0, Elements);
end;

function SafeArrayOf(const Value: Variant): PSafeArray;
begin
  Result := PSafeArray(TVarData(Value).VArray);
end;

{ --- Calls --- }

function Run(Command: TCommand; Count: LongInt; var IDs, Data: Variant): LongInt;
begin
  case Command of
    Read: Result := Late.TELIC2Read(Count, IDs, Data);
    Write: Result := Late.TELIC2Write(Count, IDs, Data);
    Test: Result := Late.TELIC2Test(Count, IDs, Data);
  end;
end;

procedure ExpectStatus(const What: string; Command: TCommand; Count: LongInt;
  IDs, Data: Variant; Expected: LongInt);
begin
  Expect(What, Run(Command, Count, IDs, Data), Expected);
end;

procedure ExpectError(const What: string; Command: TCommand; Count: LongInt; IDs, Data: Variant;
  Expected: HRESULT);
begin
  try
    Fail(What, 'status ' + IntToStr(Run(Command, Count, IDs, Data)));
  except
    on Error: EOleSysError do Expect(What, Error.ErrorCode, Expected);
  end;
end;

procedure ExpectEarlyFault(const What: string; const Early: _Zentrel; IDs, Data: PSafeArray);
begin
  try
    Fail(What, 'status ' + IntToStr(Early.TELIC2Read(2, IDs, Data)));
  except
    on Error: EOleException do Expect(What, Error.ErrorCode, Fault);
  end;
end;

{ Prints what a read has brought, as the unsigned number that the bytes are. }
procedure PrintMessages(const IDs, Data: Variant);
var
  I: Integer;
begin
  for I := 0 to VarArrayHighBound(IDs, 1) do
    WriteLn('READ message-', IDs[I], ' ', LongWord(LongInt(Data[I])));
end;

{ --- The catalog --- }

procedure CheckCatalog(const Early: _Zentrel);
begin
  ExpectTyped('TELIC2_Length', Late.TELIC2_Length(8), 2, varInteger);
  Expect('a negative TELIC2_Length, early', Early.Get_TELIC2_Length(9), -2);
  Expect('TELIC2_Length of an unknown message', Late.TELIC2_Length(7), 0);
  Expect('TELIC2Test_RdLength without a sub-device', Late.TELIC2Test_RdLength(1), 0);
  Early.Set_TELIC2Device('Pascal');
  Expect('TELIC2Test_RdLength', Late.TELIC2Test_RdLength(1), 2);
  Expect('TELIC2Test_RdLength without a reply', Early.Get_TELIC2Test_RdLength(2), -1);
  Expect('TELIC2Test_WrLength', Late.TELIC2Test_WrLength(1), 2);
  Expect('TELIC2Test_WrLength, early', Early.Get_TELIC2Test_WrLength(3), 0);
end;

procedure CheckLists(const Early: _Zentrel);
var
  None, Box: IDispatch;
  NoneAsVariant: Variant;
  Combo: TComboBox;
begin
  None := nil;
  ExpectTyped('TELIC2EnumDevices of Nothing', Late.TELIC2EnumDevices(None), False, varBoolean);
  Expect('TELIC2EnumMessages of Nothing', Late.TELIC2EnumMessages(None), False);
  Expect('TELIC2EnumTestMessages of Nothing', Late.TELIC2EnumTestMessages(None, 1), False);
  Expect('TELIC2EnumDevices of Nothing, early', Early.TELIC2EnumDevices(None), False);
  Expect('TELIC2EnumMessages of Nothing, early', Early.TELIC2EnumMessages(None, -1), False);
  Expect('TELIC2EnumTestMessages of Nothing, early', Early.TELIC2EnumTestMessages(None, 1),
    False);
  NoneAsVariant := None;
  Expect('TELIC2EnumDevices of Nothing in a variant', Late.TELIC2EnumDevices(NoneAsVariant),
    False);
  Expect('Nothing stays nothing', None = nil, True);
  Box := Late;
  Expect('TELIC2EnumDevices of what is no list', Early.TELIC2EnumDevices(Box), False);

  Combo := TComboBox.Create;
  Box := Combo;
  Expect('TELIC2EnumDevices', Early.TELIC2EnumDevices(Box), True);
  Expect('the devices', Combo.Content, 'Other=0;Pascal=0');
  Expect('TELIC2EnumMessages', Late.TELIC2EnumMessages(Box, 9), True);
  Expect('the messages', Combo.Content,
    'NOP=-1;08 Reverse count total=8;>09 Reverse threshold=9;11 Hardware ID=17');
  Expect('TELIC2EnumTestMessages', Late.TELIC2EnumTestMessages(Box), True);
  Expect('the test messages', Combo.Content,
    '>NOP=-1;01 Sensor=1;02 Reset=2;03 Counter=3;Invalid=99');
end;

{ --- Commands that arrive --- }

procedure CheckReads(const Early: _Zentrel);
var
  IDs, Data, Referred: Variant;
  Reference: TVarData;
  RawIDs, RawData: PSafeArray;
begin
  IDs := Numbers([8, 9, 17]);
  Data := Numbers([0, 0, 0]);
  ExpectTyped('reading into numbers', Late.TELIC2Read(3, IDs, Data), S_OKAY, varInteger);
  PrintMessages(IDs, Data);

  IDs := Numbers([200]);
  Data := Numbers([0, -5]);
  Expect('reading into a reference', Late.TELIC2Read(1, VarArrayRef(IDs), VarArrayRef(Data)),
    S_OKAY);
  PrintMessages(IDs, Data);
  Expect('an entry beyond the messages', Data[1], -5);

  IDs := VariantsOf([18, 8]);
  Data := VariantsOf([0, 0]);
  Expect('reading into variants', Late.TELIC2Read(2, IDs, Data), S_OKAY);
  PrintMessages(IDs, Data);

  { Put together by hand: the run-time library takes the elements with it when it clears what
    VarArrayRef makes of an array of variants. }
  Data := VariantsOf([0]);
  Reference.vType := varArray or varVariant or varByRef;
  Reference.vPointer := @TVarData(Data).vArray;
  Expect('reading into referenced variants',
    Late.TELIC2Read(1, Numbers([9]), Variant(Reference)), S_OKAY);
  PrintMessages(Numbers([9]), Data);

  Data := Numbers([0]);
  Referred := VarArrayRef(Data);
  Expect('reading into a variable that holds a reference',
    Late.TELIC2Read(1, Numbers([17]), Referred), S_OKAY);
  PrintMessages(Numbers([17]), Data);

  IDs := Numbers([17, 9]);
  Data := Numbers([0, 0]);
  RawIDs := SafeArrayOf(IDs);
  RawData := SafeArrayOf(Data);
  Expect('reading, early', Early.TELIC2Read(2, RawIDs, RawData), S_OKAY);
  Expect('the array stays where it was', RawData = SafeArrayOf(Data), True);
  PrintMessages(IDs, Data);

  { Entries are addressed by their own indices, wherever the array begins. }
  IDs := ArrayOf(varInteger, -1, [7, 8]);
  Data := ArrayOf(varInteger, -2, [1, 2, 3]);
  Expect('reading into an array that begins below 0', Late.TELIC2Read(1, IDs, Data), S_OKAY);
  WriteLn('READ message-8 ', Data[0]);
  Expect('the entries below 0', Data[-1], 2);

  IDs := Numbers([-1]);
  Data := Numbers([5]);
  Expect('reading no message', Late.TELIC2Read(1, IDs, Data), S_OKAY);
  Expect('what no message brings', Data[0], 0);

  ExpectStatus('reading nothing', Read, 0, Numbers([]), Numbers([]), S_OKAY);
end;

procedure CheckWrites(const Early: _Zentrel);
var
  IDs, Data: Variant;
  RawIDs, RawData: PSafeArray;
begin
  ExpectStatus('writing numbers', Write, 2, Numbers([8, 17]),
    Numbers([$BEEF, LongInt($F1F2F3F4)]), S_OKAY);
  WriteLn('WROTE message-8 ', $BEEF);
  WriteLn('WROTE message-17 ', $F1F2F3F4);

  IDs := VariantsOf([200]);
  Data := VariantsOf([0]);
  Data[0] := '85';
  ExpectStatus('writing variants', Write, 1, IDs, Data, S_OKAY);
  WriteLn('WROTE message-200 85');

  IDs := Numbers([9]);
  Data := Numbers([$0A0B]);
  RawIDs := SafeArrayOf(IDs);
  RawData := SafeArrayOf(Data);
  Expect('writing, early', Early.TELIC2Write(1, RawIDs, RawData), S_OKAY);
  WriteLn('WROTE message-9 ', $0A0B);
end;

procedure CheckTests(const Early: _Zentrel);
var
  IDs, Data: Variant;
  RawIDs, RawData: PSafeArray;
begin
  IDs := Numbers([1, 3]);
  Data := Numbers([$BEAD, 0]);
  Expect('testing with numbers', Late.TELIC2Test(2, IDs, Data), S_OKAY);
  WriteLn('READ test-1-reply ', Data[0]);
  WriteLn('READ test-3-reply ', LongWord(LongInt(Data[1])));
  WriteLn('WROTE test-1-written ', $BEAD);

  IDs := VariantsOf([3]);
  Data := VariantsOf([7]);
  Expect('testing with variants', Late.TELIC2Test(1, IDs, Data), S_OKAY);
  WriteLn('READ test-3-reply ', LongWord(LongInt(Data[0])));

  IDs := Numbers([2]);
  Data := Numbers([$2A]);
  RawIDs := SafeArrayOf(IDs);
  RawData := SafeArrayOf(Data);
  Expect('testing without a reply, early', Early.TELIC2Test(1, RawIDs, RawData), S_OKAY);
  Expect('data without a reply', Data[0], $2A);
  WriteLn('WROTE test-2-written ', $2A);
end;

{ --- Commands that are not sent --- }

procedure CheckRefusedMessages;
var
  Four: Variant;
begin
  Four := Numbers([17, 18, 17, 18]);
  ExpectStatus('an unknown message', Read, 2, Numbers([8, 7]), Numbers([0, 0]), S_BAD_PARAMETER);
  ExpectStatus('a message to write that is none', Write, 1, Numbers([-1]), Numbers([0]),
    S_BAD_PARAMETER);
  ExpectStatus('the test message for Invalid', Test, 2, Numbers([1, 99]), Numbers([0, 0]),
    S_BAD_PARAMETER);
  ExpectStatus('a negative count', Read, -1, Numbers([8]), Numbers([0]), S_BAD_PARAMETER);
  ExpectStatus('a reply that is too long', Read, 4, Four, Numbers([0, 0, 0, 0]), S_MSG_TOO_LONG);
  ExpectStatus('a frame that is too long', Write, 4, Four, Numbers([0, 0, 0, 0]),
    S_MSG_TOO_LONG);
end;

procedure CheckRefusedArrays(const Early: _Zentrel);
var
  Two: Variant;
begin
  Two := Numbers([8, 9]);
  ExpectError('identifiers from 1', Read, 2, ArrayOf(varInteger, 1, [8, 9]), Two, Fault);
  ExpectError('data from 1', Read, 2, Two, ArrayOf(varInteger, 1, [0, 0]), Fault);
  ExpectError('variants from 1', Write, 2, Two, ArrayOf(varVariant, 1, [0, 0]), Fault);
  ExpectError('too few identifiers', Write, 2, Numbers([8]), Two, Fault);
  ExpectError('too few data', Read, 2, Two, Numbers([8]), Fault);
  ExpectError('too few test data', Test, 2, Numbers([1, 3]), Numbers([8]), Fault);
  ExpectError('empty identifiers', Read, 1, Numbers([]), Two, Fault);
  ExpectError('empty data', Write, 1, Two, Numbers([]), Fault);
  ExpectError('empty variants', Test, 1, VariantsOf([]), VariantsOf([]), Fault);
  ExpectError('two dimensions', Read, 1, VarArrayCreate([0, 1, 0, 1], varInteger), Two,
    TypeMismatch);
  ExpectError('an array of other numbers', Read, 1, ArrayOf(varDouble, 0, [8]), Two,
    TypeMismatch);
  ExpectError('no array', Read, 1, 8, Two, TypeMismatch);
  ExpectEarlyFault('an array without dimensions', Early, nil, SafeArrayOf(Two));
  ExpectEarlyFault('data without dimensions', Early, SafeArrayOf(Two), nil);
end;

procedure CheckUnreadableVariant;
var
  IDs: Variant;
begin
  IDs := VariantsOf([8]);
  IDs[0] := 'no number';
  ExpectError('a variant that is no number', Read, 1, IDs, VariantsOf([0]), TypeMismatch);
end;

{ The client is looking at one of the arrays, `Locked`, while it hands both over: that keeps the array
  in place and nobody from its elements. }
procedure RunUnderLock(const What: string; Command: TCommand; var IDs, Data, Locked: Variant);
begin
  VarArrayLock(Locked);
  try
    Expect(What, Run(Command, 2, IDs, Data), S_OKAY);
  finally
    VarArrayUnlock(Locked);
  end;
end;

procedure CheckLockedArrays(const Early: _Zentrel);
var
  IDs, Data, SomeIDs, SomeData, ReferredData: Variant;
  RawIDs, RawData: PSafeArray;
begin
  IDs := Numbers([8, 9]);
  Data := Numbers([6, 7]);
  RunUnderLock('reading with locked identifiers', Read, IDs, Data, IDs);
  Data := Numbers([6, 7]);
  RunUnderLock('reading into locked data', Read, IDs, Data, Data);
  WriteLn('READ message-8 ', Data[0]);
  WriteLn('READ message-9 ', Data[1]);
  RunUnderLock('writing locked data', Write, IDs, Data, Data);
  ReferredData := VarArrayRef(Data);
  RunUnderLock('reading into a reference to locked data', Read, IDs, ReferredData, Data);
  SomeIDs := VariantsOf([8, 9]);
  SomeData := VariantsOf([6, 7]);
  RunUnderLock('reading with locked variants', Read, SomeIDs, SomeData, SomeIDs);
  SomeData := VariantsOf([6, 7]);
  RunUnderLock('reading into locked variants', Read, SomeIDs, SomeData, SomeData);
  WriteLn('READ message-9 ', SomeData[1]);
  Data := Numbers([6, 7]);
  RawIDs := SafeArrayOf(IDs);
  RawData := SafeArrayOf(Data);
  VarArrayLock(Data);
  Expect('reading into locked data, early', Early.TELIC2Read(2, RawIDs, RawData), S_OKAY);
  VarArrayUnlock(Data);
  WriteLn('READ message-8 ', Data[0]);
  { Nothing stays locked: an array can get another size. }
  VarArrayRedim(Data, 3);
  Expect('the size of what was locked', VarArrayHighBound(Data, 1), 3);
  ExpectStatus('reading once the lock is off', Read, 2, IDs, Data, S_OKAY);
end;

procedure CheckSubDevice(const Early: _Zentrel; Port: LongInt);
begin
  Late := Early as IDispatch;
  try
    CheckCatalog(Early);
    CheckLists(Early);
    ExpectStatus('reading with the port closed', Read, 1, Numbers([8]), Numbers([0]), S_BAD_PORT);
    ExpectStatus('writing with the port closed', Write, 1, Numbers([8]), Numbers([0]), S_BAD_PORT);
    ExpectStatus('testing with the port closed', Test, 1, Numbers([1]), Numbers([0]), S_BAD_PORT);
    Expect('DeviceOpen', Early.DeviceOpen(Port, True), S_OKAY);
    Expect('DeviceInit', Early.DeviceInit, S_OKAY);
    CheckReads(Early);
    CheckRefusedMessages;
    CheckRefusedArrays(Early);
    CheckUnreadableVariant;
    CheckLockedArrays(Early);
    CheckWrites(Early);
    CheckTests(Early);
    Expect('DeviceClose', Early.DeviceClose, S_OKAY);
  finally
    Late := Unassigned;
  end;
end;

end.
