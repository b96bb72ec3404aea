// Preloaded beside the address sanitizer's library, which gets ready with the first allocation of
// the process. In a program that was not built with it, that may be one that the C library makes
// while it holds a lock of its messages, and getting ready needs that lock: the program would stand
// still for ever. This library is linked to be the first that is initialized, and allocates.

#include <cstdlib>

namespace {

[[gnu::constructor]] void allocate() {
  void* volatile memory = std::malloc(1);  // NOLINT(cppcoreguidelines-owning-memory)
  std::free(memory);                       // NOLINT(cppcoreguidelines-owning-memory)
}

}  // namespace
