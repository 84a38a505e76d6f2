// An object of the client, held while the component works with it.
#pragma once

#include "platform/hardware_faults.h"

namespace qmzentrel::com {

/// What the object does when it is held and let go is its own; that it is an object at all is for
/// the member to find out.
template <class Interface>
class HeldObject {
 public:
  /// Null is allowed.
  explicit HeldObject(Interface* object) : object_(object) {
    if (object_ != nullptr) platform::CallOutToClient([&] { return object_->AddRef(); });
  }
  ~HeldObject() noexcept(false) {
    if (object_ != nullptr) platform::CallOutToClient([&] { return object_->Release(); });
  }
  HeldObject(const HeldObject&) = delete;
  HeldObject& operator=(const HeldObject&) = delete;

  Interface* Get() const { return object_; }

 private:
  Interface* object_;
};

}  // namespace qmzentrel::com
