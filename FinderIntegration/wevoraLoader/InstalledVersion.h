#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "FinderIntegration/wevoraLoader/InstalledBundle.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

inline constexpr const char* kFinderVersionKey = "kFinderVersion";

/// A version: three numbers, as in "1.4.12".
struct BundleVersion {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t patch = 0;

  friend bool operator==(const BundleVersion&, const BundleVersion&) = default;
};

/// None for a text with other than three components. One that does not begin with a number is 0.
std::optional<BundleVersion> versionFromText(std::string_view text);

/// What "kFinderVersion" says in the installed list, read anew by every call. Threads: any.
/// None where the list, the key or one of three components is missing.
std::optional<BundleVersion> installedVersion(const platform::InstalledPaths& paths);

}  // namespace wevora
