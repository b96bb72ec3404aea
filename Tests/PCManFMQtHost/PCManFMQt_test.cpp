// The real file manager with the plug-in in it: what its display shows, told by its pixels.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "Platform/Base/Version.h"
#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/ImageFiles.h"
#include "Tests/HostSession/BadgesTest.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"
#include "Tests/PCManFMQtHost/AgentVoice.h"
#include "Tests/PCManFMQtHost/Session.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::Agent;
using testing_host::agentTool;
using testing_host::AgentVoice;
using testing_host::kAccount;
using testing_host::MountedVolume;
using testing_host::QtSession;
using testing_host::switchBadges;
using testing_host::uriOf;
using Plugin = QtSession::Plugin;
using View = QtSession::View;

constexpr const char* kElsewhere = "/elsewhere/file";  // of which nothing is shown

class PCManFMQtTest : public testing_host::VolumeTest {
 protected:
  PCManFMQtTest() : VolumeTest(kAccount) {}
};

template <View kView>
struct ShownView {
  using Session = QtSession;
  static constexpr int kScrollSteps = 20;
  static Session start() { return Session({.view = kView}); }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.open(folder, items);
  }
};
// By these names the tests are listed.
struct Icon : ShownView<View::Icon> {};
struct Compact : ShownView<View::Compact> {};
struct Detailed : ShownView<View::Detailed> {};
struct Thumbnail : ShownView<View::Thumbnail> {};
struct Desktop {
  using Session = QtSession;
  static Session start() { return Session({}); }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.openDesktop(folder, items);
  }
};

}  // namespace

namespace testing_host {

using Windows = testing::Types<Icon, Compact, Detailed, Thumbnail>;
using WindowsAndDesktop = testing::Types<Icon, Compact, Detailed, Thumbnail, Desktop>;
INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, BadgesTest, WindowsAndDesktop);
INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, ScrolledBadgesTest, Windows);

}  // namespace testing_host

namespace {

class PCManFMQtViewTest : public PCManFMQtTest, public testing::WithParamInterface<View> {
 protected:
  static QtSession::Options options() { return {.view = GetParam()}; }
};

INSTANTIATE_TEST_SUITE_P(Views, PCManFMQtViewTest,
                         testing::Values(View::Icon, View::Compact, View::Detailed,
                                         View::Thumbnail),
                         [](const auto& view) {
                           switch (view.param) {
                             case View::Compact:
                               return "Compact";
                             case View::Detailed:
                               return "Detailed";
                             case View::Thumbnail:
                               return "Thumbnail";
                             case View::Icon:
                               break;
                           }
                           return "Icon";
                         });

// What the agent tells.

TEST_P(PCManFMQtViewTest, AChangeOfStateIsShownWhenTheAgentTellsOfIt) {
  scan();
  QtSession session(options());
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

// Names and places.

TEST_P(PCManFMQtViewTest, ANameThatIsNotUtf8HarmsNothing) {
  fs::create_directories(path("Odd"));
  write("Odd/fine");
  write("Odd/latin\xE9");
  scan({"Odd/fine"});
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(path("Odd"), 2);
  EXPECT_TRUE(session.shows(path("Odd/fine"), "green"));
  EXPECT_NE(session.word(path("Odd/latin\xE9")), "not shown");
  EXPECT_FALSE(session.fileManager().status());
}

TEST_P(PCManFMQtViewTest, TheRootOfAVolumeHasTheProductsMark) {
  scan();
  QtSession session(options());
  const Agent agent(kAccount);
  session.open("/media", 1);
  // Of the top of a volume nobody is told when it is known; the next drawing shows it.
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {volume.path()});
    return session.word(volume.path()) == "red";
  }));
}

