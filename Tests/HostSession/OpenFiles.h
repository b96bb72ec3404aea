#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace wevora::testing_host {

/// The device of a path; 0 where it does not exist.
dev_t deviceOf(const std::string& path);

/// What a process has open or mapped of a device, also after a lazy unmount; `nullopt` where this
/// user may not list it.
std::optional<std::vector<std::string>> openOn(dev_t device, pid_t process);

}  // namespace wevora::testing_host
