#include "platform/debugger.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/text.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::DebuggerLinesOf;
using Lines = std::vector<std::string>;

TEST(DebuggerContract, ALineArrivesAsItIsWithoutATerminator) {
  EXPECT_EQ(DebuggerLinesOf([] { platform::DebuggerOutput("ReadXpdr retry"); }),
            Lines{"ReadXpdr retry"});
}

TEST(DebuggerContract, LinesArriveInTheirOrder) {
  EXPECT_EQ(DebuggerLinesOf([] {
              platform::DebuggerOutput("first");
              platform::DebuggerOutput("second");
            }),
            (Lines{"first", "second"}));
}

TEST(DebuggerContract, ALineArrivesInTheAnsiCodePage) {
  const std::string text = "Z\xC3\xA4hler";
  EXPECT_EQ(DebuggerLinesOf([&] { platform::DebuggerOutput(text); }),
            Lines{platform::ToAnsi(text)});
}

}  // namespace
}  // namespace qmzentrel
