#include "Platform/InstalledPaths/InstalledPaths.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Platform/InstalledPaths/LoginUser.h"

namespace wevora::platform {
namespace {

constexpr const char* kInfo =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
constexpr const char* kTemplate = "/Library/Application Support/Wevora/wevora-settings.plist";

std::string settingsOf(const std::string& user) {
  return "/Users/" + user + "/Library/Application Support/Wevora/wevora-settings.plist";
}

TEST(InstalledPathsTest, ThePluginLiesBelowTheInstallPrefix) {
  EXPECT_EQ(InstalledPaths().translate(kInfo), WEVORA_INSTALL_PREFIX
            "/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
}

TEST(InstalledPathsTest, TheTemplateLiesInTheSystemsConfiguration) {
  EXPECT_EQ(InstalledPaths().translate(kTemplate), "/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsLieBelowTheHomeFolderOfThePasswordDatabase) {
  const passwd* row = ::getpwuid(::getuid());
  ASSERT_NE(row, nullptr);
  const std::string home = row->pw_dir;
  ::setenv("HOME", "/somewhere/else", 1);
  ::setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
  EXPECT_EQ(InstalledPaths().translate(settingsOf(row->pw_name)),
            home + "/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsOfAnUnknownUserAreNowhere) {
  EXPECT_EQ(InstalledPaths().translate(settingsOf("no such user")), "");
  EXPECT_EQ(InstalledPaths().translate(settingsOf("")), "");
}

TEST(InstalledPathsTest, ATextInNoRowIsLeftAsItIs) {
  for (const char* path : {"", "/", "/Library", "/Library/Wevora/FinderPlugin", "/Users/me/x",
                           "/Users", "/Volumes/a/Library/Application Support/Wevora/x", "\xFF"})
    EXPECT_EQ(InstalledPaths().translate(path), path);
}

TEST(InstalledPathsTest, AnotherRootHoldsEverything) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(kInfo),
            "/r/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
  EXPECT_EQ(paths.translate(kTemplate), "/r/etc/xdg/Wevora/wevora-settings.plist");
  EXPECT_EQ(paths.translate(settingsOf("ann")), "/r/home/ann/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, NoNameLeadsOutOfTheFolderOfHomes) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(settingsOf("..")), "");
  EXPECT_EQ(paths.translate(settingsOf(".")), "");
}

TEST(InstalledPathsTest, TheProcessHasOneThatAProgramMaySet) {
  InstalledPaths::setShared(InstalledPaths::belowRoot("/other"));
  EXPECT_EQ(InstalledPaths::shared().translate(kTemplate),
            "/other/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(LoginUserTest, TheLoginNameIsThatOfTheProcessAndNotOfTheEnvironment) {
  ::setenv("USER", "somebody", 1);
  ::setenv("LOGNAME", "somebody", 1);
  const auto name = loginName();
  ASSERT_TRUE(name);
  const passwd* row = ::getpwnam(name->c_str());
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->pw_uid, ::getuid());
}

TEST(LoginUserTest, AUserHasAnId) {
  const auto name = loginName();
  ASSERT_TRUE(name);
  EXPECT_EQ(idOfUser(*name), ::getuid());
}

TEST(LoginUserTest, AnUnknownUserHasNoHomeFolderAndNoId) {
  EXPECT_EQ(idOfUser("no such user"), std::nullopt);
  EXPECT_EQ(homeFolderOfUser("no such user"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