TEST_P(PCManFMQtViewTest, AVolumeInsideAFolderIsNotTakenForTheFolder) {
  fs::create_directories(path("Mounted"));
  MountedVolume inner(MountedVolume::Kind::tmpfs, path("Mounted"));
  scan();
  ASSERT_TRUE(inner.mount());
  std::ofstream(inner.path("within.txt")) << "x";
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(inner.path(), 1);
  session.openAnother(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green", 1));
  EXPECT_EQ(session.word(inner.path("within.txt")), "");
}

TEST_P(PCManFMQtViewTest, ASymbolicLinkHarmsNothing) {
  fs::create_symlink("kept.txt", path("link"));
  fs::create_symlink("nowhere", path("dangling"));
  fs::create_symlink(".", path("round"));
  scan();
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(volume.path(), 7);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_FALSE(session.fileManager().status());
}

// Windows, tabs and other places.

TEST_P(PCManFMQtViewTest, TwoWindowsShowTheirBadgesAndBothFollowAChange) {
  scan();
  QtSession session(options());
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

TEST_P(PCManFMQtViewTest, AHiddenTabShowsTheChangeWhenItIsShownAgain) {
  scan();
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  session.screen().activate("actionNewTab");
  switchBadges(false);
  session.screen().activate("actionCloseTab");
  EXPECT_TRUE(session.shows(path("kept.txt"), ""));
  switchBadges(true);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
}

TEST_F(PCManFMQtTest, AViewThatAppearsLaterHasItsBadges) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  for (const char* view : {"actionDetailedList", "actionCompactView", "actionThumbnailView",
                           "actionIconView", "actionDetailedList"}) {
    session.screen().activate(view);
    EXPECT_TRUE(session.shows(path("kept.txt"), "green")) << view;
    EXPECT_TRUE(session.shows(path("waiting.txt"), "blue")) << view;
    EXPECT_TRUE(session.shows(path("Folder"), "red")) << view;
  }
}

TEST_P(PCManFMQtViewTest, BadgesAreRightAtEverySizeOfIcon) {
  scan();
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  for (int step = 0; step < 4; ++step) {
    EXPECT_TRUE(session.shows(path("kept.txt"), "green")) << step;
    EXPECT_TRUE(session.shows(path("waiting.txt"), "blue")) << step;
    EXPECT_TRUE(session.shows(path("Folder"), "red")) << step;
    session.screen().activate("actionZoomIn");
  }
}

TEST_F(PCManFMQtTest, OnADisplayOfTwoPixelsAPointTheBadgesHaveAPixelForEachOfThem) {
  scan();
  QtSession session({.scale = 2});
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
  EXPECT_EQ(session.screen().cells().front().frame.height, 96);
}

TEST_P(PCManFMQtViewTest, PlacesWithoutLocalPathsHaveNoBadgesAndHarmNothing) {
  scan();
  QtSession session(options());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  unsigned window = 0;
  for (const char* place : {"trash:///", "menu://applications/", "computer:///"}) {
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

// The sidebar.

/// How much of the drive's own image a row of the sidebar shows.
double shareOfDrivePicture(const QtSession& session, const std::string& label) {
  platform::Image image;
  image.addRepresentations(platform::imageRepsWithContentsOfFile(WEVORA_SIDEBAR_PICTURE));
  const auto picture = session.screen().picture();
  for (const auto& row : session.screen().sidebar()) {
    if (row.name != label || !picture) continue;
    const auto side = static_cast<std::size_t>(row.frame.height);
    const auto context =
        platform::BitmapContext::create({.width = side, .height = side, .flipped = false});
    const platform::CurrentTarget current(*context);
    image.drawInRect({0, 0, row.frame.height, row.frame.height}, {},
                     platform::CompositingOperation::SourceOver, 1.0);
    return testing_host::shareThere(*context->createImage(), *picture, row.frame);
  }
  return -1;
}

TEST_F(PCManFMQtTest, TheDrivesPlaceInTheSidebarHasItsOwnImageAndNoOtherHas) {
  scan();
  QtSession session({});
  session.addBookmark(path("Folder"), "(w) Drive");
  session.addBookmark(path("Folder/Inner"), "(W) drive");
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.until([&] { return shareOfDrivePicture(session, "(w) Drive") > 0.8; }));
  EXPECT_TRUE(session.until([&] { return shareOfDrivePicture(session, "(W) drive") >= 0; }));
  EXPECT_LT(shareOfDrivePicture(session, "(W) drive"), 0.5);
}

// The plug-in.

TEST_P(PCManFMQtViewTest, WithoutThePluginThePictureIsTheSameApartFromBadges) {
  scan();
  const auto pictureOf = [&](Plugin plugin) {
    QtSession session({.view = GetParam(), .plugin = plugin});
    const Agent agent(kAccount);
    session.open(volume.path(), 4);
    if (plugin == Plugin::Present) {
      EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
      switchBadges(false);
    }
    EXPECT_TRUE(session.shows(path("kept.txt"), ""));
    return session.steadyPicture();
  };
  const auto with = pictureOf(Plugin::Present);
  const auto without = pictureOf(Plugin::Absent);
  ASSERT_TRUE(with && without);
  ASSERT_EQ(with->width(), without->width());
  EXPECT_TRUE(std::ranges::equal(with->pixels(), without->pixels()));
}

TEST_F(PCManFMQtTest, ABundleThatIsMissingLeavesTheFileManagerAlone) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.hideBundle();
  session.open(volume.path(), 4);
  session.screen().nextFrame();
  EXPECT_EQ(session.word(path("kept.txt")), "");
  EXPECT_FALSE(session.fileManager().status());
}

/// The libraries of the system that a process has mapped.
std::set<std::string> librariesOf(pid_t process) {
  std::set<std::string> found;
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  for (std::string line; std::getline(maps, line);)
    for (const char* name : {"/finder_bundle.so", "/Hosts/pcmanfm-qt.so", "/wevora-pcmanfm-qt.so"})
      if (line.ends_with(name)) found.insert(name);
  return found;
}

/// The program, which is Qt's own but not the file manager, with the plug-in named to it.
testing_host::Outcome otherProgram(const std::string& program, testing_host::Environment more) {
  more.insert({{"QT_QPA_PLATFORM", "offscreen"}, {"QT_PLUGIN_PATH", WEVORA_QT_PLUGINS}});
  return testing_host::runToCompletion({program}, more);
}

// The file manager itself insists on GLib's main loop; a program of its name need not.
TEST_F(PCManFMQtTest, WhereQtDoesNotRunOnGLibThePluginSaysSoOnceAndDoesNothing) {
  const QtSession session({});
  const platform::TemporaryFolder folder;
  fs::copy_file(WEVORA_OTHER_PROGRAM, folder.path("pcmanfm-qt"));
  for (const char* plugins : {"wevora", "wevora,wevora"}) {
    const auto outcome = otherProgram(folder.path("pcmanfm-qt"),
                                      {{"QT_QPA_GENERIC_PLUGINS", plugins}, {"QT_NO_GLIB", "1"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors,
              "wevora: badges are disabled: Qt does not run GLib's main loop (unset QT_NO_GLIB)\n");
    EXPECT_EQ(outcome.output.find("finder_bundle"), std::string::npos) << outcome.output;
  }
}

TEST_F(PCManFMQtTest, TheFileManagerHoldsTheBundleThatIsInstalled) {
  QtSession session({});
  session.open(volume.path(), 3);
  EXPECT_TRUE(session.until([&] { return librariesOf(session.fileManager().pid()).size() == 3; }));
}

TEST_F(PCManFMQtTest, InAnotherProgramOfQtsThePluginDoesNothing) {
  const QtSession session({});
  const auto without = otherProgram(WEVORA_OTHER_PROGRAM, {{"QT_QPA_GENERIC_PLUGINS", ""}});
  const auto with = otherProgram(WEVORA_OTHER_PROGRAM, {{"QT_QPA_GENERIC_PLUGINS", "wevora"}});
  ASSERT_EQ(without.status, 0);
  ASSERT_EQ(with.status, 0);
  EXPECT_EQ(with.errors, without.errors);
  // As many threads and open files and the same picture; the plug-in itself is all that is mapped.
  EXPECT_TRUE(without.output.ends_with("libraries \n")) << without.output;
  const auto same = without.output.substr(0, without.output.size() - 1);
  EXPECT_EQ(with.output, same + "wevora-pcmanfm-qt.so\n");
}

// The loader.

testing_host::Outcome loader(const std::vector<std::string>& words) {
  std::vector<std::string> command = {WEVORA_LOADER};
  command.insert(command.end(), words.begin(), words.end());
  return testing_host::runToCompletion(command);
}
std::string lineOf(const QtSession& session, const std::string& state) {
  return "pcmanfm-qt (process " + std::to_string(session.fileManager().pid()) + "): " + state;
}

TEST_F(PCManFMQtTest, TheLoaderStartsTheFileManagerWithItsBadges) {
  scan();
  QtSession session({.plugin = Plugin::Absent, .loader = WEVORA_LOADER});
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto status = loader({"--status"});
  EXPECT_NE(
      status.output.find(lineOf(
          session, "holds version " + std::string(platform::productVersion()) + ", as installed")),
      std::string::npos)
      << status.output;
}

TEST_F(PCManFMQtTest, TheLoaderTellsOfAFileManagerWithoutTheBundle) {
  QtSession session({.plugin = Plugin::Absent});
  session.open(volume.path(), 3);
  const auto status = loader({"--status"});
  EXPECT_NE(status.output.find(lineOf(session, "runs without the bundle")), std::string::npos)
      << status.output;
}

TEST_F(PCManFMQtTest, AfterAnUpdateTheLoaderHasTheFileManagerQuitAndStartsItAgain) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  session.installVersion("77.1.2");
  const auto status = loader({"--status"});
  EXPECT_EQ(status.status, 3);
  EXPECT_NE(status.output.find(
                lineOf(session, "holds version " + std::string(platform::productVersion()) + "\n")),
            std::string::npos)
      << status.output;
  const auto restarted = session.runWithEnvironment({WEVORA_LOADER, "--restart"});
  EXPECT_EQ(restarted.status, 0) << restarted.errors;
  EXPECT_TRUE(session.untilOutside([&] { return session.fileManager().status() == 0; }));
  EXPECT_TRUE(session.untilOutside([&] {
    return loader({"--status"}).output.find("holds version 77.1.2, as installed") !=
           std::string::npos;
  })) << loader({"--status"}).output;
  session.runWithEnvironment({"pcmanfm-qt", "--quit"});
}

// Volumes.

TEST_F(PCManFMQtTest, ADiskWhoseFolderIsOpenIsUnmountedFromWithinTheFileManager) {
  // Only root may mount a disk image.
  MountedVolume disk(
      testing_host::mayMountDisks() ? MountedVolume::Kind::ext4 : MountedVolume::Kind::ramfs,
      "/media/Disk");
  ASSERT_TRUE(disk.mount());
  std::ofstream(disk.path("waiting.txt")) << "x";
  agentTool({"init", "--account", kAccount, "--volume", disk.path(), "--include", disk.path()});
  agentTool({"scan", "--account", kAccount, "--volume", disk.path()});
  QtSession session({});
  const Agent agent(kAccount);
  session.open(disk.path(), 2);
  ASSERT_TRUE(session.shows(disk.path("waiting.txt"), "blue"));
  // The host may come to know a disk some time after the window is there.
  ASSERT_TRUE(session.until([&] { return session.screen().eject("Disk"); }));
  EXPECT_TRUE(session.until([&] { return !fs::exists(disk.path("waiting.txt")); }));
  fs::remove(disk.path());  // other tests look into /media
  EXPECT_FALSE(session.fileManager().status());
}

// The desktop.

class PCManFMQtDesktopTest : public PCManFMQtTest {
 protected:
  /// How often the desktop has been painted, once it is not painted any more.
  static unsigned settledPaints(const QtSession& session) {
    constexpr int kStill = 200;  // frames: longer than what the bundle may have put off
    unsigned latest = session.screen().paints();
    int still = 0;
    session.until([&] {
      const unsigned now = session.screen().paints();
      still = now == latest ? still + 1 : 0;
      latest = now;
      return still >= kStill;
    });
    return latest;
  }

  struct Storm {
    bool isShort = false;
    unsigned paints = 0;  ///< when it is over
  };
  /// A hundred events, told with frames between them so that they take more than a second, and
  /// short where they are over when no reload that was put off for two can have come yet.
  static Storm raiseStorm(const QtSession& session, AgentVoice& voice) {
    constexpr int kEvents = 100;
    constexpr std::chrono::milliseconds kBetween{15};
    const auto begin = std::chrono::steady_clock::now();
    const auto took = [begin] { return std::chrono::steady_clock::now() - begin; };
    for (int i = 0; i < kEvents; ++i) {
      EXPECT_TRUE(voice.post("Changed", {kElsewhere}));
      while (took() < i * kBetween) session.screen().nextFrame();
    }
    session.screen().nextFrame();
    const unsigned paints = session.screen().paints();
    return {.isShort = took() < std::chrono::seconds(2), .paints = paints};
  }
};

TEST_F(PCManFMQtDesktopTest, OnADisplayOfTwoPixelsAPointTheBadgesAreSharp) {
  scan();
  QtSession session({.scale = 2});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

TEST_F(PCManFMQtDesktopTest, AChangeOfStateIsShownWhenTheAgentTellsOfIt) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("waiting.txt"), "blue"));
  mark("waiting.txt", "--synchronized");
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {path("waiting.txt")});
    return session.word(path("waiting.txt")) == "green";
  }));
}

