#pragma once

#include <string_view>

namespace wevora::platform {

/// The version of this build, "0.1.0". Its one source is project() in the top CMakeLists.txt.
std::string_view productVersion() noexcept;

}  // namespace wevora::platform
