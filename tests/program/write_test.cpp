// What goes along with a write, and what is found after it.
#include "tests/program/program_test.h"

namespace qmzentrel::program_tests {
namespace {

using WrittenTransponder = ProgramTest;
using Json = nlohmann::json;

struct LeakCase {
  const char* before;   ///< what the box is told
  const char* written;  ///< assignments
  const char* changes;  ///< as they are shown
  const char* tamper;   ///< on the transponder
};

TEST_F(WrittenTransponder, BitSevenOfTheTamperCountIsShownAsAReadWillHaveIt) {
  const LeakCase cases[] = {
      {"set version 5.0 mif 1 util 7 tamper 200", "Util=42",
       R"([{"name": "Util", "old": 7, "new": 42}, {"name": "Tamper", "old": 200, "new": 72}])",
       "72"},
      {"set version 8.0 mif 0x21 tamper 131", "HasLeak=0",
       R"([{"name": "Tamper", "old": 131, "new": 3}, {"name": "HasLeak", "old": 1, "new": 0}])",
       "3"},
      {"set version 8.0 mif 0x21 tamper 131", "MIFSelect=0",
       R"([{"name": "Tamper", "old": 131, "new": 3}, {"name": "DeviceMIF", "old": 33, "new": 1},
           {"name": "MIFSelect", "old": 1, "new": 0}])",
       "131"},
      {"set version 8.0 mif 1 tamper 3", "HasLeak=1",
       R"([{"name": "HasLeak", "old": 0, "new": 1}])", "131"},
  };
  for (const LeakCase& leak : cases) {
    SCOPED_TRACE(std::string(leak.before) + ", " + leak.written);
    Box().Tell(leak.before);
    Json document = DocumentOf(std::string("write --yes ") + leak.written + PortOption(), 0);
    EXPECT_EQ(document["changes"], Json::parse(leak.changes));
    EXPECT_EQ(document["written"], true);
    EXPECT_EQ(Box().Tell("get tamper"), leak.tamper);
  }
}

TEST_F(WrittenTransponder, NoLeakFlagIsSetWhereTheTransponderCarriesNone) {
  for (const char* const version : {"3.9", "5.0", "7.F"}) {
    Box().Tell(std::string("set tamper 3 version ") + version);
    Json document = DocumentOf("write --yes HasLeak=1" + PortOption(), 7);
    EXPECT_NE(document["error"]["problem"].get<std::string>().find("carries no HasLeak"),
              std::string::npos);
    EXPECT_EQ(document["written"], false);
    EXPECT_EQ(Box().Tell("get tamper"), "3");
  }
}

TEST_F(WrittenTransponder, ValuesThatContradictEachOtherAreRefused) {
  Box().Tell("set version 5.0 mif 1 tamper 3");
  for (const char* const contradiction :
       {"MIFSelect=0 DeviceMIF=0x21", "Tamper=200", "DeviceMIF=0x2F MIFSelect=0 Util=3"}) {
    SCOPED_TRACE(contradiction);
    Json document = DocumentOf(std::string("write --yes ") + contradiction + PortOption(), 7);
    EXPECT_NE(document["error"]["problem"].get<std::string>().find(" cannot be "),
              std::string::npos);
  }
  // Whichever was named first.
  for (const char* const order : {"IDToggle=1 DeviceMIF=5", "DeviceMIF=5 IDToggle=1"}) {
    Json document = DocumentOf(std::string("write --yes ") + order + PortOption(), 7);
    EXPECT_EQ(document["error"]["problem"],
              "DeviceMIF cannot be 5: with the other values it becomes 21");
  }
  EXPECT_EQ(Box().Tell("get mif"), "0x01");
  EXPECT_EQ(Box().Tell("get tamper"), "3");
}

TEST_F(WrittenTransponder, ValuesThatAgreeAreWrittenInWhateverOrder) {
  Box().Tell("set version 5.0 mif 1");
  DocumentOf("write --yes IDToggle=1 DeviceMIF=0x15" + PortOption(), 0);
  EXPECT_EQ(Box().Tell("get mif"), "0x15");
}

TEST_F(WrittenTransponder, AWriteThatBreaksOffMayHaveBeenStored) {
  Box().Tell("set version 8.0 util 1");
  RunningProgram writing("write Util=42 --yes --json" + PortOption());
  AwaitThat([] { return Box().Tell("get util") == "42"; });
  Box().Tell("wrong-sum");  // in the reply to the radio settings
  const Outcome outcome = writing.Await();
  EXPECT_EQ(outcome.exit_code, 6);
  EXPECT_NE(outcome.errors.find("may have been stored in part; read"), std::string::npos)
      << outcome.errors;
  EXPECT_TRUE(outcome.Document().at("written").is_null());
}

// What the box is told while the program waits for the transponder to store.
Json AfterAWrite(clients::BoxControl& box, const std::string& meanwhile, int exit_code,
                 const std::string& port) {
  box.Tell("set version 5.0 util 1 reading 1234 txi 2");
  RunningProgram writing("write Util=42 --yes --json" + port);
  AwaitThat([&] { return box.Tell("get util") == "42"; });
  box.Tell(meanwhile);
  const Outcome outcome = writing.Await();
  EXPECT_EQ(outcome.exit_code, exit_code) << outcome.errors;
  return outcome.Document();
}

TEST_F(WrittenTransponder, WhatTheTransponderCountsByItselfIsNoDifference) {
  Json document = AfterAWrite(Box(), "set reading 1235", 0, PortOption());
  EXPECT_EQ(document["differences"], Json::array());
}

TEST_F(WrittenTransponder, AnotherValueThatWasNotNamedIsADifference) {
  Json document = AfterAWrite(Box(), "set txi 3", 9, PortOption());
  EXPECT_EQ(document["differences"],
            (Json::parse(R"([{"name": "TXI", "written": 2, "read": 3}])")));
}

TEST_F(WrittenTransponder, AnotherVersionThanTheOneThatWasWrittenIsADifference) {
  Json document = AfterAWrite(Box(), "set version 8.0", 9, PortOption());
  EXPECT_EQ(document["written"], true);
  EXPECT_EQ(document["differences"],
            (Json::parse(R"([{"name": "TravonelVersion", "written": "5.0", "read": "8.0"}])")));
}

}  // namespace
}  // namespace qmzentrel::program_tests
