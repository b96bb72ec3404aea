#pragma once

// What the badges of every host must do, read from what its display shows. A host's own test
// program names its views (INSTANTIATE_TYPED_TEST_SUITE_P); each is a type with
//   using Session = ...;
//   static constexpr const char* kName = ...;       of the view, in the names of the tests
//   static constexpr bool kIsShared = ...;          whether a running file manager opens any folder
//   static std::unique_ptr<Session> start();        a session whose file manager does not run yet
//   static void open(Session&, const std::string& folder, std::size_t items);
// and, of views in windows,
//   static constexpr int kScrollSteps = ...;        from the top to the end
//   static std::vector<std::pair<std::string, unsigned>> virtualPlaces();  URI and number of items
// A session has
//   void openAnother(const std::string& folder, std::size_t items);        in a second window
//   void zoomIn();

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/HostSession/HostSession.h"
#include "Tests/HostSession/OpenFiles.h"
#include "Tests/HostSession/SharedSession.h"
#include "Tests/HostSession/VolumeTest.h"
#include "Tests/Mounts/InMountNamespace.h"

namespace wevora::testing_host {

inline constexpr const char* kAccount = "7";

/// Names typed tests after their views.
struct ViewNames {
  template <class View>
  static std::string GetName(int) {
    return View::kName;
  }
};

/// The tests of a suite share one file manager; each has its own volume, windows and agent.
template <class View>
class SharedSessionTest : public VolumeTest {
 protected:
  SharedSessionTest() : VolumeTest(kAccount) {}

  static typename View::Session& session() { return SharedSession<View>::get(); }
  /// Shows the volume in the only window.
  void open() const { View::open(session(), volume.path(), 4); }

  void TearDown() override {
    if (!View::kIsShared || this->HasFailure()) SharedSession<View>::end();
  }
  static void TearDownTestSuite() { SharedSession<View>::end(); }
};

template <class View>
class BadgesTest : public SharedSessionTest<View> {};
TYPED_TEST_SUITE_P(BadgesTest);

TYPED_TEST_P(BadgesTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
  EXPECT_EQ(session.word(this->database()), "");
}

TYPED_TEST_P(BadgesTest, BadgesThatAreSwitchedOffDisappearAndReturnWhenTheyAreSwitchedOn) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  switchBadges(false);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("Folder"), ""));
  switchBadges(true);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

TYPED_TEST_P(BadgesTest, BadgesDisappearWithTheAgentAndReturnWithIt) {
  this->scan();
  auto& session = this->session();
  Agent agent(kAccount);
  this->open();
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  agent.kill();
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("Folder"), ""));
  const Agent another(kAccount);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

TYPED_TEST_P(BadgesTest, AnAgentThatStartsAfterTheFileManagerIsFound) {
  this->scan();
  auto& session = this->session();
  this->open();
  EXPECT_EQ(session.word(this->path("kept.txt")), "");
  const Agent agent(kAccount);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
}

TYPED_TEST_P(BadgesTest, AChangeOfStateIsShownWhenTheAgentReportsIt) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  ASSERT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  session.ageStates();
  this->mark("waiting.txt", "--synchronized");
  this->mark("kept.txt", "--pending");
  agent.report("Changed", {this->path("waiting.txt"), this->path("kept.txt")});
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "blue"));
}

TYPED_TEST_P(BadgesTest, AFileThatIsRemovedLeavesNoBadgeToTheOneThatTakesItsPlace) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  std::filesystem::remove(this->path("kept.txt"));
  this->scanAgain();
  agent.report("Removed", {this->path("kept.txt")});
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "not shown"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

TYPED_TEST_P(BadgesTest, AnItemThatIsRenamedLosesTheBadgeOfItsOldNameAndGetsTheOneOfItsNewName) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  std::filesystem::rename(this->path("kept.txt"), this->path("other.txt"));
  EXPECT_TRUE(session.shows(this->path("other.txt"), ""));
  session.ageStates();
  this->scanAgain();
  this->mark("other.txt", "--synchronized");
  EXPECT_TRUE(session.until([&] {
    agent.report("Changed", {this->path("other.txt")});
    return session.word(this->path("other.txt")) == "green";
  }));
}

TYPED_TEST_P(BadgesTest, ItemsWithUnusualNamesHaveTheirBadges) {
  const std::vector<std::string> names = {"two  spaces",  "Caf\xC3\xA9 Zo\xC3\xAB",
                                          "Cafe\xCC\x81", "CAPITALS.TXT",
                                          "a:colon",      "a\nnewline",
                                          "per%20cent",   "question?",
                                          "hash#mark",    "quote's \"both\"",
                                          "back\\slash"};
  std::filesystem::create_directories(this->path("Odd"));
  std::vector<std::string> kept;
  for (const auto& name : names) {
    this->write("Odd/" + name);
    kept.push_back("Odd/" + name);
  }
  this->scan(kept);
  auto& session = this->session();
  const Agent agent(kAccount);
  TypeParam::open(session, this->path("Odd"), names.size());
  for (const auto& name : names)
    EXPECT_TRUE(session.shows(this->path("Odd/" + name), "green")) << name;
}

