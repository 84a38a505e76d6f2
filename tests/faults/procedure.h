// Procedures of the component's kind to fault in, and what their reports must say.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "support/error_frame.h"

namespace qmzentrel::faults {

/// What the report of the next fault must say.
struct ExpectedReport {
  const char* module = "Probe";
  const char* procedure = nullptr;
  int line = 0;  ///< -1: any but 0
  const char* locals = "";
};
extern ExpectedReport g_expected;

/// Whether the dump of the module's fields faults as well.
extern bool g_faulting_fields;

const ModuleFields& Fields();

/// Counts the objects that live.
class Witness {
 public:
  Witness() { ++alive; }
  ~Witness() { --alive; }
  Witness(const Witness&) = delete;
  Witness& operator=(const Witness&) = delete;

  static std::atomic<int> alive;
};

/// Runs `statement` in the middle of a procedure.
template <class Statement>
void Procedure(Statement statement) {
  std::int32_t lngValue = 1;
  std::string strText = "at first";
  ErrorFrame frame(Fields(), "Procedure", PARAMETERS(), LOCALS(lngValue, strText));
  frame.Run([&] {
    const Witness witness;
    STEP lngValue = 2;
    STEP strText = "changed";
    g_expected = {"Probe", "Procedure", __LINE__ + 2,
                  "<lngValue>2</lngValue>\r\n<strText>changed</strText>\r\n"};
    STEP statement();
    STEP lngValue = 3;
    STEP strText = "too late";
  });
}

}  // namespace qmzentrel::faults
