#pragma once

namespace wevora::hosts {

/// Maps an installed library into the process, for good, and calls a function of its that takes
/// nothing. False where the library or the function is missing.
/// Threads: the main thread.
bool loadAndCall(const char* library, const char* entry);

}  // namespace wevora::hosts
