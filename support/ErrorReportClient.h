// What the component tells the service that follows its objects through a debugging session.
#pragma once

#include <cstdint>

namespace qmzentrel {

/// Speaks to the service for the whole process. Says nothing while no session is attached.
class ErrorReportClient {
 public:
  /// Asks the service, once: a session is attached before the component is used or not at all.
  ErrorReportClient();

  /// A new instance; the service stores its number in `instance_number`.
  void AnnounceCreation(const char* class_name, std::int16_t& instance_number) const;
  void AnnounceDestruction(const char* class_name, std::int16_t instance_number) const;

 private:
  bool has_debug_session_;
};

}  // namespace qmzentrel
