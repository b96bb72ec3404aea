#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace wevora::platform {

/// What an item is, a symbolic link not followed; `unknown` when that cannot be learned.
enum class ItemKind { unknown, file, folder, link, other };
ItemKind kindOfItem(const std::string& path);
ItemKind kindOfMode(mode_t mode);

/// Calls `use` with the name and the kind of each direct child of a folder, in the order in which
/// the system gives them. False when the folder cannot be read to its end. Threads: any.
bool forEachEntry(const std::string& folder,
                  const std::function<void(std::string_view name, ItemKind kind)>& use);
/// The same for a folder that is open to be read. False with errno set.
bool forEachEntry(int folder, const std::function<void(std::string_view name, ItemKind kind)>& use);

}  // namespace wevora::platform
