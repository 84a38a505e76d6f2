// The command line, through the program itself.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tools/type_library/tests/library_under_test.h"

namespace qmzentrel::type_library {
namespace {

struct Result {
  int exit_code;  // -1 if the program was killed
  std::string output;
};

class TlbPost : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(output_); }

  static Result Call(const std::string& arguments) {
    const std::string command = "'" QMZ_TLB_POST "' " + arguments + " 2>&1";
    FILE* const pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot start the program");
    Result run{.exit_code = -1, .output = {}};
    std::array<char, 256> part{};
    while (::fgets(part.data(), part.size(), pipe) != nullptr) run.output += part.data();
    const int status = ::pclose(pipe);
    if (WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
    return run;
  }

  Result Post(const std::string& instructions) const {
    return Call("'" QMZ_COMPILED_LIBRARY "' '" + output_.string() + "' " + instructions);
  }

  Bytes Output() const {
    std::ifstream stream(output_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  void ExpectRefused(const std::string& instruction, const std::string& message) const {
    const Result run = Post("'" + instruction + "'");
    EXPECT_EQ(run.exit_code, 1) << instruction;
    EXPECT_NE(run.output.find(message), std::string::npos) << run.output;
    EXPECT_FALSE(std::filesystem::exists(output_)) << instruction;
  }

  const std::filesystem::path output_ =
      std::filesystem::path(testing::TempDir()) /
      (std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + ".tlb");
};

TEST_F(TlbPost, WithoutInstructionsTheOutputEqualsTheInput) {
  const Result run = Post("");
  EXPECT_EQ(run.exit_code, 0) << run.output;
  EXPECT_EQ(Output(), CompiledLibrary());
}

TEST_F(TlbPost, InstructionsAreObeyed) {
  const Result run = Post(
      "version:__Zentrel=1.3 flags:__Zentrel=0x1090 enumeration-help library-help-context "
      "member-capacities no-custom-data order=_Zentrel,Zentrel,Zentrel___v0,Zentrel___v1,"
      "Zentrel___v2,__Zentrel,MIF_Masks,TELIC2_ElectricFlags,TELIC2_Commands,ZentrelStatus");
  ASSERT_EQ(run.exit_code, 0) << run.output;
  const MsftFile file = ParseMsft(Output());
  EXPECT_EQ(TypeNames(file).at(0), "_Zentrel");
  EXPECT_EQ(TypeNames(file).at(9), "ZentrelStatus");
  const Bytes& events = TypeNamed(file, "__Zentrel").info;
  EXPECT_EQ(Read32(events, type_info::kVersion), 0x00030001U);
  EXPECT_EQ(Read32(events, type_info::kFlags), 0x1090U);
  EXPECT_EQ(Read32(file.header, header::kHelpContextForWine), 1U);
  EXPECT_EQ(Read32(file.header, header::kCustomData), kNone);
  EXPECT_EQ(Read32(TypeNamed(file, "_Zentrel").info, type_info::kMemberCapacity), 0x2000U);
  EXPECT_GT(TypeNamed(file, "MIF_Masks").members.at(0).record.size(), variable::kHelpString);
}

TEST_F(TlbPost, ABadInstructionIsNamedAndNothingIsWritten) {
  ExpectRefused("polish", "bad instruction 'polish'");
  ExpectRefused("version:__Zentrel=1", "bad instruction 'version:__Zentrel=1'");
  ExpectRefused("version:__Zentrel=1.x", "bad instruction");
  ExpectRefused("version:__Zentrel=1.70000", "bad instruction");
  ExpectRefused("flags:__Zentrel=4240", "bad instruction");
  ExpectRefused("flags:__Zentrel=0x", "bad instruction");
  ExpectRefused("paint:__Zentrel=0x10", "bad instruction");
  ExpectRefused("version=1.3", "bad instruction");
}

TEST_F(TlbPost, ATypeThatIsNotThereIsNamed) {
  ExpectRefused("version:Nobody=1.3", "no type is named 'Nobody'");
  ExpectRefused("order=_Zentrel", "the order must name each of the 10 types once");
}

TEST_F(TlbPost, AFileThatIsNoLibraryIsRefused) {
  const Result run = Call("'" QMZ_TLB_POST "' '" + output_.string() + "'");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.output.find("not an MSFT type library"), std::string::npos) << run.output;
}

TEST_F(TlbPost, AFileThatIsNotThereIsRefused) {
  const Result run = Call("/nonexistent/library.tlb '" + output_.string() + "'");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.output.find("cannot read the file"), std::string::npos) << run.output;
}

TEST_F(TlbPost, AFolderInPlaceOfAFileIsRefused) {
  EXPECT_EQ(Call("/ '" + output_.string() + "'").exit_code, 1);
  const Result run = Call("'" QMZ_COMPILED_LIBRARY "' /nonexistent/library.tlb");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.output.find("cannot write '/nonexistent/library.tlb'"), std::string::npos);
}

TEST_F(TlbPost, WithoutFilesItSaysHowItIsUsed) {
  const Result run = Call("");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.output.find("usage: tlb_post INPUT OUTPUT"), 0U) << run.output;
}

}  // namespace
}  // namespace qmzentrel::type_library
