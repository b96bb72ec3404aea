#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/ManualVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::SyncDatabase;

/// Two volumes, A and AB, with databases of account 42.
class PoolTest : public testing::Test {
 protected:
  PoolTest() {
    for (const auto& volume : {a, ab}) {
      fs::create_directories(volume + "/folder");
      std::ofstream(volume + "/folder/file") << "x";
      volumes.volumes.push_back({volume, "vfat"});
      SyncDatabase(databaseOf(volume)).addTop();
    }
    pool->setAccountId("42");
  }
  static std::string databaseOf(const std::string& volume, const std::string& account = "42") {
    return volume + "/Wevora-Account-" + account + ".db";
  }
  std::optional<platform::Dissenter> askToUnmount(const std::string& volume) {
    return approvals.ask(volume);
  }

  platform::TemporaryFolder folder;
  std::string a = folder.path("A");
  std::string ab = folder.path("AB");
  platform::ManualVolumes volumes;
  platform::SystemClock systemClock;
  platform::SqliteDatabases databases{systemClock};
  platform::ManualUnmountApprovals approvals;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  std::shared_ptr<WVDBPool> pool = WVDBPool::init({databases, dispatch, volumes, approvals});
};

// --- Paths ---------------------------------------------------------------------------------------

TEST_F(PoolTest, ThePlaceOfADatabaseDependsOnTheFileSystem) {
  const auto path = &WVDBPool::databasePathForDeviceWithMountPoint;
  EXPECT_EQ(path("/Volumes/Stick/", false, "42"), "/Volumes/Stick/Wevora-Account-42.db");
  EXPECT_EQ(path("/Volumes/Stick/", true, "42"), "/Volumes/Stick/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(path("/", true, "42"), "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(path(std::nullopt, true, "42"), std::nullopt);
  EXPECT_EQ(path("/", true, std::nullopt), std::nullopt);
}

TEST_F(PoolTest, HfsVolumesAndThoseOfAnUnknownKindAreDeviceSpecific) {
  volumes.volumes = {{"/", "ext4"}, {"/h", "hfs"}, {"/p", "hfsplus"}, {"/f", "vfat"}};
  EXPECT_TRUE(pool->deviceSpecificMacFilesSystem("/h/"));
  EXPECT_TRUE(pool->deviceSpecificMacFilesSystem("/p/"));
  EXPECT_TRUE(pool->deviceSpecificMacFilesSystem("/unknown/"));
  EXPECT_FALSE(pool->deviceSpecificMacFilesSystem("/f/"));
  EXPECT_FALSE(pool->deviceSpecificMacFilesSystem("/"));
  EXPECT_EQ(pool->dbPathForMountPoint("/p/"), "/p/.wevora/Wevora-Account-42.db");
}

TEST_F(PoolTest, TheLongestVolumePathWinsAndIsComparedWithItsSeparator) {
  EXPECT_EQ(pool->mountPointForPath(ab + "/folder/file"), ab + "/");
  EXPECT_EQ(pool->mountPointForPath(a + "/folder/file"), a + "/");
  EXPECT_EQ(pool->mountPointForPath(a), a + "/");
  EXPECT_EQ(pool->mountPointForPath("/nowhere/at/all"), "/");
}

TEST_F(PoolTest, AFileAndItsFolderShareOneMountPointEntry) {
  pool->mountPointForPath(a + "/folder/file");
  const int asked = volumes.asked;
  EXPECT_EQ(pool->mountPointForPath(a + "/folder"), a + "/");
  EXPECT_EQ(pool->mountPointForPath(a + "/folder/missing"), a + "/");
  EXPECT_EQ(volumes.asked, asked);
}

TEST_F(PoolTest, WithoutAnAccountNoPathHasADatabase) {
  pool->setAccountId(std::nullopt);
  EXPECT_EQ(pool->dbPathForMountPoint(a + "/"), std::nullopt);
  EXPECT_EQ(pool->accessorWithPath(a + "/folder"), nullptr);
}

TEST_F(PoolTest, ANewAccountHasItsOwnDatabasesWhileMountPointsStayKnown) {
  const auto before = pool->accessorWithPath(a + "/folder");
  SyncDatabase(databaseOf(a, "43")).addTop();
  const int asked = volumes.asked;
  pool->setAccountId("43");
  EXPECT_EQ(pool->mountPointForPath(a + "/folder"), a + "/");
  EXPECT_EQ(volumes.asked, asked);
  const auto after = pool->accessorWithPath(a + "/folder");
  EXPECT_NE(after, before);
  EXPECT_EQ(after->dbPath(), databaseOf(a, "43"));
  EXPECT_EQ(pool->accountId(), "43");
}

TEST_F(PoolTest, ReinitForgetsMountPointsToo) {
  pool->mountPointForPath(a + "/folder");
  const int asked = volumes.asked;
  pool->reinit();
  pool->mountPointForPath(a + "/folder");
  EXPECT_GT(volumes.asked, asked);
}

// --- Accessors -----------------------------------------------------------------------------------

TEST_F(PoolTest, AVolumesDatabaseIsOpenedOnceAndShared) {
  const auto accessor = pool->accessorWithPath(a + "/folder/file");
  ASSERT_TRUE(accessor);
  EXPECT_EQ(accessor->mountPoint(), a + "/");
  EXPECT_EQ(accessor->delegate(), pool);
  EXPECT_EQ(pool->accessorWithPath(a), accessor);
  EXPECT_NE(pool->accessorWithPath(ab), accessor);
}

TEST_F(PoolTest, AVolumeWithoutADatabaseHasNoAccessorAndTheOneItHadIsStopped) {
  const auto accessor = pool->accessorWithPath(a);
  dispatch.runAll();
  fs::remove(databaseOf(a));
  EXPECT_EQ(pool->accessorWithPath(a + "/folder"), nullptr);
  EXPECT_EQ(accessor->delegate(), nullptr);
  EXPECT_EQ(dispatch.delayed(), 0U);
  SyncDatabase(databaseOf(a)).addTop();
  EXPECT_NE(pool->accessorWithPath(a), accessor);
}

TEST_F(PoolTest, OneBadAccessorDropsThemAll) {
  const auto first = pool->accessorWithPath(a);
  const auto second = pool->accessorWithPath(ab);
  pool->accessorGoneBad(first);
  EXPECT_NE(pool->accessorWithPath(ab), second);
  EXPECT_NE(pool->accessorWithPath(a), first);
}

TEST_F(PoolTest, ReinitOpensDatabasesAnew) {
  const auto before = pool->accessorWithPath(a);
  pool->reinit();
  EXPECT_NE(pool->accessorWithPath(a), before);
}

TEST_F(PoolTest, ADroppedAccessorGoesOnUntilItsDatabaseIsOpenedAnew) {
  const std::weak_ptr<WVDBAccessor> dropped = pool->accessorWithPath(a);
  dispatch.runAll();
  pool->reinit();
  dispatch.advance(10s);
  EXPECT_FALSE(dropped.expired());
  pool->accessorWithPath(a);
  dispatch.runAll();
  EXPECT_TRUE(dropped.expired());
}

TEST_F(PoolTest, ThreadsThatAskAtOnceGetOneAccessor) {
  platform::GLibDispatch threads;
  const auto shared = WVDBPool::init({databases, threads, volumes, approvals});
  shared->setAccountId("42");
  std::vector<std::shared_ptr<WVDBAccessor>> answers(8);
  std::vector<std::thread> asking;
  for (auto& answer : answers)
    asking.emplace_back([&] { answer = shared->accessorWithPath(a + "/folder"); });
  for (auto& thread : asking) thread.join();
  for (const auto& answer : answers) EXPECT_EQ(answer, answers.front());
  EXPECT_TRUE(answers.front());
}

// --- Unmounts ------------------------------------------------------------------------------------

TEST_F(PoolTest, AfterAnUnmountRequestADatabaseStaysClosedForFiveSeconds) {
  const auto before = pool->accessorWithPath(a);
  EXPECT_EQ(askToUnmount(a), std::nullopt);
  EXPECT_EQ(pool->accessorWithPath(a + "/folder"), nullptr);
  dispatch.advance(4999ms);
  EXPECT_EQ(pool->accessorWithPath(a), nullptr);
  dispatch.advance(1ms);
  const auto after = pool->accessorWithPath(a);
  EXPECT_TRUE(after);
  EXPECT_NE(after, before);
}

TEST_F(PoolTest, AnUnmountRequestDropsEveryAccessorButBlocksOnlyItsOwnDatabase) {
  pool->accessorWithPath(a);
  const auto other = pool->accessorWithPath(ab);
  askToUnmount(a);
  const auto reopened = pool->accessorWithPath(ab);
  EXPECT_TRUE(reopened);
  EXPECT_NE(reopened, other);
}

TEST_F(PoolTest, AVolumeThatWasNotOpenIsNotBlocked) {
  EXPECT_EQ(askToUnmount(a), std::nullopt);
  EXPECT_TRUE(pool->accessorWithPath(a));
}

TEST_F(PoolTest, NeverRefusesAnUnmount) {
  EXPECT_TRUE(pool->diskShouldBeUnmounted({}));
  EXPECT_TRUE(pool->diskShouldBeUnmounted({{{"DAVolumePath", "/nowhere"}}}));
  pool->setAccountId(std::nullopt);
  EXPECT_EQ(askToUnmount(a), std::nullopt);
}

TEST_F(PoolTest, AnUnmountRequestClosesWhatTheVolumeHadOpen) {
  const std::weak_ptr<WVDBAccessor> dropped = pool->accessorWithPath(a);
  dispatch.runAll();
  pool->setAccountId("43");
  SyncDatabase(databaseOf(a, "43")).addTop();
  const std::weak_ptr<WVDBAccessor> current = pool->accessorWithPath(a);
  dispatch.runAll();
  EXPECT_FALSE(dropped.expired() || current.expired());
  askToUnmount(a);
  dispatch.runAll();
  EXPECT_TRUE(dropped.expired());
  EXPECT_TRUE(current.expired());
}

TEST_F(PoolTest, APoolThatIsGoneIsNotAskedAnyMore) {
  pool->accessorWithPath(a);
  askToUnmount(a);
  pool.reset();
  EXPECT_EQ(askToUnmount(ab), std::nullopt);
  EXPECT_EQ(approvals.done.back(), "release session");
  dispatch.advance(10s);
}

}  // namespace
}  // namespace wevora
