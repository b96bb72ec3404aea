#pragma once

#include <string>
#include <sys/types.h>

namespace wevora::platform {

/// The locations of a user's Trash folders, as in the freedesktop.org Trash specification.
struct TrashPlaces {
  std::string home;       ///< on the home volume
  std::string homeTrash;  ///< the Trash of the home volume
  uid_t user = 0;         ///< part of the Trash folder names at the top of the other volumes

  /// The locations for the user who runs this process.
  static TrashPlaces ofThisUser();
};

/// Whether an item is, at any depth, in the Trash of its own volume: the home Trash, or
/// ".Trash/$uid" or ".Trash-$uid" at the top of the volume. Only the folders that the path names
/// count; links are not followed out of a Trash or into one. False for a missing item.
/// Thread-safety: safe from any thread.
bool isInsideTrash(const std::string& path, const TrashPlaces& places);

}  // namespace wevora::platform
