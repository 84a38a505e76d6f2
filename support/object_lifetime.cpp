#include "support/object_lifetime.h"

#include "support/ignoring_errors.h"
#include "support/modErrorReportSupport.h"

namespace qmzentrel {

// The service only watches: a fault in it keeps no object from being created or destroyed.

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
