// The real file manager with the module in it: what it shows, read from its pixels.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

/// Counts the pixels that differ: in the frame, and next to it in the square as high as the frame.
std::pair<int, int> differencesAround(const platform::Bitmap& a, const platform::Bitmap& b,
                                      const platform::Rect& frame) {
  const auto index = [](double point) { return static_cast<std::size_t>(std::lround(point)); };
  const std::size_t right = index(frame.x + frame.width);
  int inside = 0;
  int outside = 0;
  for (std::size_t y = index(frame.y); y < index(frame.y + frame.height); ++y)
    for (std::size_t x = index(frame.x); x < index(frame.x + frame.height); ++x) {
      const std::size_t at = y * a.width() + x;
      if (a.pixels()[at] == b.pixels()[at]) continue;
      ++(x < right ? inside : outside);
    }
  return {inside, outside};
}

template <View kView>
struct ShownView {
  using Session = testing_host::NautilusSession;
  static constexpr bool kIsShared = true;
  static constexpr View kKind = kView;
  static constexpr int kScrollSteps = 12;
  static std::unique_ptr<Session> start() {
    auto session = std::make_unique<Session>(kView);
    session->hideShadows();
    return session;
  }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.open(folder, items);
  }
  static std::vector<std::pair<std::string, unsigned>> virtualPlaces() {
    // The trash belongs to GVfs itself, the recently used files to its back ends.
    const bool hasRecent = fs::exists("/usr/share/gvfs/mounts/recent.mount");
    return {{"trash:///", 1U},
            {"recent:///", hasRecent ? 1U : 0U},
            {"network:///", 0U},
            {"other-locations:///", 0U}};
  }
};
struct Icons : ShownView<View::Icons> {
  static constexpr const char* kName = "Icons";
};
struct List : ShownView<View::List> {
  static constexpr const char* kName = "List";
};
using Views = testing::Types<Icons, List>;

}  // namespace

namespace testing_host {

INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, BadgesTest, Views, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, WindowBadgesTest, Views, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, OwnSessionTest, Views, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(Nautilus, FileManagerTest, testing::Types<Icons>, ViewNames);

}  // namespace testing_host

namespace {

/// Each test has a session of its own.
class NautilusTest : public testing_host::VolumeTest {
 protected:
  NautilusTest() : VolumeTest(kAccount) {}
};

template <class View>
class NautilusViewTest : public testing_host::SharedSessionTest<View> {};
TYPED_TEST_SUITE(NautilusViewTest, Views, testing_host::ViewNames);

/// Each test has a session of its own.
template <class View>
class NautilusOwnSessionTest : public NautilusTest {};
TYPED_TEST_SUITE(NautilusOwnSessionTest, Views, testing_host::ViewNames);

// Names and places.

TYPED_TEST(NautilusViewTest, ANameThatIsNotUtf8HasItsBadge) {
  fs::create_directories(this->path("Odd"));
  for (const char* name : {"Odd/fine", "Odd/latin\xE9", "Odd/latin\xE8", "Odd/\xFF\xFE"})
    this->write(name);
  fs::create_directories(this->path("Odd/folder\xE9"));
  this->scan({"Odd/fine", "Odd/latin\xE9"});
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->path("Odd"), 5);
  EXPECT_TRUE(session.shows(this->path("Odd/fine"), "green"));
  EXPECT_TRUE(session.shows(this->path("Odd/latin\xE9"), "green"));
  EXPECT_TRUE(session.shows(this->path("Odd/latin\xE8"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Odd/\xFF\xFE"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Odd/folder\xE9"), "red"));
  EXPECT_FALSE(session.fileManager().status());
}

TYPED_TEST(NautilusViewTest, AFolderWhoseNameIsNotUtf8ShowsTheBadgesOfItsItems) {
  fs::create_directories(this->path("folder\xE9"));
  this->write("folder\xE9/kept");
  this->write("folder\xE9/waiting");
  this->scan({"folder\xE9/kept"});
  auto& session = this->session();
  const Agent agent(kAccount);
  // An argument of a command line must be valid text; a URI is.
  session.open(testing_host::uriOf(this->path("folder\xE9")), 2);
  EXPECT_TRUE(session.shows(this->path("folder\xE9/kept"), "green"));
  EXPECT_TRUE(session.shows(this->path("folder\xE9/waiting"), "blue"));
}

