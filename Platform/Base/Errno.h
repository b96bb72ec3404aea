#pragma once

#include <cerrno>
#include <system_error>

namespace wevora::platform {

inline std::error_code errorOf(int number) {
  return {number, std::generic_category()};
}
/// The current value of errno.
inline std::error_code lastError() {
  return errorOf(errno);
}

}  // namespace wevora::platform
