#include "bench/opened_device.h"

#include "bench/measure.h"

namespace qmzentrel::bench {

void MustSucceed(_Zentrel* zentrel, Command command, const char* what) {
  ZentrelStatus status = S_TIMEOUT;
  const HRESULT result = (zentrel->*command)(&status);
  Require(result == S_OK && status == S_OKAY, what);
}

OpenedDevice::OpenedDevice(_Zentrel* zentrel, int port) : zentrel_(zentrel) {
  ZentrelStatus status = S_TIMEOUT;
  const HRESULT result = zentrel->DeviceOpen(port, VARIANT_TRUE, &status);
  Require(result == S_OK && status == S_OKAY, "DeviceOpen");
}

OpenedDevice::~OpenedDevice() {
  MustSucceed(zentrel_, &_Zentrel::DeviceClose, "DeviceClose");
}

}  // namespace qmzentrel::bench
