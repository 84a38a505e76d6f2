// Sorting lists of keys and values: by number or by text, as each pass has it from its pivot.
#include <algorithm>
#include <limits>
#include <optional>
#include <random>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/modCOM_Registry.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using modCOM_Registry::Reg_KeyValues;
using modCOM_Registry::RegKeys_QSort;
using modCOM_Registry::RegValues_QSort;
using namespace std::string_literals;

class RegistrySort : public CoreTest {
 protected:
  /// Sorts names as keys and as the names of values, which must agree.
  static Texts Sorted(Texts names, std::int32_t first = -1, std::int32_t last = -1) {
    std::vector<Reg_KeyValues> values;
    for (const std::string& name : names) values.push_back({name, "data of " + name});
    RegKeys_QSort(names, first, last);
    RegValues_QSort(values, first, last);
    Texts value_names;
    for (const Reg_KeyValues& value : values) {
      EXPECT_EQ(value.data, Variant("data of " + value.name)) << "an entry was torn";
      value_names.push_back(value.name);
    }
    EXPECT_EQ(value_names, names);
    return names;
  }
};

TEST_F(RegistrySort, NumbersComeInNumericOrder) {
  EXPECT_EQ(Sorted({"10", "9", "1"}), (Texts{"1", "9", "10"}));
  EXPECT_EQ(Sorted({"2", "10", "1"}), (Texts{"1", "2", "10"}));
  EXPECT_EQ(Sorted({"0", "-1", "-10", "5"}), (Texts{"-10", "-1", "0", "5"}));
  EXPECT_EQ(Sorted({"10.0", "4.0", "4.5"}), (Texts{"4.0", "4.5", "10.0"}));
  EXPECT_EQ(Sorted({"&H10", "15", "17"}), (Texts{"15", "&H10", "17"}));
}

TEST_F(RegistrySort, WordsComeInAlphabeticalOrderWithoutCase) {
  EXPECT_EQ(Sorted({"beta", "Alpha"}), (Texts{"Alpha", "beta"}));
  EXPECT_EQ(Sorted({"b", "C", "A", "d"}), (Texts{"A", "b", "C", "d"}));
  EXPECT_EQ(Sorted({"ab", "a", ""}), (Texts{"", "a", "ab"}));
}

TEST_F(RegistrySort, NothingAndOneAreSortedAlready) {
  EXPECT_EQ(Sorted({}), Texts{});
  EXPECT_EQ(Sorted({"x"}), Texts{"x"});
}

TEST_F(RegistrySort, TheBoundsLimitWhatIsSorted) {
  const Texts names{"5", "4", "3", "2", "1"};
  EXPECT_EQ(Sorted(names, 1, 3), (Texts{"5", "2", "3", "4", "1"}));
  EXPECT_EQ(Sorted(names, -1, 2), (Texts{"3", "4", "5", "2", "1"}));
  EXPECT_EQ(Sorted(names, 2, -1), (Texts{"5", "4", "1", "2", "3"}));
  EXPECT_EQ(Sorted(names, 0, 4), (Texts{"1", "2", "3", "4", "5"}));
  EXPECT_EQ(Sorted(names, 0, 0), names);
  EXPECT_EQ(Sorted(names, 3, 1), names);
}

TEST_F(RegistrySort, ABoundOutsideIsASubscriptErrorOnceThereIsSomethingToSort) {
  EXPECT_EQ(ReportOf([] { Sorted({"1", "2"}, 0, 5); }).ErrorNumber, 9);
  EXPECT_EQ(ReportOf([] { Sorted({"1", "2"}, -3, 1); }).ErrorNumber, 9);
  EXPECT_EQ(ReportOf([] { Sorted({}, 0, 1); }).ErrorNumber, 9);
  EXPECT_EQ(Sorted({"1", "2"}, 7, 7), (Texts{"1", "2"}));
}

TEST_F(RegistrySort, ThePivotDecidesWhetherAPassIsNumeric) {
  // The middle one is a word: the numbers are texts in this pass, and numbers in the next.
  EXPECT_EQ(Sorted({"9", "x", "10"}), (Texts{"9", "10", "x"}));
  // As texts "10" is below "9", as numbers it is not.
  EXPECT_EQ(Sorted({"b", "a", "10", "9"}), (Texts{"9", "10", "a", "b"}));
}

TEST_F(RegistrySort, AWordInANumericPassIsATypeMismatch) {
  for (const Texts& names : {Texts{"9", "10", "x"}, Texts{"x", "10", "9"}, Texts{"1", ""}}) {
    Texts keys = names;
    const ErrorReport report = ReportOf([&] { RegKeys_QSort(keys, -1, -1); });
    EXPECT_EQ(report.ErrorNumber, 13);
    EXPECT_EQ(report.ErrorDescription, "Type mismatch");
    EXPECT_EQ(report.module, "modCOM_Registry");
    EXPECT_EQ(report.procedure, "RegKeys_QSort");
  }
}

