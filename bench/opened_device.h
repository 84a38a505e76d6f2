// An object of the component at work with the box.
#pragma once

#include "tests/clients/com_client.h"

namespace qmzentrel::bench {

using Command = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(ZentrelStatus*);

/// Calls a member that answers with a status; any but S_OKAY ends the program with `what`.
void MustSucceed(_Zentrel* zentrel, Command command, const char* what);

/// Keeps the port of a virtual box open, with the supply maintained.
class OpenedDevice {
 public:
  OpenedDevice(_Zentrel* zentrel, int port);
  ~OpenedDevice();
  OpenedDevice(const OpenedDevice&) = delete;
  OpenedDevice& operator=(const OpenedDevice&) = delete;

 private:
  _Zentrel* zentrel_;
};

}  // namespace qmzentrel::bench