TYPED_TEST(NautilusViewTest, AVolumeInsideAFolderHasItsOwnBadgesAndItsTopIsMarkedInTheFolder) {
  this->scan();  // the folder's database does not contain the volume
  MountedVolume inner(MountedVolume::Kind::tmpfs, this->path("Mounted"));
  ASSERT_TRUE(inner.mount());
  for (const char* name : {"kept.txt", "waiting.txt"}) std::ofstream(inner.path(name)) << "x";
  agentTool({"init", "--account", kAccount, "--volume", inner.path(), "--include", inner.path()});
  agentTool({"scan", "--account", kAccount, "--volume", inner.path()});
  agentTool({"mark", "--account", kAccount, "--synchronized", inner.path("kept.txt")});
  this->mark("kept.txt", "--pending");
  this->mark("waiting.txt", "--synchronized");
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(inner.path(), 3);
  session.openAnother(this->volume.path(), 5);
  EXPECT_TRUE(session.shows(inner.path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(inner.path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "blue", 1));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "green", 1));
  // The state of a volume's root alone causes no redraw: the mark is seen with the next one.
  EXPECT_TRUE(session.until(
      [&] {
        agent.report("Changed", {this->path("kept.txt")});
        return session.word(inner.path(), 1) == "red";
      },
      1));
}

TYPED_TEST(NautilusViewTest, ASymbolicLinkHasTheBadgeOfItsOwnRecordAndNotOfItsTarget) {
  fs::create_symlink("waiting.txt", this->path("kept link"));
  fs::create_symlink("kept.txt", this->path("waiting link"));
  fs::create_symlink("Folder", this->path("to folder"));
  fs::create_symlink(".", this->path("round"));
  this->scan({"kept link"});
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 8);
  EXPECT_TRUE(session.shows(this->path("kept link"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting link"), "blue"));
  // A link is not a folder, even if its target is one.
  EXPECT_TRUE(session.shows(this->path("to folder"), "blue"));
  EXPECT_TRUE(session.shows(this->path("round"), "blue"));
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_FALSE(session.fileManager().status());
}

TYPED_TEST(NautilusViewTest, ALinkWithoutATargetHasNoBadgeWhetherOrNotItIsBackedUp) {
  fs::create_symlink("nowhere", this->path("dangling"));
  fs::create_symlink("loop", this->path("loop"));
  this->scan({"dangling"});
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 6);
  // Once another item has its badge, the states of the whole folder have been read.
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_EQ(session.word(this->path("dangling")), "");
  EXPECT_EQ(session.word(this->path("loop")), "");
  EXPECT_FALSE(session.fileManager().status());
}

TYPED_TEST(NautilusViewTest, AnItemInsideALinkedFolderHasNoBadge) {
  fs::create_symlink("Folder", this->path("to folder"));
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->path("to folder"), 2);
  session.openAnother(this->volume.path(), 5);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green", 1));
  EXPECT_EQ(session.word(this->path("to folder/inside.txt")), "");
}

// Windows, tabs and other places.

TYPED_TEST(NautilusViewTest, AHiddenTabShowsTheChangeWhenItIsShownAgain) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 4);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  session.screen().activate("win.new-tab");
  ASSERT_TRUE(session.until([&] { return session.screen().cells().size() >= 4; }));
  testing_host::switchBadges(false);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), ""));
  session.screen().activate("win.tab-previous");
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  testing_host::switchBadges(true);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  session.screen().activate("win.tab-next");
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
}

TYPED_TEST(NautilusViewTest, ASearchResultHasItsBadge) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 4);
  session.screen().search("kept");
  ASSERT_TRUE(session.until([&] { return session.screen().cells().size() == 1; }));
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
}

