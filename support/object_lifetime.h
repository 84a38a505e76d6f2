// The first and the last thing that every object of the component does.
#pragma once

#include <cstdint>

namespace qmzentrel {

/// First member of every class: sets error reporting up with the first object of the process, and
/// announces the object's creation and its end to the report service.
class ObjectLifetime {
 public:
  /// `class_name` lives as long as the program.
  explicit ObjectLifetime(const char* class_name);
  ~ObjectLifetime();
  ObjectLifetime(const ObjectLifetime&) = delete;
  ObjectLifetime& operator=(const ObjectLifetime&) = delete;

 private:
  const char* class_name_;
  std::int16_t instance_number_ = 0;  // the service's
};

}  // namespace qmzentrel
