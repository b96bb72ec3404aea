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
#include "Tests/Engine/EngineUnderTest.h"
#include "Tests/RecordingHost/RecordingHost.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::EngineUnderTest;
using testing_host::SyncDatabase;
using testing_host::ThreadedEngineUnderTest;
using Word = WVIconProvider::Word;

constexpr const char* kSynced = SyncDatabase::kSynchronized;
constexpr const char* kTop = SyncDatabase::kTop;

/// A temporary folder with a lower-case path: listed paths match lower-cased item paths only.
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

/// A provider on one volume, in virtual time, inside a recording host.
class ProviderTest : public testing::Test {
 protected:
  ProviderTest() {
    fs::create_directories(volume);
    engine.volumes.volumes.push_back({volume, "ext4"});
    database.addTop();
  }
  std::string databaseOf(const std::string& mount) { return mount + "/Wevora-Account-1.db"; }
  void touch(const std::string& name) { std::ofstream(volume + "/" + name) << "x"; }
  /// Creates a file in the volume's root, with its row.
  std::string addFile(const std::string& name, const SyncDatabase::Text& synchronized) {
    touch(name);
    database.addFile(name, kTop, name, synchronized);
    return volume + "/" + name;
  }
  Word draw(const std::string& path) { return engine.provider->colorFor(ItemURL(path)); }
  /// Draws, runs all refreshes, draws again.
  Word drawRefreshed(const std::string& path) {
    draw(path);
    engine.dispatch.runAll();
    return draw(path);
  }
  platform::ManualOperationQueue& queue() { return engine.dispatch.lastOperationQueue(); }
  /// Moves requests to the operation queue without running them.
  void queueRequests() { engine.dispatch.serialQueues("support_queue").back()->runAll(); }

  LowerCaseFolder folder;
  std::string volume = folder.path() + "/volume";
  testing_host::RecordingHost host;
  SyncDatabase database{(fs::create_directories(volume), databaseOf(volume))};
  EngineUnderTest engine{{.runtime = &host.runtime, .accountId = "1"}};
};

// --- Words ---------------------------------------------------------------------------------------

TEST_F(ProviderTest, ItemsAreGreenBlueOrRedOnceTheirFolderIsRefreshed) {
  const auto done = addFile("done", kSynced);
  const auto waiting = addFile("waiting", std::nullopt);
  fs::create_directory(volume + "/sub");
  database.addFolder("sub", kTop, "sub");
  EXPECT_EQ(draw(done), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_EQ(draw(done), "green");
  EXPECT_EQ(draw(waiting), "blue");
  EXPECT_EQ(draw(volume + "/sub"), "red");
}

/// A main queue that runs each block immediately, inside async().
class ImmediateMainQueue : public platform::Dispatch {
 public:
  explicit ImmediateMainQueue(platform::Dispatch& others) : others_(others) {}
  platform::Queue& mainQueue() override { return main_; }
  std::shared_ptr<platform::Queue> serialQueue(std::string_view name) override {
    return others_.serialQueue(name);
  }
  std::shared_ptr<platform::OperationQueue> operationQueue(std::size_t maxConcurrent) override {
    return others_.operationQueue(maxConcurrent);
  }

 private:
  class Immediate : public platform::Queue {
   public:
    void async(platform::Block block) override { block(); }
    std::shared_ptr<platform::DelayedBlock> after(std::chrono::nanoseconds,
                                                  platform::Block) override {
      return nullptr;
    }
  };
  platform::Dispatch& others_;
  Immediate main_;
};

TEST_F(ProviderTest, AViewThatRedrawsAtOnceReadsTheNewWordFromTheCache) {
  ImmediateMainQueue immediate(engine.dispatch);
  WVFinderTools immediateTools(host.runtime, immediate.mainQueue(), engine.clock);
  const auto eager = WVIconProvider::init({engine.clock, immediate, immediateTools, engine.pool});
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
  engine.dispatch.runAll();
  EXPECT_EQ(drawn, "green");
}

TEST_F(ProviderTest, AFolderIsRedEvenWhenItIsBackedUp) {
  fs::create_directory(volume + "/sub");
  database.addFolder("sub", kTop, "sub", kSynced);
  EXPECT_EQ(drawRefreshed(volume + "/sub"), "red");
}

TEST_F(ProviderTest, AnUnreadableItemIsEmptyEvenWhenItsWordIsCached) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  fs::remove(path);
  EXPECT_EQ(draw(path), "");
}

