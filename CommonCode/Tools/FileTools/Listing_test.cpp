#include <algorithm>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ListingTest : public testing::Test {
 protected:
  void file(const std::string& name) { std::ofstream(folder.path(name)) << "x"; }
  void makeFolder(const std::string& name) { fs::create_directories(folder.path(name)); }
  void link(const std::string& name, const std::string& target) {
    fs::create_symlink(target, folder.path(name));
  }
  /// A chain of links, chain-1 to chain-`steps`; chain-1 points to the target.
  void chain(int steps, const std::string& target) {
    link("chain-1", target);
    for (int i = 2; i <= steps; ++i)
      link("chain-" + std::to_string(i), "chain-" + std::to_string(i - 1));
  }
  /// A file, a folder with a file, a hidden file, and links to a file and to the folder.
  void makeUsualItems() {
    file("file.txt");
    makeFolder("folder.txt");
    file("folder.txt/inner");
    file(".hidden.txt");
    link("to file.txt", "file.txt");
    link("to folder.txt", "folder.txt");
  }
  /// The paths relative to the folder, sorted.
  Names names(std::vector<std::string> paths) const {
    for (auto& path : paths) {
      EXPECT_TRUE(path.starts_with(folder.path() + "/")) << path;
      path = path.substr(folder.path().size() + 1);
    }
    std::ranges::sort(paths);
    return paths;
  }
  std::string url(const std::string& below = "") const {
    return "file://" + platform::percentEncodedPath(folder.path(below));
  }

  const platform::TemporaryFolder folder;
};

using ScanTest = ListingTest;

TEST_F(ListingTest, EveryKindIsListedAndLinksByTheirOwnPaths) {
  file("file");
  makeFolder("folder/deeper");
  file(".hidden file");
  link("link", "folder");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path())),
            (Names{".hidden file", "file", "folder", "link"}));
}

TEST_F(ListingTest, WithResolvedPathsALinkIsReplacedByItsTarget) {
  file("file");
  makeFolder("folder");
  link("link", "folder");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), std::nullopt, false, false,
                                                       true, true, true)),
            (Names{"file", "folder", "folder"}));
}

TEST_F(ListingTest, ResolvedPathsHaveNoEffectWithoutResolvingLinks) {
  file("file");
  link("link", "file");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), std::nullopt, false, false,
                                                       false, false, true)),
            (Names{"file", "link"}));
}

TEST_F(ListingTest, TheMaskIsCaseSensitive) {
  for (const auto* name : {"a.txt", "A.TXT", "b.text", ".txt"}) file(name);
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt")),
            (Names{".txt", "a.txt"}));
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "?.TXT")), (Names{"A.TXT"}));
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "")), Names{});
}

TEST_F(ListingTest, TheMaskAppliesToTheNameOfTheLinkNotOfTheTarget) {
  file("a.txt");
  link("b.lnk", "a.txt");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.lnk", false, false, true,
                                                       true, true)),
            (Names{"a.txt"}));
}

TEST_F(ListingTest, SkippingFoldersSkipsLinksToFoldersToo) {
  makeUsualItems();
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt", true)),
            (Names{".hidden.txt", "file.txt", "to file.txt"}));
}

TEST_F(ListingTest, SkippingFilesSkipsLinksToFilesToo) {
  makeUsualItems();
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt", false, true)),
            (Names{"folder.txt", "to folder.txt"}));
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt", true, true)),
            Names{});
}

TEST_F(ListingTest, WithoutResolvingLinksAreOmittedUnlessRequested) {
  makeUsualItems();
  EXPECT_EQ(
      names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt", false, false, false)),
      (Names{".hidden.txt", "file.txt", "folder.txt"}));
  EXPECT_EQ(
      names(WVRFileTools::getContentsOfDirectory(folder.path(), "*.txt", true, true, false, false)),
      (Names{"to file.txt", "to folder.txt"}));
}

TEST_F(ListingTest, OtherKindsAreListedWhenFoldersAndFilesAreSkipped) {
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  file("file");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), std::nullopt, true, true)),
            (Names{"pipe"}));
}

TEST_F(ListingTest, ALinkLoopIsOmitted) {
  link("itself", "itself");
  link("there", "back");
  link("back", "there");
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path()), Names{});
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), std::nullopt, false, false,
                                                       true, false)),
            (Names{"back", "itself", "there"}));
}

TEST_F(ListingTest, ADanglingLinkIsOmitted) {
  link("dangling", "nowhere");
  link("further", "dangling");
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path()), Names{});
}

TEST_F(ListingTest, AChainOfUpToAHundredLinksIsFollowed) {
  makeFolder("target");
  chain(100, "target");
  const auto found = names(WVRFileTools::getContentsOfDirectory(folder.path(), "chain-*"));
  EXPECT_EQ(found.size(), 100U);
  EXPECT_EQ(std::ranges::count(found, "chain-99"), 1);
  EXPECT_EQ(std::ranges::count(found, "chain-100"), 1);
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "chain-100", false, false,
                                                       true, true, true)),
            (Names{"target"}));
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path(), "chain-100", true), Names{});
}

