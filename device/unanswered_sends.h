// What the box was sent a short while ago and has not answered. On a slow way to it an answer comes
// when its command has been sent once more, and the next one after the next command.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qmzentrel {

/// Of a transponder. Nothing in a reply says which one it is.
enum class Block : std::size_t { k1, k2 };

class UnansweredSends {
 public:
  /// Now, about that block, or about none.
  void Add(std::optional<Block> about);
  /// An answer has come: to what was sent first, since the box answers in order.
  void TakeFirst();
  /// One has come that is not about `block`; false when none is to come.
  bool TakeOtherThan(Block block);

 private:
  struct Send {
    std::optional<Block> about;
    std::int64_t at = 0;  ///< platform::SteadyMs
  };
  void DropOld();

  std::vector<Send> sends_;  ///< the first one first
};

}  // namespace qmzentrel
