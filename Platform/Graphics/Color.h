#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace wevora::platform {

/// What the numbers of a colour mean.
enum class ColorSpace { GenericGray, GenericRGB, DeviceRGB, SRGB, GenericCMYK };

/// Numbers of a colour in a space, its alpha included.
std::size_t componentsOf(ColorSpace space) noexcept;

/// A colour for drawing: a space, and its numbers from 0.0 to 1.0, alpha last.
/// Threads: a value. Owns: its numbers. Errors: none.
struct GraphicsColor {
  ColorSpace space = ColorSpace::GenericRGB;
  std::vector<double> components;
  friend bool operator==(const GraphicsColor&, const GraphicsColor&) = default;
};
using GraphicsColorRef = std::shared_ptr<const GraphicsColor>;

/// Null unless the numbers are as many as the space has.
// CGColorCreate
GraphicsColorRef makeGraphicsColor(ColorSpace space, std::span<const double> components);

/// A colour of the user interface.
/// Threads: a value. Owns: its numbers. Errors: numbers that are missing are 0, a missing alpha 1.
class Color {
 public:
  Color(ColorSpace space, std::span<const double> components);

  // -colorSpace
  ColorSpace colorSpace() const noexcept { return space_; }
  /// Alpha included.
  // -numberOfComponents
  std::size_t numberOfComponents() const noexcept { return components_.size(); }
  /// Fills as many numbers as fit.
  // -getComponents:
  void getComponents(std::span<double> components) const noexcept;

  friend bool operator==(const Color&, const Color&) = default;

 private:
  ColorSpace space_;
  std::vector<double> components_;
};

/// A colour for filters: red, green, blue and alpha in the RGB space that it came from.
/// Threads: a value. Owns: nothing. Errors: none.
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
