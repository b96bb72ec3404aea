#include "Platform/Graphics/Color.h"

#include <algorithm>

namespace wevora::platform {
namespace {

struct RGB {
  double red, green, blue;
};

RGB rgbOf(const GraphicsColor& color) {
  const auto& c = color.components;
  switch (color.space) {
    case ColorSpace::GenericGray:
      return {c[0], c[0], c[0]};
    case ColorSpace::GenericCMYK:
      return {(1 - c[0]) * (1 - c[3]), (1 - c[1]) * (1 - c[3]), (1 - c[2]) * (1 - c[3])};
    default:
      return {c[0], c[1], c[2]};
  }
}

ColorSpace rgbSpaceFor(ColorSpace space) {
  const bool rgb = space != ColorSpace::GenericGray && space != ColorSpace::GenericCMYK;
  return rgb ? space : ColorSpace::GenericRGB;
}

}  // namespace

std::size_t componentsOf(ColorSpace space) noexcept {
  switch (space) {
    case ColorSpace::GenericGray:
      return 2;
    case ColorSpace::GenericCMYK:
      return 5;
    default:
      return 4;
  }
}

GraphicsColorRef makeGraphicsColor(ColorSpace space, std::span<const double> components) {
  if (components.size() != componentsOf(space)) return nullptr;
  return std::make_shared<const GraphicsColor>(
      GraphicsColor{space, {components.begin(), components.end()}});
}

Color::Color(ColorSpace space, std::span<const double> components)
    : space_(space), components_(components.begin(), components.end()) {
  const std::size_t given = components_.size();
  components_.resize(componentsOf(space), 0.0);
  if (given < components_.size()) components_.back() = 1.0;
}

void Color::getComponents(std::span<double> components) const noexcept {
  std::copy_n(components_.begin(), std::min(components.size(), components_.size()),
              components.begin());
}

FilterColor FilterColor::colorWithCGColor(const GraphicsColor& color) {
  if (color.components.size() != componentsOf(color.space)) return {};
  const RGB rgb = rgbOf(color);
  return {rgbSpaceFor(color.space), rgb.red, rgb.green, rgb.blue, color.components.back()};
}

Color FilterColor::color() const {
  const double components[] = {red, green, blue, alpha};
  return {space, components};
}

}  // namespace wevora::platform
