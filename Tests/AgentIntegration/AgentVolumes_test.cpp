// How the agent synchronizes a volume's database.

#include <cmath>
#include <filesystem>

#include "Connector/IDaemonConnection.h"
#include "Platform/Base/Clock.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/AgentIntegration/AgentTest.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::AgentTest;
using testing_host::ChildProcess;

class AgentVolumesTest : public AgentTest {};

TEST_F(AgentVolumesTest, ExistingFilesAreScannedAndBackedUp) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/old");
  const auto agent = following();
  ASSERT_TRUE(agent);
  EXPECT_TRUE(receivesEvent("a/b/old", "Synchronized"));
  EXPECT_TRUE(isSynchronized("old"));
}

TEST_F(AgentVolumesTest, ANewFileIsPendingAndThenBackedUp) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  ASSERT_EQ(ctl({"status", "1"}).status, 0);  // nothing is backed up without a connection
  write("new");
  ASSERT_TRUE(receivesEvent("new", "Created"));
  EXPECT_TRUE(isKnown("new"));
  EXPECT_FALSE(isSynchronized("new"));
  ASSERT_EQ(ctl({"status", "2"}).status, 0);
  ASSERT_TRUE(receivesEvent("new", "Synchronized"));
  EXPECT_TRUE(isSynchronized("new"));
}

TEST_F(AgentVolumesTest, AChangedFileIsPendingAgain) {
  write("file");
  const auto agent = following();
  ASSERT_TRUE(receivesEvent("file", "Synchronized"));
  ASSERT_EQ(ctl({"status", "1"}).status, 0);
  write("file", "longer");
  ASSERT_TRUE(receivesEvent("file", "Changed"));
  EXPECT_FALSE(isSynchronized("file"));
}

TEST_F(AgentVolumesTest, ADeletedItemIsPostedAsRemovedAndLosesItsRow) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  write("other");
  const auto agent = following();
  ASSERT_TRUE(agent);
  fs::remove(volume.path("other"));
  EXPECT_TRUE(receivesEvent("other", "Removed"));
  fs::remove_all(volume.path("a"));
  EXPECT_TRUE(receivesEvent("a", "Removed"));
  for (const auto* name : {"other", "a", "b", "file"}) EXPECT_FALSE(isKnown(name)) << name;
}

TEST_F(AgentVolumesTest, NewFoldersAreWatched) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  fs::create_directories(volume.path("a/b/c"));
  write("a/b/c/first");
  ASSERT_TRUE(receivesEvent("a/b/c/first", "Synchronized"));
  write("a/b/c/second");
  EXPECT_TRUE(receivesEvent("a/b/c/second", "Synchronized"));
}

TEST_F(AgentVolumesTest, ARenamedFolderIsFollowed) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  const auto agent = following();
  ASSERT_TRUE(receivesEvent("a/b/file", "Synchronized"));
  fs::rename(volume.path("a"), volume.path("z"));
  ASSERT_TRUE(receivesEvent("a", "Removed"));
  ASSERT_TRUE(receivesEvent("z/b/file", "Synchronized"));
  EXPECT_FALSE(isKnown("a"));
  EXPECT_TRUE(isSynchronized("file"));
  write("z/b/more");
  EXPECT_TRUE(receivesEvent("z/b/more", "Synchronized"));
}

TEST_F(AgentVolumesTest, TheAgentsOwnDatabaseIsSkipped) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  write("last");
  ASSERT_TRUE(receivesEvent("last", "Synchronized"));
  for (const auto& one : received)
    for (const auto& path : one.paths) EXPECT_EQ(path, volume.path("last"));
  EXPECT_EQ(value("SELECT count(*) FROM file"), agent_sim::DatabaseValue(std::int64_t{2}));
}

TEST_F(AgentVolumesTest, ABurstIsPostedAtMostFiveTimesASecond) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  const platform::SystemClock clock;
  const auto start = clock.uptime();
  for (int i = 0; i < 2000; ++i) write("file" + std::to_string(i));
  ASSERT_TRUE(receivesEvent("file1999", "Synchronized"));
  const std::chrono::duration<double> passed = clock.uptime() - start;
  const auto posted = std::count_if(received.begin(), received.end(), [](const auto& one) {
    return one.name == kIDaemonConnectionWVREventNotification;
  });
  EXPECT_LE(static_cast<double>(posted), std::ceil(passed.count() * 5) + 1);
}

TEST_F(AgentVolumesTest, ItRepliesWhileItScansALargeVolume) {
  for (int i = 0; i < 200; ++i) {
    fs::create_directory(volume.path("f" + std::to_string(i)));
    for (int j = 0; j < 50; ++j) write("f" + std::to_string(i) + "/" + std::to_string(j), "");
  }
  ChildProcess agent(serveCommand({"--volume", volume.path()}));
  ASSERT_TRUE(agent.waitForOutput("serving "));
  platform::LocalNotificationCenter local;
  platform::SocketConnections objects(local, bus.runtimeFolder());
  const auto connection =
      objects.connectionWithSendPort(objects.portForName(fs::path(socket()).filename()));
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  while (agent.output().find("scanned ") == std::string::npos && !HasFailure())
    ASSERT_TRUE(root->call(daemonConnectionProtocol(), "connectionStatus", {}));
  EXPECT_EQ(value("SELECT count(*) FROM file"), agent_sim::DatabaseValue(std::int64_t{10201}));
}

TEST_F(AgentVolumesTest, AVolumeCanBeUnmountedAndIsFollowedAgainAfterARemount) {
  fs::create_directory(volume.path("folder"));
  const auto agent = following();
  ASSERT_TRUE(agent);
  write("folder/file");
  ASSERT_TRUE(receivesEvent("folder/file", "Synchronized"));
  ASSERT_TRUE(volume.unmount());
  ASSERT_TRUE(agent->waitForErrors("is not the mount point of a volume"));
  EXPECT_TRUE(fs::is_empty(volume.path()));
  ASSERT_TRUE(volume.mount());
  write("again");
  EXPECT_TRUE(receivesEvent("again", "Created"));
}

TEST_F(AgentVolumesTest, TheWatchLimitCausesAWarningAndAFallbackToScans) {
  for (const auto* name : {"a", "b", "c", "d"}) fs::create_directory(volume.path(name));
  std::string command = "echo 2 > /proc/sys/user/max_inotify_watches; exec";
  for (const auto& word : serveCommand({"--sync-rate", "1000", "--volume", volume.path()}))
    command += " '" + word + "'";
  // A user namespace has a limit of its own.
  ChildProcess agent({"unshare", "-Ur", "sh", "-c", command});
  ASSERT_TRUE(agent.waitForErrors("max_user_watches")) << agent.errors();
  for (const auto* name : {"a/1", "b/1", "c/1", "d/1"}) write(name);
  for (const auto* name : {"a/1", "b/1", "c/1", "d/1"})
    EXPECT_TRUE(receivesEvent(name, "Synchronized")) << name;
}

TEST_F(AgentVolumesTest, AFolderThatIsNotAMountPointIsRejected) {
  const auto rejected = testing_host::runToCompletion(serveCommand({"--volume", "/media/nothing"}));
  EXPECT_EQ(rejected.status, 1);
  EXPECT_NE(rejected.errors.find("is not the mount point of a volume"), std::string::npos);
}

}  // namespace
}  // namespace wevora
