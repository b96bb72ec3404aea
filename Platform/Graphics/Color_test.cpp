#include "Platform/Graphics/Color.h"

#include <array>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(ColorTest, TheComponentsOfASpaceIncludeAlpha) {
  EXPECT_EQ(componentsOf(ColorSpace::GenericGray), 2U);
  EXPECT_EQ(componentsOf(ColorSpace::SRGB), 4U);
  EXPECT_EQ(componentsOf(ColorSpace::GenericCMYK), 5U);
}

TEST(ColorTest, MissingComponentsAreZeroAndAMissingAlphaIsOne) {
  const std::array<double, 1> red{0.5};
  const Color color(ColorSpace::DeviceRGB, red);
  std::array<double, 4> components{};
  color.getComponents(components);
  EXPECT_EQ(components, (std::array<double, 4>{0.5, 0, 0, 1}));
  EXPECT_EQ(color.numberOfComponents(), 4U);
}

TEST(ColorTest, ASmallerBufferGetsAsManyComponentsAsFit) {
  const std::array<double, 4> rgb{0.1, 0.2, 0.3, 0.4};
  std::array<double, 2> components{};
  Color(ColorSpace::SRGB, rgb).getComponents(components);
  EXPECT_EQ(components, (std::array<double, 2>{0.1, 0.2}));
}

TEST(ColorTest, AColourForDrawingNeedsAllComponentsOfItsSpace) {
  const std::array<double, 4> rgb{0.1, 0.2, 0.3, 0.4};
  EXPECT_TRUE(makeGraphicsColor(ColorSpace::SRGB, rgb));
  EXPECT_FALSE(makeGraphicsColor(ColorSpace::GenericGray, rgb));
  EXPECT_FALSE(makeGraphicsColor(ColorSpace::GenericCMYK, rgb));
}

TEST(ColorTest, AColourForFiltersIsConvertedToRGB) {
  const std::array<double, 5> cmyk{0.0, 0.5, 1.0, 0.5, 0.25};
  const auto filter =
      FilterColor::colorWithCGColor(*makeGraphicsColor(ColorSpace::GenericCMYK, cmyk));
  EXPECT_DOUBLE_EQ(filter.red, 0.5);
  EXPECT_DOUBLE_EQ(filter.green, 0.25);
  EXPECT_DOUBLE_EQ(filter.blue, 0.0);
  EXPECT_DOUBLE_EQ(filter.alpha, 0.25);
  EXPECT_EQ(filter.color().colorSpace(), ColorSpace::GenericRGB);
}

}  // namespace
}  // namespace wevora::platform
