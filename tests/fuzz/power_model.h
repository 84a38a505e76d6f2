// The supply of the box by its rules: what the line is, what is told, and who waits.
#pragma once

#include <cstdint>
#include <optional>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

/// An error that is reported and leaves the call.
struct Fault {};

/// What happens around the supply.
class Surroundings {
 public:
  virtual ~Surroundings() = default;
  virtual Time Now() const = 0;
  /// Since midnight.
  virtual Time Clock() const = 0;
  /// Passes time in which nothing else runs.
  virtual void Pass(Time time) = 0;
  /// Dispatches what is due next, at most after `most`.
  virtual void Yield(Time most) = 0;
  virtual void RaiseEvent(bool state) = 0;
};

class PowerModel {
 public:
  explicit PowerModel(Surroundings& around) : around_(around) {}

  void PowerManagement(bool on_demand);
  void Power(bool state);
  /// Box facts have come from a box with this signature.
  void TakeSignature(std::uint8_t signature);
  /// A Box Status has ended and the signature known is 0.
  void StartHoldOff();
  /// The port is about to be opened.
  void LoadCountDown() { left_ = timeout; }
  /// The port is about to be closed by the client.
  void SwitchOff();

  /// Whether the line of an open port carries the supply.
  bool Line() const { return line_; }
  /// When the next tick is due.
  std::optional<Time> TickDue() const { return due_; }
  void Tick();
  /// The object has gone.
  void End();

  std::int32_t timeout = 60;
  bool timers_available = true;

 private:
  void StartTimer();
  void StopTimer();

  Surroundings& around_;
  bool on_demand_ = false;
  bool enabled_ = false;
  bool line_ = false;
  std::int32_t left_ = 0;
  bool timer_wanted_ = false;  ///< asked for, whether or not there was one
  std::optional<Time> due_;
  std::optional<Time> hold_off_;  ///< on the clock
};

}  // namespace qmzentrel::fuzz
