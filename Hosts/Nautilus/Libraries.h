#pragma once

namespace wevora::nautilus {

// The system's library for this host, by its installed place, and where it begins.
inline constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/nautilus.so";
inline constexpr const char* kHostEntry = "wevora_nautilus_start";

/// Maps an installed library into the process, for good, and calls a function of its that takes
/// nothing. False where the library or the function is missing.
/// Threads: the main thread.
bool loadAndCall(const char* library, const char* entry);

}  // namespace wevora::nautilus
