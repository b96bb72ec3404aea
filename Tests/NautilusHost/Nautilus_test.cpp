// The real file manager with the module in it: what it shows, told by its pixels.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "Tests/Integration/InMountNamespace.h"
#include "Tests/Integration/MountedVolume.h"
#include "Tests/NautilusHost/Session.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::Agent;
using testing_host::agentTool;
using testing_host::MountedVolume;
using testing_host::Session;
using View = testing_host::Session::View;

constexpr const char* kAccount = "7";

class NautilusTest : public testing::Test {
 protected:
  NautilusTest() {
    mounted_ = volume.mount();
    fs::create_directories(path("Folder/Inner"));
    write("Folder/inside.txt");
    write("kept.txt");
    write("waiting.txt");
  }
  std::string path(const std::string& name) const { return volume.path(name); }
  void write(const std::string& name) const { std::ofstream(path(name)) << "x"; }

  /// The database of the volume as it is now: "kept.txt" and what the list names are backed up.
  void scan(std::vector<std::string> backedUp = {}) const {
    ASSERT_TRUE(mounted_);
    agentTool(
        {"init", "--account", kAccount, "--volume", volume.path(), "--include", volume.path()});
    agentTool({"scan", "--account", kAccount, "--volume", volume.path()});
    backedUp.emplace_back("kept.txt");
    for (const auto& name : backedUp) mark(name, "--synchronized");
  }
  void mark(const std::string& name, const std::string& as) const {
    agentTool({"mark", "--account", kAccount, as, path(name)});
  }
  std::string database() const { return path("Wevora-Account-7.db"); }

  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/Stick"};

 private:
  bool mounted_ = false;
};

class NautilusViewTest : public NautilusTest, public testing::WithParamInterface<View> {};

INSTANTIATE_TEST_SUITE_P(Views, NautilusViewTest, testing::Values(View::Icons, View::List),
                         [](const auto& view) {
                           return view.param == View::Icons ? "Icons" : "List";
                         });

TEST_P(NautilusViewTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
  EXPECT_EQ(session.word(database()), "");
}

// What the agent tells.

TEST_P(NautilusViewTest, AChangeOfStateIsShownWhenTheAgentTellsOfIt) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("waiting.txt"), "blue"));
  mark("waiting.txt", "--synchronized");
  mark("kept.txt", "--pending");
  // A word that is younger than four seconds is not read again; the agent goes on telling.
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {path("waiting.txt"), path("kept.txt")});
    return session.word(path("waiting.txt")) == "green" && session.word(path("kept.txt")) == "blue";
  }));
}

