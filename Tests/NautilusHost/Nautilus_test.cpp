// The real file manager with the module in it: what it shows, told by its pixels.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/HostSession/BadgesTest.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"
#include "Tests/NautilusHost/Session.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::Agent;
using testing_host::agentTool;
using testing_host::kAccount;
using testing_host::MountedVolume;
using Session = testing_host::NautilusSession;
using View = Session::View;

class NautilusTest : public testing_host::VolumeTest {
 protected:
  NautilusTest() : VolumeTest(kAccount) {}

  /// A word that is younger than four seconds is not read again.
  static void letTheWordsAge(const Session& session) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(4500);
    ASSERT_TRUE(session.until([end] { return std::chrono::steady_clock::now() > end; }));
  }
};

/// Pixels that differ: in the frame, and beside it in the square as high as the frame.
std::pair<int, int> differencesAround(const platform::Bitmap& a, const platform::Bitmap& b,
                                      const platform::Rect& frame) {
  const auto index = [](double point) { return static_cast<std::size_t>(std::lround(point)); };
  const std::size_t right = index(frame.x + frame.width);
  int inside = 0;
  int beside = 0;
  for (std::size_t y = index(frame.y); y < index(frame.y + frame.height); ++y)
    for (std::size_t x = index(frame.x); x < index(frame.x + frame.height); ++x) {
      const std::size_t at = y * a.width() + x;
      if (a.pixels()[at] == b.pixels()[at]) continue;
      ++(x < right ? inside : beside);
    }
  return {inside, beside};
}

dev_t deviceOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

/// What a process has open or mapped of a device, a volume that is unmounted lazily included.
std::vector<std::string> openOn(dev_t device, pid_t process) {
  std::vector<std::string> open;
  const fs::path folder = "/proc/" + std::to_string(process);
  for (const char* kind : {"fd", "map_files"})
    for (const auto& file : fs::directory_iterator(folder / kind))
      if (deviceOf(file.path()) == device) open.push_back(fs::read_symlink(file.path()));
  for (const char* kind : {"cwd", "root"})
    if (deviceOf(folder / kind) == device) open.emplace_back(kind);
  return open;
}

template <View kView>
struct ShownView {
  using Session = testing_host::NautilusSession;
  static constexpr int kScrollSteps = 12;
  static Session start() { return Session(kView); }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.open(folder, items);
  }
};
// By these names the tests are listed.
struct Icons : ShownView<View::Icons> {};
struct List : ShownView<View::List> {};

}  // namespace

namespace testing_host {

using NautilusViews = testing::Types<Icons, List>;
INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, BadgesTest, NautilusViews);
INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, ScrolledBadgesTest, NautilusViews);

}  // namespace testing_host

namespace {

class NautilusViewTest : public NautilusTest, public testing::WithParamInterface<View> {};

INSTANTIATE_TEST_SUITE_P(Views, NautilusViewTest, testing::Values(View::Icons, View::List),
                         [](const auto& view) {
                           return view.param == View::Icons ? "Icons" : "List";
                         });

// What the agent tells.

TEST_P(NautilusViewTest, AChangeOfStateIsShownWhenTheAgentTellsOfIt) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("waiting.txt"), "blue"));
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  letTheWordsAge(session);
  mark("waiting.txt", "--synchronized");
  mark("kept.txt", "--pending");
  agent.tell("Changed", {path("waiting.txt"), path("kept.txt")});
  EXPECT_TRUE(session.shows(path("waiting.txt"), "green"));
  EXPECT_TRUE(session.shows(path("kept.txt"), "blue"));
}

// Names and places.

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