REGISTER_TYPED_TEST_SUITE_P(BadgesTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone,
                            BadgesThatAreSwitchedOffDisappearAndReturnWhenTheyAreSwitchedOn,
                            BadgesDisappearWithTheAgentAndReturnWithIt,
                            AnAgentThatStartsAfterTheFileManagerIsFound,
                            AChangeOfStateIsShownWhenTheAgentReportsIt,
                            AFileThatIsRemovedLeavesNoBadgeToTheOneThatTakesItsPlace,
                            AnItemThatIsRenamedLosesTheBadgeOfItsOldNameAndGetsTheOneOfItsNewName,
                            ItemsWithUnusualNamesHaveTheirBadges);

/// Of views in windows, which can show any folder and more than the display has room for.
template <class View>
class WindowBadgesTest : public SharedSessionTest<View> {};
TYPED_TEST_SUITE_P(WindowBadgesTest);

TYPED_TEST_P(WindowBadgesTest, TheRootOfAVolumeHasTheProductsMark) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  TypeParam::open(session, "/media", 1);
  // The state of a volume's root alone causes no redraw: the mark is seen with the next one.
  EXPECT_TRUE(session.until([&] {
    agent.report("Changed", {this->volume.path(), this->path("kept.txt")});
    return session.word(this->volume.path()) == "red";
  }));
}

TYPED_TEST_P(WindowBadgesTest, TwoWindowsShowTheirBadgesAndBothFollowAChange) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  this->open();
  session.openAnother(this->volume.path(), 4);
  for (const unsigned window : {0U, 1U})
    ASSERT_TRUE(session.shows(this->path("waiting.txt"), "blue", window));
  session.ageStates();
  this->mark("waiting.txt", "--synchronized");
  agent.report("Changed", {this->path("waiting.txt")});
  for (const unsigned window : {0U, 1U})
    EXPECT_TRUE(session.shows(this->path("waiting.txt"), "green", window));
}

TYPED_TEST_P(WindowBadgesTest, NoCellShowsTheBadgeOfTheItemThatItShowedBefore) {
  constexpr int kFiles = 5000;
  std::filesystem::create_directories(this->path("Many"));
  std::vector<std::string> kept;
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "Many/" + std::to_string(10'000 + i);
    std::ofstream(this->path(name)).flush();  // empty: the volume is small
    if (i % 2 == 0) kept.push_back(name);
  }
  this->scan(kept);
  auto& session = this->session();
  const Agent agent(kAccount);
  TypeParam::open(session, this->path("Many"), 8);

  const auto isRight = [&](const Place& cell, const platform::Bitmap& picture) {
    const bool even = (cell.name.back() - '0') % 2 == 0;
    const std::string word = session.badges().wordAt(picture, cell);
    EXPECT_TRUE(word.empty() || word == (even ? "green" : "blue")) << cell.name << " " << word;
    return !word.empty();
  };
  const auto allAreBadged = [&] {
    const auto capture = session.screen().capture();
    return !capture.cells.empty() && capture.picture &&
           std::ranges::all_of(capture.cells,
                               [&](const auto& cell) { return isRight(cell, *capture.picture); });
  };
  ASSERT_TRUE(session.until(allAreBadged));
  std::set<std::string> seen;
  for (int step = 0; step <= 2 * TypeParam::kScrollSteps; ++step) {
    const double down = static_cast<double>(step) / TypeParam::kScrollSteps;
    session.screen().scroll(down <= 1 ? down : 2 - down);
    const auto capture = session.screen().capture();
    ASSERT_TRUE(capture.picture);
    for (const auto& cell : capture.cells) {
      isRight(cell, *capture.picture);
      seen.insert(cell.name);
    }
  }
  EXPECT_TRUE(session.until(allAreBadged));
  EXPECT_GT(seen.size(), 100U);
}

REGISTER_TYPED_TEST_SUITE_P(WindowBadgesTest, TheRootOfAVolumeHasTheProductsMark,
                            TwoWindowsShowTheirBadgesAndBothFollowAChange,
                            NoCellShowsTheBadgeOfTheItemThatItShowedBefore);

/// Of views in windows; each test changes its session, and has one of its own.
template <class View>
class OwnSessionTest : public VolumeTest {
 protected:
  OwnSessionTest() : VolumeTest(kAccount) {}
};
TYPED_TEST_SUITE_P(OwnSessionTest);

