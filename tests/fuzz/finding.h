// What a fuzzer says when the component does what it must not.
#pragma once

#include <string_view>
#include <type_traits>

namespace qmzentrel::fuzz {

/// Ends the program, so that the input is kept. `what` says what is wrong.
[[noreturn]] void Find(std::string_view what);

/// Does so when `holds` is false. `what` may be a function that makes the text, which is then made
/// for a finding only: most of what is required holds, many times a second.
template <class What>
void Require(bool holds, const What& what) {
  if (holds) return;
  if constexpr (std::is_invocable_v<What>) {
    Find(what());
  } else {
    Find(what);
  }
}

}  // namespace qmzentrel::fuzz
