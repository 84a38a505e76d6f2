// Somebody at a console who is asked.
#include "tests/program/program_test.h"

namespace qmzentrel::program_tests {
namespace {

// A console of the test's own, in which nobody types but the test.
class ConsoleWithTypist {
 public:
  ConsoleWithTypist() {
    FreeConsole();
    AllocConsole();
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    input_ = platform::OwnedHandle(CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                               OPEN_EXISTING, 0, nullptr));
  }

  HANDLE Input() const { return input_.Get(); }

  void Type(const std::string& text) const {
    for (const char letter : text) {
      INPUT_RECORD key{};
      key.EventType = KEY_EVENT;
      key.Event.KeyEvent.bKeyDown = TRUE;
      key.Event.KeyEvent.wRepeatCount = 1;
      key.Event.KeyEvent.wVirtualKeyCode = letter == '\r' ? VK_RETURN : 0;
      key.Event.KeyEvent.uChar.UnicodeChar = static_cast<wchar_t>(letter);
      DWORD written = 0;
      ASSERT_TRUE(WriteConsoleInputW(input_.Get(), &key, 1, &written));
    }
  }

 private:
  platform::OwnedHandle input_;
};

class AskedPerson : public ProgramTest {
 protected:
  static Outcome AnswerWith(const std::string& command, const std::string& answer,
                            const std::string& meanwhile = "") {
    RunningProgram program(command, Console().Input());
    AwaitThat([&] { return program.ErrorsSoFar().find("[y/N]") != std::string::npos; });
    if (!meanwhile.empty()) Box().Tell(meanwhile);
    Console().Type(answer + "\r");
    return program.Await();
  }

 private:
  static const ConsoleWithTypist& Console() {
    static const ConsoleWithTypist console;
    return console;
  }
};

TEST_F(AskedPerson, AYesLetsItHappen) {
  Box().Tell("set tamper 5");
  const Outcome outcome = AnswerWith("reset" + PortOption(), "y");
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  EXPECT_EQ(Box().Tell("get tamper"), "0");
}

TEST_F(AskedPerson, AnythingElseIsANo) {
  for (const char* const answer : {"n", "", "yesterday"}) {
    const Outcome outcome = AnswerWith("reset" + PortOption(), answer);
    EXPECT_EQ(outcome.exit_code, 8) << answer;
  }
  EXPECT_EQ(Box().Supply(), clients::Journal{});
}

TEST_F(AskedPerson, AWriteIsAskedAboutWithOldAndNewAndANoLeavesItAlone) {
  Box().Tell("set version 5.0 util 1");
  const Outcome outcome = AnswerWith("write Util=42" + PortOption(), "n");
  EXPECT_EQ(outcome.exit_code, 8);
  EXPECT_NE(outcome.output.find("1 -> 42"), std::string::npos) << outcome.output;
  EXPECT_EQ(Box().Tell("get util"), "1");
}

TEST_F(AskedPerson, AWriteIsRefusedWhereAnotherTransponderHasComeMeanwhile) {
  for (const char* const other : {"set id 0x123457", "set version 8.0"}) {
    Box().Tell("set version 5.0 id 0x123456 util 1");
    const Outcome outcome = AnswerWith("write Util=42" + PortOption(), "y", other);
    EXPECT_EQ(outcome.exit_code, 7) << other;
    EXPECT_NE(Sentence(outcome.errors.substr(outcome.errors.find("zentrel: "))).find("another"),
              std::string::npos)
        << outcome.errors;
    EXPECT_EQ(Box().Tell("get util"), "1") << other;
  }
}

TEST_F(AskedPerson, ARecordThatHasNotAnsweredIsNotTakenForZeros) {
  Box().Tell("set version 8.0 util 7");
  // In the first block; the radio settings are answered.
  const Outcome outcome = AnswerWith("write Util=42" + PortOption(), "y", "wrong-sum");
  EXPECT_EQ(outcome.exit_code, 6) << outcome.errors;
  EXPECT_NE(outcome.errors.find("radio settings only"), std::string::npos) << outcome.errors;
  EXPECT_EQ(Box().Tell("get util"), "7");
}

TEST_F(AskedPerson, AWriteLeavesWhatHasChangedMeanwhileAndWasNotNamed) {
  Box().Tell("set version 5.0 util 1 reading 1234");
  const Outcome outcome = AnswerWith("write Util=42" + PortOption(), "y", "set reading 1240");
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  EXPECT_EQ(Box().Tell("get util"), "42");
  EXPECT_EQ(Box().Tell("get reading"), "1240");
}

TEST_F(AskedPerson, AWriteIsRefusedWhereMoreWouldGoAlongThanWasShown) {
  Box().Tell("set version 5.0 util 1 tamper 127");
  const Outcome outcome = AnswerWith("write Util=42" + PortOption(), "y", "set tamper 128");
  EXPECT_EQ(outcome.exit_code, 7) << outcome.errors;
  EXPECT_EQ(Box().Tell("get util"), "1");
  EXPECT_EQ(Box().Tell("get tamper"), "128");
}

}  // namespace
}  // namespace qmzentrel::program_tests