TEST_F(PCManFMQtDesktopTest, AStormOfEventsReloadsTheDesktopAtOnceAndOnceMore) {
  scan();
  QtSession session({});
  AgentVoice voice;
  const Agent agent(kAccount);
  session.openDesktop(path("Folder"), 2);  // the host also paints when a database changes
  ASSERT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  unsigned before = 0;
  // What a busy machine draws out is another storm, which may reload the desktop more often.
  ASSERT_TRUE(session.untilOutside([&] {
    before = settledPaints(session);
    const auto storm = raiseStorm(session, voice);
    if (!storm.isShort) return false;
    EXPECT_EQ(storm.paints - before, 1U);
    return true;
  }));
  EXPECT_TRUE(session.until([&] { return session.screen().paints() - before >= 2; }));
  EXPECT_EQ(settledPaints(session) - before, 2U);
  EXPECT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
}

TEST_F(PCManFMQtDesktopTest, SwitchingBadgesOffReloadsTheDesktopAtOnceWhileAReloadIsPending) {
  scan();
  QtSession session({});
  AgentVoice voice;
  const Agent agent(kAccount);
  session.openDesktop(path("Folder"), 2);  // the host also paints when a database changes
  ASSERT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  const unsigned before = settledPaints(session);
  const auto comesTo = [&](unsigned reloads) {
    return session.until([&] { return session.screen().paints() - before >= reloads; });
  };
  ASSERT_TRUE(voice.post("Changed", {kElsewhere}));  // at once
  ASSERT_TRUE(comesTo(1));
  ASSERT_TRUE(voice.post("Changed", {kElsewhere}));  // put off
  session.screen().nextFrame();
  switchBadges(false);
  EXPECT_TRUE(session.shows(path("Folder/inside.txt"), ""));
  ASSERT_TRUE(comesTo(3));
  // Were it not forced, it would be one with the reload that is put off.
  EXPECT_EQ(settledPaints(session) - before, 3U);
}

