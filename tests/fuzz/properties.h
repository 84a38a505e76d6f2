// The properties of an object, one by one.
#pragma once

#include "device/Zentrel.h"
#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

struct Accessor {
  std::int32_t (*get)(const Zentrel&);
  void (*let)(Zentrel&, std::int32_t);
};

/// In the order of Property.
extern const Accessor kAccessors[kProperties];

/// The older name of a property.
struct Alias {
  Property property;
  Accessor accessor;
};
extern const Alias kAliases[5];

/// All that they show now.
Shown ShownBy(const Zentrel& object);

}  // namespace qmzentrel::fuzz
