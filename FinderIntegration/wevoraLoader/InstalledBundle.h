#pragma once

#include <string_view>

namespace wevora {

// System paths of the installed bundle, to be translated by InstalledPaths.

/// The bundle's information list.
inline constexpr std::string_view kBundleInfoPath =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
/// The bundle's folder.
inline constexpr std::string_view kBundlePath =
    kBundleInfoPath.substr(0, kBundleInfoPath.find("/Contents/"));

}  // namespace wevora
