#pragma once

namespace wevora::hosts {

/// Loads the bundle that is installed, which looks the host's classes up while it loads. False
/// where there is none.
bool loadBundle();

}  // namespace wevora::hosts
