// A call that leaves its type behind, so that what is done around calls exists once and not for
// each of them.
#pragma once

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace qmzentrel::platform {

/// A function that knows the type of `call`, which its caller does not.
using ErasedCall = void (*)(void* call);

/// Has `around(run, call)` run `body`, by run(call), and returns what `body` returns. `around`
/// raises or runs it exactly once.
template <class Around, class Body>
std::invoke_result_t<Body> CallErased(Around around, Body&& body) {
  using Statements = std::remove_reference_t<Body>;
  using Result = std::invoke_result_t<Body>;
  if constexpr (std::is_reference_v<Result>) {
    return *CallErased(around, [&body] { return std::addressof(body()); });
  } else if constexpr (std::is_void_v<Result>) {
    const Statements* const statements = std::addressof(body);
    around([](void* call) { (*static_cast<Statements*>(call))(); },
           const_cast<void*>(static_cast<const void*>(statements)));
  } else {
    struct Call {
      Statements& body;
      std::optional<Result> result;
    } call{body, std::nullopt};
    around(
        [](void* made) {
          auto& made_call = *static_cast<Call*>(made);
          made_call.result.emplace(made_call.body());
        },
        &call);
    return std::move(*call.result);
  }
}

}  // namespace qmzentrel::platform
