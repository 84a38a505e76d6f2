// Which modem lines of the port carry the supply of the box, and how they have stood.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

enum class SupplyChoice {
  kNone,  ///< the box has a supply of its own
  kDtr,
  kRts,
  kBoth,  ///< it takes both lines
};

std::optional<SupplyChoice> ParseSupplyChoice(std::string_view text);
std::string_view SupplyChoiceText(SupplyChoice choice);

struct LineChange {
  Time time{0};
  bool dtr = false;
  bool rts = false;
};

/// "81236.412 dtr=1 rts=0": the time in milliseconds of the monotonic clock.
std::string FormatLineChange(const LineChange& change);

/// How many of these changes come before the bytes that were found together with them. A client
/// switches on, sends, takes the reply and switches off: those up to the last that switches
/// something on. `before`: how the lines stood ahead of them.
std::size_t ChangesBeforeBytes(const LineChange& before, const std::vector<LineChange>& changes);

class SupplyLine {
 public:
  explicit SupplyLine(SupplyChoice choice) : choice_(choice) {}

  SupplyChoice Choice() const { return choice_; }
  void Choose(SupplyChoice choice) { choice_ = choice; }

  void Add(const LineChange& change) { history_.push_back(change); }
  const std::vector<LineChange>& History() const { return history_; }
  void ClearHistory();

  /// How the lines stand now.
  const LineChange& Standing() const { return history_.empty() ? before_ : history_.back(); }

  /// Whether they feed the box.
  bool IsOn() const;

 private:
  SupplyChoice choice_;
  std::vector<LineChange> history_;
  LineChange before_;  // how the lines stood when the history began
};

}  // namespace qmzentrel::virtual_box
