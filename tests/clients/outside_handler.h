// A client that handles its own exceptions outside its call to the component.
#pragma once

#include <functional>

#include "tests/clients/client_exceptions.h"
#include "tests/faults/memory_use.h"

namespace qmzentrel::clients {

/// Runs `body`, and says whether an exception of the client has left it. Objects of `body` itself
/// are not destroyed then: the handler knows nothing of C++.
template <class Body>
bool LeftByClientException(Body body) {
  return CatchClientException([](void* argument) { (*static_cast<Body*>(argument))(); }, &body) !=
         0;
}

/// Runs `round` so often that what it leaves on a heap is seen, after some rounds for what is made
/// once. The bytes left by each round.
template <class Round>
double LeftByEachRound(int rounds, Round round) {
  for (int i = 0; i < rounds / 10 + 1; ++i) round();
  const unsigned before = HeapUse();
  for (int i = 0; i < rounds; ++i) round();
  return (static_cast<double>(HeapUse()) - before) / rounds;
}

/// Less than the smallest block.
inline constexpr double kNothing = 1.0;

}  // namespace qmzentrel::clients
