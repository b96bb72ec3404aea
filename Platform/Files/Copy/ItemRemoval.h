#pragma once

#include <optional>
#include <string>
#include <system_error>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// Removes an item with all that is in it, also from folders that their own owner may not change.
/// Links are not followed, and nothing is removed (EBUSY) when a part of it is another mount: what
/// is mounted there is not the item's. An item that is missing is removed.
std::error_code removeWithContents(const std::string& path);
std::error_code removeWithContents(int folder, const std::string& name);

/// Whether an item is, or holds at any depth, the one of that identity, or what keeps it from being
/// removed; also true when that cannot be learned.
bool mayContain(const std::string& path, const ItemIdentity& identity);

}  // namespace wevora::platform
