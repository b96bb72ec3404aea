#include "FinderIntegration/wevoraLoader/InstalledVersion.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Platform/Installation/InstalledPaths.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

using platform::Dictionary;
using platform::PropertyLists;

TEST(InstalledVersionTest, ThePathsAndTheKeyHaveTheirFixedTexts) {
  EXPECT_EQ(kBundlePath, "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle");
  EXPECT_EQ(kBundleInfoPath,
            "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
  EXPECT_STREQ(kFinderVersionKey, "kFinderVersion");
}

TEST(InstalledVersionTest, AVersionIsThreeNumbersJoinedByDots) {
  EXPECT_EQ(versionFromText("1.4.12"), (BundleVersion{1, 4, 12}));
  EXPECT_EQ(versionFromText("-1.+2.007"), (BundleVersion{-1, 2, 7}));
}

TEST(InstalledVersionTest, ATextWithoutExactlyThreeComponentsIsNotAVersion) {
  for (const char* text : {"", "2", "2.0", "2.1.7.4", "2.1.7.", "....", "2,1,7"})
    EXPECT_EQ(versionFromText(text), std::nullopt) << text;
}

TEST(InstalledVersionTest, AComponentThatDoesNotBeginWithANumberIsZero) {
  EXPECT_EQ(versionFromText("a.1b.3 beta"), (BundleVersion{0, 1, 3}));
  EXPECT_EQ(versionFromText(".."), (BundleVersion{0, 0, 0}));
  EXPECT_EQ(versionFromText("-.+.x9"), (BundleVersion{0, 0, 0}));
}

TEST(InstalledVersionTest, ABlankBeforeANumberMakesItZero) {
  EXPECT_EQ(versionFromText(" 1.\t2.\n3"), (BundleVersion{0, 0, 0}));
  EXPECT_EQ(versionFromText("+-1.-+2.- 3"), (BundleVersion{0, 0, 0}));
  EXPECT_EQ(versionFromText("1 .2x.3\t"), (BundleVersion{1, 2, 3}));
}

TEST(InstalledVersionTest, AnOverflowingNumberIsClamped) {
  EXPECT_EQ(versionFromText("99999999999.-99999999999.99999999999999999999999"),
            (BundleVersion{2147483647, -2147483648, 2147483647}));
}

class InstalledListTest : public testing::Test {
 protected:
  InstalledListTest() {
    std::filesystem::create_directories(std::filesystem::path(list).parent_path());
  }
  void install(const Dictionary& info) {
    std::ofstream(list, std::ios::trunc) << PropertyLists::xml(info).value();
  }

  platform::TemporaryFolder root;
  const platform::InstalledPaths paths = platform::InstalledPaths::belowRoot(root.path());
  const std::string list = paths.translate(kBundleInfoPath);
};

TEST_F(InstalledListTest, TheInstalledVersionIsReadFromDiskOnEveryCall) {
  install({{"Other", true}, {"kFinderVersion", "2.1.7"}});
  EXPECT_EQ(installedVersion(paths), (BundleVersion{2, 1, 7}));
  install({{"kFinderVersion", "2.1.8"}});
  EXPECT_EQ(installedVersion(paths), (BundleVersion{2, 1, 8}));
}

TEST_F(InstalledListTest, WithoutAListOrAStringForTheKeyThereIsNoVersion) {
  EXPECT_EQ(installedVersion(paths), std::nullopt);
  install({{"Other", "2.1.7"}});
  EXPECT_EQ(installedVersion(paths), std::nullopt);
  install({{"kFinderVersion", 2.1}});
  EXPECT_EQ(installedVersion(paths), std::nullopt);
  std::ofstream(list, std::ios::trunc) << "broken";
  EXPECT_EQ(installedVersion(paths), std::nullopt);
}

}  // namespace
}  // namespace wevora