TYPED_TEST_P(OwnSessionTest, BadgesAreRightAtEverySizeOfIcon) {
  this->scan();
  const auto session = TypeParam::start();
  const Agent agent(kAccount);
  session->open(this->volume.path(), 4);
  for (int step = 0; step < 4; ++step) {
    EXPECT_TRUE(session->shows(this->path("kept.txt"), "green")) << step;
    EXPECT_TRUE(session->shows(this->path("waiting.txt"), "blue")) << step;
    EXPECT_TRUE(session->shows(this->path("Folder"), "red")) << step;
    session->zoomIn();
  }
}

TYPED_TEST_P(OwnSessionTest, PlacesWithoutLocalPathsHaveNoBadgesAndCauseNoFailure) {
  this->scan();
  const auto session = TypeParam::start();
  session->addToTrash("thrown away.txt");
  session->addToRecent(this->path("kept.txt"));
  session->provideVirtualPlaces();
  const Agent agent(kAccount);
  session->open(this->volume.path(), 4);
  ASSERT_TRUE(session->shows(this->path("kept.txt"), "green"));
  unsigned window = 0;
  for (const auto& [place, items] : TypeParam::virtualPlaces()) {
    session->openAnother(place, items);
    ++window;
    Capture capture;
    ASSERT_TRUE(session->until(
        [&] { return (capture = session->screen().capture(window)).picture != nullptr; }, window))
        << place;
    EXPECT_GE(capture.cells.size(), items) << place;
    for (const auto& cell : capture.cells)
      EXPECT_EQ(session->badges().wordAt(*capture.picture, cell), "") << place << " " << cell.name;
  }
  EXPECT_FALSE(session->fileManager().status());
  EXPECT_TRUE(session->shows(this->path("kept.txt"), "green"));
}

REGISTER_TYPED_TEST_SUITE_P(OwnSessionTest, BadgesAreRightAtEverySizeOfIcon,
                            PlacesWithoutLocalPathsHaveNoBadgesAndCauseNoFailure);

/// Of one view of each host.
template <class View>
class FileManagerTest : public VolumeTest {
 protected:
  FileManagerTest() : VolumeTest(kAccount) {}
};
TYPED_TEST_SUITE_P(FileManagerTest);

TYPED_TEST_P(FileManagerTest, ABundleThatIsMissingDoesNotAffectTheFileManager) {
  this->scan();
  const auto session = TypeParam::start();
  const Agent agent(kAccount);
  session->hideBundle();
  session->open(this->volume.path(), 4);
  session->screen().nextFrame();
  EXPECT_EQ(session->word(this->path("kept.txt")), "");
  EXPECT_FALSE(session->fileManager().status());
}

TYPED_TEST_P(FileManagerTest, ADiskWhoseFolderIsOpenIsUnmountedFromWithinTheFileManager) {
  // Only root may mount a disk image.
  MountedVolume disk(mayMountDisks() ? MountedVolume::Kind::ext4 : MountedVolume::Kind::ramfs,
                     "/media/Disk");
  ASSERT_TRUE(disk.mount());
  std::ofstream(disk.path("waiting.txt")) << "x";
  agentTool({"init", "--account", kAccount, "--volume", disk.path(), "--include", disk.path()});
  agentTool({"scan", "--account", kAccount, "--volume", disk.path()});
  const auto session = TypeParam::start();
  const Agent agent(kAccount);
  session->open(disk.path(), 2);
  ASSERT_TRUE(session->shows(disk.path("waiting.txt"), "blue"));
  const dev_t device = deviceOf(disk.path());
  // The file manager may list a disk some time after the window is there.
  ASSERT_TRUE(session->until([&] { return session->screen().eject("Disk"); }));
  EXPECT_TRUE(session->until([&] { return !std::filesystem::exists(disk.path("waiting.txt")); }));
  EXPECT_FALSE(session->fileManager().status());
  // An ordinary user may not list the files of every process. That the disk could be unmounted, and
  // can be below, proves it there.
  for (const pid_t process : {session->fileManager().pid(), agent.pid()})
    EXPECT_EQ(openOn(device, process).value_or(std::vector<std::string>()),
              std::vector<std::string>())
        << process;
  // Nothing keeps a disk that is mounted again busy, though it is probed for a moment.
  EXPECT_TRUE(disk.mount());
  EXPECT_TRUE(session->until([&] { return disk.unmount(); }));
}

REGISTER_TYPED_TEST_SUITE_P(FileManagerTest, ABundleThatIsMissingDoesNotAffectTheFileManager,
                            ADiskWhoseFolderIsOpenIsUnmountedFromWithinTheFileManager);

}  // namespace wevora::testing_host
