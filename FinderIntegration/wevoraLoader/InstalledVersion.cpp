#include "FinderIntegration/wevoraLoader/InstalledVersion.h"

#include <charconv>
#include <limits>
#include <string>
#include <system_error>
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

/// The integer (optional sign, digits) at the beginning of the text; 0 if there is none.
std::int32_t leadingInteger(std::string_view text) {
  using Bounds = std::numeric_limits<std::int32_t>;
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return 0;
  }
  std::int32_t number = 0;
  const auto end = text.data() + text.size();
  if (std::from_chars(text.data(), end, number).ec == std::errc::result_out_of_range)
    return text.starts_with('-') ? Bounds::min() : Bounds::max();
  return number;
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
