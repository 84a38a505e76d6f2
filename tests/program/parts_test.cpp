// Parts of the program by themselves.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>

#include "interface/radio_settings.h"
#include "platform/win32/wide.h"
#include "tests/clients/com_client.h"
#include "zentrel/command_line.h"
#include "zentrel/debug_lines.h"
#include "zentrel/exit_codes.h"
#include "zentrel/failure.h"
#include "zentrel/program_file.h"
#include "zentrel/record_fields.h"
#include "zentrel/step_line.h"

namespace qmzentrel::program_tests {
namespace {

using namespace qmzentrel::program;

TEST(StepLines, ALineOfTheComponentIsTakenApart) {
  const auto line = ParseStepLine("22 Nov 2026, 10:08:00  INFO   ReadXpdr retry");
  ASSERT_TRUE(line);
  EXPECT_EQ(line->type, "INFO");
  EXPECT_EQ(line->step, "ReadXpdr retry");
  EXPECT_EQ(ParseStepLine("22 Nov 2026, 10:08:00  *RES*  ")->type, "*RES*");
}

TEST(StepLines, LinesOfOthersAreNone) {
  for (const char* const other :
       {"", "ReadXpdr", "22 Nov 2026, 10:08:00", "22 Nov 2026, 10:08:00  NEWS   x",
        "2026-11-22 10:08:00   INFO   x", "22 Nov 2026, 10:08:0x  INFO   x",
        "22  2026, 10:08:00  INFO   x", "22 Nov , 10:08:00  INFO   x",
        "22 Nov2026, 10:08:00  INFO   x", "22 Nov 26, 10:08:00  INFO   x",
        "2 Nov 2026, 10:08:00  INFO   x", ", 10:08:00  INFO   x", "2026, 10:08:00  INFO   x"}) {
    EXPECT_FALSE(ParseStepLine(other)) << other;
  }
}

TEST(StepLines, TheMonthIsThatOfAnyLanguage) {
  // In French, in Russian, in Japanese, in Vietnamese, and where the code page has no letter for
  // it.
  for (const std::string month : {"janv.", "\xd0\xbd\xd0\xbe\xd1\x8f", "11", "Thg 11", "???"}) {
    const auto line = ParseStepLine("22 " + month + " 2026, 10:08:00  INFO   ReadXpdr");
    ASSERT_TRUE(line) << month;
    EXPECT_EQ(line->step, "ReadXpdr") << month;
  }
  EXPECT_TRUE(ParseStepLine("22 \xe0\xb8\x9e.\xe0\xb8\xa2. 02569, 10:08:00  INFO   ReadXpdr"));
}

BOOL CALLBACK CheckMonthsOf(wchar_t* locale, DWORD /*flags*/, LPARAM checked) {
  for (LCTYPE month = LOCALE_SABBREVMONTHNAME1; month <= LOCALE_SABBREVMONTHNAME12; ++month) {
    std::array<wchar_t, 80> name{};
    GetLocaleInfoEx(locale, month, name.data(), static_cast<int>(name.size()));
    if (name.front() == L'\0') continue;
    const std::string stamp = "22 " + platform::WideToUtf8(name.data()) + " 2026, 10:08:00";
    EXPECT_TRUE(ParseStepLine(stamp + "  INFO   ReadXpdr")) << stamp;
    ++*reinterpret_cast<int*>(checked);
  }
  return TRUE;
}

TEST(StepLines, EveryLanguageOfThisSystemWritesOnes) {
  int checked = 0;
  EnumSystemLocalesEx(CheckMonthsOf, LOCALE_ALL, reinterpret_cast<LPARAM>(&checked), nullptr);
  EXPECT_GT(checked, 500);
}

TEST(DebugLineTexts, ControlCharactersAreBlanksAndLettersStay) {
  EXPECT_EQ(Printable("a\x1b[2Jb\tc\x7f\r\n"), "a [2Jb c ");
  EXPECT_EQ(Printable("a\xc2\x80\xc2\x9b\xc2\x9f"
                      "b"),
            "a   b");
  EXPECT_EQ(Printable("\xc2\xa0\xc3\xa4\xe2\x82\xac"), "\xc2\xa0\xc3\xa4\xe2\x82\xac");
  EXPECT_EQ(Printable("\r\n"), "");
}

TEST(CommandLines, PortsAreNamedInAnyOfTheirForms) {
  for (const std::string port : {"7", "COM7", "com7"}) {
    EXPECT_EQ(ParseCommandLine({"info", "--port", port}).options.port, 7) << port;
    EXPECT_EQ(ParseCommandLine({"--port", port, "info"}).options.port, 7) << port;
  }
}

TEST(CommandLines, WhatIsWrongIsThrownWithANextStep) {
  using Words = std::vector<std::string>;
  for (const Words& words :
       {Words{}, Words{"sing"}, Words{"info", "--port", "COM"}, Words{"info", "--port", "0"},
        Words{"info", "--port", "7x"}, Words{"read", "--loud"}, Words{"write"},
        Words{"info", "read"}, Words{"watch", "--lines", "-1"}}) {
    try {
      ParseCommandLine(words);
      ADD_FAILURE() << (words.empty() ? "" : words.back());
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code, ExitCode::kCommandLine);
      EXPECT_NE(failure.next, "");
      EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos) << failure.what();
    }
  }
}

