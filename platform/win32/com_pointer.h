// An owned reference to a COM object.
#pragma once

#include <unknwn.h>

#include <utility>

namespace qmzentrel::platform {

template <class Interface>
class ComPointer {
 public:
  ComPointer() = default;
  /// Takes a reference of its own; null is allowed.
  explicit ComPointer(Interface* object) : object_(object) {
    if (object_ != nullptr) object_->AddRef();
  }
  ComPointer(const ComPointer& other) : ComPointer(other.object_) {}
  ComPointer(ComPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ~ComPointer() { Reset(); }
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  Interface* Get() const { return object_; }
  Interface* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  /// For a call that hands a reference out; drops the one held before.
  Interface** Receive() {
    Reset();
    return &object_;
  }
  void** ReceiveVoid() { return reinterpret_cast<void**>(Receive()); }

  /// A reference for somebody else to release.
  Interface* Share() const {
    if (object_ != nullptr) object_->AddRef();
    return object_;
  }

  /// Gives the reference away.
  Interface* Detach() { return std::exchange(object_, nullptr); }

  void Reset() {
    if (Interface* const object = Detach()) object->Release();
  }

 private:
  Interface* object_ = nullptr;
};

/// `object` asked for another interface; null when it does not answer it, whatever it has stored.
template <class Interface>
ComPointer<Interface> Query(IUnknown* object, REFIID riid) {
  ComPointer<Interface> answer;
  if (FAILED(object->QueryInterface(riid, answer.ReceiveVoid()))) answer.Detach();
  return answer;
}

}  // namespace qmzentrel::platform
