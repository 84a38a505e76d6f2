// Reads a transponder, early bound, and tells when the box's supply goes on and off.
//
//   read_transponder PORT
//
// PORT is the number of the COM port with the box. Built with the folder `include` of the
// development kit, for 32-bit Windows:
//
//   i686-w64-mingw32-g++ -std=c++17 -static -Iinclude read_transponder.cpp -lole32 -loleaut32
//   cl /std:c++17 /EHsc /Iinclude read_transponder.cpp ole32.lib oleaut32.lib
//
// Ends with 0 when the transponder has been read, otherwise with 1.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "zentrel.hpp"

namespace {

void Say(const std::wstring& text) {
  std::printf("%ls\n", text.c_str());
}

/// Says what has failed; answers whether it was right.
bool Succeeded(const zentrel::Object& box, const wchar_t* what, ZentrelStatus status) {
  if (status == S_OKAY) return true;
  Say(std::wstring(what) + L" failed with status " + std::to_wstring(status) + L": " +
      box.Call(&_Zentrel::Status, status));
  return false;
}

bool Read(long port) {
  const zentrel::Object box;
  const zentrel::PowerEvents events(
      box, [](bool on) { Say(on ? L"The supply is on" : L"The supply is off"); });

  Say(L"Opening COM" + std::to_wstring(port));
  // On demand: a command switches the supply on, and it goes off some time after the last one.
  constexpr bool kMaintainSupply = false;
  if (!Succeeded(box, L"Opening the port",
                 box.Call(&_Zentrel::DeviceOpen, port, kMaintainSupply))) {
    return false;
  }
  const ZentrelStatus initialised = box.Call(&_Zentrel::DeviceInit);
  if (initialised == S_BAD_PORT) {
    Say(L"The simulator plays the box");
  } else if (!Succeeded(box, L"Initialising the box", initialised)) {
    return false;
  }
  if (!Succeeded(box, L"Reading", box.Call(&_Zentrel::ReadXpdr))) return false;

  Say(L"Transponder " + std::to_wstring(box.Call(&_Zentrel::get_Xpdr)) + L", software " +
      box.Call(&_Zentrel::get_TravonelVersion));
  Say(L"Utility code " + std::to_wstring(box.Call(&_Zentrel::get_Util)) + L", reading " +
      std::to_wstring(box.Call(&_Zentrel::get_Reading)) + L", tamper count " +
      std::to_wstring(box.Call(&_Zentrel::get_Tamper)));
  return Succeeded(box, L"Closing", box.Call(&_Zentrel::DeviceClose));
}

}  // namespace

int main(int argument_count, char** arguments) {
  const long port = argument_count == 2 ? std::strtol(arguments[1], nullptr, 10) : 0;
  if (port <= 0) {
    Say(L"Usage: read_transponder PORT");
    return EXIT_FAILURE;
  }
  try {
    const zentrel::Apartment apartment;
    if (!Read(port)) return EXIT_FAILURE;
  } catch (const zentrel::Error& error) {
    std::printf("Failed (%08lX): %ls\n", static_cast<unsigned long>(error.result),
                error.description.empty() ? L"is the component registered, or its manifest beside?"
                                          : error.description.c_str());
    return EXIT_FAILURE;
  }
  Say(L"Done.");
  return EXIT_SUCCESS;
}
