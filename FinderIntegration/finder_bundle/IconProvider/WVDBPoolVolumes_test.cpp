#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/MountInfoVolumes.h"
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

/// Real databases. Runs `meanwhile` once, while the next database is being opened.
class InterruptedDatabases : public platform::Databases {
 public:
  std::shared_ptr<platform::Database> databaseWithPath(const std::string& path) override {
    if (const auto callback = std::exchange(meanwhile, nullptr)) callback();
    return real_.databaseWithPath(path);
  }
  std::function<void()> meanwhile;

 private:
  platform::SystemClock clock_;
  platform::SqliteDatabases real_{clock_};
};

/// A pool of account 42 over a mount table that the test writes, initially empty.
class PoolVolumesTest : public testing::Test {
 protected:
  /// Adds a new folder to the mount table and returns its path.
  std::string mount(const std::string& name, const std::string& type) {
    const auto root = folder.path(name);
    fs::create_directories(root + "/folder");
    std::string escaped = root;
    for (auto at = escaped.find(' '); at != std::string::npos; at = escaped.find(' '))
      escaped.replace(at, 1, "\\040");
    table += "40 22 8:17 / " + escaped + " rw,relatime shared:1 - " + type + " /dev/sdb1 rw\n";
    return root;
  }
  /// Mounts a FAT volume with a database.
  std::string mountWithDatabase(const std::string& name) {
    auto root = mount(name, "vfat");
    SyncDatabase(databaseOf(root)).addTop();
    return root;
  }
  static std::string databaseOf(const std::string& volume) {
    return volume + "/Wevora-Account-42.db";
  }

  platform::TemporaryFolder folder;
  std::string table;
  int reads = 0;  ///< of the mount table
  platform::MountInfoVolumes volumes{[this] {
    ++reads;
    return table;
  }};
  InterruptedDatabases databases;
  EngineUnderTest engine{{.volumes = &volumes, .databases = &databases, .accountId = "42"}};
};

// --- Where databases are -------------------------------------------------------------------------

TEST_F(PoolVolumesTest, TheFileSystemTypeDeterminesTheDatabasePath) {
  const auto fat = mount("fat", "vfat");
  const auto exfat = mount("exfat", "exfat");
  const auto hfs = mount("hfs", "hfs");
  const auto hfsplus = mount("hfsplus", "hfsplus");
  for (const auto& plain : {fat, exfat}) {
    EXPECT_EQ(engine.pool->dbPathForMountPoint(plain + "/"), plain + "/Wevora-Account-42.db");
    EXPECT_EQ(engine.pool->dbPathForMountPoint(plain), plain + "/Wevora-Account-42.db");
  }
  for (const auto& mac : {hfs, hfsplus, folder.path("unknown")}) {
    EXPECT_EQ(engine.pool->dbPathForMountPoint(mac + "/"), mac + "/.wevora/Wevora-Account-42.db");
    EXPECT_EQ(engine.pool->dbPathForMountPoint(mac), mac + "/.wevora/Wevora-Account-42.db");
  }
}

