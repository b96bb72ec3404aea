#include "FinderIntegration/finder_bundle/WVIconProvider.h"

#include <filesystem>
#include <fstream>
#include <latch>
#include <semaphore>
#include <thread>
#include <unistd.h>

#include <glib.h>
#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/OperationQueue/WVPerformSelectorOperation.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/ManualVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/RecordingHost/RecordingHost.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::SyncDatabase;
using Word = WVIconProvider::Word;

constexpr const char* kSynced = SyncDatabase::kSynchronized;
constexpr const char* kTop = SyncDatabase::kTop;

/// A folder whose path has no capitals: only such paths are redrawn when they are listed.
class LowerCaseFolder {
 public:
  LowerCaseFolder() {
    static int number = 0;
    path_ = (fs::temp_directory_path() /
             ("wevora-test-" + std::to_string(::getpid()) + "-" + std::to_string(number++)))
                .string();
    fs::create_directories(path_);
  }
  ~LowerCaseFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  LowerCaseFolder(const LowerCaseFolder&) = delete;
  LowerCaseFolder& operator=(const LowerCaseFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// The provider on one volume, in virtual time, inside a recording host.
class ProviderTest : public testing::Test {
 protected:
  ProviderTest() {
    fs::create_directories(volume);
    volumes.volumes.push_back({volume, "ext4"});
    database.addTop();
    pool->setAccountId("1");
  }
  std::string databaseOf(const std::string& mount) { return mount + "/Wevora-Account-1.db"; }
  void touch(const std::string& name) { std::ofstream(volume + "/" + name) << "x"; }
  /// A file of the volume with its row, at the top.
  std::string addFile(const std::string& name, const SyncDatabase::Text& synchronized) {
    touch(name);
    database.addFile(name, kTop, name, synchronized);
    return volume + "/" + name;
  }
  Word draw(const std::string& path) { return provider->colorFor(ItemURL(path)); }
  /// Draws, lets the refreshes end, draws again.
  Word settled(const std::string& path) {
    draw(path);
    dispatch.runAll();
    return draw(path);
  }
  platform::ManualOperationQueue& queue() { return dispatch.lastOperationQueue(); }
  /// Lets requests reach the operation queue, and runs none of them.
  void queueRequests() { dispatch.serialQueues("support_queue").back()->runAll(); }

  LowerCaseFolder folder;
  std::string volume = folder.path() + "/volume";
  platform::ManualVolumes volumes;
  testing_host::RecordingHost host;
  platform::SystemClock systemClock;
  platform::SqliteDatabases databases{systemClock};
  platform::ManualUnmountApprovals approvals;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  WVFinderTools tools{host.runtime, dispatch.mainQueue(), clock};
  SyncDatabase database{(fs::create_directories(volume), databaseOf(volume))};
  std::shared_ptr<WVDBPool> pool = WVDBPool::init({databases, dispatch, volumes, approvals});
  std::shared_ptr<WVIconProvider> provider = WVIconProvider::init({clock, dispatch, tools, pool});
};

// --- Words ---------------------------------------------------------------------------------------

TEST_F(ProviderTest, ItemsAreGreenBlueOrRedOnceTheirFolderWasRead) {
  const auto done = addFile("done", kSynced);
  const auto waiting = addFile("waiting", std::nullopt);
  fs::create_directory(volume + "/sub");
  database.addFolder("sub", kTop, "sub");
  EXPECT_EQ(draw(done), std::nullopt);
  dispatch.runAll();
  EXPECT_EQ(draw(done), "green");
  EXPECT_EQ(draw(waiting), "blue");
  EXPECT_EQ(draw(volume + "/sub"), "red");
}

/// A main thread that is always idle: what it is given has run when the giver goes on.
class IdleMainThread : public platform::Dispatch {
 public:
  explicit IdleMainThread(platform::Dispatch& others) : others_(others) {}
  platform::Queue& mainQueue() override { return main_; }
  std::shared_ptr<platform::Queue> serialQueue(std::string_view name) override {
    return others_.serialQueue(name);
  }
  std::shared_ptr<platform::OperationQueue> operationQueue(std::size_t maxConcurrent) override {
    return others_.operationQueue(maxConcurrent);
  }

 private:
  class AtOnce : public platform::Queue {
   public:
    void async(platform::Block block) override { block(); }
    std::shared_ptr<platform::DelayedBlock> after(std::chrono::nanoseconds,
                                                  platform::Block) override {
      return nullptr;
    }
  };
  platform::Dispatch& others_;
  AtOnce main_;
};

TEST_F(ProviderTest, AViewThatDrawsAsSoonAsItIsAskedHasItsNewWord) {
  IdleMainThread idle(dispatch);
  WVFinderTools idleTools(host.runtime, idle.mainQueue(), clock);
  const auto eager = WVIconProvider::init({clock, idle, idleTools, pool});
  const auto item = addFile("item", kSynced);
  Word drawn;
  const auto viewClass = host.runtime.registerClass("EagerView");
  viewClass->addMethod(
      "setNeedsDisplay:", platform::Implementation::of<void(bool)>([&](const platform::Id&, bool) {
        drawn = eager->colorFor(ItemURL(item));
      }),
      "v@:B");
  eager->setView(std::make_shared<platform::Object>(*viewClass), item);
  eager->colorFor(ItemURL(item));
  dispatch.runAll();
  EXPECT_EQ(drawn, "green");
}

TEST_F(ProviderTest, AFolderIsRedEvenWhenItIsBackedUp) {
  fs::create_directory(volume + "/sub");
  database.addFolder("sub", kTop, "sub", kSynced);
  EXPECT_EQ(settled(volume + "/sub"), "red");
}

TEST_F(ProviderTest, AnUnreadableItemIsEmptyEvenWhenAWordIsKnown) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  fs::remove(path);
  EXPECT_EQ(draw(path), "");
}

TEST_F(ProviderTest, AnItemWithoutARowHasNoWord) {
  touch("unknown");
  EXPECT_EQ(settled(volume + "/unknown"), std::nullopt);
}

TEST_F(ProviderTest, ARowWithoutANameGivesNoEntryToOthers) {
  touch("named");
  database.addRow("x", std::string(kTop), false, std::nullopt, "named", std::nullopt);
  EXPECT_EQ(settled(volume + "/named"), std::nullopt);
}

TEST_F(ProviderTest, TheBootVolumesRootIsEmptyWithoutRules) {
  EXPECT_EQ(draw("/"), "");
  EXPECT_EQ(provider->pathTypeForPath(ItemURL("/")), WVPathTypeNone);
}

TEST_F(ProviderTest, TheBootVolumesRootIsRedWhileItsDatabaseHasAnIncludedRule) {
  // The database of "/" is taken out of the machine's root by the account's name.
  SyncDatabase boot(folder.path() + "/boot.db");
  boot.addTop();
  boot.addRule("users");
  pool->setAccountId("/.." + folder.path() + "/boot");
  EXPECT_EQ(draw("/"), "") << "the rules are not read yet";
  dispatch.runAll();
  EXPECT_EQ(provider->pathTypeForPath(ItemURL("/")), WVPathTypeRuleFolder);
  EXPECT_EQ(draw("/"), "red");
  boot.writer.runScript("UPDATE fscr SET exclude=1");
  dispatch.advance(2s);
  EXPECT_EQ(provider->pathTypeForPath(ItemURL("/")), WVPathTypeNone);
  EXPECT_EQ(draw("/"), "");
}

// --- Path types ----------------------------------------------------------------------------------

class PathTypeTest : public ProviderTest {
 protected:
  /// The type of an item of the volume, by the accessor of its volume.
  WVPathType typeOf(const std::string& name) {
    const auto accessor = pool->accessorWithPath(volume);
    dispatch.runAll();
    return WVIconProvider::pathTypeForPath(ItemURL(volume + "/" + name), accessor.get());
  }
  void makeFile(const std::string& name) {
    fs::create_directories(fs::path(volume + "/" + name).parent_path());
    touch(name);
  }
};

TEST_F(PathTypeTest, AnExcludedRulesOwnFolderIsARuleFolder) {
  fs::create_directory(volume + "/private");
  database.addRule("private", true);
  EXPECT_EQ(typeOf("private"), WVPathTypeRuleFolder);
}

TEST_F(PathTypeTest, AFolderThatHoldsARulesFolderIsARuleFolder) {
  fs::create_directories(volume + "/users/x/docs");
  database.addRule("users/x/docs");
  EXPECT_EQ(typeOf("users"), WVPathTypeRuleFolder);
}

TEST_F(PathTypeTest, TheLastMatchingRuleOfAListCountsNotTheLongest) {
  makeFile("a/b/c/file");
  database.addRule("a");
  database.addRule("a/b/c");
  database.addRule("a/b", true);
  EXPECT_EQ(typeOf("a/b/c/file"), WVPathTypeIncluded);
  database.writer.runScript("DELETE FROM fscr WHERE root_folder='a'");
  database.addRule("a");
  dispatch.advance(2s);
  EXPECT_EQ(typeOf("a/b/c/file"), WVPathTypeNone);
}

TEST_F(PathTypeTest, WhatIsNotTouchedAbsentOrWithoutRulesIsNone) {
  makeFile("docs/file");
  makeFile("other/file");
  database.addRule("docs");
  EXPECT_EQ(typeOf("docs/file"), WVPathTypeIncluded);
  EXPECT_EQ(typeOf("docs/absent"), WVPathTypeNone);
  EXPECT_EQ(typeOf("other/file"), WVPathTypeNone);
  EXPECT_EQ(WVIconProvider::pathTypeForPath(ItemURL(volume + "/docs/file"), nullptr),
            WVPathTypeNone);
}

TEST_F(PathTypeTest, GoesThroughThePoolsAccessorAndIsNoneForWhatIsUnreadable) {
  makeFile("docs/file");
  database.addRule("docs");
  pool->accessorWithPath(volume);
  dispatch.runAll();
  EXPECT_EQ(provider->pathTypeForPath(ItemURL(volume + "/docs/file")), WVPathTypeIncluded);
  EXPECT_EQ(provider->pathTypeForPath(ItemURL(volume + "/docs/absent")), WVPathTypeNone);
}

// --- Requests ------------------------------------------------------------------------------------

TEST_F(ProviderTest, AMissingEntryIsReadWithVeryHighPriority) {
  draw(addFile("file", kSynced));
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), 8);
  EXPECT_EQ(queue().next()->threadPriority(), 0.3);
}

