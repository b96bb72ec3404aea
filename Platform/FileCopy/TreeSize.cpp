#include "Platform/FileCopy/TreeSize.h"

#include <vector>

#include "Platform/FileCopy/TreeCopy.h"
#include "Platform/FileCopy/TreePosition.h"
#include "Platform/Files/Listing.h"
#include "Platform/Strings/Strings.h"

namespace wevora::platform {
namespace {

std::uint64_t bytesAt(TreePosition& position, const std::string& name) {
  const auto facts = factsOf(position.folder(), name);
  if (!facts) return 0;
  if (S_ISREG(facts->st_mode)) return static_cast<std::uint64_t>(facts->st_size);
  if (!S_ISDIR(facts->st_mode) || position.depth() >= TreeCopy::kDeepest || position.enter(name))
    return 0;
  std::vector<std::string> names;
  eachItemOfFolder(position.folder(),
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
  const auto item = withoutTrailingSeparators(path);
  Descriptor folder = folderHolding(item);
  if (!folder) return 0;
  TreePosition position(std::move(folder));
  return bytesAt(position, std::string(lastPathComponent(item)));
}

}  // namespace wevora::platform
