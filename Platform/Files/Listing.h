#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace wevora::platform {

/// The type of an item; a symbolic link is not followed. `unknown` when stat fails.
enum class ItemKind { unknown, file, folder, link, other };
ItemKind kindOfItem(const std::string& path);
ItemKind kindOfMode(mode_t mode);

/// Calls `use` with the name and the kind of each direct child of a folder, in directory order.
/// False with errno set when the folder cannot be read completely.
/// Thread-safety: safe from any thread.
bool forEachEntry(const std::string& folder,
                  const std::function<void(std::string_view name, ItemKind kind)>& use);
/// The same for an open folder.
bool forEachEntry(int folder, const std::function<void(std::string_view name, ItemKind kind)>& use);

}  // namespace wevora::platform