TEST_F(ProviderTest, AnEntryOfFourSecondsIsFreshAndAnOlderOneIsReadWithLowPriority) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  clock.advance(4000ms);
  EXPECT_EQ(draw(path), "green");
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 0U);
  clock.advance(1ms);
  EXPECT_EQ(draw(path), "green");
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), -4);
  EXPECT_EQ(queue().next()->threadPriority(), 0.1);
}

TEST_F(ProviderTest, AnOldEntryIsNotReadWhileEightRefreshesAreUnfinished) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  clock.advance(5s);
  for (int i = 0; i < 8; ++i) {
    fs::create_directory(volume + "/" + std::to_string(i));
    draw(volume + "/" + std::to_string(i) + "/..");  // readable; its folder is not cached
  }
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 8U);
  draw(path);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 8U);
  EXPECT_TRUE(queue().runNext());
  draw(path);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 8U) << "with seven unfinished it is queued";
}

TEST_F(ProviderTest, AMissingEntryIsReadHoweverLongTheQueueIs) {
  for (int i = 0; i < 20; ++i) {
    fs::create_directory(volume + "/" + std::to_string(i));
    draw(volume + "/" + std::to_string(i) + "/..");
  }
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 20U);
}

TEST_F(ProviderTest, TwoDrawsInOneFolderQueueOneRefreshAndThePendingOneKeepsItsPriority) {
  provider->addOperationWithFolderName(volume + "/a", -4, 0.1);
  provider->addOperationWithFolderName(volume + "/b", 8, 0.3);
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), -4);
  const auto operation =
      std::dynamic_pointer_cast<WVPerformSelectorOperation<WVIconProvider, std::string>>(
          queue().next());
  ASSERT_TRUE(operation);
  EXPECT_EQ(operation->arg(), volume + "/a") << "the item, not its folder";
}

