#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace wevora::testing_host {

/// The number of open descriptors of this process, including the one that counts them.
std::size_t openDescriptors();

/// The match rules for our notifications of all connections, as listed by the bus at `address`.
/// Throws if the bus does not provide its statistics.
std::vector<std::string> matchRules(const std::string& address);

}  // namespace wevora::testing_host
