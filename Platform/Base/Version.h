#pragma once

#include <string_view>

namespace wevora::platform {

/// The version of this build, such as "0.1.0". It is set by project() in the top CMakeLists.txt.
std::string_view productVersion() noexcept;

}  // namespace wevora::platform