TEST_F(ProviderTest, AFolderCanBeQueuedAgainOnceItsRefreshHasEnded) {
  provider->addOperationWithFolderName(volume + "/a", 8, 0.3);
  dispatch.runAll();
  provider->addOperationWithFolderName(volume + "/a", 8, 0.3);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 1U);
}

TEST_F(ProviderTest, ARequestWithoutAPathIsNone) {
  provider->addOperationWithFolderName(std::nullopt, 8, 0.3);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 0U);
}

TEST_F(ProviderTest, ARefreshThatEndsWithAnExceptionDoesNotLeaveItsFolderPending) {
  fs::create_directories(volume + "/twice/sub");
  touch("twice/sub/file");
  database.addFolder("1", kTop, "twice");
  database.addFolder("2", kTop, "twice");
  const auto path = volume + "/twice/sub/file";
  EXPECT_EQ(settled(path), std::nullopt);
  dispatch.runAll();
  database.removeRow("2");
  database.addFolder("s", "1", "sub");
  database.addFile("f", "s", "file", kSynced);
  EXPECT_EQ(settled(path), "green");
}

TEST_F(ProviderTest, WhatWaitsForIdleRunsWhenNoRefreshIsPending) {
  bool idle = false;
  draw(addFile("file", kSynced));
  queueRequests();
  provider->performWhenIdle([&] { idle = true; });
  queueRequests();
  dispatch.manualMainQueue().runAll();
  EXPECT_FALSE(idle);
  dispatch.runAll();
  EXPECT_TRUE(idle);
  idle = false;
  provider->performWhenIdle([&] { idle = true; });
  dispatch.runAll();
  EXPECT_TRUE(idle);
}

