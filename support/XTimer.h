// A periodic timer for objects without a window.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "support/error_frame.h"
#include "support/object_lifetime.h"

namespace qmzentrel {

/// Runs exactly when it is enabled and its interval is not 0; the order in which the two are set
/// does not matter. A running timer is kept alive by the table of active timers until it is
/// stopped. Belongs to the thread that starts it, and ticks only while that thread pumps messages.
class XTimer : public std::enable_shared_from_this<XTimer> {
 public:
  static std::shared_ptr<XTimer> Create();
  /// Kills the timer that it started last directly, past the table.
  ~XTimer();
  XTimer(const XTimer&) = delete;
  XTimer& operator=(const XTimer&) = delete;

  bool Enabled() const { return mblnEnabled; }
  /// Starts or stops the timer. When the operating system has no timer left this fails with
  /// kErrorReported, after the report of "No timers available".
  void Enabled(bool NewValue);

  /// Milliseconds; 0 means that no timer can run.
  std::int32_t Interval() const { return mlngInterval; }
  /// A running timer starts anew: its next tick comes a full interval after the change. Setting the
  /// present interval does nothing. Fails as Enabled does.
  void Interval(std::int32_t NewInterval);

  /// Raises Tick.
  void RaiseTick();

  /// Identifier of the timer started last, 0 before the first start.
  std::int32_t TimerID() const { return mlngTimerID; }

  /// The handler of the event, raised once per elapsed interval; an empty one detaches.
  void Tick(std::function<void()> handler) { tick_ = std::move(handler); }

  /// The fields in declared order, for the error report.
  std::string DumpFields() const;

 private:
  XTimer() = default;

  ObjectLifetime lifetime_{"XTimer"};
  ModuleFields fields_ = FieldsOf("XTimer", this);

  // In the order in which the error report shows them.
  std::int32_t mlngTimerID = 0;
  std::int32_t mlngInterval = 0;
  bool mblnEnabled = false;

  std::function<void()> tick_;
};

}  // namespace qmzentrel
