#include "support/pass_order.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

#include "platform/text.h"
#include "support/conversion.h"

namespace qmzentrel::modCOM_Registry {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What is no number ends every search.
double KeyOrEnd(double key) {
  return std::isnan(key) ? kInfinity : key;
}

std::vector<double> KeysOrEnds(std::vector<double> keys) {
  std::ranges::transform(keys, keys.begin(), KeyOrEnd);
  return keys;
}

std::vector<double> TurnedRound(std::vector<double> keys) {
  std::ranges::reverse(keys);
  std::ranges::transform(keys, keys.begin(), std::negate());
  return KeysOrEnds(std::move(keys));
}

}  // namespace

GreatestKeys::GreatestKeys(const std::vector<double>& keys)
    : leaves_(std::bit_ceil(keys.size())), greatest_(2 * leaves_, -kInfinity) {
  std::ranges::copy(keys, greatest_.begin() + static_cast<std::ptrdiff_t>(leaves_));
  for (std::size_t i = leaves_ - 1; i > 0; --i) {
    greatest_[i] = std::max(greatest_[2 * i], greatest_[2 * i + 1]);
  }
}

void GreatestKeys::Set(std::size_t place, double key) {
  std::size_t i = leaves_ + place;
  greatest_[i] = key;
  while (i > 1) {
    i /= 2;
    greatest_[i] = std::max(greatest_[2 * i], greatest_[2 * i + 1]);
  }
}

std::size_t GreatestKeys::FirstFrom(std::size_t from, double least) const {
  std::size_t i = leaves_ + from;
  while (greatest_[i] < least) {
    while (i % 2 != 0) i /= 2;
    ++i;
  }
  while (i < leaves_) {
    i *= 2;
    if (greatest_[i] < least) ++i;
  }
  return i - leaves_;
}

PassKeys::PassKeys(std::vector<double> keys)
    : keys_(std::move(keys)), up_(KeysOrEnds(keys_)), down_(TurnedRound(keys_)) {}

std::size_t PassKeys::DownTo(std::size_t from, double pivot) const {
  const std::size_t last = keys_.size() - 1;
  return last - down_.FirstFrom(last - from, -pivot);
}

void PassKeys::Swap(std::size_t left, std::size_t right) {
  const double key = keys_[left];
  SetBoth(left, keys_[right]);
  SetBoth(right, key);
}

void PassKeys::SetBoth(std::size_t place, double key) {
  keys_[place] = key;
  up_.Set(place, KeyOrEnd(key));
  down_.Set(keys_.size() - 1 - place, KeyOrEnd(-key));
}

std::vector<double> NumbersOf(const std::vector<const std::string*>& names) {
  std::vector<double> numbers;
  numbers.reserve(names.size());
  for (const std::string* const name : names) {
    numbers.push_back(NumericValue(*name).value_or(std::numeric_limits<double>::quiet_NaN()));
  }
  return numbers;
}

std::vector<double> RanksOf(const std::vector<const std::string*>& names) {
  const auto below = [&names](std::size_t left, std::size_t right) {
    return platform::CompareTextNoCase(*names[left], *names[right]) < 0;
  };
  std::vector<std::size_t> order(names.size());
  std::iota(order.begin(), order.end(), 0);
  // As a heap, which stays within its bounds whatever the system says of texts.
  std::ranges::make_heap(order, below);
  std::ranges::sort_heap(order, below);
  std::vector<double> ranks(names.size());
  for (std::size_t i = 1; i < order.size(); ++i) {
    ranks[order[i]] = ranks[order[i - 1]] + (below(order[i - 1], order[i]) ? 1 : 0);
  }
  return ranks;
}

}  // namespace qmzentrel::modCOM_Registry
