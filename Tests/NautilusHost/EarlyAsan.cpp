// Preloaded together with the address sanitizer's library, which initializes itself at the first
// allocation of the process. In a program that was not built with it, that may be an allocation
// that the C library makes while it holds the lock of its messages; the initialization takes the
// same lock, and the program deadlocks. This library is initialized first, and allocates.

#include <cstdlib>

namespace {

[[gnu::constructor]] void allocate() {
  void* volatile memory = std::malloc(1);  // NOLINT(cppcoreguidelines-owning-memory)
  std::free(memory);                       // NOLINT(cppcoreguidelines-owning-memory)
}

}  // namespace
