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

std::uint64_t bytesAt(DirectoryCursor& position, const std::string& name) {
  const auto facts = platform::factsOf(position.folder(), name);
  if (!facts) return 0;
  if (S_ISREG(facts->st_mode)) return static_cast<std::uint64_t>(facts->st_size);
  if (!S_ISDIR(facts->st_mode) || position.depth() >= TreeCopy::kDeepest || position.enter(name))
    return 0;
  std::vector<std::string> names;
  platform::forEachEntry(position.folder(),
                         [&](std::string_view item, ItemKind) { names.emplace_back(item); });
  std::uint64_t bytes = 0;
  const auto depth = position.depth();
  for (const auto& item : names) {
    bytes += bytesAt(position, item);
    if (position.depth() != depth) return bytes;  // the place is lost
  }
  static_cast<void>(position.leave());
  return bytes;
}

}  // namespace

std::uint64_t bytesOfFiles(const std::string& path) {
  const auto item = platform::withoutTrailingSeparators(path);
  Descriptor folder = platform::openParentFolder(item);
  if (!folder) return 0;
  DirectoryCursor position(std::move(folder));
  return bytesAt(position, std::string(platform::lastPathComponent(item)));
}

}  // namespace wevora::files
