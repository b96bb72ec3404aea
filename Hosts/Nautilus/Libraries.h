#pragma once

namespace wevora::nautilus {

// The system's libraries inside the host, by their installed places, and where each begins.
inline constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/nautilus.so";
inline constexpr const char* kHostEntry = "wevora_nautilus_start";
inline constexpr const char* kBundleLibrary =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Linux/finder_bundle.so";
inline constexpr const char* kBundleEntry = "wevora_bundle_load";

/// Maps an installed library into the process, for good, and calls a function of its that takes
/// nothing. False where the library or the function is missing.
/// Threads: the main thread.
bool loadAndCall(const char* library, const char* entry);

}  // namespace wevora::nautilus