TEST(CommandLines, EveryCommandHasItsHelp) {
  const std::string all = ParseCommandLine({"--help"}).text;
  for (const std::string command : {"ports", "probe", "info", "read", "write", "reset", "radio",
                                    "messages", "watch", "doctor"}) {
    EXPECT_NE(all.find("\n  " + command + " "), std::string::npos) << command;
    const Invocation help = ParseCommandLine({command, "--help"});
    EXPECT_EQ(help.command, nullptr);
    EXPECT_NE(help.text.find("zentrel " + command), std::string::npos) << help.text;
  }
}

TEST(RecordValues, ANumberIsDecimalOrHexadecimal) {
  EXPECT_EQ(ParseAssignment("reading=16777215").value, 0xFFFFFF);
  EXPECT_EQ(ParseAssignment("Reading=0xfFffff").value, 0xFFFFFF);
  EXPECT_EQ(ParseAssignment("Reading=&H10").value, 16);
  for (const char* const wrong :
       {"Reading=", "Reading=0x", "Reading=1 ", "Reading=16777216", "Reading=-1", "Reading"}) {
    EXPECT_THROW(ParseAssignment(wrong), Failure) << wrong;
  }
}

TEST(RecordValues, AFlagIsAWordOrABit) {
  for (const char* const on : {"HasLeak=1", "hasleak=TRUE", "HasLeak=yes", "HasLeak=on"}) {
    EXPECT_EQ(ParseAssignment(on).value, 1) << on;
  }
  EXPECT_EQ(ParseAssignment("HasLeak=off").value, 0);
  EXPECT_THROW(ParseAssignment("HasLeak=maybe"), Failure);
}

TEST(RecordValues, AnOlderNameIsTheSameValue) {
  EXPECT_EQ(ParseAssignment("Freq_A2=1").field, ParseAssignment("freq_msb=1").field);
  EXPECT_EQ(ParseAssignment("Clock_A=1").field, ParseAssignment("BR_MSB=1").field);
}

// The component says what it sends: on a closed port a record in range is status 3, any other 5.
TEST(RecordValues, TheRangesAreThoseOfTheComponent) {
  for (const RecordField& field : RecordFields()) {
    const auto* const number = std::get_if<NumberAccess>(&field.access);
    if (number == nullptr) continue;
    if (field.part == Part::kRadio) {
      EXPECT_EQ(number->greatest, RadioSettings::kMaxByte) << field.name;
      continue;
    }
    const auto object = clients::NewZentrel();
    object->put_VDelay(0);  // nothing is stored anywhere
    const auto write = [&](LONG value) {
      (object.Get()->*number->let)(value);
      ::ZentrelStatus status{};
      object->WriteXpdr(&status);
      return static_cast<int>(status);
    };
    EXPECT_EQ(write(0), ::S_BAD_PORT) << field.name;
    EXPECT_EQ(write(number->greatest), ::S_BAD_PORT) << field.name;
    // This one has no bits beyond its range.
    if (field.name == std::string("DeviceMIF")) continue;
    EXPECT_EQ(write(number->greatest + 1), ::S_BAD_DATA) << field.name;
    EXPECT_EQ(write(-1), ::S_BAD_DATA) << field.name;
  }
}

TEST(ProgramFiles, VersionsAreComparedByTheirNumbers) {
  EXPECT_LT(ParseVersion("6.1.9"), ParseVersion("6.2.0"));
  EXPECT_LT(ParseVersion("6.9.0"), ParseVersion("6.10.0"));
  EXPECT_EQ(VersionNumbers(ParseVersion("6.2.0")), "6.2.0");
}

TEST(ProgramDocument, EveryExitCodeIsInIt) {
  std::ifstream file(PROGRAM_DOCUMENT);
  std::ostringstream text;
  text << file.rdbuf();
  ASSERT_FALSE(text.str().empty());
  for (const ExitCodeMeaning& row : kExitCodes) {
    const std::string line =
        "| " + std::to_string(static_cast<int>(row.code)) + " | " + row.meaning + " |";
    EXPECT_NE(text.str().find(line), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace qmzentrel::program_tests
