// How the agent keeps a volume's database in step.

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

TEST_F(AgentVolumesTest, WhatIsThereAtTheStartIsKnownAndBackedUp) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/old");
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  EXPECT_TRUE(hearsOf("a/b/old", "Synchronized"));
  EXPECT_TRUE(isSynchronized("old"));
}

TEST_F(AgentVolumesTest, AFileThatComesWaitsAndIsThenBackedUp) {
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  ASSERT_EQ(ctl({"status", "1"}).status, 0);  // nothing is backed up without a connection
  write("new");
  ASSERT_TRUE(hearsOf("new", "Created"));
  EXPECT_TRUE(isKnown("new"));
  EXPECT_FALSE(isSynchronized("new"));
  ASSERT_EQ(ctl({"status", "2"}).status, 0);
  ASSERT_TRUE(hearsOf("new", "Synchronized"));
  EXPECT_TRUE(isSynchronized("new"));
}

TEST_F(AgentVolumesTest, AFileThatChangesWaitsAgain) {
  write("file");
  const auto agent = keeping();
  ASSERT_TRUE(hearsOf("file", "Synchronized"));
  ASSERT_EQ(ctl({"status", "1"}).status, 0);
  write("file", "longer");
  ASSERT_TRUE(hearsOf("file", "Changed"));
  EXPECT_FALSE(isSynchronized("file"));
}

TEST_F(AgentVolumesTest, WhatIsDeletedIsToldAsRemovedAndForgotten) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  write("other");
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  fs::remove(volume.path("other"));
  EXPECT_TRUE(hearsOf("other", "Removed"));
  fs::remove_all(volume.path("a"));
  EXPECT_TRUE(hearsOf("a", "Removed"));
  for (const auto* name : {"other", "a", "b", "file"}) EXPECT_FALSE(isKnown(name)) << name;
}

TEST_F(AgentVolumesTest, FoldersThatComeAreWatched) {
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  fs::create_directories(volume.path("a/b/c"));
  write("a/b/c/first");
  ASSERT_TRUE(hearsOf("a/b/c/first", "Synchronized"));
  write("a/b/c/second");
  EXPECT_TRUE(hearsOf("a/b/c/second", "Synchronized"));
}

TEST_F(AgentVolumesTest, AFolderThatIsRenamedIsFollowed) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  const auto agent = keeping();
  ASSERT_TRUE(hearsOf("a/b/file", "Synchronized"));
  fs::rename(volume.path("a"), volume.path("z"));
  ASSERT_TRUE(hearsOf("a", "Removed"));
  ASSERT_TRUE(hearsOf("z/b/file", "Synchronized"));
  EXPECT_FALSE(isKnown("a"));
  EXPECT_TRUE(isSynchronized("file"));
  write("z/b/more");
  EXPECT_TRUE(hearsOf("z/b/more", "Synchronized"));
}

TEST_F(AgentVolumesTest, TheAgentsOwnDatabaseIsNoItem) {
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  write("last");
  ASSERT_TRUE(hearsOf("last", "Synchronized"));
  for (const auto& one : heard)
    for (const auto& path : one.paths) EXPECT_EQ(path, volume.path("last"));
  EXPECT_EQ(value("SELECT count(*) FROM file"), agent_sim::DatabaseValue(std::int64_t{2}));
}

TEST_F(AgentVolumesTest, AStormIsToldAtMostFiveTimesASecond) {
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  const platform::SystemClock clock;
  const auto start = clock.uptime();
  for (int i = 0; i < 2000; ++i) write("file" + std::to_string(i));
  ASSERT_TRUE(hearsOf("file1999", "Synchronized"));
  const std::chrono::duration<double> passed = clock.uptime() - start;
  const auto told = std::count_if(heard.begin(), heard.end(), [](const auto& one) {
    return one.name == kIDaemonConnectionWVREventNotification;
  });
  EXPECT_LE(static_cast<double>(told), std::ceil(passed.count() * 5) + 1);
}

TEST_F(AgentVolumesTest, ItAnswersWhileItScansALargeVolume) {
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

TEST_F(AgentVolumesTest, AVolumeCanBeUnmountedWhileItIsKeptAndIsKeptAgainWhenItReturns) {
  fs::create_directory(volume.path("folder"));
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  write("folder/file");
  ASSERT_TRUE(hearsOf("folder/file", "Synchronized"));
  ASSERT_TRUE(volume.unmount());
  ASSERT_TRUE(agent->waitForErrors("is not the mount point of a volume"));
  EXPECT_TRUE(fs::is_empty(volume.path()));
  ASSERT_TRUE(volume.mount());
  write("again");
  EXPECT_TRUE(hearsOf("again", "Created"));
}

TEST_F(AgentVolumesTest, TheLimitOfWatchesIsSaidAndSurvived) {
  for (const auto* name : {"a", "b", "c", "d"}) fs::create_directory(volume.path(name));
  std::string command = "echo 2 > /proc/sys/user/max_inotify_watches; exec";
  for (const auto& word : serveCommand({"--sync-rate", "1000", "--volume", volume.path()}))
    command += " '" + word + "'";
  // In a user namespace the limit is one's own.
  ChildProcess agent({"unshare", "-Ur", "sh", "-c", command});
  ASSERT_TRUE(agent.waitForErrors("max_user_watches")) << agent.errors();
  for (const auto* name : {"a/1", "b/1", "c/1", "d/1"}) write(name);
  for (const auto* name : {"a/1", "b/1", "c/1", "d/1"})
    EXPECT_TRUE(hearsOf(name, "Synchronized")) << name;
}

TEST_F(AgentVolumesTest, APlaceThatIsNoVolumeIsRefused) {
  const auto refused = testing_host::ranToItsEnd(serveCommand({"--volume", "/media/nothing"}));
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.errors.find("is not the mount point of a volume"), std::string::npos);
}

}  // namespace
}  // namespace wevora
