#pragma once

#include <cmath>

namespace wevora::platform {

/// Width and height, in points unless stated otherwise.
struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

/// A rectangle, in points of the coordinate space in which it is used.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool empty() const noexcept { return !(width > 0 && height > 0); }
  bool finite() const noexcept {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(width) && std::isfinite(height);
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace wevora::platform
