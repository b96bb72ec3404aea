#pragma once

#include <optional>
#include <string>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// An item that a removal must not affect. It is identified by path and inode at construction, so
/// that it is recognized after it was moved.
/// Thread-safety: safe from any thread.
/// Errors: when an item cannot be examined, the removal counts as affecting it.
class ProtectedItem {
 public:
  explicit ProtectedItem(const std::string& path);

  /// Whether removing `removed` would remove the protected item, a part of it, or the target of its
  /// link: both are the same item, or one contains the other, by any path. Two hard links to one
  /// file are two items. False when either item is missing.
  bool isAffectedByRemoving(const std::string& removed) const;

 private:
  std::string path_;
  std::optional<ItemIdentity> identity_;
  bool unknown_ = false;
};

/// Whether an item is a folder or is in it at any depth; links in the item's path are resolved.
bool isInside(const std::string& path, const std::string& folder);

}  // namespace wevora::platform