TEST_F(PCManFMQtDesktopTest, SwitchingBadgesOnReloadsTheDesktopAtOnceAndWhenTheirWordsAreKnown) {
  scan();
  QtSession session({});
  AgentVoice voice;
  const Agent agent(kAccount);
  session.openDesktop(path("Folder"), 2);
  ASSERT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  switchBadges(false);
  EXPECT_TRUE(session.shows(path("Folder/inside.txt"), ""));
  const unsigned before = settledPaints(session);
  ASSERT_TRUE(voice.post("Changed", {kElsewhere}));
  ASSERT_TRUE(session.until([&] { return session.screen().paints() - before >= 1; }));
  switchBadges(true);
  EXPECT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  // Were it not forced, it would be one with the reload that the words ask for.
  EXPECT_EQ(settledPaints(session) - before, 3U);
}

TEST_F(PCManFMQtDesktopTest, ABadgeFollowsAnIconThatIsMoved) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto before = session.screen().look();
  const auto old =
      std::ranges::find(before.cells, uriOf(path("kept.txt")), &testing_host::Place::name);
  session.screen().move(uriOf(path("kept.txt")), 600, 400);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto look = session.screen().look();
  const auto moved =
      std::ranges::find(look.cells, uriOf(path("kept.txt")), &testing_host::Place::name);
  ASSERT_NE(moved, look.cells.end());
  EXPECT_GT(moved->frame.x, old->frame.x + 100);
  EXPECT_EQ(session.badges().wordAt(*look.picture, *old), "");
}

TEST_F(PCManFMQtDesktopTest, AnIconThatIsRenamedLosesTheBadgeOfItsOldName) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  fs::rename(path("kept.txt"), path("other.txt"));
  EXPECT_TRUE(session.shows(path("other.txt"), ""));
  scanAgain();
  mark("other.txt", "--synchronized");
  EXPECT_TRUE(session.until([&] {
    agent.tell("Changed", {path("other.txt")});
    return session.word(path("other.txt")) == "green";
  }));
}

TEST_F(PCManFMQtDesktopTest, ADeletedIconLeavesNoBadgeAndTheOthersKeepTheirs) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  fs::remove(path("kept.txt"));
  scanAgain();
  agent.tell("Removed", {path("kept.txt")});
  EXPECT_TRUE(session.shows(path("kept.txt"), "not shown"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
