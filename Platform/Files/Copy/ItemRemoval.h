#pragma once

#include <optional>
#include <string>
#include <system_error>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// Removes an item with its contents, also from folders on which the owner has no write permission.
/// Links are not followed. Removes nothing and returns EBUSY when another file system is mounted
/// on the item or in it. A missing item is not an error.
std::error_code removeWithContents(const std::string& path);
std::error_code removeWithContents(int folder, const std::string& name);

/// Whether an item is, or contains at any depth, the item with that identity. Also true when a
/// mount or an error ends the search early: the result must not justify a removal by mistake.
bool mayContain(const std::string& path, const ItemIdentity& identity);

}  // namespace wevora::platform