// When a cell is reused for another item of the same name, GTK has no reason to redraw it.
TYPED_TEST(NautilusViewTest, SearchResultsOfTheSameNameHaveEachTheirOwnBadge) {
  constexpr int kFolders = 150;
  std::vector<std::string> kept = {"mark", "--account", kAccount, "--synchronized"};
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder = "Many/" + std::to_string(1000 + i);
    fs::create_directories(this->path(folder));
    const std::string file = this->path(folder + "/same.txt");
    std::ofstream(file).flush();
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(i));
    if (i % 3 == 0) kept.push_back(file);
  }
  this->scan();
  agentTool(kept);
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->path("Many"), 8);
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
    const auto capture = session.screen().capture();
    return !capture.cells.empty() && capture.picture &&
           std::ranges::all_of(capture.cells,
                               [&](const auto& cell) { return isRight(cell, *capture.picture); });
  };
  // The first two orders read all states; after that, no new state causes a redraw.
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
  const auto [inside, outside] = differencesAround(*with, *without, tall->frame);
  EXPECT_GT(inside, 0);
  EXPECT_EQ(outside, 0);
}

TYPED_TEST(NautilusOwnSessionTest, ChangingTheViewKeepsTheBadges) {
  this->scan();
  const auto started = TypeParam::start();
  auto& session = *started;
  const Agent agent(kAccount);
  session.open(this->volume.path(), 4);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  const auto kind = [&] {
    const auto cells = session.screen().cells();
    return cells.empty() ? "" : cells.front().kind;
  };
  const std::string before = kind();
  session.screen().activate("slot.files-view-mode-toggle");
  ASSERT_TRUE(session.until([&] { return !kind().empty() && kind() != before; }));
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

// Displays of two pixels for each point.

TYPED_TEST(NautilusOwnSessionTest, OnADisplayOfTwoPixelsForEachPointTheBadgesAreSharp) {
  this->scan();
  const auto started = TypeParam::start();
  auto& session = *started;
  session.setScale(2);
  const Agent agent(kAccount);
  session.open(this->volume.path(), 4);
  const std::map<std::string, std::string> words = {{this->path("kept.txt"), "green"},
                                                    {this->path("waiting.txt"), "blue"},
                                                    {this->path("Folder"), "red"}};
  for (const auto& [item, word] : words) EXPECT_TRUE(session.shows(item, word));

  const auto capture = session.screen().capture();
  ASSERT_TRUE(capture.picture);
  ASSERT_EQ(capture.scale, 2);
  for (const auto& [item, word] : words) {
    const auto cell =
        std::ranges::find(capture.cells, testing_host::uriOf(item), &testing_host::Place::name);
    ASSERT_NE(cell, capture.cells.end()) << item;
    // The image for two pixels for each point, at the exact place; not the other one enlarged.
    const double fine = session.badges().differenceAt(capture, *cell, word, 2);
    const double coarse = session.badges().differenceAt(capture, *cell, word, 1);
    EXPECT_LT(fine, 1) << item;
    EXPECT_GT(coarse, 4 * fine) << item;
  }
}

// The sidebar.

TEST_F(NautilusTest, OnlyTheDrivesPlaceInTheSidebarHasTheDrivesImage) {
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

TYPED_TEST(NautilusOwnSessionTest, WithoutTheModuleEachActionGivesTheSamePictureApartFromBadges) {
  for (int i = 0; i < 60; ++i) this->write("file " + std::to_string(100 + i));
  this->scan();
  using ImageCache = std::vector<std::pair<std::string, platform::BitmapRef>>;
  const auto picturesOf = [&](Session::Module module) {
    Session session(TypeParam::kKind, module);
    const Agent agent(kAccount);
    session.setWindowSize(900, 500);  // room for the whole path in the header bar
    session.open(this->volume.path(), 6);
    if (module == Session::Module::Present) {
      EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
      testing_host::switchBadges(false);
    }
    EXPECT_TRUE(session.shows(this->path("Folder"), ""));
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
    fs::rename(this->path("file 100"), this->path("a file"));
    EXPECT_TRUE(session.shows(this->path("a file"), ""));
    keep("renamed");
    fs::rename(this->path("a file"), this->path("file 100"));
    EXPECT_TRUE(session.shows(this->path("a file"), "not shown"));
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

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
