#include <vector>

#include "FinderIntegration/finder_bundle/NSColor+CGColor.h"

namespace wevora {

platform::GraphicsColorRef CGColor(const platform::Color& color) {
  std::vector<double> components(color.numberOfComponents());
  color.getComponents(components);
  return platform::makeGraphicsColor(color.colorSpace(), components);
}

std::optional<platform::Color> colorWithCGColor(const platform::GraphicsColorRef& color) {
  if (!color) return std::nullopt;
  return platform::FilterColor::colorWithCGColor(*color).color();
}

}  // namespace wevora
