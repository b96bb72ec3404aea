// Checks the files that the build generates from this folder.

#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "Platform/Base/Version.h"
#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora {
namespace {

using platform::Dictionary;
using platform::PropertyLists;
using platform::Value;

std::string contentsOf(const std::string& name) {
  std::ifstream in(WEVORA_RESOURCES "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::size_t bigEndian(const std::string& bytes, std::size_t at) {
  std::size_t number = 0;
  for (std::size_t i = 0; i < 4; ++i)
    number = number << 8U | static_cast<unsigned char>(bytes.at(at + i));
  return number;
}

std::size_t littleEndian(const std::string& bytes, std::size_t at, std::size_t count) {
  std::size_t number = 0;
  for (std::size_t i = count; i > 0; --i)
    number = number << 8U | static_cast<unsigned char>(bytes.at(at + i - 1));
  return number;
}

/// The elements of an .icns file by their type.
std::map<std::string, std::string> elementsOf(const std::string& file) {
  std::map<std::string, std::string> elements;
  EXPECT_EQ(file.substr(0, 4), "icns");
  EXPECT_EQ(bigEndian(file, 4), file.size());
  for (std::size_t at = 8; at < file.size(); at += bigEndian(file, at + 4))
    elements[file.substr(at, 4)] = file.substr(at + 8, bigEndian(file, at + 4) - 8);
  return elements;
}

/// Expects a mask that is opaque only in the lower left corner. `corner` is the mark's side as a
/// fraction of the mask's side.
void expectAMarkInTheLowerLeftCorner(const std::string& mask, std::size_t side, double corner) {
  ASSERT_EQ(mask.size(), side * side);
  const auto edge = static_cast<std::size_t>(corner * static_cast<double>(side));
  std::size_t opaque = 0;
  for (std::size_t y = 0; y < side; ++y)
    for (std::size_t x = 0; x < side; ++x) {
      const auto opacity = static_cast<unsigned char>(mask[y * side + x]);
      if (x >= edge || y < side - edge) {
        ASSERT_EQ(opacity, 0) << x << " " << y;
      }
      if (opacity == 255) ++opaque;
    }
  EXPECT_GT(opaque, side * side / 20);
}

TEST(ResourcesTest, EveryBadgeHasAnImageOfEverySize) {
  for (const char* name : {"ok.icns", "backup.icns", "w.icns"}) {
    const auto elements = elementsOf(contentsOf(name));
    for (const char* type :
         {"is32", "s8mk", "il32", "l8mk", "ih32", "h8mk", "it32", "t8mk", "ic08", "ic09"})
      EXPECT_TRUE(elements.contains(type)) << name << " " << type;
  }
}

TEST(ResourcesTest, ABadgeIsTransparentExceptForAMarkInTheLowerLeftCorner) {
  for (const char* name : {"ok.icns", "backup.icns", "w.icns"}) {
    SCOPED_TRACE(name);
    auto elements = elementsOf(contentsOf(name));
    expectAMarkInTheLowerLeftCorner(elements["s8mk"], 16, 0.875);
    expectAMarkInTheLowerLeftCorner(elements["l8mk"], 32, 0.75);
    expectAMarkInTheLowerLeftCorner(elements["h8mk"], 48, 0.75);
    expectAMarkInTheLowerLeftCorner(elements["t8mk"], 128, 0.6);
  }
}

TEST(ResourcesTest, TheMarksDifferInTheirShape) {
  std::map<std::string, std::string> masks;
  for (const char* name : {"ok.icns", "backup.icns", "w.icns"}) {
    auto elements = elementsOf(contentsOf(name));
    masks[elements["s8mk"]] = name;
    masks[elements["t8mk"]] = name;
  }
  EXPECT_EQ(masks.size(), 6U);
}

TEST(ResourcesTest, TheSidebarsTiffHasAPageWithAlphaForEachSize) {
  const auto file = contentsOf("sidebar.tiff");
  ASSERT_EQ(file.substr(0, 4), std::string("II*\0", 4));
  std::vector<std::size_t> sides;
  for (auto page = littleEndian(file, 4, 4); page != 0;) {
    const auto entries = littleEndian(file, page, 2);
    std::map<std::size_t, std::size_t> values;
    for (std::size_t i = 0; i < entries; ++i) {
      const auto entry = page + 2 + i * 12;
      values[littleEndian(file, entry, 2)] = littleEndian(file, entry + 8, 2);
    }
    EXPECT_EQ(values[277], 4U);  // samples per pixel
    EXPECT_EQ(values[338], 2U);  // unassociated alpha
    EXPECT_EQ(values[256], values[257]);
    sides.push_back(values[256]);
    page = littleEndian(file, page + 2 + entries * 12, 4);
  }
  EXPECT_EQ(sides, (std::vector<std::size_t>{16, 32, 64}));
}

TEST(ResourcesTest, TheInformationListHasTheProjectsVersion) {
  const auto list = PropertyLists::read(WEVORA_RESOURCES "/Info.plist");
  ASSERT_TRUE(list && list->as<Dictionary>() != nullptr);
  const auto* version = platform::valueAs<std::string>(*list->as<Dictionary>(), "kFinderVersion");
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(*version, platform::productVersion());
}

TEST(ResourcesTest, TheTemplateContainsTheFourDefaults) {
  EXPECT_EQ(PropertyLists::read(WEVORA_RESOURCES "/wevora-settings.plist"),
            Value(Dictionary{{"HideDesktopItem", false},
                             {"kFinderOverlayEnabledKey", true},
                             {"KeepAlive", true},
                             {"RunAtLoad", true}}));
}

}  // namespace
}  // namespace wevora
