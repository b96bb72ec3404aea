// VolumeKeeper with a manual clock, on a mounted volume.

#include "Apps/agent_sim/VolumeKeeper.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/VirtualClock.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora::agent_sim {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using agent_sim::FolderEvent;
using testing_host::MountedVolume;
using Texts = std::vector<std::string>;

/// Records the callbacks of a keeper.
struct RecordingListener : VolumeListener {
  void itemHas(const std::string& path, const char* word) override {
    events.push_back(path + " " + word);
  }
  void fileWaits(const std::string& path, platform::Date since) override {
    waiting.emplace_back(path, since);
  }
  void itemIsGone(const std::string& path, bool /*isFolder*/) override { gone.push_back(path); }
  void volumeIsPrepared(const std::string& /*mountPoint*/) override { ++prepared; }
  void volumeIsScanned(const std::string& /*mountPoint*/, std::size_t items) override {
    scanned.push_back(items);
  }
  void volumeIsGone(const std::string& /*mountPoint*/) override { ++away; }
  void warn(const std::string& text) override { warnings.push_back(text); }

  Texts events;
  std::vector<std::pair<std::string, platform::Date>> waiting;
  Texts gone;
  int prepared = 0;
  std::vector<std::size_t> scanned;
  int away = 0;
  Texts warnings;
};

class VolumeKeeperTest : public testing::Test {
 protected:
  VolumeKeeperTest() {
    mounted = volume.mount();
    write("file");
  }
  void write(const std::string& name, const std::string& text = "x") {
    std::ofstream(volume.path(name)) << text;
  }
  void start() {
    ASSERT_TRUE(mounted);
    keeper->useAccount("7");
    dispatch.runAll();
    ASSERT_EQ(listener.scanned.size(), 1U);
    listener.events.clear();
    listener.waiting.clear();
  }
  void notice(const std::string& name, FolderEvent::Kind kind = FolderEvent::Kind::item) {
    keeper->handleFolderEvent({kind, volume.path(), name});
  }

  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/wevora-keeper"};
  bool mounted = false;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  RecordingListener listener;
  std::shared_ptr<VolumeKeeper> keeper = std::make_shared<VolumeKeeper>(
      volume.path(),
      VolumeKeeper::Dependencies{dispatch, dispatch.serialQueue("volumes"),
                                 std::make_shared<FolderWatch>([](const FolderEvent&) {}), clock,
                                 listener});
};

