#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace wevora::testing_host {

/// What this process has open, the look itself included.
std::size_t openDescriptors();

/// The match rules about our notifications that a bus holds for all its connections, as the bus
/// itself tells them. Throws where it does not.
std::vector<std::string> matchRules(const std::string& address);

}  // namespace wevora::testing_host
