#pragma once

namespace wevora::hosts {

/// Loads the installed bundle. Register the host's classes first: the bundle looks them up while it
/// loads. False if no bundle is installed.
bool loadBundle();

}  // namespace wevora::hosts
