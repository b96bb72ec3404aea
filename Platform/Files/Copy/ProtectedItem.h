#pragma once

#include <optional>
#include <string>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// An item that must survive a removal, as it was when this was made: it is known again after it
/// was moved. Threads: any. Owns: nothing. Errors: what cannot be learned counts against removing.
class ProtectedItem {
 public:
  explicit ProtectedItem(const std::string& path);

  /// Whether removing `removed` would take the item away, a part of it, or what it links to: they
  /// are one item, or one lies in the other, by whatever paths. Two hard links to one file are two
  /// items. False when nothing is there to be removed, or to be kept.
  bool wouldBeTouchedByRemoving(const std::string& removed) const;

 private:
  std::string path_;
  std::optional<ItemIdentity> identity_;
  bool unknown_ = false;
};

/// Whether an item is a folder, or lies in it at any depth, links in its path resolved.
bool liesIn(const std::string& path, const std::string& folder);

}  // namespace wevora::platform