TEST_F(ListingTest, AChainOfAHundredAndOneLinksStopsAtTheLastLink) {
  makeFolder("target");
  chain(101, "target");
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path(), "chain-101"), Names{});
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "chain-101", true, true, true,
                                                       false, true)),
            (Names{"chain-1"}));
}

TEST_F(ListingTest, LinksInTheFoldersOwnPathAreResolved) {
  makeFolder("folder");
  file("folder/a");
  link("link", "folder");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path("link/"))), (Names{"folder/a"}));
}

TEST_F(ListingTest, AnUnreadableFolderIsEmpty) {
  file("file");
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path("missing")), Names{});
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path("file")), Names{});
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(""), Names{});
}

TEST_F(ListingTest, NamesThatAreNotUtf8AreUnchanged) {
  file("\xFF.txt");
  EXPECT_EQ(names(WVRFileTools::getContentsOfDirectory(folder.path(), "?.txt")),
            (Names{"\xFF.txt"}));
}

class ScanOfUsualItemsTest : public ScanTest {
 protected:
  ScanOfUsualItemsTest() {
    file("a.txt");
    file("x.part");
    file("listed");
    file(".dot");
    makeFolder("folder/deeper");
    makeFolder("folder.part");
    makeFolder(".folder");
    makeFolder("listed folder");
    link("link", "folder");
    link("link.part", "folder");
    link("dangling", "nowhere");
    link("dangling.part", "nowhere");
    std::ofstream(folder.path(".hidden")) << "listed\nlisted folder\n";
  }
};

TEST_F(ScanOfUsualItemsTest, WithoutAndDirsOnlyVisibleFoldersAreReturned) {
  const Names folders = {"folder", "folder.part"};
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtras(url())), folders);
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtras(url(), true, true)), folders);
}

TEST_F(ScanOfUsualItemsTest, WithAndDirsOnlyVisibleItemsExceptFoldersAreReturned) {
  // A link is not a folder, but the name rule does not apply to a link to a folder.
  const Names others = {"a.txt", "dangling", "link", "link.part"};
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtrasAndDirs(url())), others);
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtras(url(), false, true)), others);
}

TEST_F(ScanOfUsualItemsTest, CheckingPermissionsHasNoEffect) {
  ::chmod(folder.path("folder").c_str(), 0);
  ::chmod(folder.path("a.txt").c_str(), 0);
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras(url(), false),
            WVRFileTools::scanURLIgnoringExtras(url(), true));
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtrasAndDirs(url(), false),
            WVRFileTools::scanURLIgnoringExtrasAndDirs(url(), true));
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras(url(), true, false),
            WVRFileTools::scanURLIgnoringExtras(url()));
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras(url()).size(), 2U);
  ::chmod(folder.path("folder").c_str(), 0700);
}

TEST_F(ScanTest, EveryItemOfALongHiddenFileIsOmitted) {
  constexpr int kItems = 5'000;
  std::string list;
  for (int i = 0; i < kItems; ++i) {
    file("hidden " + std::to_string(i));
    list += "hidden " + std::to_string(i) + "\n";
    file("seen " + std::to_string(i));
  }
  std::ofstream(folder.path(".hidden")) << list;
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtrasAndDirs(url()).size(),
            static_cast<std::size_t>(kItems));
}

TEST_F(ScanTest, ThePathsAreInDirectoryOrder) {
  for (int i = 0; i < 200; ++i) file("item " + std::to_string(i * 7919 % 200));
  Names bare;
  const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.path().c_str()), &::closedir);
  while (const dirent* entry = ::readdir(open.get()))
    if (entry->d_name[0] != '.') bare.push_back(folder.path(entry->d_name));
  EXPECT_EQ(WVRFileTools::getContentsOfDirectory(folder.path()), bare);
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtrasAndDirs(url()), bare);
}

TEST_F(ScanTest, WithoutAUrlNothingIsReturned) {
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras(std::nullopt), Names{});
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtrasAndDirs(std::nullopt), Names{});
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras("http://localhost/"), Names{});
  EXPECT_EQ(WVRFileTools::scanURLIgnoringExtras(url("missing")), Names{});
}

TEST_F(ScanTest, ThePathsBeginWithThePathOfTheUrl) {
  makeFolder("real \xC3\xA9/inner");
  link("link %", "real \xC3\xA9");
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtras(url("link %"))), (Names{"link %/inner"}));
  EXPECT_EQ(names(WVRFileTools::scanURLIgnoringExtras(url("real \xC3\xA9") + "/")),
            (Names{"real \xC3\xA9/inner"}));
}

}  // namespace
}  // namespace wevora
