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

/// nullopt unless the text has three components. A component that does not begin with a number is
/// 0.
std::optional<BundleVersion> versionFromText(std::string_view text);

/// The value of "kFinderVersion" in the installed list, read from disk on every call. nullopt if
/// the list, the key or one of the three components is missing.
std::optional<BundleVersion> installedVersion(const platform::InstalledPaths& paths);

}  // namespace wevora
