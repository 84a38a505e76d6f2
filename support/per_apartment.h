// What a module keeps for each apartment (one thread) of the client.
#pragma once

#include <memory>

#include "platform/apartment.h"

namespace qmzentrel {

/// One `State` for each thread that has asked for it. Freed by ReleaseThread alone: see
/// platform::ApartmentSlot.
template <class State>
class PerApartment {
 public:
  /// The calling thread's; null as long as it has none.
  static State* Existing() { return static_cast<State*>(Slot().Get()); }

  /// The calling thread's, made now if it has none. Throws std::bad_alloc.
  static State& Provide() {
    if (State* const existing = Existing()) return *existing;
    auto state = std::make_unique<State>();
    Slot().Set(state.get());
    return *state.release();
  }

  /// Frees the calling thread's, if it has one.
  static void ReleaseThread() {
    const std::unique_ptr<State> released(Existing());
    if (released) Slot().Set(nullptr);
  }

 private:
  // Made with the first use, since static objects of other files may come before those of this one.
  static platform::ApartmentSlot& Slot() {
    static platform::ApartmentSlot slot;
    return slot;
  }
};

}  // namespace qmzentrel
