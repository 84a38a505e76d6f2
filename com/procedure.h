// The procedures of the published members, as early-bound and late-bound calls run them.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <cstring>

#include "interface/long_array.h"

namespace qmzentrel {
class Zentrel;
}

namespace qmzentrel::com {

/// The member in whose name something is done, and the line that says so.
struct Caller {
  explicit constexpr Caller(const wchar_t* called, int at = __builtin_LINE())
      : member(called), line(at) {}
  const wchar_t* member;
  int line;
};

/// An argument as the dual interface hands it over. Only an array may come as the view that a
/// late-bound call has of it: it takes more forms of arrays than the dual interface.
class Argument {
 public:
  Argument() = default;
  template <class Given>
  explicit Argument(Given given) {
    static_assert(sizeof(Given) <= sizeof(word_));
    std::memcpy(&word_, &given, sizeof(Given));
  }
  /// `view` lives as long as the call.
  explicit Argument(const LongArray& view) : view_(&view) {}

  template <class Given>
  Given As() const {
    Given given;
    std::memcpy(&given, &word_, sizeof(Given));
    return given;
  }
  /// Null when the argument is what As gives.
  const LongArray* View() const { return view_; }

 private:
  LONG word_ = 0;
  const LongArray* view_ = nullptr;
};

/// A method, or the get or let procedure of a property.
struct Procedure {
  Caller member;
  bool answers;  ///< as all do but let procedures
  /// Calls the core, and puts the answer, if there is one, where `result` points to. Raises what
  /// the core raises, and ComError for arguments that cannot be used.
  void (*run)(Zentrel& core, const Argument* arguments, void* result);
};

/// Named as the dual interface names them.
struct Procedures {
#define METHOD(name, id, type, ...) static const Procedure name;
#define GET(name, id, type, ...) static const Procedure get_##name;
#define LET(name, id, type) static const Procedure put_##name;
#include "com/member_table.inc"
};

}  // namespace qmzentrel::com
