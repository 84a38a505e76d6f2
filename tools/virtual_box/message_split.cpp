#include "tools/virtual_box/message_split.h"

#include <algorithm>

namespace qmzentrel::virtual_box {

std::optional<std::vector<std::size_t>> SplitMessages(std::span<const std::uint8_t> identifiers,
                                                      std::span<const std::uint8_t> content) {
  // In how many ways the messages from one on fit when that one begins at a place: none, one or
  // several. The end of the content is the place of a last message that is not there.
  constexpr unsigned kSeveral = 2;
  const std::size_t end = content.size();
  std::vector<std::vector<unsigned>> ways(identifiers.size() + 1, std::vector<unsigned>(end + 1));
  ways.back()[end] = 1;
  for (std::size_t message = identifiers.size(); message-- > 0;) {
    unsigned behind = 0;
    for (std::size_t at = end; at-- > 0;) {
      behind = std::min(kSeveral, behind + ways[message + 1][at + 1]);
      if (content[at] == identifiers[message]) ways[message][at] = behind;
    }
  }
  if (ways[0][0] != 1) return std::nullopt;
  std::vector<std::size_t> places;
  std::size_t at = 0;
  for (std::size_t message = 0; message < identifiers.size(); ++message) {
    places.push_back(at++);
    while (ways[message + 1][at] != 1) ++at;
  }
  return places;
}

}  // namespace qmzentrel::virtual_box