TEST_P(NautilusViewTest, AVolumeInsideAFolderHasItsOwnBadgesAndItsTopIsMarkedInTheFolder) {
  scan();  // the folder's database knows nothing of the volume's place
  MountedVolume inner(MountedVolume::Kind::tmpfs, path("Mounted"));
  ASSERT_TRUE(inner.mount());
  for (const char* name : {"kept.txt", "waiting.txt"}) std::ofstream(inner.path(name)) << "x";
  agentTool({"init", "--account", kAccount, "--volume", inner.path(), "--include", inner.path()});
  agentTool({"scan", "--account", kAccount, "--volume", inner.path()});
  agentTool({"mark", "--account", kAccount, "--synchronized", inner.path("kept.txt")});
  mark("kept.txt", "--pending");
  mark("waiting.txt", "--synchronized");
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(inner.path(), 3);
  session.openAnother(volume.path(), 5);
  EXPECT_TRUE(session.shows(inner.path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(inner.path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("kept.txt"), "blue", 1));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "green", 1));
  // What is learnt of a volume alone redraws nothing: it is seen with the next redraw.
  EXPECT_TRUE(session.until(
      [&] {
        agent.tell("Changed", {path("kept.txt")});
        return session.word(inner.path(), 1) == "red";
      },
      1));
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
  letTheWordsAge(session);
  mark("waiting.txt", "--synchronized");
  agent.tell("Changed", {path("waiting.txt")});
  for (const unsigned window : {0U, 1U})
    EXPECT_TRUE(session.shows(path("waiting.txt"), "green", window));
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
  session.addToTrash("thrown away.txt");
  session.addToRecent(path("kept.txt"));
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  unsigned window = 0;
  for (const auto& [place, items] :
       {std::pair("trash:///", 1U), std::pair("recent:///", 1U), std::pair("network:///", 0U),
        std::pair("other-locations:///", 0U)}) {
    session.openAnother(place, items);
    ++window;
    testing_host::Look look;
    ASSERT_TRUE(session.until(
        [&] { return (look = session.screen().look(window)).picture != nullptr; }, window))
        << place;
    EXPECT_GE(look.cells.size(), items) << place;
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

// Nothing that GTK would draw anew changes in a cell that is used again for such an item.
TEST_P(NautilusViewTest, ItemsOfOneNameThatASearchFindsHaveEachItsOwnBadge) {
  constexpr int kFolders = 150;
  std::vector<std::string> kept = {"mark", "--account", kAccount, "--synchronized"};
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder = "Many/" + std::to_string(1000 + i);
    fs::create_directories(path(folder));
    const std::string file = path(folder + "/same.txt");
    std::ofstream(file).flush();
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(i));
    if (i % 3 == 0) kept.push_back(file);
  }
  scan();
  agentTool(kept);
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(path("Many"), 8);
  session.screen().search("same");
  const auto found = [](const testing_host::Place& cell) {
    return cell.name.ends_with("/same.txt");
  };
  ASSERT_TRUE(session.until([&] {
    const auto cells = session.screen().cells();
    return cells.size() > 8 && std::ranges::all_of(cells, found);
  }));
  const auto isRight = [&](const testing_host::Place& cell, const platform::Bitmap& picture) {
    const auto name = cell.name.substr(0, cell.name.rfind('/'));
    const int number = std::stoi(name.substr(name.rfind('/') + 1)) - 1000;
    return session.badges().wordAt(picture, cell) == (number % 3 == 0 ? "green" : "blue");
  };
  const auto allAreRight = [&] {
    const auto look = session.screen().look();
    return !look.cells.empty() && look.picture &&
           std::ranges::all_of(look.cells,
                               [&](const auto& cell) { return isRight(cell, *look.picture); });
  };
  // The words are learnt with the first two orders; afterwards nothing is drawn because of them.
  for (int turn = 0; turn < 6; ++turn) {
    session.screen().activate(
        "view.sort", turn % 2 == 0 ? "('date_modified', true)" : "('date_modified', false)");
    session.screen().scroll(0);
    EXPECT_TRUE(session.until(allAreRight)) << turn;
  }
}

