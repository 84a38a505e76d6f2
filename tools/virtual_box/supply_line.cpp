#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

std::optional<SupplyChoice> ParseSupplyChoice(std::string_view text) {
  for (const SupplyChoice choice :
       {SupplyChoice::kNone, SupplyChoice::kDtr, SupplyChoice::kRts, SupplyChoice::kBoth}) {
    if (text == SupplyChoiceText(choice)) return choice;
  }
  return std::nullopt;
}

std::string_view SupplyChoiceText(SupplyChoice choice) {
  switch (choice) {
    case SupplyChoice::kDtr:
      return "dtr";
    case SupplyChoice::kRts:
      return "rts";
    case SupplyChoice::kBoth:
      return "both";
    case SupplyChoice::kNone:
      break;
  }
  return "none";
}

std::string FormatLineChange(const LineChange& change) {
  return MillisecondsText(change.time) + " dtr=" + (change.dtr ? '1' : '0') +
         " rts=" + (change.rts ? '1' : '0');
}

std::size_t ChangesBeforeBytes(const LineChange& before, const std::vector<LineChange>& changes) {
  std::size_t count = 0;
  const LineChange* last = &before;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if ((changes[i].dtr && !last->dtr) || (changes[i].rts && !last->rts)) count = i + 1;
    last = &changes[i];
  }
  return count;
}

void SupplyLine::ClearHistory() {
  before_ = Standing();
  history_.clear();
}

bool SupplyLine::IsOn() const {
  const LineChange& now = Standing();
  switch (choice_) {
    case SupplyChoice::kDtr:
      return now.dtr;
    case SupplyChoice::kRts:
      return now.rts;
    case SupplyChoice::kBoth:
      return now.dtr && now.rts;
    case SupplyChoice::kNone:
      break;
  }
  return true;
}

}  // namespace qmzentrel::virtual_box
