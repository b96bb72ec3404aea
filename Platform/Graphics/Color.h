#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace wevora::platform {

/// The colour space of a colour's components.
enum class ColorSpace { GenericGray, GenericRGB, DeviceRGB, SRGB, GenericCMYK };

/// The number of components of a colour space, alpha included.
std::size_t componentsOf(ColorSpace space) noexcept;

/// A colour for drawing: a colour space and its components from 0.0 to 1.0, alpha last.
struct GraphicsColor {
  ColorSpace space = ColorSpace::GenericRGB;
  std::vector<double> components;
  friend bool operator==(const GraphicsColor&, const GraphicsColor&) = default;
};
using GraphicsColorRef = std::shared_ptr<const GraphicsColor>;

/// Null unless the number of components matches the colour space.
// CGColorCreate
GraphicsColorRef makeGraphicsColor(ColorSpace space, std::span<const double> components);

/// A colour of the user interface. Missing components default to 0, a missing alpha to 1.
class Color {
 public:
  Color(ColorSpace space, std::span<const double> components);

  // -colorSpace
  ColorSpace colorSpace() const noexcept { return space_; }
  /// Alpha included.
  // -numberOfComponents
  std::size_t numberOfComponents() const noexcept { return components_.size(); }
  /// Copies as many components as fit into the buffer.
  // -getComponents:
  void getComponents(std::span<double> components) const noexcept;

  friend bool operator==(const Color&, const Color&) = default;

 private:
  ColorSpace space_;
  std::vector<double> components_;
};

/// A colour for filters: red, green, blue and alpha in the RGB colour space of its source colour.
struct FilterColor {
  // +colorWithCGColor:
  static FilterColor colorWithCGColor(const GraphicsColor& color);
  // +[NSColor colorWithCIColor:]
  Color color() const;

  ColorSpace space = ColorSpace::GenericRGB;
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
};

}  // namespace wevora::platform
