#pragma once

#include <string_view>

namespace wevora {

/// Whether `receiver` begins with the components of `prefix`, compared whole and exactly. The
/// first component is never compared: for absolute paths it is always "/". An empty prefix is none.
// -hasPathPrefix:
bool hasPathPrefix(std::string_view receiver, std::string_view prefix);

}  // namespace wevora