TEST_F(VolumeKeeperTest, AnExistingFileIsPendingSinceItsDateAndANewOneSinceNow) {
  ASSERT_TRUE(mounted);
  fs::last_write_time(
      volume.path("file"),
      fs::file_time_type(std::chrono::duration_cast<fs::file_time_type::duration>(
          fs::file_time_type::clock::from_sys(std::chrono::system_clock::from_time_t(500'000))
              .time_since_epoch())));
  keeper->useAccount("7");
  dispatch.runAll();
  ASSERT_EQ(listener.waiting.size(), 1U);
  EXPECT_EQ(listener.waiting[0].second, platform::Date{500'000});
  write("new");
  notice("new");
  dispatch.advance(1s);
  ASSERT_EQ(listener.waiting.size(), 2U);
  EXPECT_EQ(listener.waiting[1].first, volume.path("new"));
  EXPECT_EQ(listener.waiting[1].second.secondsSince1970, 1'000'000.1);
}

TEST_F(VolumeKeeperTest, AFileThatIsWrittenInManyStepsIsScannedOnce) {
  start();
  for (int i = 0; i < 5; ++i) {
    write("new", std::string(static_cast<std::size_t>(i + 1), 'x'));
    notice("new");
    dispatch.advance(10ms);
  }
  dispatch.advance(1s);
  EXPECT_EQ(listener.events, Texts{volume.path("new") + " Created"});
}

TEST_F(VolumeKeeperTest, AFolderThatReplacesAnotherIsRescanned) {
  fs::create_directory(volume.path("a"));
  write("a/old");
  start();
  fs::rename(volume.path("a"), volume.path("b"));
  fs::create_directory(volume.path("a"));
  write("a/new");
  notice("a", FolderEvent::Kind::folderLeft);
  notice("b", FolderEvent::Kind::folderArrived);
  notice("a", FolderEvent::Kind::folderArrived);
  dispatch.advance(1s);
  std::sort(listener.events.begin(), listener.events.end());
  EXPECT_EQ(listener.events,
            (Texts{volume.path("a/new") + " Created", volume.path("a/old") + " Removed",
                   volume.path("b") + " Created", volume.path("b/old") + " Created"}));
}

TEST_F(VolumeKeeperTest, LostEventsAreRecoveredByAFullScan) {
  start();
  fs::create_directories(volume.path("deep/deeper"));
  write("deep/deeper/new");
  keeper->scanAll();
  dispatch.runAll();
  EXPECT_EQ(listener.events.back(), volume.path("deep/deeper/new") + " Created");
}

TEST_F(VolumeKeeperTest, NoBatchRunsWhileItIsPaused) {
  start();
  keeper->pause(5s);
  write("new");
  notice("new");
  keeper->synchronize({volume.path("file")});
  dispatch.advance(4s);
  EXPECT_TRUE(listener.events.empty());
  dispatch.advance(1s);
  EXPECT_EQ(listener.events,
            (Texts{volume.path("file") + " Synchronized", volume.path("new") + " Created"}));
}

TEST_F(VolumeKeeperTest, AFileThatChangedSinceItsScanIsNotMarkedAsBackedUp) {
  start();
  write("file", "longer");
  keeper->synchronize({volume.path("file"), volume.path("unknown")});
  dispatch.runAll();
  EXPECT_TRUE(listener.events.empty());
}

TEST_F(VolumeKeeperTest, AnUnmountedVolumeIsRetriedAndNothingIsWrittenToItsMountPoint) {
  start();
  ASSERT_TRUE(volume.unmount());
  keeper->handleFolderEvent({FolderEvent::Kind::unmounted, volume.path(), ""});
  EXPECT_EQ(listener.away, 1);
  dispatch.advance(10s);
  EXPECT_TRUE(fs::is_empty(volume.path()));
  EXPECT_EQ(listener.warnings.size(), 1U);
  ASSERT_TRUE(volume.mount());
  write("new");
  dispatch.advance(2s);
  EXPECT_EQ(listener.events, Texts{volume.path("new") + " Created"});
  EXPECT_EQ(listener.scanned.size(), 2U);
}

TEST_F(VolumeKeeperTest, AnAccountChangeDuringARetryScansTheVolumeOnce) {
  start();
  keeper->handleFolderEvent({FolderEvent::Kind::unmounted, volume.path(), ""});
  dispatch.advance(1s);
  keeper->useAccount("9");
  dispatch.advance(10s);
  EXPECT_EQ(listener.prepared, 2);
  EXPECT_EQ(listener.scanned.size(), 2U);
}

TEST_F(VolumeKeeperTest, ADeletedDatabaseIsCreatedAgain) {
  start();
  fs::remove(volume.path("Wevora-Account-7.db"));
  write("new");
  notice("new");
  dispatch.advance(10s);
  EXPECT_EQ(listener.warnings.size(), 1U);
  EXPECT_EQ(listener.events.size(), 2U);
  EXPECT_TRUE(fs::exists(volume.path("Wevora-Account-7.db")));
}

TEST_F(VolumeKeeperTest, AnotherAccountStartsWithItsOwnDatabase) {
  start();
  keeper->useAccount("9");
  dispatch.runAll();
  EXPECT_EQ(listener.prepared, 2);
  EXPECT_EQ(listener.events, Texts{volume.path("file") + " Created"});
  EXPECT_TRUE(fs::exists(volume.path("Wevora-Account-9.db")));
}

}  // namespace
}  // namespace wevora::agent_sim