TEST_F(RegistrySort, TheReportOfKeysShowsTheListAndWhereTheSortStood) {
  Texts keys{"8", "9", "x"};
  const ErrorReport report = ReportOf([&] { RegKeys_QSort(keys, -1, -1); });
  EXPECT_EQ(report.parameters,
            "<Keys Index=\"0\">8</Keys>\r\n<Keys Index=\"1\">9</Keys>\r\n"
            "<Keys Index=\"2\">x</Keys>\r\n"
            "<lngFirst>0</lngFirst>\r\n<lngLast>2</lngLast>\r\n");
  EXPECT_EQ(report.local_variables,
            "<lngLow>1</lngLow>\r\n<lngHigh>2</lngHigh>\r\n<lngMiddle>1</lngMiddle>\r\n"
            "<vntTempVal>{Empty}</vntTempVal>\r\n<vntTestVal>9</vntTestVal>\r\n");
}

TEST_F(RegistrySort, TheReportShowsWhatWasSwappedLast) {
  // "3" and "0" have changed places when the word is met.
  Texts keys{"3", "x", "2", "1", "0"};
  const ErrorReport report = ReportOf([&] { RegKeys_QSort(keys, -1, -1); });
  EXPECT_EQ(report.local_variables,
            "<lngLow>1</lngLow>\r\n<lngHigh>3</lngHigh>\r\n<lngMiddle>2</lngMiddle>\r\n"
            "<vntTempVal>3</vntTempVal>\r\n<vntTestVal>2</vntTestVal>\r\n");
  EXPECT_EQ(keys, (Texts{"0", "x", "2", "1", "3"}));
}

TEST_F(RegistrySort, TheReportOfValuesCannotShowThem) {
  std::vector<Reg_KeyValues> values{{"1", 1}, {"2", 2}, {"x", 3}};
  const ErrorReport report = ReportOf([&] { RegValues_QSort(values, -1, 2); });
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.module, "modCOM_Registry");
  EXPECT_EQ(report.procedure, "RegValues_QSort");
  EXPECT_EQ(report.parameters,
            "<KeyValues>{Can't dump UDT parameters}</KeyValues>\r\n"
            "<lngFirst>0</lngFirst>\r\n<lngLast>2</lngLast>\r\n");
}

TEST_F(RegistrySort, AFaultDeepInTheSortIsReportedOnce) {
  // Which pass meets a word among its numbers depends on the order; many orders meet none.
  const Texts keys{"b", "a", "c", "m", "5", "6", "z", "y"};
  std::int32_t faults = 0;
  std::mt19937 random(1);
  for (int turn = 0; turn < 100; ++turn) {
    Texts shuffled = keys;
    std::ranges::shuffle(shuffled, random);
    const std::int32_t number = ErrorNumberOf([&] { RegKeys_QSort(shuffled, -1, -1); });
    const auto reports = TakeReports();
    EXPECT_EQ(reports.size(), number == 0 ? 0U : 1U);
    if (number != 0) {
      EXPECT_EQ(number, 65535);
      ++faults;
    }
  }
  EXPECT_GT(faults, 0);
}

TEST_F(RegistrySort, EqualNamesChangePlacesAsInHoaresPartition) {
  EXPECT_EQ(Sorted({"1", "01", "1.0"}), (Texts{"1.0", "01", "1"}));
  EXPECT_EQ(Sorted({"a", "A"}), (Texts{"A", "a"}));
  EXPECT_EQ(Sorted({"B", "a", "A", "b"}), (Texts{"A", "a", "b", "B"}));
}

TEST_F(RegistrySort, EveryOrderOfNumbersIsSorted) {
  Texts names{"-1", "0", "2", "9", "10", "11", "100"};
  const Texts sorted = names;
  std::ranges::sort(names);
  do {
    ASSERT_EQ(Sorted(names), sorted);
  } while (std::ranges::next_permutation(names).found);
}

TEST_F(RegistrySort, EveryOrderOfWordsIsSorted) {
  Texts names{"Alpha", "beta", "Delta", "gamma", "Zeta"};
  const Texts sorted = names;
  std::ranges::sort(names);
  do {
    ASSERT_EQ(Sorted(names), sorted);
  } while (std::ranges::next_permutation(names).found);
}

TEST_F(RegistrySort, LongListsInEveryShapeAreSorted) {
  Texts ascending;
  for (int i = 0; i < 2000; ++i) ascending.push_back(std::to_string(i));
  EXPECT_EQ(Sorted(ascending), ascending);
  EXPECT_EQ(Sorted(Texts(ascending.rbegin(), ascending.rend())), ascending);
  Texts shuffled = ascending;
  std::ranges::shuffle(shuffled, std::mt19937(7));
  EXPECT_EQ(Sorted(shuffled), ascending);
  EXPECT_EQ(Sorted(Texts(2000, "7")), Texts(2000, "7"));
}

