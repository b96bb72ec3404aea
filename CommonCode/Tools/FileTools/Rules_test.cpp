#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Trash.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;

bool ignoredByName(std::string_view name) {
  return WVRFileTools::quickCheckIfFileShouldBeIgnoredByName(name);
}

TEST(QuickCheckByName, AnAccountsDatabaseAndItsCompanionsAreIgnoredCaseInsensitively) {
  EXPECT_TRUE(ignoredByName("Wevora-Account-0A1B2C3D-0000-1111-2222-333344445555.db"));
  EXPECT_TRUE(ignoredByName("wevora-account-0A1B2C3D-0000-1111-2222-333344445555.db-journal"));
  EXPECT_TRUE(ignoredByName("WEVORA-ACCOUNT-0A1B2C3D-0000-1111-2222-333344445555.DB"));
}

TEST(QuickCheckByName, TheShapeOfTheIdentifierIsRequiredCharacterByCharacter) {
  EXPECT_FALSE(ignoredByName("Wevora-Account-123.db"));
  EXPECT_FALSE(ignoredByName("Wevora-Account-0A1B2C3D-0000-1111-2222-33334444555.db"));
  EXPECT_FALSE(ignoredByName("Wevora-Account-0A1B2C3D0-000-1111-2222-333344445555.db"));
  EXPECT_FALSE(ignoredByName("xWevora-Account-0A1B2C3D-0000-1111-2222-333344445555.db"));
  EXPECT_TRUE(ignoredByName("Wevora-Account-\xC3\xA9xxxxxxx-****-?.?.-    -xxxxxxxxxxxx.db"));
}

TEST(QuickCheckByName, TheTwoExtensionsAreIgnoredCaseInsensitively) {
  EXPECT_TRUE(ignoredByName("Movie.PART"));
  EXPECT_TRUE(ignoredByName("x.DtaPart"));
  EXPECT_TRUE(ignoredByName("clip.PART"));
  EXPECT_TRUE(ignoredByName("a.tmp.part"));
}

TEST(QuickCheckByName, TheExtensionIsTheTextAfterTheLastDot) {
  EXPECT_FALSE(ignoredByName("a.part.tmp"));
  EXPECT_FALSE(ignoredByName("notes.partial"));
  EXPECT_FALSE(ignoredByName("part"));
  EXPECT_FALSE(ignoredByName("x.part."));
  EXPECT_TRUE(ignoredByName(".part"));
}

TEST(QuickCheckByName, AnEmptyNameIsNotIgnored) {
  EXPECT_FALSE(ignoredByName(""));
}

TEST(QuickCheckByName, TheListsAreAvailableBeforeAndAfterLoad) {
  EXPECT_TRUE(ignoredByName("a.part"));
  WVRFileTools::load();
  WVRFileTools::load();
  EXPECT_TRUE(ignoredByName("a.part"));
}

class FileRulesTest : public testing::Test {
 protected:
  std::string file(const std::string& name) {
    std::ofstream(folder.path(name)) << "x";
    return folder.path(name);
  }
  std::string makeFolder(const std::string& name) {
    fs::create_directories(folder.path(name));
    return folder.path(name);
  }
  std::string url(const std::string& name) const {
    return "file://" + platform::percentEncodedPath(folder.path(name));
  }
  void hide(const std::string& name) {
    std::ofstream(folder.path(".hidden"), std::ios::app) << name << '\n';
  }

  const platform::TemporaryFolder folder;
};

using InvisibilityTest = FileRulesTest;
using CombinedRuleTest = FileRulesTest;
using IncludedFolderTest = FileRulesTest;

TEST_F(InvisibilityTest, LeadingDotsAndTheHiddenFileMakeItemsInvisible) {
  const auto filtered = [](const std::string& path) {
    return WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(path, false);
  };
  hide("listed");
  EXPECT_TRUE(filtered(file(".dot")));
  EXPECT_TRUE(filtered(file("listed")));
  EXPECT_FALSE(filtered(file("plain")));
  EXPECT_FALSE(filtered(file("x.part")));
}

TEST_F(InvisibilityTest, AnItemThatCannotBeExaminedIsNotInvisible) {
  EXPECT_FALSE(
      WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(folder.path(".gone"), false));
  EXPECT_FALSE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath("", false));
  EXPECT_FALSE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtURL(url(".gone"), false));
  EXPECT_FALSE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtURL("http://x/.y", false));
  EXPECT_FALSE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtURL("", true));
}

TEST_F(InvisibilityTest, TheDirectoryFlagHasNoEffect) {
  file(".dot \xC3\xA9");
  for (const bool isDirectory : {false, true}) {
    EXPECT_TRUE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtURL(url(".dot \xC3\xA9"),
                                                                            isDirectory));
    EXPECT_TRUE(WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(
        folder.path(".dot \xC3\xA9"), isDirectory));
  }
}

TEST_F(CombinedRuleTest, AFolderIsIgnoredOnlyWhenInvisible) {
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(makeFolder("Backup.part")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(makeFolder(".hidden folder")));
}

