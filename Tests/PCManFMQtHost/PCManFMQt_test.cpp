// The real file manager with the plug-in in it: what its display shows, read from its pixels.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

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

constexpr const char* kElsewhere = "/elsewhere/file";  // which no view shows

template <View kView>
struct ShownView {
  using Session = QtSession;
  static constexpr bool kIsShared = true;
  static constexpr int kScrollSteps = 20;
  static std::unique_ptr<Session> start(Plugin plugin = Plugin::Present) {
    return std::make_unique<Session>(Session::Options{.view = kView, .plugin = plugin});
  }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.open(folder, items);
  }
  static std::vector<std::pair<std::string, unsigned>> virtualPlaces() {
    return {{"trash:///", 0U}, {"menu://applications/", 0U}, {"computer:///", 0U}};
  }
};
struct Icon : ShownView<View::Icon> {
  static constexpr const char* kName = "Icon";
};
struct Compact : ShownView<View::Compact> {
  static constexpr const char* kName = "Compact";
};
struct Detailed : ShownView<View::Detailed> {
  static constexpr const char* kName = "Detailed";
};
struct Thumbnail : ShownView<View::Thumbnail> {
  static constexpr const char* kName = "Thumbnail";
};
struct Desktop {
  using Session = QtSession;
  static constexpr const char* kName = "Desktop";
  static constexpr bool kIsShared = false;  // its folder is fixed when it starts
  static std::unique_ptr<Session> start() { return std::make_unique<Session>(Session::Options{}); }
  static void open(Session& session, const std::string& folder, std::size_t items) {
    session.openDesktop(folder, items);
  }
};
using Windows = testing::Types<Icon, Compact, Detailed, Thumbnail>;
using WindowsAndDesktop = testing::Types<Icon, Compact, Detailed, Thumbnail, Desktop>;

}  // namespace

namespace testing_host {

INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, BadgesTest, WindowsAndDesktop, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, WindowBadgesTest, Windows, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, OwnSessionTest, Windows, ViewNames);
INSTANTIATE_TYPED_TEST_SUITE_P(PCManFMQt, FileManagerTest, testing::Types<Icon>, ViewNames);

}  // namespace testing_host

namespace {

/// Each test has a session of its own.
class PCManFMQtTest : public testing_host::VolumeTest {
 protected:
  PCManFMQtTest() : VolumeTest(kAccount) {}
};

template <class View>
class PCManFMQtViewTest : public testing_host::SharedSessionTest<View> {};
TYPED_TEST_SUITE(PCManFMQtViewTest, Windows, testing_host::ViewNames);

/// Each test has a session of its own.
template <class View>
class PCManFMQtOwnSessionTest : public PCManFMQtTest {};
TYPED_TEST_SUITE(PCManFMQtOwnSessionTest, Windows, testing_host::ViewNames);

// Names and places.

TYPED_TEST(PCManFMQtViewTest, ANameThatIsNotUtf8CausesNoFailure) {
  fs::create_directories(this->path("Odd"));
  this->write("Odd/fine");
  this->write("Odd/latin\xE9");
  this->scan({"Odd/fine"});
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->path("Odd"), 2);
  EXPECT_TRUE(session.shows(this->path("Odd/fine"), "green"));
  EXPECT_NE(session.word(this->path("Odd/latin\xE9")), "not shown");
  EXPECT_FALSE(session.fileManager().status());
}

TYPED_TEST(PCManFMQtViewTest, AVolumeInsideAFolderIsNotTakenForTheFolder) {
  fs::create_directories(this->path("Mounted"));
  MountedVolume inner(MountedVolume::Kind::tmpfs, this->path("Mounted"));
  this->scan();
  ASSERT_TRUE(inner.mount());
  std::ofstream(inner.path("within.txt")) << "x";
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(inner.path(), 1);
  session.openAnother(this->volume.path(), 4);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green", 1));
  EXPECT_EQ(session.word(inner.path("within.txt")), "");
}

TYPED_TEST(PCManFMQtViewTest, ASymbolicLinkCausesNoFailure) {
  fs::create_symlink("kept.txt", this->path("link"));
  fs::create_symlink("nowhere", this->path("dangling"));
  fs::create_symlink(".", this->path("round"));
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 7);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_FALSE(session.fileManager().status());
}

// Windows, tabs and other places.

TYPED_TEST(PCManFMQtViewTest, AHiddenTabShowsTheChangeWhenItIsShownAgain) {
  this->scan();
  auto& session = this->session();
  const Agent agent(kAccount);
  session.open(this->volume.path(), 4);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  session.screen().activate("actionNewTab");
  switchBadges(false);
  session.screen().activate("actionCloseTab");
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  switchBadges(true);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
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

TEST_F(PCManFMQtTest, OnADisplayOfTwoPixelsForEachPointTheBadgesHaveTheFullResolution) {
  scan();
  QtSession session({.scale = 2});
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
  EXPECT_EQ(session.screen().cells().front().frame.height, 96);
}

// The sidebar.

/// The share of the drive's own image that a row of the sidebar shows; -1 without such a row.
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
    return testing_host::shareShown(*context->createImage(), *picture, row.frame);
  }
  return -1;
}

