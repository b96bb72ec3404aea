#pragma once

#include <optional>

#include "Platform/Graphics/Color.h"

namespace wevora {

/// Converts to a drawing colour with the same colour space and components.
// -CGColor
platform::GraphicsColorRef CGColor(const platform::Color& color);

/// nullopt for a null reference.
// +colorWithCGColor:
std::optional<platform::Color> colorWithCGColor(const platform::GraphicsColorRef& color);

}  // namespace wevora
