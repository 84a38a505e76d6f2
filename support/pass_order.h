// Where a pass of the sorting of modCOM_Registry stops: what it would find name by name, found in
// steps by the logarithm of their number.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qmzentrel::modCOM_Registry {

/// Keys by place, with the greatest of each part.
class GreatestKeys {
 public:
  explicit GreatestKeys(const std::vector<double>& keys);

  void Set(std::size_t place, double key);
  /// The first place from `from` on whose key is `least` or more; there is one.
  std::size_t FirstFrom(std::size_t from, double least) const;

 private:
  std::size_t leaves_;
  std::vector<double> greatest_;  // the whole at 1, the halves of i at 2 * i and 2 * i + 1
};

/// A list of keys in which passes look from both ends.
class PassKeys {
 public:
  explicit PassKeys(std::vector<double> keys);

  double At(std::size_t place) const { return keys_[place]; }
  /// The first place from `from` up that does not sort below the pivot, or has no key (is no
  /// number); and from `from` down that does not sort above it. There is one: at the latest the
  /// pivot, or what has changed places with another.
  std::size_t UpTo(std::size_t from, double pivot) const { return up_.FirstFrom(from, pivot); }
  std::size_t DownTo(std::size_t from, double pivot) const;
  void Swap(std::size_t left, std::size_t right);

 private:
  void SetBoth(std::size_t place, double key);

  std::vector<double> keys_;
  GreatestKeys up_;
  GreatestKeys down_;  // from the last to the first, with the signs turned round
};

/// What each name counts in a pass of numbers: a NaN when it is none.
std::vector<double> NumbersOf(const std::vector<const std::string*>& names);

/// What each name counts in a pass of texts: the same for texts that are equal without case.
std::vector<double> RanksOf(const std::vector<const std::string*>& names);

}  // namespace qmzentrel::modCOM_Registry