TEST_F(PCManFMQtTest, OnlyTheDrivesPlaceInTheSidebarHasTheDrivesImage) {
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

TYPED_TEST(PCManFMQtOwnSessionTest, WithoutThePluginThePictureIsTheSameApartFromBadges) {
  this->scan();
  const auto pictureOf = [&](Plugin plugin) {
    const auto started = TypeParam::start(plugin);
    auto& session = *started;
    const Agent agent(kAccount);
    session.open(this->volume.path(), 4);
    if (plugin == Plugin::Present) {
      EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
      switchBadges(false);
    }
    EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
    return session.steadyPicture();
  };
  const auto with = pictureOf(Plugin::Present);
  const auto without = pictureOf(Plugin::Absent);
  ASSERT_TRUE(with && without);
  ASSERT_EQ(with->width(), without->width());
  EXPECT_TRUE(std::ranges::equal(with->pixels(), without->pixels()));
}

/// The product's libraries that a process has mapped.
std::set<std::string> librariesOf(pid_t process) {
  std::set<std::string> found;
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  for (std::string line; std::getline(maps, line);)
    for (const char* name : {"/finder_bundle.so", "/Hosts/pcmanfm-qt.so", "/wevora-pcmanfm-qt.so"})
      if (line.ends_with(name)) found.insert(name);
  return found;
}

/// Runs a Qt program that is not the file manager with the plug-in in its environment.
testing_host::Outcome otherProgram(const std::string& program, testing_host::Environment more) {
  more.insert({{"QT_QPA_PLATFORM", "offscreen"}, {"QT_PLUGIN_PATH", WEVORA_QT_PLUGINS}});
  return testing_host::runToCompletion({program}, more);
}

// The file manager itself requires GLib's main loop; a program of the same name need not.
TEST_F(PCManFMQtTest, WhereQtDoesNotRunOnGLibThePluginReportsItOnceAndDoesNothing) {
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

TEST_F(PCManFMQtTest, InAnotherQtProgramThePluginDoesNothing) {
  const QtSession session({});
  const auto without = otherProgram(WEVORA_OTHER_PROGRAM, {{"QT_QPA_GENERIC_PLUGINS", ""}});
  const auto with = otherProgram(WEVORA_OTHER_PROGRAM, {{"QT_QPA_GENERIC_PLUGINS", "wevora"}});
  ASSERT_EQ(without.status, 0);
  ASSERT_EQ(with.status, 0);
  EXPECT_EQ(with.errors, without.errors);
  // The same number of threads and open files and the same picture; only the plug-in is mapped.
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

TEST_F(PCManFMQtTest, TheLoaderReportsAFileManagerWithoutTheBundle) {
  QtSession session({.plugin = Plugin::Absent});
  session.open(volume.path(), 3);
  const auto status = loader({"--status"});
  EXPECT_NE(status.output.find(lineOf(session, "runs without the bundle")), std::string::npos)
      << status.output;
}

TEST_F(PCManFMQtTest, AfterAnUpdateTheLoaderRestartsTheFileManager) {
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

// The desktop.

class PCManFMQtDesktopTest : public PCManFMQtTest {
 protected:
  /// How often the desktop has been painted, after the last paint.
  static unsigned settledPaints(const QtSession& session) {
    // Frames of at least 20 ms: longer than the two seconds for which a reload may be deferred.
    constexpr int kStill = 125;
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
  /// Posts a hundred events with frames between them, so that they take more than a second. The
  /// storm is short if it ends before a reload that was deferred for two seconds can occur.
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

TEST_F(PCManFMQtDesktopTest, OnADisplayOfTwoPixelsForEachPointTheBadgesAreSharp) {
  scan();
  QtSession session({.scale = 2});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
}

TEST_F(PCManFMQtDesktopTest, AStormOfEventsReloadsTheDesktopAtOnceAndOnceMore) {
  scan();
  QtSession session({});
  AgentVoice voice;
  const Agent agent(kAccount);
  session.openDesktop(path("Folder"), 2);  // without a database, whose changes the host paints too
  ASSERT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  unsigned before = 0;
  // On a busy machine a storm may take longer, and may reload the desktop more often: try again.
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
  session.openDesktop(path("Folder"), 2);  // without a database, whose changes the host paints too
  ASSERT_TRUE(session.shows(path("Folder/inside.txt"), "blue"));
  const unsigned before = settledPaints(session);
  const auto comesTo = [&](unsigned reloads) {
    return session.until([&] { return session.screen().paints() - before >= reloads; });
  };
  ASSERT_TRUE(voice.post("Changed", {kElsewhere}));  // reloads at once
  ASSERT_TRUE(comesTo(1));
  ASSERT_TRUE(voice.post("Changed", {kElsewhere}));  // deferred
  session.screen().nextFrame();
  switchBadges(false);
  EXPECT_TRUE(session.shows(path("Folder/inside.txt"), ""));
  ASSERT_TRUE(comesTo(3));
  // A reload that is not forced would be merged with the deferred one.
  EXPECT_EQ(settledPaints(session) - before, 3U);
}

TEST_F(PCManFMQtDesktopTest, SwitchingBadgesOnReloadsTheDesktopAtOnceAndWhenTheStatesAreKnown) {
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
  // A reload that is not forced would be merged with the one that the new states cause.
  EXPECT_EQ(settledPaints(session) - before, 3U);
}

TEST_F(PCManFMQtDesktopTest, ABadgeFollowsAnIconThatIsMoved) {
  scan();
  QtSession session({});
  const Agent agent(kAccount);
  session.openDesktop(volume.path(), 4);
  ASSERT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto before = session.screen().capture();
  const auto old =
      std::ranges::find(before.cells, uriOf(path("kept.txt")), &testing_host::Place::name);
  session.screen().move(uriOf(path("kept.txt")), 600, 400);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  const auto capture = session.screen().capture();
  const auto moved =
      std::ranges::find(capture.cells, uriOf(path("kept.txt")), &testing_host::Place::name);
  ASSERT_NE(moved, capture.cells.end());
  EXPECT_GT(moved->frame.x, old->frame.x + 100);
  EXPECT_EQ(session.badges().wordAt(*capture.picture, *old), "");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