// --- Redraws -------------------------------------------------------------------------------------

TEST_F(ProviderTest, AWordThatChangesRedrawsTheStoredViewOnceAndListsThePathOnce) {
  const auto path = addFile("file", std::nullopt);
  const auto same = addFile("same", std::nullopt);
  EXPECT_EQ(settled(path), "blue");
  const auto browser = host.addBrowserWindow({path, same});
  const auto view = host.makeView();
  const auto other = host.makeView();
  provider->setView(view, path);
  provider->setView(other, same);
  database.setSynchronized("file", kSynced);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(draw(path), "green");
  EXPECT_EQ(view->redraws, 1);
  EXPECT_EQ(other->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 1);
  EXPECT_EQ(browser->items[1].controlView->redraws, 0);
}

TEST_F(ProviderTest, AWordThatStaysRedrawsNothing) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  const auto browser = host.addBrowserWindow({path});
  const auto view = host.makeView();
  provider->setView(view, path);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(view->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST_F(ProviderTest, AViewIsForgottenOnceItWasRedrawn) {
  const auto path = addFile("file", std::nullopt);
  const auto view = host.makeView();
  provider->setView(view, path);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
  EXPECT_EQ(view.use_count(), 1);
  database.setSynchronized("file", kSynced);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
  provider->setView(view, path);
  database.setSynchronized("file", std::nullopt);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(view->redraws, 2);
}

TEST_F(ProviderTest, ALayerIsRedrawnBehindAReloadOfTheDesktop) {
  const auto path = addFile("file", std::nullopt);
  const auto layer = host.makeLayer();
  provider->setView(layer, path);
  provider->updateCacheForPath(path);
  EXPECT_EQ(layer->redraws, 0) << "not on the refreshing thread";
  dispatch.runAll();
  EXPECT_EQ(layer->redraws, 1);
  EXPECT_EQ(host.desktopReloads, 1);
}

TEST_F(ProviderTest, AViewOrAPathThatIsNoneIsNotStored) {
  const auto view = host.makeView();
  provider->setView(view, std::nullopt);
  provider->setView(nullptr, volume + "/file");
  EXPECT_EQ(view.use_count(), 1);
}

TEST_F(ProviderTest, ReportingACellThatWentAwayDoesNothing) {
  const auto path = addFile("file", std::nullopt);
  const auto view = host.makeView();
  provider->setView(view, path);
  provider->removeCell(view);
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
}

// --- The cache -----------------------------------------------------------------------------------

TEST_F(ProviderTest, TheFolderAfterTheEightHundredthEvictsTheLeastRecentlyRefreshed) {
  const auto name = [](int i) { return "folder " + std::to_string(i); };
  const auto item = [&](int i) { return volume + "/" + name(i) + "/item"; };
  agent_sim::DatabaseWriter::Transaction transaction(database.writer);
  for (int i = 0; i <= 800; ++i) {
    fs::create_directory(volume + "/" + name(i));
    std::ofstream(item(i)) << "x";
    database.addFolder(name(i), kTop, name(i));
    database.addFile("item " + std::to_string(i), name(i), "item", kSynced);
  }
  transaction.commit();
  for (int i = 0; i < 800; ++i) provider->updateCacheForPath(item(i));
  provider->updateCacheForPath(item(0));  // now the most recent; the next in line is the second
  provider->updateCacheForPath(item(800));
  EXPECT_EQ(draw(item(1)), std::nullopt);
  EXPECT_EQ(draw(item(0)), "green");
  for (int i = 2; i <= 800; ++i) ASSERT_EQ(draw(item(i)), "green") << i;
}

TEST_F(ProviderTest, AFolderWhoseRowIsGoneLosesItsWordsWithoutRedrawsAndIsReadAtEveryDraw) {
  fs::create_directory(volume + "/sub");
  touch("sub/file");
  database.addFolder("sub", kTop, "sub");
  database.addFile("file", "sub", "file", kSynced);
  const auto path = volume + "/sub/file";
  EXPECT_EQ(settled(path), "green");
  const auto browser = host.addBrowserWindow({path});
  database.removeRow("sub");
  database.removeRow("file");
  provider->updateCacheForPath(path);
  dispatch.runAll();
  EXPECT_EQ(browser->view->redraws, 0);
  for (int draws = 0; draws < 2; ++draws) {
    EXPECT_EQ(draw(path), std::nullopt);
    queueRequests();
    ASSERT_EQ(queue().operationCount(), 1U);
    EXPECT_EQ(queue().next()->queuePriority(), 8);
    dispatch.runAll();
  }
}

TEST_F(ProviderTest, ADatabaseErrorWhileListingCountsAsNoRows) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  // The top row is found, but its identifier breaks the query for its children.
  database.writer.run("UPDATE file SET file_id=? WHERE parent_id IS NULL", {std::string("it's")});
  provider->updateCacheForPath(path);
  EXPECT_EQ(draw(path), std::nullopt);
  database.writer.run("UPDATE file SET file_id=? WHERE parent_id IS NULL", {std::string(kTop)});
  EXPECT_EQ(settled(path), "green");
}

