{ Comparing what a client sees with what it should see; every difference names itself. }
unit expectations;

{$mode objfpc}{$H+}

interface

const
  { What a fault inside the component is to a client: error 65535. }
  Fault = HRESULT($800AFFFF);
  TypeMismatch = HRESULT($80020005);
  MemberNotFound = HRESULT($80020003);

var
  Failures: Integer = 0;
  Checked: Integer = 0;
  { For when the client breaks off. }
  LastChecked: string = 'nothing';

procedure Expect(const What: string; const Actual, Expected: Variant);
{ The value must be of this variant type as well. }
procedure ExpectTyped(const What: string; const Actual, Expected: Variant; VariantType: TVarType);
procedure Fail(const What: string; const Why: Variant);

implementation

uses
  SysUtils, Variants;

procedure Fail(const What: string; const Why: Variant);
begin
  Inc(Failures);
  WriteLn('FAILED ', What, ': ', VarToStr(Why));
end;

procedure Expect(const What: string; const Actual, Expected: Variant);
begin
  Inc(Checked);
  LastChecked := What;
  if VarSameValue(Actual, Expected) then Exit;
  Fail(What, VarToStr(Actual) + ' instead of ' + VarToStr(Expected));
end;

procedure ExpectTyped(const What: string; const Actual, Expected: Variant; VariantType: TVarType);
begin
  Expect(What, Actual, Expected);
  Expect('variant type of ' + What, VarType(Actual), VariantType);
end;

end.
