#include "support/shown_text.h"

namespace qmzentrel {

std::string WithZerosShown(std::string_view text) {
  std::string shown;
  for (const char character : text) {
    if (character == '\0') {
      shown += "{Null}";
    } else {
      shown += character;
    }
  }
  return shown;
}

}  // namespace qmzentrel
