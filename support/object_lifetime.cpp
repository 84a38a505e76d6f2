#include "support/object_lifetime.h"

#include "support/ignoring_errors.h"
#include "support/modErrorReportSupport.h"

namespace qmzentrel {

ObjectLifetime::ObjectLifetime(const char* class_name) : class_name_(class_name) {
  modErrorReportSupport::InitErrorReporting();
  modErrorReportSupport::AnnounceCreation(class_name_, instance_number_);
}

ObjectLifetime::~ObjectLifetime() {
  // The service follows objects; it must not keep one from going.
  IgnoringErrors(
      [this] { modErrorReportSupport::AnnounceDestruction(class_name_, instance_number_); });
}

}  // namespace qmzentrel
