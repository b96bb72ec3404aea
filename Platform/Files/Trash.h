#pragma once

#include <string>
#include <sys/types.h>

namespace wevora::platform {

/// Where a user's Trash folders are, as freedesktop.org places them.
struct TrashPlaces {
  std::string home;       ///< its volume is the home volume
  std::string homeTrash;  ///< the Trash of the home volume
  uid_t user = 0;         ///< names the Trash folders at the top of the other volumes

  /// Those of the user who runs this process.
  static TrashPlaces ofThisUser();
};

/// Whether an item lies, at any depth, in the Trash of its own volume: the home Trash, or
/// ".Trash/$uid" or ".Trash-$uid" at the volume's top. A symbolic link leads neither out of a Trash
/// nor into one: what counts are the folders that the path names. False for what does not exist.
/// Threads: any.
bool isInsideTrash(const std::string& path, const TrashPlaces& places);

}  // namespace wevora::platform