// The passes, name by name.
class NameByNameSort {
 public:
  explicit NameByNameSort(Texts names) : names_(std::move(names)) {}

  // False when a pass of numbers has met a word.
  bool Run(std::int64_t first, std::int64_t last) {
    if (first >= last) return true;
    low = first;
    high = last;
    const std::string pivot = names_[static_cast<std::size_t>((low + high) / 2)];
    const std::optional<double> number = NumericValue(pivot);
    while (low <= high) {
      for (; Compare(low, pivot, number) < 0; ++low) {
      }
      if (met_word_) return false;
      for (; Compare(high, pivot, number) > 0; --high) {
      }
      if (met_word_) return false;
      if (low > high) break;
      std::swap(names_[static_cast<std::size_t>(low)], names_[static_cast<std::size_t>(high)]);
      ++low;
      --high;
    }
    const std::int64_t behind = low;
    return Run(first, high) && Run(behind, last);
  }

  const Texts& Names() const { return names_; }

  std::int64_t low = 0;
  std::int64_t high = 0;

 private:
  int Compare(std::int64_t place, const std::string& pivot, const std::optional<double>& number) {
    const std::string& name = names_[static_cast<std::size_t>(place)];
    if (!number) return platform::CompareTextNoCase(name, pivot);
    const std::optional<double> value = NumericValue(name);
    met_word_ = met_word_ || !value;
    if (!value) return 0;
    return *value < *number ? -1 : *value > *number ? 1 : 0;
  }

  Texts names_;
  bool met_word_ = false;
};

TEST_F(RegistrySort, EveryNameEndsWherePassesNameByNameLeaveIt) {
  const std::vector<Texts> kinds = {
      {"1", "01", "1.0", "2", "+2", "10", "-3", "&H2", "0", "-0"},
      {"a", "A", "b", "B", "ab", "aB", "", "c", "_"},
      {"1", "01", "a", "A", "10", "9", "&H9", "z", "", "-1", "m"},
  };
  std::mt19937 random(11);
  int faults = 0;
  for (int turn = 0; turn < 3000; ++turn) {
    const Texts& kind = kinds[random() % kinds.size()];
    Texts names(1 + random() % 70);
    for (std::string& name : names) name = kind[random() % kind.size()];
    NameByNameSort slow(names);
    const bool sorted = slow.Run(0, std::ssize(names) - 1);
    ASSERT_EQ(ErrorNumberOf([&] { RegKeys_QSort(names, -1, -1); }), sorted ? 0 : 65535);
    ASSERT_EQ(names, slow.Names());
    const auto reports = TakeReports();
    if (sorted) continue;
    ++faults;
    const std::string stood = "<lngLow>" + std::to_string(slow.low) + "</lngLow>\r\n<lngHigh>" +
                              std::to_string(slow.high) + "</lngHigh>\r\n";
    ASSERT_TRUE(reports.at(0).local_variables.starts_with(stood)) << reports[0].local_variables;
  }
  EXPECT_GT(faults, 100);
  EXPECT_LT(faults, 2900);
}

// Each pivot is the least of its part, so that every pass takes away one name.
Texts WorstOrder(const Texts& sorted) {
  std::vector<std::size_t> places(sorted.size());
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = i;
  Texts worst(sorted.size());
  for (std::size_t first = 0; first < sorted.size(); ++first) {
    const std::size_t middle = first + (sorted.size() - 1 - first) / 2;
    worst[places[middle]] = sorted[first];
    std::swap(places[first], places[middle]);
  }
  return worst;
}

// Passes that looked at every name would not come to an end within the time that a test has.
TEST_F(RegistrySort, TheWorstOrderOfVeryManyNamesIsSorted) {
  constexpr int kNames = 65'000;
  for (const std::string prefix : {"", "name"}) {
    Texts sorted;
    for (int i = 0; i < kNames; ++i) sorted.push_back(prefix + std::to_string(100'000 + i));
    Texts names = WorstOrder(sorted);
    RegKeys_QSort(names, -1, -1);
    EXPECT_EQ(names, sorted);
  }
}

TEST_F(RegistrySort, TheWorstOrderNeedsNoMoreStackThanAnyOther) {
  constexpr std::size_t kNames = 600;
  Texts sorted;
  for (std::size_t i = 0; i < kNames; ++i) sorted.push_back("name" + std::to_string(1000 + i));
  Texts worst = WorstOrder(sorted);
  std::vector<std::uintptr_t> frames;
  TheWorld().before_call = [&frames](const std::string&) {
    frames.push_back(reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)));
  };
  RegKeys_QSort(worst, -1, -1);
  TheWorld().before_call = nullptr;
  EXPECT_EQ(worst, sorted);
  ASSERT_FALSE(frames.empty());
  const auto [deepest, shallowest] = std::ranges::minmax(frames);
  EXPECT_LT(shallowest - deepest, 0x4000U);
}

}  // namespace
}  // namespace qmzentrel::tests
