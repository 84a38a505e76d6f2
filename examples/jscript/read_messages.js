// Reads messages of the transponder's sub-device, with arrays of JScript.
//
//   cscript //nologo read_messages.js PORT IDENTIFIER...
//
// PORT is the number of the COM port with the box; the messages are those of the catalog. The script
// is 32-bit, as the component is: on 64-bit Windows start it with C:\Windows\SysWOW64\cscript.exe.
// Ends with 0 when all have been read, otherwise with 1.
var MESSAGES = "SOFTWARE\\QuenmoorComms\\TELIC2\\Messages";
var S_OKAY = 0;
var S_BAD_PORT = 3;

function say(text) {
  WScript.Echo(text);
}

function end(text) {
  say(text);
  WScript.Quit(1);
}

function check(what, status) {
  if (status !== S_OKAY) end(what + " failed with status " + status + ": " + zentrel.Status(status));
}

if (WScript.Arguments.length < 2) end("Usage: cscript //nologo read_messages.js PORT IDENTIFIER...");
var identifiers = [];
for (var argument = 1; argument < WScript.Arguments.length; ++argument) {
  identifiers.push(parseInt(WScript.Arguments(argument), 10));
}

try {
  var zentrel = new ActiveXObject("QmZentrel.Zentrel");
} catch (error) {
  end("Creating the object failed. Is the DLL registered, and is this the 32-bit script host?");
}
try {
  check("Opening the port", zentrel.DeviceOpen(parseInt(WScript.Arguments(0), 10)));
  var initialised = zentrel.DeviceInit();
  if (initialised !== S_BAD_PORT) check("Initialising the box", initialised);

  // As many entries as identifiers; the reply fills them.
  var data = new Array(identifiers.length);
  check("Reading", zentrel.TELIC2Read(identifiers.length, identifiers, data));
  for (var index = 0; index < identifiers.length; ++index) {
    var identifier = identifiers[index];
    say(zentrel.Name(MESSAGES, identifier) + " (" + identifier + "): " + data[index]);
  }
  zentrel.DeviceClose();
} catch (error) {
  end("A call failed: " + error.message);
}
say("Done.");
