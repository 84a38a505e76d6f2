// What lets a driver model go on while its client waits.
#pragma once

#include <functional>
#include <memory>

namespace qmzentrel::contract {

/// A program links one of two: a thread, as drivers have, or the waits of a single client in
/// virtual time.
class DriverPace {
 public:
  /// `advance` does what is due, and tells when something is due next, on the clock of MonotonicMs.
  explicit DriverPace(std::function<double()> advance);
  ~DriverPace();
  DriverPace(const DriverPace&) = delete;
  DriverPace& operator=(const DriverPace&) = delete;

  /// Something may be due sooner than it was told.
  void Hurry();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qmzentrel::contract
