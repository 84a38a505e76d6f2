{ Compiles the project of a help file: compile_help PROJECT.hhp. The compiled file is made beside it.

  chmcmd of Free Pascal would do the same with the same units, but it writes the folder of the build
  machine into each help context, so that no context leads to a topic, and the time of day into the
  file, so that it is another each time. }
program compile_help;

{$mode objfpc}{$H+}

uses
  cwstring, Classes, SysUtils, ChmFileWriter, ChmWriter;

type
  THelpProject = class(TChmProject)
  public
    procedure WriteChm(Stream: TStream); override;
  end;

var
  Failed: Boolean = False;

procedure Tell(Project: TChmProject; Kind: TChmProjectErrorKind; Text: String; Detail: Integer);
begin
  if not (Kind in [chmerror, chmwarning]) then Exit;
  Failed := True;
  WriteLn(StdErr, Text);
end;

procedure THelpProject.WriteChm(Stream: TStream);
var
  Writer: TChmWriter;
  I: Integer;
  Node: TChmContextNode;
begin
  LoadSitemaps;
  Writer := TChmWriter.Create(Stream, False);
  try
    Writer.OnGetFileData := @GetData;
    Writer.OnLastFile := @LastFileAdded;
    Writer.FilesToCompress.AddStrings(Files);
    Writer.DefaultPage := DefaultPage;
    Writer.Title := Title;
    Writer.FullTextSearch := MakeSearchable;
    Writer.HasBinaryTOC := MakeBinaryTOC;
    Writer.HasBinaryIndex := MakeBinaryIndex;
    Writer.IndexName := IndexFileName;
    Writer.TocName := TableOfContentsFileName;
    Writer.LocaleID := LocaleID;
    for I := 0 to Files.Count - 1 do
    begin
      Node := TChmContextNode(Files.Objects[I]);
      if Assigned(Node) and (Node.ContextNumber <> 0) then
        Writer.AddContext(Node.ContextNumber, Files[I]);
    end;
    Writer.Execute;
  finally
    Writer.Free;
  end;
end;

{ Nothing reads the two places where the units write the time of day. }
procedure ForgetTheTime(Stream: TStream);
const
  InHeader = 16;
  None: DWord = 0;
  { In #SYSTEM: its version 3, then its first entry, of kind 10 and four bytes long. }
  BeforeTheOther: array[0..7] of Byte = (3, 0, 0, 0, 10, 0, 4, 0);
var
  Start: array[0..16383] of Byte;
  Count, I: Integer;
begin
  FillChar(Start, SizeOf(Start), 0);
  Stream.Position := 0;
  Count := Stream.Read(Start, SizeOf(Start));
  Stream.Position := InHeader;
  Stream.Write(None, SizeOf(None));
  for I := 0 to Count - SizeOf(BeforeTheOther) do
    if CompareByte(Start[I], BeforeTheOther, SizeOf(BeforeTheOther)) = 0 then
    begin
      Stream.Position := I + SizeOf(BeforeTheOther);
      Stream.Write(None, SizeOf(None));
      Exit;
    end;
  raise Exception.Create('No #SYSTEM in the help file');
end;

var
  Project: THelpProject;
  Compiled: TFileStream;
begin
  Project := THelpProject.Create;
  Project.OnError := @Tell;
  Project.LoadFromHhp(ParamStr(1), False);
  Compiled := TFileStream.Create(ExtractFilePath(ParamStr(1)) + Project.OutputFileName, fmCreate);
  Project.WriteChm(Compiled);
  ForgetTheTime(Compiled);
  Compiled.Free;
  Project.Free;
  if Failed then Halt(1);
end.
