#pragma once

namespace wevora::hosts {

/// Maps an installed library for the lifetime of the process and calls its entry point, a function
/// without arguments. False if the library or the function is missing.
/// Thread-safety: main thread only.
bool loadAndCall(const char* library, const char* entry);

}  // namespace wevora::hosts
