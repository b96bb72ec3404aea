#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::SyncDatabase;

/// Real databases; something may happen, once, while the next one is being opened.
class InterruptedDatabases : public platform::Databases {
 public:
  std::shared_ptr<platform::Database> databaseWithPath(const std::string& path) override {
    if (const auto happens = std::exchange(meanwhile, nullptr)) happens();
    return real_.databaseWithPath(path);
  }
  std::function<void()> meanwhile;

 private:
  platform::SystemClock clock_;
  platform::SqliteDatabases real_{clock_};
};

/// A pool over a mount table that is a text. Account 42; nothing is mounted yet.
class PoolVolumesTest : public testing::Test {
 protected:
  PoolVolumesTest() { pool->setAccountId("42"); }

  /// Mounts a new folder; answers its path.
  std::string mount(const std::string& name, const std::string& kind) {
    const auto root = folder.path(name);
    fs::create_directories(root + "/folder");
    std::string escaped = root;
    for (auto at = escaped.find(' '); at != std::string::npos; at = escaped.find(' '))
      escaped.replace(at, 1, "\\040");
    table += "40 22 8:17 / " + escaped + " rw,relatime shared:1 - " + kind + " /dev/sdb1 rw\n";
    return root;
  }
  /// As `mount`, a FAT volume with a database.
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
  int asked = 0;
  platform::MountInfoVolumes volumes{[this] {
    ++asked;
    return table;
  }};
  InterruptedDatabases databases;
  platform::ManualUnmountApprovals approvals;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  std::shared_ptr<WVDBPool> pool = WVDBPool::init({databases, dispatch, volumes, approvals});
};

// --- Where databases are -------------------------------------------------------------------------

TEST_F(PoolVolumesTest, TheKindOfTheVolumeDecidesWhereItsDatabaseIs) {
  const auto fat = mount("fat", "vfat");
  const auto exfat = mount("exfat", "exfat");
  const auto hfs = mount("hfs", "hfs");
  const auto hfsplus = mount("hfsplus", "hfsplus");
  for (const auto& plain : {fat, exfat}) {
    EXPECT_EQ(pool->dbPathForMountPoint(plain + "/"), plain + "/Wevora-Account-42.db");
    EXPECT_EQ(pool->dbPathForMountPoint(plain), plain + "/Wevora-Account-42.db");
  }
  for (const auto& mac : {hfs, hfsplus, folder.path("unknown")}) {
    EXPECT_EQ(pool->dbPathForMountPoint(mac + "/"), mac + "/.wevora/Wevora-Account-42.db");
    EXPECT_EQ(pool->dbPathForMountPoint(mac), mac + "/.wevora/Wevora-Account-42.db");
  }
}

TEST_F(PoolVolumesTest, TheBootVolumeIsTreatedLikeAnyOther) {
  EXPECT_EQ(pool->dbPathForMountPoint("/"), "/.wevora/Wevora-Account-42.db");
  table = "22 1 8:1 / / rw - hfsplus /dev/sda1 rw\n";
  pool->reinit();
  EXPECT_EQ(pool->dbPathForMountPoint("/"), "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(pool->mountPointForPath("/nowhere"), "/");
  table = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n";
  pool->reinit();
  EXPECT_EQ(pool->dbPathForMountPoint("/"), "/Wevora-Account-42.db");
}

TEST_F(PoolVolumesTest, AnHfsVolumesDatabaseIsOpenedInItsHiddenFolder) {
  const auto root = mount("Mac Disk", "hfsplus");
  fs::create_directory(root + "/.wevora");
  SyncDatabase database(root + "/.wevora/Wevora-Account-42.db");
  database.addTop();
  database.addFile("f", SyncDatabase::kTop, "f");
  const auto accessor = pool->accessorWithPath(root + "/folder");
  ASSERT_TRUE(accessor);
  EXPECT_EQ(accessor->dbPath(), root + "/.wevora/Wevora-Account-42.db");
  EXPECT_EQ(accessor->mountPoint(), root + "/");
  const auto record = accessor->fileWithPath(root + "/f");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "f");
}

