// What belongs to one apartment (one thread) of the client.
#pragma once

#include <atomic>

namespace qmzentrel::platform {

/// A pointer that each thread has for itself, null at first. Plain storage without destructors: a
/// destructor per thread would keep the library in the process after its last object has gone.
class ApartmentSlot {
 public:
  ApartmentSlot();
  // NOLINTNEXTLINE(performance-trivially-destructible): the operating system has to free it.
  ~ApartmentSlot();
  ApartmentSlot(const ApartmentSlot&) = delete;
  ApartmentSlot& operator=(const ApartmentSlot&) = delete;

  void* Get() const;
  /// Throws std::bad_alloc where the operating system has no place for it. The next call may find
  /// one.
  void Set(void* value);

 private:
  std::atomic<unsigned long> index_;
};

}  // namespace qmzentrel::platform
