// The messages of a client to and from the sub-device.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "tests/clients/com_client.h"

namespace qmzentrel::clients {

/// The two arrays of a client that exchanges sub-device messages.
class Messages {
 public:
  explicit Messages(const std::vector<LONG>& identifiers, const std::vector<LONG>& data = {})
      : identifiers_(Value::LongArray(identifiers)),
        data_(Value::LongArray(data.empty() ? std::vector<LONG>(identifiers.size()) : data)),
        count_(static_cast<LONG>(identifiers.size())) {}

  /// Runs one of the three commands over all of them. A call that fails as COM calls fail fails
  /// the test.
  using Command = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG, SAFEARRAY**, SAFEARRAY**,
                                                          ZentrelStatus*);
  ZentrelStatus Run(_Zentrel* object, Command command) {
    ZentrelStatus status = S_BAD_SUM;  // which no command here answers
    EXPECT_EQ((object->*command)(Count(), Identifiers(), Data(), &status), S_OK);
    return status;
  }

  SAFEARRAY** Identifiers() { return &V_ARRAY(&identifiers_.Raw()); }
  SAFEARRAY** Data() { return &V_ARRAY(&data_.Raw()); }
  LONG Count() const { return count_; }
  std::vector<LONG> Received() {
    const auto* const first = static_cast<const LONG*>((*Data())->pvData);
    return {first, first + (*Data())->rgsabound[0].cElements};
  }

 private:
  Value identifiers_;
  Value data_;
  LONG count_;
};

}  // namespace qmzentrel::clients