TEST_F(PoolVolumesTest, ADatabasesPlaceIsKeptUntilTheAccountChangesOrThePoolStartsAfresh) {
  const auto root = mount("v", "vfat");
  const auto plain = root + "/Wevora-Account-42.db";
  const auto hidden = root + "/.wevora/Wevora-Account-42.db";
  EXPECT_EQ(pool->dbPathForMountPoint(root + "/"), plain);
  table.clear();
  mount("v", "hfsplus");
  EXPECT_EQ(pool->dbPathForMountPoint(root + "/"), plain);
  pool->setAccountId("42");
  EXPECT_EQ(pool->dbPathForMountPoint(root + "/"), hidden);
  table.clear();
  mount("v", "vfat");
  EXPECT_EQ(pool->dbPathForMountPoint(root + "/"), hidden);
  pool->reinit();
  EXPECT_EQ(pool->dbPathForMountPoint(root + "/"), plain);
}

// --- Which volume holds a path -------------------------------------------------------------------

TEST_F(PoolVolumesTest, AVolumeWhoseNameBeginsLikeAnothersIsNotTakenForIt) {
  for (const bool shorterFirst : {true, false}) {
    table.clear();
    const auto first = mount(shorterFirst ? "A" : "AB", "vfat");
    const auto second = mount(shorterFirst ? "AB" : "A", "vfat");
    pool->reinit();
    for (const auto& root : {first, second}) {
      EXPECT_EQ(pool->mountPointForPath(root), root + "/");
      EXPECT_EQ(pool->mountPointForPath(root + "/folder"), root + "/");
      EXPECT_EQ(pool->mountPointForPath(root + "/x"), root + "/");
    }
  }
}

TEST_F(PoolVolumesTest, AVolumeInsideAnotherHoldsItsOwnPaths) {
  const auto inner = mount("outer/inner", "vfat");
  const auto outer = mount("outer", "vfat");
  EXPECT_EQ(pool->mountPointForPath(inner + "/folder"), inner + "/");
  EXPECT_EQ(pool->mountPointForPath(outer + "/folder"), outer + "/");
}

TEST_F(PoolVolumesTest, WhereNoVolumeHoldsAPathThereIsNone) {
  EXPECT_EQ(pool->mountPointForPath(folder.path()), std::nullopt);
  EXPECT_EQ(pool->accessorWithPath(folder.path()), nullptr);
  EXPECT_EQ(pool->dbPathForMountPoint(std::nullopt), std::nullopt);
}

TEST_F(PoolVolumesTest, TheFolderOfAFileIsWhatIsRemembered) {
  const auto root = mount("v", "vfat");
  std::ofstream(root + "/folder/file") << "x";
  EXPECT_EQ(pool->mountPointForPath(root + "/folder/file"), root + "/");
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(pool->mountPointForPath(root + "/folder"), root + "/");
  EXPECT_EQ(pool->mountPointForPath(root + "/folder/missing"), root + "/");
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(pool->mountPointForPath(root), root + "/");
  EXPECT_EQ(asked, 2);
}

// --- Dropping accessors --------------------------------------------------------------------------

TEST_F(PoolVolumesTest, SettingTheSameAccountOpensDatabasesAnewToo) {
  const auto root = mountWithDatabase("v");
  const auto before = pool->accessorWithPath(root);
  ASSERT_TRUE(before);
  pool->setAccountId("42");
  const auto after = pool->accessorWithPath(root);
  EXPECT_TRUE(after);
  EXPECT_NE(after, before);
}

TEST_F(PoolVolumesTest, AnAccountThatGoesTakesEveryDatabaseWithItUntilItComesBack) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(pool->accessorWithPath(root));
  pool->setAccountId(std::nullopt);
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
  EXPECT_EQ(pool->accessorWithPath(root + "/folder"), nullptr);
  pool->setAccountId("42");
  EXPECT_TRUE(pool->accessorWithPath(root));
}

TEST_F(PoolVolumesTest, AccessorsDroppedWithAnAccountAreNotStopped) {
  const auto root = mountWithDatabase("v");
  const std::weak_ptr<WVDBAccessor> dropped = pool->accessorWithPath(root);
  dispatch.runAll();
  pool->setAccountId("43");
  dispatch.advance(10s);
  EXPECT_FALSE(dropped.expired());
  EXPECT_EQ(dispatch.delayed(), 1U);
}