TEST_F(ProviderTest, AnItemWithoutARowHasNoWord) {
  touch("unknown");
  EXPECT_EQ(drawRefreshed(volume + "/unknown"), std::nullopt);
}

TEST_F(ProviderTest, ARowWithoutANameAddsNoCacheEntryForOtherItems) {
  touch("named");
  database.addRow("x", std::string(kTop), false, std::nullopt, "named", std::nullopt);
  EXPECT_EQ(drawRefreshed(volume + "/named"), std::nullopt);
}

TEST_F(ProviderTest, TheBootVolumesRootIsEmptyWithoutRules) {
  EXPECT_EQ(draw("/"), "");
  EXPECT_EQ(engine.provider->pathTypeForPath(ItemURL("/")), WVPathTypeNone);
}

TEST_F(ProviderTest, TheBootVolumesRootIsRedWhileItsDatabaseHasAnIncludedRule) {
  // The account's name moves the database of "/" out of the root folder.
  SyncDatabase boot(folder.path() + "/boot.db");
  boot.addTop();
  boot.addRule("users");
  engine.pool->setAccountId("/.." + folder.path() + "/boot");
  EXPECT_EQ(draw("/"), "") << "the rules are not read yet";
  engine.dispatch.runAll();
  EXPECT_EQ(engine.provider->pathTypeForPath(ItemURL("/")), WVPathTypeRuleFolder);
  EXPECT_EQ(draw("/"), "red");
  boot.writer.runScript("UPDATE fscr SET exclude=1");
  engine.dispatch.advance(2s);
  EXPECT_EQ(engine.provider->pathTypeForPath(ItemURL("/")), WVPathTypeNone);
  EXPECT_EQ(draw("/"), "");
}

// --- Path types ----------------------------------------------------------------------------------

class PathTypeTest : public ProviderTest {
 protected:
  /// The type of an item, by its volume's accessor.
  WVPathType typeOf(const std::string& name) {
    const auto accessor = engine.pool->accessorWithPath(volume);
    engine.dispatch.runAll();
    return WVIconProvider::pathTypeForPath(ItemURL(volume + "/" + name), accessor.get());
  }
  void makeFile(const std::string& name) {
    fs::create_directories(fs::path(volume + "/" + name).parent_path());
    touch(name);
  }
};

TEST_F(PathTypeTest, TheFolderOfAnExcludedRuleIsARuleFolder) {
  fs::create_directory(volume + "/private");
  database.addRule("private", true);
  EXPECT_EQ(typeOf("private"), WVPathTypeRuleFolder);
}

TEST_F(PathTypeTest, AnAncestorOfARulesFolderIsARuleFolder) {
  fs::create_directories(volume + "/users/x/docs");
  database.addRule("users/x/docs");
  EXPECT_EQ(typeOf("users"), WVPathTypeRuleFolder);
}

TEST_F(PathTypeTest, TheLastMatchingRuleOfAListWinsNotTheLongest) {
  makeFile("a/b/c/file");
  database.addRule("a");
  database.addRule("a/b/c");
  database.addRule("a/b", true);
  EXPECT_EQ(typeOf("a/b/c/file"), WVPathTypeIncluded);
  database.writer.runScript("DELETE FROM fscr WHERE root_folder='a'");
  database.addRule("a");
  engine.dispatch.advance(2s);
  EXPECT_EQ(typeOf("a/b/c/file"), WVPathTypeNone);
}

TEST_F(PathTypeTest, AnItemOutsideAllRulesOrAbsentOrWithoutAnAccessorHasTypeNone) {
  makeFile("docs/file");
  makeFile("other/file");
  database.addRule("docs");
  EXPECT_EQ(typeOf("docs/file"), WVPathTypeIncluded);
  EXPECT_EQ(typeOf("docs/absent"), WVPathTypeNone);
  EXPECT_EQ(typeOf("other/file"), WVPathTypeNone);
  EXPECT_EQ(WVIconProvider::pathTypeForPath(ItemURL(volume + "/docs/file"), nullptr),
            WVPathTypeNone);
}

