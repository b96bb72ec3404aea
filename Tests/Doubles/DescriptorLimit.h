#pragma once

#include <sys/resource.h>
#include <system_error>

#include "Platform/Base/Errno.h"

namespace wevora::platform {

/// Lowers the descriptor limit of the process during its lifetime.
/// Errors: the constructor throws std::system_error.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(rlim_t limit) {
    const bool known = ::getrlimit(RLIMIT_NOFILE, &before_) == 0;
    const rlimit lowered{limit, before_.rlim_max};
    if (!known || ::setrlimit(RLIMIT_NOFILE, &lowered) != 0)
      throw std::system_error(lastError(), "cannot lower RLIMIT_NOFILE");
  }
  ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace wevora::platform
