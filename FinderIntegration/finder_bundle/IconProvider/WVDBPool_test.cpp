#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::EngineUnderTest;
using testing_host::SyncDatabase;
using testing_host::ThreadedEngineUnderTest;

/// Two volumes, A and AB, with databases of account 42.
class PoolTest : public testing::Test {
 protected:
  PoolTest() {
    for (const auto& volume : {a, ab}) {
      fs::create_directories(volume + "/folder");
      std::ofstream(volume + "/folder/file") << "x";
      engine.volumes.volumes.push_back({volume, "vfat"});
      SyncDatabase(databaseOf(volume)).addTop();
    }
  }
  static std::string databaseOf(const std::string& volume, const std::string& account = "42") {
    return volume + "/Wevora-Account-" + account + ".db";
  }
  std::optional<platform::Dissenter> askToUnmount(const std::string& volume) {
    return engine.approvals.ask(volume);
  }

  platform::TemporaryFolder folder;
  std::string a = folder.path("A");
  std::string ab = folder.path("AB");
  EngineUnderTest engine{{.accountId = "42"}};
};

// --- Paths ---------------------------------------------------------------------------------------

TEST_F(PoolTest, TheDatabasePathDependsOnTheFileSystem) {
  const auto path = &WVDBPool::databasePathForDeviceWithMountPoint;
  EXPECT_EQ(path("/Volumes/Stick/", false, "42"), "/Volumes/Stick/Wevora-Account-42.db");
  EXPECT_EQ(path("/Volumes/Stick/", true, "42"), "/Volumes/Stick/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(path("/", true, "42"), "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(path(std::nullopt, true, "42"), std::nullopt);
  EXPECT_EQ(path("/", true, std::nullopt), std::nullopt);
}

TEST_F(PoolTest, HfsVolumesAndVolumesOfUnknownTypeAreMacSpecific) {
  engine.volumes.volumes = {{"/", "ext4"}, {"/h", "hfs"}, {"/p", "hfsplus"}, {"/f", "vfat"}};
  EXPECT_TRUE(engine.pool->deviceSpecificMacFilesSystem("/h/"));
  EXPECT_TRUE(engine.pool->deviceSpecificMacFilesSystem("/p/"));
  EXPECT_TRUE(engine.pool->deviceSpecificMacFilesSystem("/unknown/"));
  EXPECT_FALSE(engine.pool->deviceSpecificMacFilesSystem("/f/"));
  EXPECT_FALSE(engine.pool->deviceSpecificMacFilesSystem("/"));
  EXPECT_EQ(engine.pool->dbPathForMountPoint("/p/"), "/p/.wevora/Wevora-Account-42.db");
}

TEST_F(PoolTest, TheLongestVolumePathWinsAndIsComparedWithItsSeparator) {
  EXPECT_EQ(engine.pool->mountPointForPath(ab + "/folder/file"), ab + "/");
  EXPECT_EQ(engine.pool->mountPointForPath(a + "/folder/file"), a + "/");
  EXPECT_EQ(engine.pool->mountPointForPath(a), a + "/");
  EXPECT_EQ(engine.pool->mountPointForPath("/nowhere/at/all"), "/");
}

TEST_F(PoolTest, AFileAndItsFolderShareOneMountPointEntry) {
  engine.pool->mountPointForPath(a + "/folder/file");
  const int listings = engine.volumes.asked;
  EXPECT_EQ(engine.pool->mountPointForPath(a + "/folder"), a + "/");
  EXPECT_EQ(engine.pool->mountPointForPath(a + "/folder/missing"), a + "/");
  EXPECT_EQ(engine.volumes.asked, listings);
}

TEST_F(PoolTest, WithoutAnAccountNoPathHasADatabase) {
  engine.pool->setAccountId(std::nullopt);
  EXPECT_EQ(engine.pool->dbPathForMountPoint(a + "/"), std::nullopt);
  EXPECT_EQ(engine.pool->accessorWithPath(a + "/folder"), nullptr);
}

TEST_F(PoolTest, ANewAccountHasItsOwnDatabasesWhileMountPointsStayCached) {
  const auto before = engine.pool->accessorWithPath(a + "/folder");
  SyncDatabase(databaseOf(a, "43")).addTop();
  const int listings = engine.volumes.asked;
  engine.pool->setAccountId("43");
  EXPECT_EQ(engine.pool->mountPointForPath(a + "/folder"), a + "/");
  EXPECT_EQ(engine.volumes.asked, listings);
  const auto after = engine.pool->accessorWithPath(a + "/folder");
  EXPECT_NE(after, before);
  EXPECT_EQ(after->dbPath(), databaseOf(a, "43"));
  EXPECT_EQ(engine.pool->accountId(), "43");
}

TEST_F(PoolTest, ReinitForgetsMountPointsToo) {
  engine.pool->mountPointForPath(a + "/folder");
  const int listings = engine.volumes.asked;
  engine.pool->reinit();
  engine.pool->mountPointForPath(a + "/folder");
  EXPECT_GT(engine.volumes.asked, listings);
}

// --- Accessors -----------------------------------------------------------------------------------

TEST_F(PoolTest, AVolumesDatabaseIsOpenedOnceAndShared) {
  const auto accessor = engine.pool->accessorWithPath(a + "/folder/file");
  ASSERT_TRUE(accessor);
  EXPECT_EQ(accessor->mountPoint(), a + "/");
  EXPECT_EQ(accessor->delegate(), engine.pool);
  EXPECT_EQ(engine.pool->accessorWithPath(a), accessor);
  EXPECT_NE(engine.pool->accessorWithPath(ab), accessor);
}

TEST_F(PoolTest, AVolumeThatLosesItsDatabaseHasNoAccessorAndTheOldOneIsStopped) {
  const auto accessor = engine.pool->accessorWithPath(a);
  engine.dispatch.runAll();
  fs::remove(databaseOf(a));
  EXPECT_EQ(engine.pool->accessorWithPath(a + "/folder"), nullptr);
  EXPECT_EQ(accessor->delegate(), nullptr);
  EXPECT_EQ(engine.dispatch.delayed(), 0U);
  SyncDatabase(databaseOf(a)).addTop();
  EXPECT_NE(engine.pool->accessorWithPath(a), accessor);
}

TEST_F(PoolTest, OneBadAccessorDropsThemAll) {
  const auto first = engine.pool->accessorWithPath(a);
  const auto second = engine.pool->accessorWithPath(ab);
  engine.pool->accessorGoneBad(first);
  EXPECT_NE(engine.pool->accessorWithPath(ab), second);
  EXPECT_NE(engine.pool->accessorWithPath(a), first);
}

TEST_F(PoolTest, ReinitReopensDatabases) {
  const auto before = engine.pool->accessorWithPath(a);
  engine.pool->reinit();
  EXPECT_NE(engine.pool->accessorWithPath(a), before);
}

TEST_F(PoolTest, ADroppedAccessorKeepsRefreshingUntilItsDatabaseIsReopened) {
  const std::weak_ptr<WVDBAccessor> dropped = engine.pool->accessorWithPath(a);
  engine.dispatch.runAll();
  engine.pool->reinit();
  engine.dispatch.advance(10s);
  EXPECT_FALSE(dropped.expired());
  engine.pool->accessorWithPath(a);
  engine.dispatch.runAll();
  EXPECT_TRUE(dropped.expired());
}

TEST_F(PoolTest, ConcurrentCallersGetOneAccessor) {
  const ThreadedEngineUnderTest threaded{{.volumes = &engine.volumes, .accountId = "42"}};
  std::vector<std::shared_ptr<WVDBAccessor>> results(8);
  std::vector<std::thread> callers;
  for (auto& result : results)
    callers.emplace_back([&] { result = threaded.pool->accessorWithPath(a + "/folder"); });
  for (auto& thread : callers) thread.join();
  for (const auto& result : results) EXPECT_EQ(result, results.front());
  EXPECT_TRUE(results.front());
}

// --- Unmounts ------------------------------------------------------------------------------------

TEST_F(PoolTest, AfterAnUnmountRequestADatabaseStaysClosedForFiveSeconds) {
  const auto before = engine.pool->accessorWithPath(a);
  EXPECT_EQ(askToUnmount(a), std::nullopt);
  EXPECT_EQ(engine.pool->accessorWithPath(a + "/folder"), nullptr);
  engine.dispatch.advance(4999ms);
  EXPECT_EQ(engine.pool->accessorWithPath(a), nullptr);
  engine.dispatch.advance(1ms);
  const auto after = engine.pool->accessorWithPath(a);
  EXPECT_TRUE(after);
  EXPECT_NE(after, before);
}

TEST_F(PoolTest, AnUnmountRequestDropsEveryAccessorButBlocksOnlyItsOwnDatabase) {
  engine.pool->accessorWithPath(a);
  const auto other = engine.pool->accessorWithPath(ab);
  askToUnmount(a);
  const auto reopened = engine.pool->accessorWithPath(ab);
  EXPECT_TRUE(reopened);
  EXPECT_NE(reopened, other);
}

TEST_F(PoolTest, AVolumeThatWasNotOpenIsNotBlocked) {
  EXPECT_EQ(askToUnmount(a), std::nullopt);
  EXPECT_TRUE(engine.pool->accessorWithPath(a));
}

TEST_F(PoolTest, NeverRefusesAnUnmount) {
  EXPECT_TRUE(engine.pool->diskShouldBeUnmounted({}));
  EXPECT_TRUE(engine.pool->diskShouldBeUnmounted({{{"DAVolumePath", "/nowhere"}}}));
  engine.pool->setAccountId(std::nullopt);
  EXPECT_EQ(askToUnmount(a), std::nullopt);
}

TEST_F(PoolTest, AnUnmountRequestClosesAllDatabasesOfTheVolume) {
  const std::weak_ptr<WVDBAccessor> dropped = engine.pool->accessorWithPath(a);
  engine.dispatch.runAll();
  engine.pool->setAccountId("43");
  SyncDatabase(databaseOf(a, "43")).addTop();
  const std::weak_ptr<WVDBAccessor> current = engine.pool->accessorWithPath(a);
  engine.dispatch.runAll();
  EXPECT_FALSE(dropped.expired() || current.expired());
  askToUnmount(a);
  engine.dispatch.runAll();
  EXPECT_TRUE(dropped.expired());
  EXPECT_TRUE(current.expired());
}

TEST_F(PoolTest, ADestroyedPoolIsNotAskedForApproval) {
  engine.pool->accessorWithPath(a);
  askToUnmount(a);
  engine.provider.reset();
  engine.pool.reset();
  EXPECT_EQ(askToUnmount(ab), std::nullopt);
  EXPECT_EQ(engine.approvals.done.back(), "release session");
  engine.dispatch.advance(10s);
}

}  // namespace
}  // namespace wevora
