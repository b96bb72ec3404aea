#pragma once

#include <string_view>

namespace wevora {

/// Whether `receiver` begins with the components of `prefix`, which are compared exactly. The first
/// component is never compared: in absolute paths it is always "/". False for an empty prefix.
// -hasPathPrefix:
bool hasPathPrefix(std::string_view receiver, std::string_view prefix);

}  // namespace wevora
