// The library as clients find it, by its registration.
#pragma once

#include <gtest/gtest.h>

#include "tests/clients/com_client.h"

namespace qmzentrel::clients {

/// An object as any client makes it, in whatever apartment; null when that fails.
inline ComPointer<_Zentrel> CreatedZentrel() {
  ComPointer<_Zentrel> object;
  const HRESULT result = CoCreateInstance(CLSID_Zentrel, nullptr, CLSCTX_INPROC_SERVER,
                                          IID__Zentrel, object.ReceiveVoid());
  if (FAILED(result)) object.Detach();
  return object;
}

/// Tests of the library while it is registered.
class WithRegisteredLibrary : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(LoadedLibrary().RegisterServer(), S_OK); }
  void TearDown() override { EXPECT_EQ(LoadedLibrary().UnregisterServer(), S_OK); }
};

}  // namespace qmzentrel::clients