TEST_F(NautilusTest, ABadgeEndsWhereANarrowThumbnailEnds) {
  for (const char* name : {"tall.png", "wide.png"}) write(name);
  scan({"tall.png", "wide.png"});
  Session session(View::Icons);
  session.addThumbnail(path("tall.png"), 60, 256);
  session.addThumbnail(path("wide.png"), 256, 60);
  const Agent agent(kAccount);
  session.open(volume.path(), 6);
  EXPECT_TRUE(session.shows(path("wide.png"), "green"));
  const auto with = session.steadyPicture();
  const auto cells = session.screen().cells();
  const auto tall =
      std::ranges::find(cells, testing_host::uriOf(path("tall.png")), &testing_host::Place::name);
  ASSERT_TRUE(with && tall != cells.end());
  ASSERT_LT(tall->frame.width, 0.5 * tall->frame.height);
  testing_host::switchBadges(false);
  ASSERT_TRUE(session.shows(path("wide.png"), ""));
  const auto without = session.steadyPicture();
  ASSERT_TRUE(without);
  const auto [inside, beside] = differencesAround(*with, *without, tall->frame);
  EXPECT_GT(inside, 0);
  EXPECT_EQ(beside, 0);
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
  const auto hasPicture = [&](const std::string& label) {
    const auto picture = session.screen().picture();
    return std::ranges::any_of(session.screen().sidebar(), [&](const auto& row) {
      return picture && row.name == label && Session::isDriveAt(*picture, row);
    });
  };
  EXPECT_TRUE(session.until([&] { return kindOf("(w) Drive") == "GdkMemoryTexture"; }));
  EXPECT_TRUE(session.until([&] { return hasPicture("(w) Drive"); }));
  EXPECT_FALSE(hasPicture("(W) drive"));
  EXPECT_FALSE(hasPicture("Home"));
  EXPECT_EQ(kindOf("(W) drive"), "GThemedIcon");
  EXPECT_EQ(kindOf("Home"), "GThemedIcon");
}

// The module.

TEST_P(NautilusViewTest, WithoutTheModuleEachActionGivesTheSamePictureApartFromBadges) {
  for (int i = 0; i < 60; ++i) write("file " + std::to_string(100 + i));
  scan();
  using ImageCache = std::vector<std::pair<std::string, platform::BitmapRef>>;
  const auto picturesOf = [&](Session::Module module) {
    Session session(GetParam(), module);
    const Agent agent(kAccount);
    session.setWindowSize(700, 500);
    session.open(volume.path(), 6);
    if (module == Session::Module::Present) {
      EXPECT_TRUE(session.shows(path("Folder"), "red"));
      testing_host::switchBadges(false);
    }
    EXPECT_TRUE(session.shows(path("Folder"), ""));
    const auto& screen = session.screen();
    ImageCache pictures;
    const auto keep = [&](const char* action) {
      pictures.emplace_back(action, session.steadyPicture());
    };
    const auto firstKind = [&] {
      const auto cells = screen.cells();
      return cells.empty() ? std::string() : cells.front().kind;
    };
    keep("opened");
    screen.scroll(1);
    keep("scrolled down");
    screen.scroll(0);
    keep("scrolled up");
    screen.activate("view.select-all");
    keep("selected");
    screen.activate("view.invert-selection");
    keep("nothing selected");
    fs::rename(path("file 100"), path("a file"));
    EXPECT_TRUE(session.shows(path("a file"), ""));
    keep("renamed");
    fs::rename(path("a file"), path("file 100"));
    EXPECT_TRUE(session.shows(path("a file"), "not shown"));
    keep("renamed back");
    screen.activate("view.zoom-in");
    keep("zoomed in");
    screen.activate("view.zoom-out");
    keep("zoomed out");
    const std::string before = firstKind();
    screen.activate("slot.files-view-mode-toggle");
    EXPECT_TRUE(session.until([&] { return !firstKind().empty() && firstKind() != before; }));
    keep("in the other view");
    return pictures;
  };
  const auto with = picturesOf(Session::Module::Present);
  const auto without = picturesOf(Session::Module::Absent);
  ASSERT_EQ(with.size(), without.size());
  for (std::size_t i = 0; i < with.size(); ++i) {
    const auto& [action, picture] = with[i];
    const auto& other = without[i].second;
    ASSERT_TRUE(picture && other) << action;
    ASSERT_EQ(picture->width(), other->width()) << action;
    EXPECT_TRUE(std::ranges::equal(picture->pixels(), other->pixels())) << action;
  }
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
  const dev_t device = deviceOf(disk.path());
  // The sidebar lists a disk some time after the window is there.
  ASSERT_TRUE(session.until([&] { return session.screen().eject("Disk"); }));
  EXPECT_TRUE(session.until([&] { return !fs::exists(disk.path("waiting.txt")); }));
  EXPECT_FALSE(session.fileManager().status());
  for (const pid_t process : {session.fileManager().pid(), agent.pid()})
    EXPECT_EQ(openOn(device, process), std::vector<std::string>()) << process;
  // Nobody keeps a disk that is mounted again, though everybody looks at it for a moment.
  EXPECT_TRUE(disk.mount());
  EXPECT_TRUE(session.until([&] { return disk.unmount(); }));
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
