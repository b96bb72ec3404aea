#include "Platform/Installation/Bundle.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::platform {
namespace {

constexpr std::string_view kPath = "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle";

class BundleTest : public testing::Test {
 protected:
  std::optional<Bundle> bundle() { return Bundle::bundleWithPath(kPath, paths); }
  TemporaryFolder root;
  InstalledPaths paths = InstalledPaths::belowRoot(root.path());
  std::string bundlePath = paths.translate(kPath);
};

TEST_F(BundleTest, WithoutAnInstalledFolderThereIsNoBundle) {
  EXPECT_FALSE(bundle());
  testing_host::writeFile(bundlePath, "a file");
  EXPECT_FALSE(bundle());
}

TEST_F(BundleTest, AnImageIsFoundByItsNameInTheResources) {
  const auto image = testing_host::twoHalves(16, 16, 0xFFFF0000, 0xFF0000FF);
  testing_host::writeFile(bundlePath + "/Contents/Resources/ok.icns",
                          testing_host::icnsFile({testing_host::pngElement("icp4", *image)}));
  EXPECT_EQ(bundle()->pathForImageResource("ok.icns"), bundlePath + "/Contents/Resources/ok.icns");
  ASSERT_TRUE(bundle()->imageForResource("ok.icns"));
  EXPECT_EQ(bundle()->imageForResource("ok.icns")->size(), (Size{16, 16}));
}

TEST_F(BundleTest, AMissingOrMalformedImageIsNull) {
  testing_host::writeFile(bundlePath + "/Contents/Resources/text.icns", "text");
  std::filesystem::create_directories(bundlePath + "/Contents/Resources/folder.icns");
  EXPECT_FALSE(bundle()->imageForResource("absent.icns"));
  EXPECT_FALSE(bundle()->imageForResource("text.icns"));
  EXPECT_FALSE(bundle()->pathForImageResource("folder.icns"));
}

TEST_F(BundleTest, ANameThatLeavesTheResourcesFolderIsRejected) {
  testing_host::writeFile(bundlePath + "/Contents/Info.plist", "x");
  EXPECT_FALSE(bundle()->pathForImageResource("../Info.plist"));
  EXPECT_FALSE(bundle()->pathForImageResource(""));
}

TEST_F(BundleTest, WithMissingOrMalformedCodeItIsNotLoaded) {
  std::filesystem::create_directories(bundlePath);
  EXPECT_FALSE(bundle()->load());
  testing_host::writeFile(bundlePath + "/Contents/Linux/finder_bundle.so", "no code");
  EXPECT_FALSE(bundle()->load());
}

}  // namespace
}  // namespace wevora::platform
