{ A client in Free Pascal, early and late bound: what it sees of the class, the box and the
  sub-device. The last line is 'END n' with the number of failures.
  Usage: pascal_client PORT }
program pascal_client;

{$mode objfpc}{$H+}
{$apptype console}

uses
  ComObj, SysUtils, box_checks, expectations, property_checks, sub_device_checks,
  zentrel_interface;

procedure CheckAll(Port: LongInt);
begin
  CheckProperties(CreateComObject(CLASS_Zentrel) as _Zentrel);
  CheckErrors(CreateComObject(CLASS_Zentrel) as _Zentrel);
  CheckBox(CreateComObject(CLASS_Zentrel) as _Zentrel, Port);
  CheckSubDevice(CreateOleObject('QmZentrel.Zentrel') as _Zentrel, Port);
end;

begin
  try
    CheckAll(StrToInt(ParamStr(1)));
  except
    on Error: Exception do
      Fail('what follows "' + LastChecked + '"', Error.ClassName + ': ' + Error.Message);
  end;
  WriteLn('END ', Failures, ' of ', Checked);
  if Failures > 0 then Halt(1);
end.
