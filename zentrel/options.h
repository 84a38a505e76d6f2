// What the command line asks for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::program {

struct Options {
  bool json = false;
  bool yes = false;
  bool progress = false;  ///< elapsed times also where nobody seems to look
  std::int32_t port = 0;  ///< 0: none was named

  std::vector<std::string> words;  ///< NAME=VALUE of `write`, identifiers of `messages`
  bool list = false;               ///< `messages`: what the catalog has, without asking the box
  bool all = false;                ///< `watch`: every debugger line
  std::int32_t seconds = 0;        ///< `watch`: ends by itself; 0 is never
  std::int32_t lines = 0;          ///< the same
  std::string caller;              ///< `doctor`: the program that is to use the component
};

}  // namespace qmzentrel::program