// --- Volume tops ---------------------------------------------------------------------------------

class VolumeTopTest : public ProviderTest {
 protected:
  /// A second volume, mounted at a folder.
  SyncDatabase mount(const std::string& at) {
    fs::create_directories(at);
    volumes.volumes.push_back({at, "ext4"});
    SyncDatabase(databaseOf(at)).addTop();
    return SyncDatabase(databaseOf(at));
  }
  /// Opens the volume and reads its rules.
  void readRules(const std::string& at) {
    pool->accessorWithPath(at);
    dispatch.advance(2s);
  }
};

TEST_F(VolumeTopTest, InAFolderWithoutADatabaseIsRedWhileItsOwnRulesIncludeSomething) {
  const auto top = folder.path() + "/stick";
  auto inner = mount(top);
  readRules(top);
  EXPECT_EQ(settled(top), std::nullopt);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(settled(top), "red");
  inner.writer.runScript("DELETE FROM fscr");
  inner.addRule("docs", true);
  readRules(top);
  provider->updateCacheForPath(top);
  EXPECT_EQ(draw(top), std::nullopt);
}

TEST_F(VolumeTopTest, InAFolderWithADatabaseJoinsTheFoldersOwnWords) {
  const auto file = addFile("file", kSynced);
  const auto top = volume + "/stick";
  auto inner = mount(top);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(settled(top), "red");
  EXPECT_EQ(draw(file), "green");
  inner.writer.runScript("DELETE FROM fscr");
  readRules(top);
  provider->updateCacheForPath(top);
  EXPECT_EQ(draw(top), std::nullopt);
  EXPECT_EQ(draw(file), "green");
}

TEST_F(VolumeTopTest, ARefreshForItKeepsTheFoldersOtherEntriesAndOneForAFileDropsThem) {
  const auto gone = addFile("gone", kSynced);
  const auto top = volume + "/stick";
  auto inner = mount(top);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(settled(gone), "green");
  database.removeRow("gone");
  provider->updateCacheForPath(top);
  EXPECT_EQ(draw(gone), "green");
  EXPECT_EQ(draw(top), "red");
  provider->updateCacheForPath(gone);
  EXPECT_EQ(draw(gone), std::nullopt);
  EXPECT_EQ(draw(top), std::nullopt);
}

TEST_F(VolumeTopTest, AFolderOutsideAllDatabasesIsNeverEvicted) {
  const auto top = folder.path() + "/stick";
  mount(top).addRule("docs");
  readRules(top);
  EXPECT_EQ(settled(top), "red");
  for (int i = 0; i < 900; ++i)
    provider->updateCacheForPath(volume + "/" + std::to_string(i) + "/item");
  EXPECT_EQ(draw(top), "red");
}