TEST_P(NautilusViewTest, BadgesThatAreSwitchedOffAreGoneAndComeBackWhenTheyAreSwitchedOn) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  testing_host::switchBadges(false);
  EXPECT_TRUE(session.shows(path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(path("waiting.txt"), ""));
  EXPECT_TRUE(session.shows(path("Folder"), ""));
  testing_host::switchBadges(true);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

TEST_P(NautilusViewTest, BadgesGoWithTheAgentAndComeBackWithIt) {
  scan();
  Session session(GetParam());
  Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  agent.kill();
  EXPECT_TRUE(session.shows(path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(path("Folder"), ""));
  const Agent another(kAccount);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

TEST_F(NautilusTest, AnAgentThatStartsAfterTheFileManagerIsFound) {
  scan();
  Session session(View::Icons);
  session.open(volume.path(), 4);
  EXPECT_EQ(session.word(path("kept.txt")), "");
  const Agent agent(kAccount);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
}

TEST_F(NautilusTest, AFileThatIsRemovedLeavesNoBadgeToTheOneThatTakesItsPlace) {
  scan();
  Session session(View::Icons);
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  fs::remove(path("kept.txt"));
  agentTool({"scan", "--account", kAccount, "--volume", volume.path()});
  agent.tell("Removed", {path("kept.txt")});
  EXPECT_TRUE(session.shows(path("kept.txt"), "not shown"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
}

// Cells that are used again.

TEST_P(NautilusViewTest, NoCellShowsTheBadgeOfTheItemThatItShowedBefore) {
  constexpr int kFiles = 5000;
  fs::create_directories(path("Many"));
  std::vector<std::string> kept = {"--account", kAccount, "--synchronized"};
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "Many/" + std::to_string(10'000 + i);
    std::ofstream(path(name)).flush();  // without contents: the volume is small
    if (i % 2 == 0) kept.push_back(path(name));
  }
  scan();
  kept.insert(kept.begin(), "mark");
  agentTool(kept);
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(path("Many"), 8);

  const auto isRight = [&](const testing_host::Place& cell, const platform::Bitmap& picture) {
    const bool even = (cell.name.back() - '0') % 2 == 0;
    const std::string word = session.badges().wordAt(picture, cell);
    EXPECT_TRUE(word.empty() || word == (even ? "green" : "blue")) << cell.name << " " << word;
    return !word.empty();
  };
  const auto allAreBadged = [&] {
    const auto look = session.screen().look();
    return !look.cells.empty() && look.picture &&
           std::ranges::all_of(look.cells,
                               [&](const auto& cell) { return isRight(cell, *look.picture); });
  };
  ASSERT_TRUE(session.until(allAreBadged));
  std::set<std::string> seen;
  for (int step = 0; step <= 24; ++step) {
    const double down = step / 12.0;
    session.screen().scroll(down <= 1 ? down : 2 - down);
    const auto look = session.screen().look();
    ASSERT_TRUE(look.picture);
    for (const auto& cell : look.cells) {
      isRight(cell, *look.picture);
      seen.insert(cell.name);
    }
  }
  EXPECT_TRUE(session.until(allAreBadged));
  EXPECT_GT(seen.size(), 100U);
}

TEST_P(NautilusViewTest, AnItemThatIsRenamedLosesTheBadgeOfItsOldName) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  fs::rename(path("kept.txt"), path("other.txt"));
  EXPECT_TRUE(session.shows(path("other.txt"), ""));
}

// Names and places.

TEST_P(NautilusViewTest, ItemsWithOddNamesHaveTheirBadges) {
  const std::vector<std::string> names = {"two  spaces",  "Caf\xC3\xA9 Zo\xC3\xAB",
                                          "Cafe\xCC\x81", "CAPITALS.TXT",
                                          "a:colon",      "a\nnewline",
                                          "per%20cent",   "question?",
                                          "hash#mark",    "quote's \"both\"",
                                          "back\\slash"};
  fs::create_directories(path("Odd"));
  std::vector<std::string> kept;
  for (const auto& name : names) {
    write("Odd/" + name);
    kept.push_back("Odd/" + name);
  }
  scan(kept);
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(path("Odd"), names.size());
  for (const auto& name : names) EXPECT_TRUE(session.shows(path("Odd/" + name), "green")) << name;
}

TEST_P(NautilusViewTest, ANameThatIsNotUtf8HasItsBadge) {
  fs::create_directories(path("Odd"));
  for (const char* name : {"Odd/fine", "Odd/latin\xE9", "Odd/latin\xE8", "Odd/\xFF\xFE"})
    write(name);
  fs::create_directories(path("Odd/folder\xE9"));
  scan({"Odd/fine", "Odd/latin\xE9"});
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(path("Odd"), 5);
  EXPECT_TRUE(session.shows(path("Odd/fine"), "green"));
  EXPECT_TRUE(session.shows(path("Odd/latin\xE9"), "green"));
  EXPECT_TRUE(session.shows(path("Odd/latin\xE8"), "blue"));
  EXPECT_TRUE(session.shows(path("Odd/\xFF\xFE"), "blue"));
  EXPECT_TRUE(session.shows(path("Odd/folder\xE9"), "red"));
  EXPECT_FALSE(session.fileManager().status());
}

TEST_P(NautilusViewTest, AFolderWhoseNameIsNotUtf8ShowsTheBadgesOfItsItems) {
  fs::create_directories(path("folder\xE9"));
  write("folder\xE9/kept");
  write("folder\xE9/waiting");
  scan({"folder\xE9/kept"});
  Session session(GetParam());
  const Agent agent(kAccount);
  // A word of a command line must be text; a URI is.
  session.open(testing_host::uriOf(path("folder\xE9")), 2);
  EXPECT_TRUE(session.shows(path("folder\xE9/kept"), "green"));
  EXPECT_TRUE(session.shows(path("folder\xE9/waiting"), "blue"));
}

TEST_P(NautilusViewTest, TheRootOfAVolumeHasTheProductsMark) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open("/media", 1);
  // What is learnt of a volume alone redraws nothing: it is seen with the next redraw.
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {path("kept.txt")});
    return session.word(volume.path()) == "red";
  }));
}

