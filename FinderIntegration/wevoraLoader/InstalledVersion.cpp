#include "FinderIntegration/wevoraLoader/InstalledVersion.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora {
namespace {

std::vector<std::string_view> splitAtDots(std::string_view text) {
  std::vector<std::string_view> components;
  for (auto dot = text.find('.'); dot != std::string_view::npos; dot = text.find('.')) {
    components.push_back(text.substr(0, dot));
    text.remove_prefix(dot + 1);
  }
  components.push_back(text);
  return components;
}

std::int32_t leadingInteger(std::string_view text) {
  using Bounds = std::numeric_limits<std::int32_t>;
  const auto number = platform::Value(std::string(text)).longLongValue();
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(number, Bounds::min(), Bounds::max()));
}

}  // namespace

std::optional<BundleVersion> versionFromText(std::string_view text) {
  const auto components = splitAtDots(text);
  if (components.size() != 3) return std::nullopt;
  return BundleVersion{leadingInteger(components[0]), leadingInteger(components[1]),
                       leadingInteger(components[2])};
}

std::optional<BundleVersion> installedVersion(const platform::InstalledPaths& paths) {
  const auto list = platform::PropertyLists::read(paths.translate(kBundleInfoPath));
  const auto* info = list ? list->as<platform::Dictionary>() : nullptr;
  const auto* text =
      info == nullptr ? nullptr : platform::valueAs<std::string>(*info, kFinderVersionKey);
  return text == nullptr ? std::nullopt : versionFromText(*text);
}

}  // namespace wevora