TEST_F(VolumeTopTest, AFolderWithoutADatabaseForAnItemWithoutOneHasNoWords) {
  std::ofstream(folder.path() + "/plain") << "x";
  EXPECT_EQ(settled(folder.path() + "/plain"), std::nullopt);
}

// --- Switch and reset ----------------------------------------------------------------------------

TEST_F(ProviderTest, StartsTurnedOffAndSwitchingRedrawsAllAndForcesTheDesktop) {
  EXPECT_FALSE(provider->turnedOn());
  const auto browser = host.addBrowserWindow({});
  provider->setTurnedOn(true);
  provider->setTurnedOn(false);
  dispatch.runAll();
  EXPECT_FALSE(provider->turnedOn());
  EXPECT_EQ(browser->view->redraws, 2);
  EXPECT_EQ(host.desktopReloads, 2);
}

TEST_F(ProviderTest, ReinitForgetsWordsViewsAndAccessors) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(settled(path), "green");
  const auto accessor = pool->accessorWithPath(path);
  const auto view = host.makeView();
  provider->setView(view, path);
  provider->reinit();
  dispatch.runAll();
  EXPECT_EQ(view.use_count(), 1);
  EXPECT_NE(pool->accessorWithPath(path), accessor);
  EXPECT_EQ(draw(path), std::nullopt);
}

TEST_F(ProviderTest, AfterReinitTheNextDrawQueuesItsFolderAgain) {
  const auto path = addFile("file", kSynced);
  draw(path);
  queueRequests();
  provider->reinit();
  dispatch.runAll();
  EXPECT_EQ(settled(path), "green");
}

/// Databases whose queries wait until the test lets them go.
class GatedDatabases : public platform::Databases {
 public:
  explicit GatedDatabases(platform::Databases& real) : real_(real) {}
  std::shared_ptr<platform::Database> databaseWithPath(const std::string& path) override {
    return std::make_shared<Gated>(*this, real_.databaseWithPath(path));
  }
  std::latch eightInside{8};
  std::counting_semaphore<64> gate{0};
  std::atomic<bool> gated{false};

 private:
  class Gated : public platform::Database {
   public:
    Gated(GatedDatabases& gates, std::shared_ptr<platform::Database> real)
        : gates_(gates), real_(std::move(real)) {}
    bool open(platform::DatabaseErrorOut error) override { return real_->open(error); }
    void close() override { real_->close(); }
    std::unique_ptr<platform::Statement> prepare(std::string_view sql,
                                                 platform::DatabaseErrorOut error) override {
      if (gates_.gated) {
        gates_.eightInside.count_down();
        gates_.gate.acquire();
      }
      return real_->prepare(sql, error);
    }
    std::unique_ptr<platform::ResultSet> executeQuery(std::string_view sql,
                                                      platform::DatabaseErrorOut error) override {
      return real_->executeQuery(sql, error);
    }

   private:
    GatedDatabases& gates_;
    std::shared_ptr<platform::Database> real_;
  };
  platform::Databases& real_;
};

TEST_F(ProviderTest, ReinitWhileEightRefreshesRunForgetsOnlyWhenTheyHaveEnded) {
  const auto path = addFile("file", kSynced);
  GatedDatabases gates(databases);
  platform::GLibDispatch threads;
  const auto realPool = WVDBPool::init({gates, threads, volumes, approvals});
  realPool->setAccountId("1");
  const auto real = WVIconProvider::init({clock, threads, tools, realPool});
  real->updateCacheForPath(path);
  ASSERT_EQ(real->colorFor(ItemURL(path)), "green");

  gates.gated = true;
  for (int i = 0; i < 9; ++i)
    real->addOperationWithFolderName(volume + "/" + std::to_string(i) + "/item", 8, 0.3);
  gates.eightInside.wait();
  real->reinit();
  EXPECT_EQ(real->colorFor(ItemURL(path)), "green") << "eight still run";
  gates.gated = false;
  gates.gate.release(8);
  // What is given to the provider's own queue now runs behind the reset.
  std::atomic<bool> idle{false};
  real->performWhenIdle([&] { idle = true; });
  while (!idle) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(real->colorFor(ItemURL(path)), std::nullopt);
}

}  // namespace
}  // namespace wevora
