// probe without a port: it asks all that the system has, whatever each of them turns out to be.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "tests/clients/declared_supply_line.h"
#include "tests/program/program_test.h"
#include "tests/program/registered_port.h"

namespace qmzentrel::program_tests {
namespace {

using clients::Journal;
using Json = nlohmann::json;
using Outcomes = std::map<int, std::string>;

// Another program has it, as with_busy_port has it seem.
constexpr int kBusyPort = 11;
// The drivers know of it, but it has been pulled out.
constexpr int kMissingPort = 43;

const Journal kRaisedOnce{"on", "off"};

/// Between and behind others a box, and one more that a test silences.
class ProgramProbe : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_EQ(PortsOfTheMachine(), std::set<int>()) << "what hangs on them would be asked";
    Second().Reset();
  }

  /// Those that lead to a device, other than the boxes', which a Wine that has started anew since
  /// links again.
  static std::set<int> PortsOfTheMachine() {
    constexpr int kLast = 256;
    const char* const links = std::getenv("QMZ_NO_MACHINE_PORTS");
    std::set<int> numbers;
    for (int number = 1; number <= kLast; ++number) {
      if (number == Port() || number == SecondPort()) continue;
      if (links == nullptr || LeadsToADevice(links + std::to_string(number))) {
        numbers.insert(number);
      }
    }
    return numbers;
  }

  /// Neither to a folder or a file, which have attributes, nor nowhere.
  static bool LeadsToADevice(const std::string& link) {
    return GetFileAttributesA(link.c_str()) == INVALID_FILE_ATTRIBUTES &&
           GetLastError() != ERROR_FILE_NOT_FOUND;
  }

  static void Silence(clients::BoxControl& box) { box.Tell("silence 100"); }

  /// The ports that the system has, those of the machine included, which nothing can open.
  static std::set<int> Ports() {
    const Json document = DocumentOf("ports", 0);
    std::set<int> numbers;
    for (const Json& port : document["ports"]) numbers.insert(port["number"].get<int>());
    return numbers;
  }

  /// Closed are all that have no box.
  static Outcomes OutcomesWith(const std::string& box, const std::string& second) {
    Outcomes outcomes;
    for (const int number : Ports()) outcomes[number] = "closed";
    outcomes[Port()] = box;
    outcomes[SecondPort()] = second;
    return outcomes;
  }

  static Outcomes OutcomesIn(const Json& document) {
    Outcomes outcomes;
    int before = 0;
    for (const Json& port : document["ports"]) {
      const int number = port["number"];
      EXPECT_GT(number, before) << "in the order of their numbers";
      before = number;
      EXPECT_EQ(port["port"], "COM" + std::to_string(number));
      EXPECT_EQ(port.contains("version"), port["outcome"] == "box");
      outcomes[number] = port["outcome"];
    }
    return outcomes;
  }

  /// "COM7, COM8", all there are.
  static std::string NamesOfPorts() {
    std::string names;
    for (const int number : Ports()) {
      names += (names.empty() ? "COM" : ", COM") + std::to_string(number);
    }
    return names;
  }

  /// Its line has been raised, it has been asked so often, and the line is down again.
  static void ExpectAsked(clients::BoxControl& box, int times) {
    const Journal frames = box.Frames();
    EXPECT_EQ(std::ranges::count(frames, "> 80"), times);
    EXPECT_EQ(box.Supply(), kRaisedOnce);
  }

  const RegisteredPort box_port{Port()};
  const RegisteredPort second_port{SecondPort()};
  const RegisteredPort busy_port{kBusyPort};
  const RegisteredPort missing_port{kMissingPort};
};

TEST_F(ProgramProbe, SaysOfEachPortWhatIsThere) {
  Box().Tell("set box-version 3.4");
  Silence(Second());
  const Json document = DocumentOf("probe --yes", 0);
  const Outcomes outcomes = OutcomesIn(document);
  EXPECT_EQ(outcomes, OutcomesWith("box", "silent"));
  EXPECT_TRUE(outcomes.contains(kBusyPort) && outcomes.contains(kMissingPort));
  for (const Json& port : document["ports"]) {
    if (port["outcome"] == "box") {
      EXPECT_EQ(port["version"], "3.4");
    }
  }
  ExpectAsked(Box(), 1);
  ExpectAsked(Second(), 2);
}

TEST_F(ProgramProbe, FindsABoxBehindAPortThatDoesNotAnswer) {
  Silence(Box());
  EXPECT_EQ(OutcomesIn(DocumentOf("probe --yes", 0)), OutcomesWith("silent", "box"));
  ExpectAsked(Second(), 1);
}

TEST_F(ProgramProbe, TellsPeopleTheSameInLines) {
  Second().Tell("wrong-sum");
  const Outcome outcome = RunZentrel("probe --yes");
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  std::string expected =
      "This raises DTR of " + NamesOfPorts() + ", whatever is connected there.\n";
  for (const auto& [number, text] :
       OutcomesWith("a box, version 2.1", "something answers, but not as a box does")) {
    expected += "COM" + std::to_string(number) + ": " +
                (text == "closed" ? "cannot be opened: missing, busy or no port" : text) + "\n";
  }
  EXPECT_EQ(outcome.output, expected);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(ProgramProbe, HasFoundNothingWhereNoPortHasABox) {
  Silence(Box());
  Second().Tell("wrong-sum");
  const Json document = DocumentOf("probe --yes", 5);
  EXPECT_EQ(OutcomesIn(document), OutcomesWith("silent", "other"));
  EXPECT_EQ(document["error"]["problem"], "no box answers on any of these ports");
}

TEST_F(ProgramProbe, NamesEveryPortInItsQuestionAndTouchesNoneWithoutAYes) {
  const clients::DeclaredSupplyLine both(L"BOTH");
  const Json document = DocumentOf("probe", 8);
  const std::string question =
      "This raises DTR and RTS of " + NamesOfPorts() + ", whatever is connected there. Go on?";
  EXPECT_NE(document["error"]["problem"].get<std::string>().find(question), std::string::npos)
      << document;
  EXPECT_FALSE(document.contains("ports"));
  for (clients::BoxControl* const box : {&Box(), &Second()}) {
    EXPECT_EQ(box->Frames(), Journal{});
    EXPECT_EQ(box->Supply(), Journal{});
  }
}

}  // namespace
}  // namespace qmzentrel::program_tests