TEST_F(PathTypeTest, UsesThePoolsAccessorAndIsNoneForAnUnreadableItem) {
  makeFile("docs/file");
  database.addRule("docs");
  engine.pool->accessorWithPath(volume);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.provider->pathTypeForPath(ItemURL(volume + "/docs/file")), WVPathTypeIncluded);
  EXPECT_EQ(engine.provider->pathTypeForPath(ItemURL(volume + "/docs/absent")), WVPathTypeNone);
}

// --- Folder refreshes ----------------------------------------------------------------------------

TEST_F(ProviderTest, AMissingEntryQueuesAFolderRefreshWithVeryHighPriority) {
  draw(addFile("file", kSynced));
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), 8);
  EXPECT_EQ(queue().next()->threadPriority(), 0.3);
}

TEST_F(ProviderTest, AnEntryOfFourSecondsIsFreshAndAStaleOneQueuesAFolderRefreshWithLowPriority) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  engine.clock.advance(4000ms);
  EXPECT_EQ(draw(path), "green");
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 0U);
  engine.clock.advance(1ms);
  EXPECT_EQ(draw(path), "green");
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), -4);
  EXPECT_EQ(queue().next()->threadPriority(), 0.1);
}

TEST_F(ProviderTest, AStaleEntryQueuesNoRefreshWhileEightRefreshesAreUnfinished) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  engine.clock.advance(5s);
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
  EXPECT_EQ(queue().operationCount(), 8U) << "queued while seven are unfinished";
}

TEST_F(ProviderTest, AMissingEntryQueuesARefreshHoweverLongTheQueueIs) {
  for (int i = 0; i < 20; ++i) {
    fs::create_directory(volume + "/" + std::to_string(i));
    draw(volume + "/" + std::to_string(i) + "/..");
  }
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 20U);
}

TEST_F(ProviderTest, TwoDrawsInOneFolderQueueOneRefreshAndThePendingOneKeepsItsPriority) {
  engine.provider->addOperationWithFolderName(volume + "/a", -4, 0.1);
  engine.provider->addOperationWithFolderName(volume + "/b", 8, 0.3);
  queueRequests();
  ASSERT_EQ(queue().operationCount(), 1U);
  EXPECT_EQ(queue().next()->queuePriority(), -4);
  const auto operation =
      std::dynamic_pointer_cast<WVPerformSelectorOperation<WVIconProvider, std::string>>(
          queue().next());
  ASSERT_TRUE(operation);
  EXPECT_EQ(operation->arg(), volume + "/a") << "the item's path, not its folder's";
}

TEST_F(ProviderTest, AFolderCanBeRefreshedAgainOnceItsRefreshHasEnded) {
  engine.provider->addOperationWithFolderName(volume + "/a", 8, 0.3);
  engine.dispatch.runAll();
  engine.provider->addOperationWithFolderName(volume + "/a", 8, 0.3);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 1U);
}

TEST_F(ProviderTest, ARequestWithoutAPathQueuesNoRefresh) {
  engine.provider->addOperationWithFolderName(std::nullopt, 8, 0.3);
  queueRequests();
  EXPECT_EQ(queue().operationCount(), 0U);
}

