#pragma once

#include <optional>

#include "Platform/Graphics/Color.h"

namespace wevora {

/// The colour for drawing, in the colour's own space and with its own numbers.
// -CGColor
platform::GraphicsColorRef CGColor(const platform::Color& color);

/// None for a null reference.
// +colorWithCGColor:
std::optional<platform::Color> colorWithCGColor(const platform::GraphicsColorRef& color);

}  // namespace wevora