TEST_F(PoolVolumesTest, TheBootVolumeIsTreatedLikeAnyOther) {
  EXPECT_EQ(engine.pool->dbPathForMountPoint("/"), "/.wevora/Wevora-Account-42.db");
  table = "22 1 8:1 / / rw - hfsplus /dev/sda1 rw\n";
  engine.pool->reinit();
  EXPECT_EQ(engine.pool->dbPathForMountPoint("/"), "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(engine.pool->mountPointForPath("/nowhere"), "/");
  table = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
  engine.pool->reinit();
  EXPECT_EQ(engine.pool->dbPathForMountPoint("/"), "/Wevora-Account-42.db");
}

TEST_F(PoolVolumesTest, AnHfsVolumesDatabaseIsOpenedInItsHiddenFolder) {
  const auto root = mount("Mac Disk", "hfsplus");
  fs::create_directory(root + "/.wevora");
  SyncDatabase database(root + "/.wevora/Wevora-Account-42.db");
  database.addTop();
  database.addFile("f", SyncDatabase::kTop, "f");
  const auto accessor = engine.pool->accessorWithPath(root + "/folder");
  ASSERT_TRUE(accessor);
  EXPECT_EQ(accessor->dbPath(), root + "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(accessor->mountPoint(), root + "/");
  const auto record = accessor->fileWithPath(root + "/f");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "f");
}

TEST_F(PoolVolumesTest, ADatabasePathIsCachedUntilTheAccountChangesOrReinit) {
  const auto root = mount("v", "vfat");
  const auto plain = root + "/Wevora-Account-42.db";
  const auto hidden = root + "/.wevora/Wevora-Account-42.db";
  EXPECT_EQ(engine.pool->dbPathForMountPoint(root + "/"), plain);
  table.clear();
  mount("v", "hfsplus");
  EXPECT_EQ(engine.pool->dbPathForMountPoint(root + "/"), plain);
  engine.pool->setAccountId("42");
  EXPECT_EQ(engine.pool->dbPathForMountPoint(root + "/"), hidden);
  table.clear();
  mount("v", "vfat");
  EXPECT_EQ(engine.pool->dbPathForMountPoint(root + "/"), hidden);
  engine.pool->reinit();
  EXPECT_EQ(engine.pool->dbPathForMountPoint(root + "/"), plain);
}

// --- Which volume holds a path -------------------------------------------------------------------

TEST_F(PoolVolumesTest, AVolumeIsNotMistakenForOneWhoseNameIsAPrefix) {
  for (const bool shorterFirst : {true, false}) {
    table.clear();
    const auto first = mount(shorterFirst ? "A" : "AB", "vfat");
    const auto second = mount(shorterFirst ? "AB" : "A", "vfat");
    engine.pool->reinit();
    for (const auto& root : {first, second}) {
      EXPECT_EQ(engine.pool->mountPointForPath(root), root + "/");
      EXPECT_EQ(engine.pool->mountPointForPath(root + "/folder"), root + "/");
      EXPECT_EQ(engine.pool->mountPointForPath(root + "/x"), root + "/");
    }
  }
}

TEST_F(PoolVolumesTest, AVolumeInsideAnotherHoldsItsOwnPaths) {
  const auto inner = mount("outer/inner", "vfat");
  const auto outer = mount("outer", "vfat");
  EXPECT_EQ(engine.pool->mountPointForPath(inner + "/folder"), inner + "/");
  EXPECT_EQ(engine.pool->mountPointForPath(outer + "/folder"), outer + "/");
}

TEST_F(PoolVolumesTest, APathOutsideAllVolumesHasNoMountPoint) {
  EXPECT_EQ(engine.pool->mountPointForPath(folder.path()), std::nullopt);
  EXPECT_EQ(engine.pool->accessorWithPath(folder.path()), nullptr);
  EXPECT_EQ(engine.pool->dbPathForMountPoint(std::nullopt), std::nullopt);
}

TEST_F(PoolVolumesTest, TheMountPointIsCachedForTheFolderOfAFile) {
  const auto root = mount("v", "vfat");
  std::ofstream(root + "/folder/file") << "x";
  EXPECT_EQ(engine.pool->mountPointForPath(root + "/folder/file"), root + "/");
  EXPECT_EQ(reads, 1);
  EXPECT_EQ(engine.pool->mountPointForPath(root + "/folder"), root + "/");
  EXPECT_EQ(engine.pool->mountPointForPath(root + "/folder/missing"), root + "/");
  EXPECT_EQ(reads, 1);
  EXPECT_EQ(engine.pool->mountPointForPath(root), root + "/");
  EXPECT_EQ(reads, 2);
}

// --- Dropping accessors --------------------------------------------------------------------------

TEST_F(PoolVolumesTest, SettingTheSameAccountReopensDatabasesToo) {
  const auto root = mountWithDatabase("v");
  const auto before = engine.pool->accessorWithPath(root);
  ASSERT_TRUE(before);
  engine.pool->setAccountId("42");
  const auto after = engine.pool->accessorWithPath(root);
  EXPECT_TRUE(after);
  EXPECT_NE(after, before);
}

TEST_F(PoolVolumesTest, WithoutAnAccountNoDatabaseIsOpenUntilItReturns) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(engine.pool->accessorWithPath(root));
  engine.pool->setAccountId(std::nullopt);
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
  EXPECT_EQ(engine.pool->accessorWithPath(root + "/folder"), nullptr);
  engine.pool->setAccountId("42");
  EXPECT_TRUE(engine.pool->accessorWithPath(root));
}

TEST_F(PoolVolumesTest, AccessorsDroppedWithAnAccountAreNotStopped) {
  const auto root = mountWithDatabase("v");
  const std::weak_ptr<WVDBAccessor> dropped = engine.pool->accessorWithPath(root);
  engine.dispatch.runAll();
  engine.pool->setAccountId("43");
  engine.dispatch.advance(10s);
  EXPECT_FALSE(dropped.expired());
  EXPECT_EQ(engine.dispatch.delayed(), 1U);
}