TEST_P(NautilusViewTest, AVolumeInsideAFolderIsNotTakenForTheFolder) {
  fs::create_directories(path("Mounted"));
  MountedVolume inner(MountedVolume::Kind::tmpfs, path("Mounted"));
  scan();
  ASSERT_TRUE(inner.mount());
  std::ofstream(inner.path("within.txt")) << "x";
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(inner.path(), 1);
  session.openAnother(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green", 1));
  EXPECT_EQ(session.word(inner.path("within.txt")), "");
}

TEST_P(NautilusViewTest, ASymbolicLinkHasTheBadgeOfItsOwnRecordAndNotOfWhereItLeads) {
  fs::create_symlink("waiting.txt", path("kept link"));
  fs::create_symlink("kept.txt", path("waiting link"));
  fs::create_symlink("Folder", path("to folder"));
  fs::create_symlink(".", path("round"));
  scan({"kept link"});
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 8);
  EXPECT_TRUE(session.shows(path("kept link"), "green"));
  EXPECT_TRUE(session.shows(path("waiting link"), "blue"));
  // A link is no folder, whatever it leads to.
  EXPECT_TRUE(session.shows(path("to folder"), "blue"));
  EXPECT_TRUE(session.shows(path("round"), "blue"));
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_FALSE(session.fileManager().status());
}

TEST_P(NautilusViewTest, ALinkThatLeadsNowhereHasNoBadgeWhateverItsRecord) {
  fs::create_symlink("nowhere", path("dangling"));
  fs::create_symlink("loop", path("loop"));
  scan({"dangling"});
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 6);
  // When its neighbour has its badge, what is known of the folder is known of the link.
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_EQ(session.word(path("dangling")), "");
  EXPECT_EQ(session.word(path("loop")), "");
  EXPECT_FALSE(session.fileManager().status());
}

TEST_P(NautilusViewTest, WhatIsReachedThroughALinkedFolderHasNoBadge) {
  fs::create_symlink("Folder", path("to folder"));
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(path("to folder"), 2);
  session.openAnother(volume.path(), 5);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green", 1));
  EXPECT_EQ(session.word(path("to folder/inside.txt")), "");
}

// Windows, tabs and other places.

TEST_P(NautilusViewTest, TwoWindowsShowTheirBadgesAndBothFollowAChange) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  session.openAnother(volume.path(), 4);
  for (const unsigned window : {0U, 1U})
    ASSERT_TRUE(session.shows(path("waiting.txt"), "blue", window));
  mark("waiting.txt", "--synchronized");
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {path("waiting.txt")});
    return session.word(path("waiting.txt"), 0) == "green" &&
           session.word(path("waiting.txt"), 1) == "green";
  }));
}

TEST_P(NautilusViewTest, AHiddenTabShowsTheChangeWhenItIsShownAgain) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  session.screen().activate("win.new-tab");
  ASSERT_TRUE(session.until([&] { return session.screen().cells().size() >= 4; }));
  testing_host::switchBadges(false);
  ASSERT_TRUE(session.shows(path("kept.txt"), ""));
  session.screen().activate("win.tab-previous");
  EXPECT_TRUE(session.shows(path("kept.txt"), ""));
  testing_host::switchBadges(true);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  session.screen().activate("win.tab-next");
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
}

TEST_P(NautilusViewTest, PlacesWithoutLocalPathsHaveNoBadgesAndHarmNothing) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  unsigned window = 0;
  for (const char* place : {"trash:///", "recent:///", "network:///", "other-locations:///"}) {
    session.openAnother(place, 0);
    ++window;
    testing_host::Look look;
    ASSERT_TRUE(session.until(
        [&] { return (look = session.screen().look(window)).picture != nullptr; }, window))
        << place;
    for (const auto& cell : look.cells)
      EXPECT_EQ(session.badges().wordAt(*look.picture, cell), "") << place << " " << cell.name;
  }
  EXPECT_FALSE(session.fileManager().status());
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
}

TEST_P(NautilusViewTest, WhatASearchFindsHasItsBadge) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  session.screen().search("kept");
  ASSERT_TRUE(session.until([&] { return session.screen().cells().size() == 1; }));
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
}

TEST_P(NautilusViewTest, ChangingTheViewKeepsTheBadges) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto kind = [&] {
    const auto cells = session.screen().cells();
    return cells.empty() ? "" : cells.front().kind;
  };
  const std::string before = kind();
  session.screen().activate("slot.files-view-mode-toggle");
  ASSERT_TRUE(session.until([&] { return !kind().empty() && kind() != before; }));
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

