// The arrays of a script language that makes them as objects, in every command that takes arrays.
// Argument: the port of the box; message 8 holds 0x1234, message 9 holds 0x5678.
// The last line is "END 0" when everything is as expected.
var failures = 0;
var zentrel;

function expect(what, actual, expected) {
  if (actual === expected) return;
  ++failures;
  WScript.Echo("FAILED " + what + ": " + actual + " instead of " + expected);
}

function expectError(what, call) {
  try {
    call();
    expect(what, "no error", "an error");
  } catch (error) {
  }
}

function read(count, identifiers, data) {
  return zentrel.TELIC2Read(count, identifiers, data);
}

try {
  zentrel = new ActiveXObject("QmZentrel.Zentrel");
  expect("opening", zentrel.DeviceOpen(parseInt(WScript.Arguments(0), 10)), 0);
  zentrel.DeviceInit();

  var identifiers = [8, "9", "eight"];
  var data = new Array(3);
  expect("reading into an array without entries", read(2, identifiers, data), 0);
  expect("the first message", data[0], 0x1234);
  expect("the second message", data[1], 0x5678);
  expect("the third entry", data[2], undefined);
  expect("the third member", data.hasOwnProperty("2"), false);
  expect("the length", data.length, 3);
  expect("the identifiers", identifiers.join(), "8,9,eight");

  data = [null, "22", "kept"];
  data[0] = undefined;
  expect("reading over entries", read(2, [9, 8], data), 0);
  expect("what the entries hold", data.join(), "22136,4660,kept");

  data = { length: 1 };
  expect("an object with a length", read(1, { length: 1, 0: 9 }, data), 0);
  expect("its entry", data[0], 0x5678);

  data = ["-1"];
  expect("writing", zentrel.TELIC2Write(1, [8], ["9320"]), 0);
  expect("reading back", read(1, [8], data), 0);
  expect("what was written", data[0], 9320);

  data = ["5"];
  expect("an unknown message", read(1, [7], data), 7);
  expect("the entry after it", data[0], "5");
  expect("an array for both", read(1, data = [9], data), 0);
  expect("what it holds", data[0], 0x5678);

  expectError("an array that is too short", function () { read(2, [8, 9], [0]); });
  expectError("an empty array", function () { read(1, [8], []); });
  expectError("an entry that is no number", function () { read(1, ["eight"], [0]); });
  expectError("an object without a length", function () { read(1, {}, [0]); });

  expect("closing", zentrel.DeviceClose(), 0);
} catch (error) {
  expect("the script", error.number + " " + error.message, "no error");
}
WScript.Echo("END " + failures);