TEST_F(PoolVolumesTest, ADatabaseThatGoesBadIsDroppedWithAllOthersAndReopenedOnDemand) {
  const auto bad = mount("bad", "vfat");
  const auto good = mountWithDatabase("good");
  std::ofstream(databaseOf(bad)) << std::string(5000, 'x');
  const auto goodBefore = engine.pool->accessorWithPath(good);
  const auto badBefore = engine.pool->accessorWithPath(bad);
  ASSERT_TRUE(badBefore);
  engine.dispatch.runAll();
  fs::remove(databaseOf(bad));
  SyncDatabase(databaseOf(bad)).addTop();
  const auto badAfter = engine.pool->accessorWithPath(bad);
  ASSERT_TRUE(badAfter);
  EXPECT_NE(badAfter, badBefore);
  EXPECT_TRUE(badAfter->fileWithPath(bad));
  EXPECT_NE(engine.pool->accessorWithPath(good), goodBefore);
}

TEST_F(PoolVolumesTest, ARemovedDatabaseFileDropsNoOtherAccessor) {
  const auto gone = mountWithDatabase("gone");
  const auto stays = mountWithDatabase("stays");
  const auto kept = engine.pool->accessorWithPath(stays);
  ASSERT_TRUE(engine.pool->accessorWithPath(gone));
  fs::remove(databaseOf(gone));
  EXPECT_EQ(engine.pool->accessorWithPath(gone), nullptr);
  EXPECT_EQ(engine.pool->accessorWithPath(stays), kept);
}

// --- Races while a database is opened ------------------------------------------------------------

TEST_F(PoolVolumesTest, TheLoserOfARaceToOpenADatabaseGetsTheWinnersAccessor) {
  const auto root = mountWithDatabase("v");
  WVDBPool::Accessor first;
  databases.meanwhile = [&] { first = engine.pool->accessorWithPath(root); };
  const auto second = engine.pool->accessorWithPath(root);
  ASSERT_TRUE(first);
  EXPECT_EQ(second, first);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.dispatch.delayed(), 1U) << "only one accessor keeps refreshing";
}

TEST_F(PoolVolumesTest, AnUnmountRequestWhileTheDatabaseIsBeingOpenedReleasesTheVolume) {
  const auto root = mountWithDatabase("v");
  databases.meanwhile = [&] {
    EXPECT_TRUE(engine.pool->accessorWithPath(root));
    EXPECT_EQ(engine.approvals.ask(root), std::nullopt);
  };
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.dispatch.delayed(), 1U) << "only the end of the block is scheduled";
}

// --- Unmounts ------------------------------------------------------------------------------------

TEST_F(PoolVolumesTest, ASecondRequestWhileBlockedDoesNotExtendTheFiveSeconds) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(engine.pool->accessorWithPath(root));
  EXPECT_EQ(engine.approvals.ask(root), std::nullopt);
  engine.dispatch.advance(3s);
  EXPECT_EQ(engine.approvals.ask(root), std::nullopt);
  engine.dispatch.advance(1999ms);
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
  engine.dispatch.advance(1ms);
  EXPECT_TRUE(engine.pool->accessorWithPath(root));
}

TEST_F(PoolVolumesTest, AVolumeUnmountedDuringTheFiveSecondsStaysWithoutAnAccessor) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(engine.pool->accessorWithPath(root));
  engine.approvals.ask(root);
  fs::remove(databaseOf(root));
  engine.dispatch.advance(5s);
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, ReinitDoesNotLiftABlock) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(engine.pool->accessorWithPath(root));
  engine.approvals.ask(root);
  engine.pool->reinit();
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
  engine.pool->setAccountId("42");
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, AVolumePathMayHaveATrailingSeparator) {
  const auto root = mountWithDatabase("v");
  const std::weak_ptr<WVDBAccessor> accessor = engine.pool->accessorWithPath(root);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.approvals.ask(root + "/"), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_TRUE(accessor.expired());
  EXPECT_EQ(engine.pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, AnUnmountRequestDropsOtherVolumesAccessorsWithoutStoppingThem) {
  const auto leaving = mountWithDatabase("leaving");
  const auto staying = mountWithDatabase("staying");
  ASSERT_TRUE(engine.pool->accessorWithPath(leaving));
  const std::weak_ptr<WVDBAccessor> other = engine.pool->accessorWithPath(staying);
  engine.dispatch.runAll();
  engine.approvals.ask(leaving);
  engine.dispatch.advance(10s);
  EXPECT_FALSE(other.expired());
  const auto reopened = engine.pool->accessorWithPath(staying);
  engine.dispatch.runAll();
  EXPECT_TRUE(reopened);
  EXPECT_TRUE(other.expired()) << "reopening stops the dropped accessor";
}

}  // namespace
}  // namespace wevora