TEST_F(PoolVolumesTest, ADatabaseThatGoesBadIsForgottenWithAllOthersAndReopenedWhenAskedFor) {
  const auto bad = mount("bad", "vfat");
  const auto good = mountWithDatabase("good");
  std::ofstream(databaseOf(bad)) << std::string(5000, 'x');
  const auto goodBefore = pool->accessorWithPath(good);
  const auto badBefore = pool->accessorWithPath(bad);
  ASSERT_TRUE(badBefore);
  dispatch.runAll();
  fs::remove(databaseOf(bad));
  SyncDatabase(databaseOf(bad)).addTop();
  const auto badAfter = pool->accessorWithPath(bad);
  ASSERT_TRUE(badAfter);
  EXPECT_NE(badAfter, badBefore);
  EXPECT_TRUE(badAfter->fileWithPath(bad));
  EXPECT_NE(pool->accessorWithPath(good), goodBefore);
}

TEST_F(PoolVolumesTest, ADatabaseFileThatGoesTakesNoOtherAccessorWithIt) {
  const auto gone = mountWithDatabase("gone");
  const auto stays = mountWithDatabase("stays");
  const auto kept = pool->accessorWithPath(stays);
  ASSERT_TRUE(pool->accessorWithPath(gone));
  fs::remove(databaseOf(gone));
  EXPECT_EQ(pool->accessorWithPath(gone), nullptr);
  EXPECT_EQ(pool->accessorWithPath(stays), kept);
}

// --- Opening while something else happens --------------------------------------------------------

TEST_F(PoolVolumesTest, WhoOpensADatabaseSecondGetsTheFirstOnesAccessor) {
  const auto root = mountWithDatabase("v");
  WVDBPool::Accessor first;
  databases.meanwhile = [&] { first = pool->accessorWithPath(root); };
  const auto second = pool->accessorWithPath(root);
  ASSERT_TRUE(first);
  EXPECT_EQ(second, first);
  dispatch.runAll();
  EXPECT_EQ(dispatch.delayed(), 1U) << "only one of them goes on refreshing";
}

TEST_F(PoolVolumesTest, AVolumeAskedForWhileItsDatabaseIsBeingOpenedIsLetGo) {
  const auto root = mountWithDatabase("v");
  databases.meanwhile = [&] {
    EXPECT_TRUE(pool->accessorWithPath(root));
    EXPECT_EQ(approvals.ask(root), std::nullopt);
  };
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
  dispatch.runAll();
  EXPECT_EQ(dispatch.delayed(), 1U) << "only the end of the five seconds is waited for";
}

// --- Unmounts ------------------------------------------------------------------------------------

TEST_F(PoolVolumesTest, ASecondRequestWhileBlockedDoesNotProlongTheFiveSeconds) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(pool->accessorWithPath(root));
  EXPECT_EQ(approvals.ask(root), std::nullopt);
  dispatch.advance(3s);
  EXPECT_EQ(approvals.ask(root), std::nullopt);
  dispatch.advance(1999ms);
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
  dispatch.advance(1ms);
  EXPECT_TRUE(pool->accessorWithPath(root));
}

TEST_F(PoolVolumesTest, AVolumeThatWentInTheFiveSecondsStaysWithoutAnAccessor) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(pool->accessorWithPath(root));
  approvals.ask(root);
  fs::remove(databaseOf(root));
  dispatch.advance(5s);
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, StartingAfreshDoesNotLiftABlock) {
  const auto root = mountWithDatabase("v");
  ASSERT_TRUE(pool->accessorWithPath(root));
  approvals.ask(root);
  pool->reinit();
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
  pool->setAccountId("42");
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, AVolumesPathMayBeGivenWithItsSeparator) {
  const auto root = mountWithDatabase("v");
  const std::weak_ptr<WVDBAccessor> accessor = pool->accessorWithPath(root);
  dispatch.runAll();
  EXPECT_EQ(approvals.ask(root + "/"), std::nullopt);
  dispatch.runAll();
  EXPECT_TRUE(accessor.expired());
  EXPECT_EQ(pool->accessorWithPath(root), nullptr);
}

TEST_F(PoolVolumesTest, AnUnmountRequestDropsOtherVolumesAccessorsWithoutStoppingThem) {
  const auto leaving = mountWithDatabase("leaving");
  const auto staying = mountWithDatabase("staying");
  ASSERT_TRUE(pool->accessorWithPath(leaving));
  const std::weak_ptr<WVDBAccessor> other = pool->accessorWithPath(staying);
  dispatch.runAll();
  approvals.ask(leaving);
  dispatch.advance(10s);
  EXPECT_FALSE(other.expired());
  const auto anew = pool->accessorWithPath(staying);
  dispatch.runAll();
  EXPECT_TRUE(anew);
  EXPECT_TRUE(other.expired()) << "opened anew, the dropped one is stopped";
}

}  // namespace
}  // namespace wevora