TEST_P(NautilusViewTest, BadgesAreRightAtEverySizeOfIcon) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  for (int step = 0; step < 4; ++step) {
    EXPECT_TRUE(session.shows(path("kept.txt"), "green")) << step;
    EXPECT_TRUE(session.shows(path("waiting.txt"), "blue")) << step;
    EXPECT_TRUE(session.shows(path("Folder"), "red")) << step;
    session.screen().activate("view.zoom-in");
  }
}

// Displays of two pixels a point.

TEST_P(NautilusViewTest, OnADisplayOfTwoPixelsAPointTheBadgesAreSharp) {
  scan();
  Session session(GetParam());
  session.setScale(2);
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  const std::map<std::string, std::string> words = {
      {path("kept.txt"), "green"}, {path("waiting.txt"), "blue"}, {path("Folder"), "red"}};
  for (const auto& [item, word] : words) EXPECT_TRUE(session.shows(item, word));

  const auto look = session.screen().look();
  ASSERT_TRUE(look.picture);
  ASSERT_EQ(look.scale, 2);
  for (const auto& [item, word] : words) {
    const auto cell =
        std::ranges::find(look.cells, testing_host::uriOf(item), &testing_host::Place::name);
    ASSERT_NE(cell, look.cells.end()) << item;
    // The picture for two pixels a point, in its very place; not the other one made larger.
    const double fine = session.badges().differenceAt(look, *cell, word, 2);
    const double coarse = session.badges().differenceAt(look, *cell, word, 1);
    EXPECT_LT(fine, 1) << item;
    EXPECT_GT(coarse, 4 * fine) << item;
  }
}

// The sidebar.

TEST_F(NautilusTest, TheDrivesPlaceInTheSidebarHasItsOwnImageAndNoOtherHas) {
  scan();
  Session session(View::Icons);
  session.addBookmark(path("Folder"), "(w) Drive");
  session.addBookmark(path("Folder/Inner"), "(W) drive");
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  const auto kindOf = [&](const std::string& label) {
    for (const auto& row : session.screen().sidebar())
      if (row.name == label) return row.kind;
    return std::string("not shown");
  };
  EXPECT_TRUE(session.until([&] { return kindOf("(w) Drive") == "GdkMemoryTexture"; }));
  EXPECT_EQ(kindOf("(W) drive"), "GThemedIcon");
  EXPECT_EQ(kindOf("Home"), "GThemedIcon");
}

// The module.

TEST_P(NautilusViewTest, WithoutTheModuleThePictureIsTheSameApartFromBadges) {
  scan();
  const auto pictureOf = [&](Session::Module module) {
    Session session(GetParam(), module);
    const Agent agent(kAccount);
    session.open(volume.path(), 4);
    if (module == Session::Module::Present) {
      EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
      testing_host::switchBadges(false);
    }
    EXPECT_TRUE(session.shows(path("kept.txt"), ""));
    return session.steadyPicture();
  };
  const auto with = pictureOf(Session::Module::Present);
  const auto without = pictureOf(Session::Module::Absent);
  ASSERT_TRUE(with && without);
  ASSERT_EQ(with->width(), without->width());
  EXPECT_TRUE(std::ranges::equal(with->pixels(), without->pixels()));
}

TEST_F(NautilusTest, ABundleThatIsMissingLeavesTheFileManagerAlone) {
  scan();
  Session session(View::Icons);
  const Agent agent(kAccount);
  session.hideBundle();
  session.open(volume.path(), 4);
  session.screen().nextFrame();
  EXPECT_EQ(session.word(path("kept.txt")), "");
  EXPECT_FALSE(session.fileManager().status());
}

// Volumes.

TEST_F(NautilusTest, ADiskWhoseFolderIsOpenIsEjectedFromWithinTheFileManager) {
  // Only root may mount a disk image.
  MountedVolume disk(
      testing_host::mayMountDisks() ? MountedVolume::Kind::ext4 : MountedVolume::Kind::ramfs,
      "/media/Disk");
  ASSERT_TRUE(disk.mount());
  std::ofstream(disk.path("waiting.txt")) << "x";
  agentTool({"init", "--account", kAccount, "--volume", disk.path(), "--include", disk.path()});
  agentTool({"scan", "--account", kAccount, "--volume", disk.path()});
  Session session(View::Icons);
  const Agent agent(kAccount);
  session.open(disk.path(), 2);
  ASSERT_TRUE(session.shows(disk.path("waiting.txt"), "blue"));
  ASSERT_TRUE(session.screen().eject("Disk"));
  EXPECT_TRUE(session.until([&] { return !fs::exists(disk.path("waiting.txt")); }));
  EXPECT_FALSE(session.fileManager().status());
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
