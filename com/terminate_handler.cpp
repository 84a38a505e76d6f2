// What happens when an exception finds no handler. The library's default prints the exception in
// words that nobody in a client without a console would see, and brings a large part of the
// standard input and output along; here it ends the process as any other abnormal end does.
#include <cstdlib>

namespace __gnu_cxx {

// NOLINTNEXTLINE(bugprone-reserved-identifier): the library's name, which this takes the place of.
void __verbose_terminate_handler() {
  std::abort();
}

}  // namespace __gnu_cxx