TEST_F(CombinedRuleTest, AFileIsIgnoredWhenInvisibleOrByName) {
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(file(".dot")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(file("a.part")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(file("a.txt")));
}

TEST_F(CombinedRuleTest, AMissingItemIsIgnoredOnlyByName) {
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path("gone.dtapart")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path(".gone")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(""));
}

TEST_F(CombinedRuleTest, ALinkToAFolderCountsAsAFolderAndADanglingLinkAsMissing) {
  makeFolder("folder");
  fs::create_directory_symlink("folder", folder.path("link.part"));
  fs::create_symlink("nowhere", folder.path(".dangling"));
  fs::create_symlink("nowhere", folder.path("dangling.part"));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path("link.part")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path(".dangling")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path("dangling.part")));
}

TEST_F(CombinedRuleTest, WithAUrlTheVisibilityIsThatOfTheUrl) {
  const auto plain = file("plain");
  file(".dot");
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(plain, url(".dot")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path(".dot"), url("plain")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(file("a.part"), url("plain")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(makeFolder("b.part"), url("plain")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path("gone"), url(".dot")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(folder.path("x.part"), url(".dot")));
}

TEST_F(IncludedFolderTest, AFolderIsIgnoredByNameToo) {
  const auto clip = makeFolder("clip.part");
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(clip));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(clip, folder.path()));
}

TEST_F(IncludedFolderTest, ItemsBelowAnInvisibleFolderAreIgnored) {
  makeFolder("Docs/.hidden folder/deep");
  const auto inside = file("Docs/.hidden folder/deep/x.txt");
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(inside, folder.path("Docs")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(inside, folder.path("Docs/.hidden folder")));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(inside, folder.path("Docs/.hidden folder/deep")));
}

TEST_F(IncludedFolderTest, FoldersAboveTheItemAreNotIgnoredByName) {
  makeFolder("Docs/old.part");
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(file("Docs/old.part/x.txt"), folder.path("Docs")));
}

TEST_F(IncludedFolderTest, TheIncludedFolderAndTheFoldersAboveItAreNotChecked) {
  makeFolder(".above/.included/folder");
  const auto inside = file(".above/.included/folder/x");
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(inside, folder.path(".above/.included")));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(inside, folder.path(".above")));
}

TEST_F(IncludedFolderTest, TheFolderItselfAndShorterPathsAreNeverIgnored) {
  const auto hidden = file(".hidden.part");
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(hidden, hidden));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(hidden, hidden + "x"));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("", ""));
}

TEST_F(IncludedFolderTest, OnlyTheLengthsInCharactersAreCompared) {
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(file("x.part"), "/elsewhere"));
  // Nine characters in more bytes than the ten characters of the file's path.
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(
      "/gone.part", "/\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"));
}

TEST_F(IncludedFolderTest, AnInvisibleItemAndAnIgnoredNameAreIgnored) {
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(file(".x"), folder.path()));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored(folder.path("gone.part"), folder.path()));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored(folder.path("gone"), folder.path()));
}

TEST_F(IncludedFolderTest, TheWalkEndsAtTheTopOfThePath) {
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("/usr/gone", ""));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("gone", ""));
}

TEST(ContainerTest, TheFirstFolderThatContainsThePathWinsEvenOverADeeperOne) {
  const std::vector<std::string> folders = {"/Users/a", "/Users/a/Docs"};
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("/Users/a/Docs/x", folders), "/Users/a");
  const std::vector<std::string> deepestFirst = {"/Users/a/Docs", "/Users/a"};
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("/Users/a/Docs/x", deepestFirst),
            "/Users/a/Docs");
}

TEST(ContainerTest, IsEmptyWithoutAMatch) {
  const std::vector<std::string> folders = {"/Users/a/", "/Users/b"};
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("/Users/ab/x", folders), std::nullopt);
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("/Users/a", folders), "/Users/a/");
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("/Users/a", {}), std::nullopt);
  EXPECT_EQ(WVRFileTools::getContainerOfFileWithPath("", folders), std::nullopt);
}

TEST_F(FileRulesTest, ItemsAtAnyDepthOfTheTrashAreInsideIt) {
  makeFolder("home/.local/share/Trash/files/gone");
  const auto inside = file("home/.local/share/Trash/files/gone/x");
  const auto outside = file("home/x");
  const platform::TrashPlaces places{folder.path("home"), folder.path("home/.local/share/Trash"),
                                     1000};
  EXPECT_TRUE(WVRFileTools::fileIsInsideTrashAtFSPath(inside, places));
  EXPECT_FALSE(WVRFileTools::fileIsInsideTrashAtFSPath(outside, places));
  EXPECT_FALSE(WVRFileTools::fileIsInsideTrashAtFSPath(outside));
  EXPECT_FALSE(WVRFileTools::fileIsInsideTrashAtFSPath(inside + "missing", places));
  EXPECT_FALSE(WVRFileTools::fileIsInsideTrashAtFSPath(""));
}

TEST(FileShouldBeIgnored, AnEmptyPathIsNotIgnored) {
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("", "/a"));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("", ""));
  EXPECT_FALSE(WVRFileTools::fileShouldBeIgnored("/missing/a.part", ""));
  EXPECT_TRUE(WVRFileTools::fileShouldBeIgnored("/missing/a.part", "/"));
}

}  // namespace
}  // namespace wevora
