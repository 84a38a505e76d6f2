// What the reference says of values, held against the class: the texts of the statuses, the ranges
// of the record, and what a new object has.
#include <array>
#include <regex>

#include "tests/core/core_test.h"
#include "tests/core/reference_text.h"

namespace qmzentrel::tests {
namespace {

struct NumberProperty {
  const char* name;
  const char* page;
  std::int32_t (Zentrel::*get)() const;
  void (Zentrel::*let)(std::int32_t);
};

#define NUMBER(name, page)                      \
  NumberProperty {                              \
#name, page, &Zentrel::name, &Zentrel::name \
  }
constexpr std::array kRecordNumbers{
    NUMBER(Util, "transponder"),    NUMBER(Xpdr, "transponder"),      NUMBER(Tamper, "transponder"),
    NUMBER(Reading, "transponder"), NUMBER(PLLWarmup, "transponder"), NUMBER(TXI, "transponder"),
    NUMBER(MSI, "transponder"),
};
constexpr std::array kOtherNumbers{
    NUMBER(DeviceMIF, "transponder"), NUMBER(VDelay, "transponder"),
    NUMBER(PowerTimeout, "supply"),   NUMBER(Freq_MSB, "radio"),
    NUMBER(Freq_MID, "radio"),        NUMBER(Freq_LSB, "radio"),
    NUMBER(BR_MSB, "radio"),          NUMBER(BR_LSB, "radio"),
    NUMBER(PA_CTRL, "radio"),         NUMBER(EOL_CTRL, "radio"),
    NUMBER(LeakThreshold, "radio"),   NUMBER(Freq_A2, "radio"),
    NUMBER(Freq_A1, "radio"),         NUMBER(Freq_A0, "radio"),
    NUMBER(Clock_A, "radio"),         NUMBER(PA_Power, "radio"),
};
#undef NUMBER

/// What the head of an entry says under `key`; fails the test when there is nothing.
std::string FieldOfEntry(const NumberProperty& property, const std::string& key) {
  const std::string page = ReferenceText(property.page);
  const std::regex field("\n## " + std::string(property.name) + "\n\n(?:[^\n]+\n)*?" + key +
                         ": ([^\n]*)\n");
  std::smatch found;
  if (std::regex_search(page, found, field)) return found[1];
  ADD_FAILURE() << property.page << ".md does not say the " << key << " of " << property.name;
  return "";
}

class ReferenceValues : public ZentrelTest {};

TEST_F(ReferenceValues, AreThoseOfANewObject) {
  const auto expect = [this](const NumberProperty& property) {
    EXPECT_EQ(std::to_string((zentrel.get()->*property.get)()), FieldOfEntry(property, "starts"))
        << property.name;
  };
  for (const NumberProperty& property : kRecordNumbers) expect(property);
  for (const NumberProperty& property : kOtherNumbers) expect(property);
}

TEST_F(ReferenceValues, OfTheRecordHaveTheRangeThatAWriteChecks) {
  const std::regex range("0 to ([0-9]+); @unchecked");
  for (const NumberProperty& property : kRecordNumbers) {
    const std::string said = FieldOfEntry(property, "range");
    std::smatch found;
    ASSERT_TRUE(std::regex_match(said, found, range)) << property.name << ": " << said;
    const std::int32_t greatest = std::stoi(found[1]);
    const auto status_of = [&](std::int32_t value) {
      MakeObject();
      (zentrel.get()->*property.let)(value);
      return zentrel->WriteXpdr();
    };
    EXPECT_EQ(status_of(-1), S_BAD_DATA) << property.name;
    EXPECT_EQ(status_of(0), S_BAD_PORT) << property.name;
    EXPECT_EQ(status_of(greatest), S_BAD_PORT) << property.name;
    EXPECT_EQ(status_of(greatest + 1), S_BAD_DATA) << property.name;
  }
}

TEST_F(ReferenceValues, OfTheStatusesHaveTheirTexts) {
  const std::string page = ReferenceText("enumerations");
  const std::array names{"S_OKAY",    "S_TIMEOUT",  "S_BAD_RESPONSE", "S_BAD_PORT",
                         "S_BAD_SUM", "S_BAD_DATA", "S_MSG_TOO_LONG", "S_BAD_PARAMETER"};
  std::int32_t code = 0;
  for (const char* const name : names) {
    const std::string line = "\n" + std::string(name) + ": " + Zentrel::Status(code++) + " | ";
    EXPECT_TRUE(page.find(line) != std::string::npos) << "enumerations.md has no line" << line;
  }
}

}  // namespace
}  // namespace qmzentrel::tests
