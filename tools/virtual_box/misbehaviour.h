// The faults that a test asks the box to commit, and the order in which it commits them.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

/// What goes wrong with one command. The fields may be combined: a late reply with a wrong sum.
struct Misbehaviour {
  bool silent = false;                      ///< the command is neither carried out nor answered
  unsigned answer_on = 1;                   ///< the first sends go unanswered, this one is not
  std::optional<std::size_t> truncate_to;   ///< this many bytes of the reply, then nothing
  bool wrong_sum = false;                   ///< the last byte is not the sum of the others
  std::optional<std::size_t> garbage;       ///< this many bytes of nonsense instead of the reply
  Bytes stray;                              ///< bytes that are not the reply's
  std::size_t stray_after = 0;              ///< they come behind this byte of the reply
  Time late{0};                             ///< pause before the reply
  std::size_t split_after = 0;              ///< where `split_pause` stands in the reply
  Time split_pause{0};                      ///< pause inside the reply
  Time dribble{0};                          ///< pause between any two bytes of the reply
  std::optional<std::size_t> unplug_after;  ///< this many bytes of the reply, then unplugged

  /// What is wrong, in words, for the log; empty when nothing is.
  std::string Text() const;
};

/// A list of faults, each for the next so many commands, used up from the front.
class MisbehaviourQueue {
 public:
  /// `fault` befalls the next `count` commands after those that the queue holds already.
  void Add(const Misbehaviour& fault, unsigned count);
  void Clear();

  /// The fault for a command that has just arrived. Sends are counted per command: another command
  /// in between starts the count of `answer_on` afresh.
  Misbehaviour Take(const Bytes& command);

  /// One line per entry: "2 x not answered".
  std::vector<std::string> Lines() const;

 private:
  struct Entry {
    Misbehaviour fault;
    unsigned count = 0;
  };

  std::deque<Entry> entries_;
  Bytes counted_command_;
  unsigned sends_ = 0;
};

}  // namespace qmzentrel::virtual_box
