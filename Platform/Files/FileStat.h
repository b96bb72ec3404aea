#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace wevora::platform {

// What the system knows about an item, a symbolic link never followed. None with errno set.
// Threads: any.

using ItemFacts = struct stat;

std::optional<ItemFacts> factsOf(const std::string& path) noexcept;
std::optional<ItemFacts> factsOf(int folder, const std::string& name) noexcept;
/// Of an open file or folder.
std::optional<ItemFacts> factsOf(int file) noexcept;

/// Which item it is, by whatever path.
struct ItemIdentity {
  dev_t device = 0;
  ino_t number = 0;

  static ItemIdentity of(const ItemFacts& facts) { return {facts.st_dev, facts.st_ino}; }
  friend bool operator==(const ItemIdentity&, const ItemIdentity&) = default;
};

/// Whether an error says that there is no such item; all others leave that open.
bool isNotFound(int error) noexcept;

/// The text of a symbolic link.
std::optional<std::string> linkTarget(const std::string& path);
std::optional<std::string> linkTarget(int folder, const std::string& name);

/// The folder in which a path's item is: "." for a name alone.
std::string parentFolderOf(std::string_view path);

}  // namespace wevora::platform
