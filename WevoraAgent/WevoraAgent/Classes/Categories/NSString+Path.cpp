#include "Platform/Base/Strings.h"
#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+Path.h"

namespace wevora {

bool hasPathPrefix(std::string_view receiver, std::string_view prefix) {
  platform::PathComponents components(receiver);
  platform::PathComponents wanted(prefix);
  if (!wanted.next() || !components.next()) return false;
  while (const auto want = wanted.next()) {
    const auto component = components.next();
    if (!component || *component != *want) return false;
  }
  return true;
}

}  // namespace wevora
