#include "Platform/Files/Trash.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

namespace fs = std::filesystem;

class TrashTest : public testing::Test {
 protected:
  TrashTest() {
    fs::create_directories(folder.path("home/.local/share/Trash/files/gone/deep"));
    fs::create_directories(folder.path("home/Documents"));
    write("home/.local/share/Trash/files/gone/deep/x");
    write("home/Documents/x");
  }
  void write(const std::string& name) { std::ofstream(folder.path(name)) << "x"; }
  bool inside(const std::string& name) const { return isInsideTrash(folder.path(name), places); }

  const TemporaryFolder folder;
  const TrashPlaces places{folder.path("home"), folder.path("home/.local/share/Trash"), 1000};
};

TEST_F(TrashTest, ContainsItemsAtAnyDepthButNotItself) {
  EXPECT_TRUE(inside("home/.local/share/Trash/files"));
  EXPECT_TRUE(inside("home/.local/share/Trash/files/gone"));
  EXPECT_TRUE(inside("home/.local/share/Trash/files/gone/deep/x"));
  EXPECT_TRUE(inside("home/.local/share//Trash/files/gone/"));
  EXPECT_FALSE(inside("home/.local/share/Trash"));
  EXPECT_FALSE(inside("home/Documents/x"));
  EXPECT_FALSE(inside("home/.local/share/Trash/../x"));
}

TEST_F(TrashTest, DoesNotContainMissingItems) {
  EXPECT_FALSE(inside("home/.local/share/Trash/files/missing"));
  EXPECT_FALSE(isInsideTrash("", places));
}

TEST_F(TrashTest, LinksAreNotFollowedOutOfItOrIntoIt) {
  fs::create_symlink(folder.path("home/Documents"), folder.path("home/.local/share/Trash/out"));
  EXPECT_TRUE(inside("home/.local/share/Trash/out"));
  EXPECT_TRUE(inside("home/.local/share/Trash/out/x"));
  fs::create_symlink(folder.path("home/.local/share/Trash/files"), folder.path("home/in"));
  fs::create_symlink(folder.path("home/.local/share/Trash"), folder.path("home/trash"));
  EXPECT_FALSE(inside("home/in"));
  EXPECT_FALSE(inside("home/in/gone"));
  EXPECT_FALSE(inside("home/trash/files"));
}

TEST_F(TrashTest, AHomeFolderBehindALinkIsTheSameHome) {
  fs::create_directory_symlink("home", folder.path("house"));
  const TrashPlaces linked{folder.path("house"), folder.path("house/.local/share/Trash"), 1000};
  EXPECT_TRUE(isInsideTrash(folder.path("home/.local/share/Trash/files/gone"), linked));
  EXPECT_TRUE(isInsideTrash(folder.path("house/.local/share/Trash/files/gone"), places));
}

TEST_F(TrashTest, AHomeTrashThatIsALinkContainsTheItemsOfItsTarget) {
  fs::create_directories(folder.path("target/files/gone"));
  fs::create_directory_symlink(folder.path("target"), folder.path("trash"));
  const TrashPlaces linked{folder.path("home"), folder.path("trash"), 1000};
  EXPECT_TRUE(isInsideTrash(folder.path("trash/files/gone"), linked));
  EXPECT_TRUE(isInsideTrash(folder.path("target/files/gone"), linked));
  EXPECT_FALSE(isInsideTrash(folder.path("trash"), linked));
  EXPECT_FALSE(isInsideTrash(folder.path("target"), linked));
}

TEST_F(TrashTest, TheHomeVolumeHasOnlyTheHomeTrash) {
  fs::create_directories(folder.path(".Trash-1000/files/x"));
  EXPECT_FALSE(inside(".Trash-1000/files/x"));
}

TEST(TrashPlacesTest, FollowTheEnvironmentOfTheUser) {
  const char* home = std::getenv("HOME");
  const char* data = std::getenv("XDG_DATA_HOME");
  const std::string homeBefore = home != nullptr ? home : "";
  const std::string dataBefore = data != nullptr ? data : "";
  ::setenv("HOME", "/home/somebody", 1);
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(TrashPlaces::ofThisUser().homeTrash, "/home/somebody/.local/share/Trash");
  EXPECT_EQ(TrashPlaces::ofThisUser().home, "/home/somebody");
  EXPECT_EQ(TrashPlaces::ofThisUser().user, ::getuid());
  ::setenv("XDG_DATA_HOME", "/data/somebody", 1);
  EXPECT_EQ(TrashPlaces::ofThisUser().homeTrash, "/data/somebody/Trash");
  ::setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(TrashPlaces::ofThisUser().homeTrash, "/home/somebody/.local/share/Trash");
  home != nullptr ? ::setenv("HOME", homeBefore.c_str(), 1) : ::unsetenv("HOME");
  data != nullptr ? ::setenv("XDG_DATA_HOME", dataBefore.c_str(), 1) : ::unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace wevora::platform
