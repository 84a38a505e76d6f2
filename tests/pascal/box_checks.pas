{ The commands over the port, with the events that come with them. Prints a line 'READ NAME VALUE'
  for every fact as the client reads it, and 'WROTE NAME VALUE' for what it writes. }
unit box_checks;

{$mode objfpc}{$H+}

interface

uses
  zentrel_interface;

procedure CheckBox(const Early: _Zentrel; Port: LongInt);

implementation

uses
  ComObj, SysUtils, Variants, expectations, power_events;

procedure ReadFacts(const Late: Variant);
begin
  WriteLn('READ box-version ', Late.ZentrelVersion);
  WriteLn('READ signature0 ', Late.ZentrelSignature(0));
  WriteLn('READ signature1 ', Late.ZentrelSignature(1));
  { In the steps in which the box states it. }
  WriteLn('READ battery ', Round(Late.BatteryVoltage / 0.039));
  WriteLn('READ version ', Late.TravonelVersion);
  WriteLn('READ mif ', Late.DeviceMIF);
  WriteLn('READ util ', Late.Util);
  WriteLn('READ id ', Late.Xpdr);
  WriteLn('READ tamper ', Late.Tamper);
  WriteLn('READ reading ', Late.Reading);
  WriteLn('READ pll ', Late.PLLWarmup);
  WriteLn('READ txi ', Late.TXI);
  WriteLn('READ msi ', Late.MSI);
  WriteLn('READ freq-msb ', Late.Freq_MSB);
  WriteLn('READ br-lsb ', Late.BR_LSB);
end;

procedure CheckCommands(const Early: _Zentrel; Port: LongInt; Events: TPowerEvents);
var
  Late: Variant;
begin
  Late := Early as IDispatch;
  { An omitted argument is its default: the supply is maintained. }
  ExpectTyped('DeviceOpen', Late.DeviceOpen(Port), S_OKAY, varInteger);
  Expect('events while opening', Events.Taken, '++-');
  Expect('DeviceInit', Early.DeviceInit, S_OKAY);
  Events.Taken;
  Expect('BoxStatus', Early.BoxStatus, S_OKAY);
  Expect('events of a command', Events.Taken, '+-');
  Expect('ReadXpdr', Late.ReadXpdr, S_OKAY);
  ReadFacts(Late);

  Early.Set_Util(77);
  Late.Reading := 13579246;
  Late.Freq_MSB := 81;
  Expect('WriteXpdr', Early.WriteXpdr, S_OKAY);
  WriteLn('WROTE util 77');
  WriteLn('WROTE reading 13579246');
  WriteLn('WROTE freq-msb 81');
  Expect('DeviceClose', Late.DeviceClose, S_OKAY);
end;

{ With the supply on demand the event comes when the line changes, off by a timer. }
procedure CheckSupplyOnDemand(const Early: _Zentrel; Port: LongInt; Events: TPowerEvents);
begin
  Early.Set_PowerTimeout(1);
  Expect('DeviceOpen on demand', Early.DeviceOpen(Port, False), S_OKAY);
  Events.Taken;
  Expect('BoxStatus on demand', Early.BoxStatus, S_OKAY);
  Events.Taken;
  Expect('the supply goes off in the end', Events.TakenWithin(10000), '-');
  Expect('DeviceClose on demand', Early.DeviceClose, S_OKAY);
end;

procedure CheckBox(const Early: _Zentrel; Port: LongInt);
var
  Events: TPowerEvents;
  Sink: IDispatch;
  Connection: LongWord;
begin
  Events := TPowerEvents.Create;
  Sink := Events;
  InterfaceConnect(Early, DIID___Zentrel, Sink, Connection);
  Expect('the sink is connected', Connection <> 0, True);
  CheckCommands(Early, Port, Events);
  CheckSupplyOnDemand(Early, Port, Events);
  InterfaceDisconnect(Early, DIID___Zentrel, Connection);
  Early.Set_Power(True);
  Expect('events after the sink has gone', Events.Taken, '');
end;

end.
