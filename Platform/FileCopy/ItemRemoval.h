#pragma once

#include <string>
#include <system_error>

namespace wevora::platform {

/// Removes an item with all that is in it, also from folders that their own owner may not change.
std::error_code removeWithContents(const std::string& path);

/// Whether an item is a folder, or lies in it at any depth, links in its path resolved.
bool liesIn(const std::string& path, const std::string& folder);

}  // namespace wevora::platform
