#pragma once

#include <string_view>

namespace wevora {

// Where the bundle is installed: path texts of the system's own, for InstalledPaths to translate.

/// The information list.
inline constexpr std::string_view kBundleInfoPath =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
/// The folder.
inline constexpr std::string_view kBundlePath =
    kBundleInfoPath.substr(0, kBundleInfoPath.find("/Contents/"));

}  // namespace wevora
