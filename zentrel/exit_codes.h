// What the program ends with. Scripts rely on these numbers: none is given to something else.
#pragma once

#include <array>

namespace qmzentrel::program {

enum class ExitCode : int {
  kDone = 0,
  kUnexpected = 1,
  kCommandLine = 2,
  kNoComponent = 3,
  kPort = 4,
  kNoAnswer = 5,
  kDisturbed = 6,
  kRefused = 7,
  kNotConfirmed = 8,
  kDiffers = 9,
  kComponentFault = 10,
  kFaultsFound = 11,
  kWatchTaken = 12,
};

struct ExitCodeMeaning {
  ExitCode code;
  const char* meaning;
};

/// As the help prints them.
inline constexpr std::array kExitCodes{
    ExitCodeMeaning{ExitCode::kDone, "done; with doctor: no fault found"},
    ExitCodeMeaning{ExitCode::kUnexpected, "Windows or the program itself failed"},
    ExitCodeMeaning{ExitCode::kCommandLine, "wrong command line"},
    ExitCodeMeaning{
        ExitCode::kNoComponent,
        "the component is neither registered nor beside the program, or cannot be made"},
    ExitCodeMeaning{ExitCode::kPort, "the port is missing, busy or no port"},
    ExitCodeMeaning{ExitCode::kNoAnswer, "nothing answered"},
    ExitCodeMeaning{ExitCode::kDisturbed, "the answer was disturbed or broke off"},
    ExitCodeMeaning{ExitCode::kRefused,
                    "a name, value or message was refused; nothing was written"},
    ExitCodeMeaning{ExitCode::kNotConfirmed, "the question was not answered with yes"},
    ExitCodeMeaning{ExitCode::kDiffers, "what was read back is not what was written"},
    ExitCodeMeaning{ExitCode::kComponentFault, "a fault inside the component, which it reports"},
    ExitCodeMeaning{ExitCode::kFaultsFound, "doctor found faults"},
    ExitCodeMeaning{ExitCode::kWatchTaken, "another program receives the step lines"},
};

}  // namespace qmzentrel::program
