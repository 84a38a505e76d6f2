#include "support/object_lifetime.h"

#include "support/ignoring_errors.h"
#include "support/modErrorReportSupport.h"

namespace qmzentrel {

// The service follows objects; it must neither keep one from coming nor from going.

ObjectLifetime::ObjectLifetime(const char* class_name) : class_name_(class_name) {
  modErrorReportSupport::InitErrorReporting();
  IgnoringErrors(
      [this] { modErrorReportSupport::AnnounceCreation(class_name_, instance_number_); });
}

ObjectLifetime::~ObjectLifetime() {
  IgnoringErrors(
      [this] { modErrorReportSupport::AnnounceDestruction(class_name_, instance_number_); });
}

}  // namespace qmzentrel