TEST_F(ProviderTest, ARefreshThatThrowsDoesNotLeaveItsFolderPending) {
  fs::create_directories(volume + "/twice/sub");
  touch("twice/sub/file");
  database.addFolder("1", kTop, "twice");
  database.addFolder("2", kTop, "twice");
  const auto path = volume + "/twice/sub/file";
  EXPECT_EQ(drawRefreshed(path), std::nullopt);
  engine.dispatch.runAll();
  database.removeRow("2");
  database.addFolder("s", "1", "sub");
  database.addFile("f", "s", "file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
}

TEST_F(ProviderTest, AnIdleBlockRunsWhenNoRefreshIsPending) {
  bool idle = false;
  draw(addFile("file", kSynced));
  queueRequests();
  engine.provider->performWhenIdle([&] { idle = true; });
  queueRequests();
  engine.dispatch.manualMainQueue().runAll();
  EXPECT_FALSE(idle);
  engine.dispatch.runAll();
  EXPECT_TRUE(idle);
  idle = false;
  engine.provider->performWhenIdle([&] { idle = true; });
  engine.dispatch.runAll();
  EXPECT_TRUE(idle);
}

// --- Redraws after a refresh ---------------------------------------------------------------------

TEST_F(ProviderTest, ARefreshThatChangesAWordRedrawsTheStoredViewOnceAndListsThePathOnce) {
  const auto path = addFile("file", std::nullopt);
  const auto same = addFile("same", std::nullopt);
  EXPECT_EQ(drawRefreshed(path), "blue");
  const auto browser = host.addBrowserWindow({path, same});
  const auto view = host.makeView();
  const auto other = host.makeView();
  engine.provider->setView(view, path);
  engine.provider->setView(other, same);
  database.setSynchronized("file", kSynced);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(draw(path), "green");
  EXPECT_EQ(view->redraws, 1);
  EXPECT_EQ(other->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 1);
  EXPECT_EQ(browser->items[1].controlView->redraws, 0);
}

TEST_F(ProviderTest, ARefreshThatChangesNoWordRedrawsNothing) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  const auto browser = host.addBrowserWindow({path});
  const auto view = host.makeView();
  engine.provider->setView(view, path);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(view->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST_F(ProviderTest, AViewIsForgottenOnceARefreshHasRedrawnIt) {
  const auto path = addFile("file", std::nullopt);
  const auto view = host.makeView();
  engine.provider->setView(view, path);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
  EXPECT_EQ(view.use_count(), 1);
  database.setSynchronized("file", kSynced);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
  engine.provider->setView(view, path);
  database.setSynchronized("file", std::nullopt);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(view->redraws, 2);
}

TEST_F(ProviderTest, ALayerIsRedrawnAfterADesktopReload) {
  const auto path = addFile("file", std::nullopt);
  const auto layer = host.makeLayer();
  engine.provider->setView(layer, path);
  engine.provider->updateCacheForPath(path);
  EXPECT_EQ(layer->redraws, 0) << "not on the worker thread";
  engine.dispatch.runAll();
  EXPECT_EQ(layer->redraws, 1);
  EXPECT_EQ(host.desktopReloads, 1);
}

TEST_F(ProviderTest, ANullViewOrPathIsNotStored) {
  const auto view = host.makeView();
  engine.provider->setView(view, std::nullopt);
  engine.provider->setView(nullptr, volume + "/file");
  EXPECT_EQ(view.use_count(), 1);
}

/// A view whose destructor calls the provider.
class CallingView : public platform::Object {
 public:
  CallingView(platform::Class& isa, WVIconProvider& provider, platform::Id stored)
      : Object(isa), provider_(provider), stored_(std::move(stored)) {}
  ~CallingView() override { provider_.setView(stored_, "/stored by a destructor"); }
  CallingView(const CallingView&) = delete;
  CallingView& operator=(const CallingView&) = delete;

 private:
  WVIconProvider& provider_;
  platform::Id stored_;
};

TEST_F(ProviderTest, AReplacedViewIsReleasedOutsideTheLock) {
  const auto viewClass = host.runtime.registerClass("CallingView");
  const auto stored = host.makeView();
  engine.provider->setView(std::make_shared<CallingView>(*viewClass, *engine.provider, stored),
                           volume + "/file");
  engine.provider->setView(host.makeView(), volume + "/file");
  EXPECT_EQ(stored.use_count(), 2) << "this test and the provider";
}

TEST_F(ProviderTest, RemovingACellDoesNotForgetItsView) {
  const auto path = addFile("file", std::nullopt);
  const auto view = host.makeView();
  engine.provider->setView(view, path);
  engine.provider->removeCell(view);
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(view->redraws, 1);
}

// --- The folder cache ----------------------------------------------------------------------------

TEST_F(ProviderTest, TheCacheEvictsTheLeastRecentlyRefreshedFolderBeyondEightHundred) {
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
  for (int i = 0; i < 800; ++i) engine.provider->updateCacheForPath(item(i));
  engine.provider->updateCacheForPath(item(0));  // now the most recent, so the second is evicted
  engine.provider->updateCacheForPath(item(800));
  EXPECT_EQ(draw(item(1)), std::nullopt);
  EXPECT_EQ(draw(item(0)), "green");
  for (int i = 2; i <= 800; ++i) ASSERT_EQ(draw(item(i)), "green") << i;
}

TEST_F(ProviderTest,
       AFolderWhoseRowIsGoneLosesItsCachedWordsWithoutRedrawsAndIsRefreshedAtEveryDraw) {
  fs::create_directory(volume + "/sub");
  touch("sub/file");
  database.addFolder("sub", kTop, "sub");
  database.addFile("file", "sub", "file", kSynced);
  const auto path = volume + "/sub/file";
  EXPECT_EQ(drawRefreshed(path), "green");
  const auto browser = host.addBrowserWindow({path});
  database.removeRow("sub");
  database.removeRow("file");
  engine.provider->updateCacheForPath(path);
  engine.dispatch.runAll();
  EXPECT_EQ(browser->view->redraws, 0);
  for (int draws = 0; draws < 2; ++draws) {
    EXPECT_EQ(draw(path), std::nullopt);
    queueRequests();
    ASSERT_EQ(queue().operationCount(), 1U);
    EXPECT_EQ(queue().next()->queuePriority(), 8);
    engine.dispatch.runAll();
  }
}

TEST_F(ProviderTest, ADatabaseErrorDuringARefreshLeavesTheFolderWithoutWords) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  // The top row is found, but its identifier breaks the query for the children.
  database.writer.run("UPDATE file SET file_id=? WHERE parent_id IS NULL", {std::string("it's")});
  engine.provider->updateCacheForPath(path);
  EXPECT_EQ(draw(path), std::nullopt);
  database.writer.run("UPDATE file SET file_id=? WHERE parent_id IS NULL", {std::string(kTop)});
  EXPECT_EQ(drawRefreshed(path), "green");
}

// --- Volume tops ---------------------------------------------------------------------------------

class VolumeTopTest : public ProviderTest {
 protected:
  /// Mounts a second volume at a folder.
  SyncDatabase mount(const std::string& at) {
    fs::create_directories(at);
    engine.volumes.volumes.push_back({at, "ext4"});
    SyncDatabase(databaseOf(at)).addTop();
    return SyncDatabase(databaseOf(at));
  }
  /// Opens the volume and reads its rules.
  void readRules(const std::string& at) {
    engine.pool->accessorWithPath(at);
    engine.dispatch.advance(2s);
  }
};

TEST_F(VolumeTopTest, InAFolderWithoutADatabaseIsRedWhileItsOwnRulesIncludeSomething) {
  const auto top = folder.path() + "/stick";
  auto inner = mount(top);
  readRules(top);
  EXPECT_EQ(drawRefreshed(top), std::nullopt);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(drawRefreshed(top), "red");
  inner.writer.runScript("DELETE FROM fscr");
  inner.addRule("docs", true);
  readRules(top);
  engine.provider->updateCacheForPath(top);
  EXPECT_EQ(draw(top), std::nullopt);
}

TEST_F(VolumeTopTest, InAFolderWithADatabaseIsCachedWithTheFoldersOwnWords) {
  const auto file = addFile("file", kSynced);
  const auto top = volume + "/stick";
  auto inner = mount(top);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(drawRefreshed(top), "red");
  EXPECT_EQ(draw(file), "green");
  inner.writer.runScript("DELETE FROM fscr");
  readRules(top);
  engine.provider->updateCacheForPath(top);
  EXPECT_EQ(draw(top), std::nullopt);
  EXPECT_EQ(draw(file), "green");
}

TEST_F(VolumeTopTest, ARefreshForItKeepsTheFoldersOtherEntriesAndARefreshForAFileDropsThem) {
  const auto gone = addFile("gone", kSynced);
  const auto top = volume + "/stick";
  auto inner = mount(top);
  inner.addRule("docs");
  readRules(top);
  EXPECT_EQ(drawRefreshed(gone), "green");
  database.removeRow("gone");
  engine.provider->updateCacheForPath(top);
  EXPECT_EQ(draw(gone), "green");
  EXPECT_EQ(draw(top), "red");
  engine.provider->updateCacheForPath(gone);
  EXPECT_EQ(draw(gone), std::nullopt);
  EXPECT_EQ(draw(top), std::nullopt);
}

TEST_F(VolumeTopTest, AFolderOutsideAllDatabasesIsNeverEvictedFromTheCache) {
  const auto top = folder.path() + "/stick";
  mount(top).addRule("docs");
  readRules(top);
  EXPECT_EQ(drawRefreshed(top), "red");
  for (int i = 0; i < 900; ++i)
    engine.provider->updateCacheForPath(volume + "/" + std::to_string(i) + "/item");
  EXPECT_EQ(draw(top), "red");
}

TEST_F(VolumeTopTest, AnItemAndAFolderWithoutDatabasesHaveNoWord) {
  std::ofstream(folder.path() + "/plain") << "x";
  EXPECT_EQ(drawRefreshed(folder.path() + "/plain"), std::nullopt);
}

// --- Switch and reset ----------------------------------------------------------------------------

TEST_F(ProviderTest, StartsTurnedOffAndSwitchingRedrawsAllWindowsAndForcesADesktopReload) {
  EXPECT_FALSE(engine.provider->turnedOn());
  const auto browser = host.addBrowserWindow({});
  engine.provider->setTurnedOn(true);
  engine.provider->setTurnedOn(false);
  engine.dispatch.runAll();
  EXPECT_FALSE(engine.provider->turnedOn());
  EXPECT_EQ(browser->view->redraws, 2);
  EXPECT_EQ(host.desktopReloads, 2);
}

TEST_F(ProviderTest, ReinitClearsTheCacheTheViewsAndTheAccessors) {
  const auto path = addFile("file", kSynced);
  EXPECT_EQ(drawRefreshed(path), "green");
  const auto accessor = engine.pool->accessorWithPath(path);
  const auto view = host.makeView();
  engine.provider->setView(view, path);
  engine.provider->reinit();
  engine.dispatch.runAll();
  EXPECT_EQ(view.use_count(), 1);
  EXPECT_NE(engine.pool->accessorWithPath(path), accessor);
  EXPECT_EQ(draw(path), std::nullopt);
}

TEST_F(ProviderTest, AfterReinitTheNextDrawQueuesAFolderRefresh) {
  const auto path = addFile("file", kSynced);
  draw(path);
  queueRequests();
  engine.provider->reinit();
  engine.dispatch.runAll();
  EXPECT_EQ(drawRefreshed(path), "green");
}

/// Databases whose queries block until the test opens the gate.
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

TEST_F(ProviderTest, ReinitDuringEightRefreshesClearsTheCacheOnlyWhenTheyHaveEnded) {
  const auto path = addFile("file", kSynced);
  GatedDatabases gates(engine.databases);
  ThreadedEngineUnderTest threaded{
      {.volumes = &engine.volumes, .databases = &gates, .accountId = "1"}};
  const auto& real = threaded.provider;
  real->updateCacheForPath(path);
  ASSERT_EQ(real->colorFor(ItemURL(path)), "green");

  gates.gated = true;
  for (int i = 0; i < 9; ++i)
    real->addOperationWithFolderName(volume + "/" + std::to_string(i) + "/item", 8, 0.3);
  gates.eightInside.wait();
  real->reinit();
  EXPECT_EQ(real->colorFor(ItemURL(path)), "green") << "eight refreshes still run";
  gates.gated = false;
  gates.gate.release(8);
  // Runs on the provider's own queue after the reset.
  std::atomic<bool> idle{false};
  real->performWhenIdle([&] { idle = true; });
  while (!idle) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(real->colorFor(ItemURL(path)), std::nullopt);
}

}  // namespace
}  // namespace wevora
