#include "Apps/files/TreeSize.h"

#include <vector>

#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/TreeCopy.h"
#include "Platform/Files/Listing.h"

namespace wevora::files {
namespace {

using platform::Descriptor;
using platform::DirectoryCursor;
using platform::ItemKind;
using platform::TreeCopy;

std::uint64_t bytesAt(DirectoryCursor& cursor, const std::string& name) {
  const auto status = platform::statOf(cursor.folder(), name);
  if (!status) return 0;
  if (platform::isRegularFile(*status)) return static_cast<std::uint64_t>(status->st_size);
  if (!platform::isDirectory(*status) || cursor.depth() >= TreeCopy::kMaxDepth ||
      cursor.enter(name))
    return 0;
  std::vector<std::string> names;
  platform::forEachEntry(cursor.folder(),
                         [&](std::string_view item, ItemKind) { names.emplace_back(item); });
  std::uint64_t bytes = 0;
  const auto depth = cursor.depth();
  for (const auto& item : names) {
    bytes += bytesAt(cursor, item);
    if (cursor.depth() != depth) return bytes;  // leave() failed: the cursor is unusable
  }
  static_cast<void>(cursor.leave());
  return bytes;
}

}  // namespace

std::uint64_t bytesOfFiles(const std::string& path) {
  const auto item = platform::withoutTrailingSeparators(path);
  Descriptor folder = platform::openParentFolder(item);
  if (!folder) return 0;
  DirectoryCursor cursor(std::move(folder));
  return bytesAt(cursor, std::string(platform::lastPathComponent(item)));
}

}  // namespace wevora::files
