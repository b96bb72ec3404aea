#include <array>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/NSColor+CGColor.h"

namespace wevora {
namespace {

using platform::Color;
using platform::ColorSpace;

TEST(NSColorCGColorTest, ADrawingColourKeepsSpaceAndComponents) {
  const std::array<double, 5> cmyk{0.1, 0.2, 0.3, 0.4, 0.5};
  const auto color = CGColor(Color(ColorSpace::GenericCMYK, cmyk));
  ASSERT_TRUE(color);
  EXPECT_EQ(color->space, ColorSpace::GenericCMYK);
  EXPECT_EQ(color->components, std::vector<double>(cmyk.begin(), cmyk.end()));

  const std::array<double, 2> gray{0.25, 0.75};
  EXPECT_EQ(CGColor(Color(ColorSpace::GenericGray, gray))->components.size(), 2U);
}

TEST(NSColorCGColorTest, ANullReferenceGivesNulloptAndNotADefaultColour) {
  EXPECT_EQ(colorWithCGColor(nullptr), std::nullopt);
}

TEST(NSColorCGColorTest, AnRGBColourIsConvertedBackUnchanged) {
  const std::array<double, 4> rgb{0.1, 0.2, 0.3, 0.4};
  const Color color(ColorSpace::SRGB, rgb);
  EXPECT_EQ(colorWithCGColor(CGColor(color)), color);
}

TEST(NSColorCGColorTest, AGrayIsConvertedBackAsRGB) {
  const std::array<double, 2> gray{0.25, 0.75};
  const std::array<double, 4> rgb{0.25, 0.25, 0.25, 0.75};
  EXPECT_EQ(colorWithCGColor(CGColor(Color(ColorSpace::GenericGray, gray))),
            Color(ColorSpace::GenericRGB, rgb));
}

}  // namespace
}  // namespace wevora
