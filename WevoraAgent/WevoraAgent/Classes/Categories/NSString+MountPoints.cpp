#include <optional>

#include "Platform/Base/AssertionFailure.h"
#include "Platform/Base/Strings.h"
#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+MountPoints.h"

namespace wevora {
namespace {

/// The text after the mount point; empty for a path outside it. nullopt if the text cannot be
/// split.
std::optional<std::string_view> remainderAfter(std::string_view receiver,
                                               std::string_view mountPoint) {
  if (platform::standardizedPath(receiver) == mountPoint) return std::string_view();
  // Valid UTF-8 has one encoding per character, so comparing bytes compares characters.
  if (receiver.size() > mountPoint.size() && receiver.starts_with(mountPoint))
    return receiver.substr(mountPoint.size());
  return std::string_view();
}

}  // namespace

std::string stringByCuttingMountPoint(std::string_view receiver, std::string_view mountPoint) {
  const auto remainder = remainderAfter(receiver, mountPoint);
  if (!remainder)
    throw platform::AssertionFailure(
        "Can not cut mount point. It seems that your string does not contain mountPoint. It is "
        "your error that should be removed.",
        "NSString+MountPoints", 33);
  return platform::standardizedPath("/" + std::string(*remainder));
}

std::string stringByAddingMountPoint(std::string_view receiver, std::string_view mountPoint) {
  return platform::standardizedPath("/" + std::string(mountPoint) + "/" + std::string(receiver));
}

}  // namespace wevora
