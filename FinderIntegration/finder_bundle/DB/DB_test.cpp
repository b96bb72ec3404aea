#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/DB/WVDBAccessor.h"
#include "Platform/Base/AssertionFailure.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::SyncDatabase;
using Texts = std::vector<std::string>;

/// Records the queries of a real database and injects failures.
class RecordingDatabases : public platform::Databases {
 public:
  std::shared_ptr<platform::Database> databaseWithPath(const std::string& path) override {
    return std::make_shared<Recording>(*this, real_.databaseWithPath(path));
  }

  Texts queries;
  std::string failing;   ///< a query that contains this text fails
  std::string throwing;  ///< a query that contains this text throws
  bool closeThrows = false;
  int closed = 0;

 private:
  class Recording : public platform::Database {
   public:
    Recording(RecordingDatabases& owner, std::shared_ptr<platform::Database> real)
        : owner_(owner), real_(std::move(real)) {}
    bool open(platform::DatabaseErrorOut error) override { return real_->open(error); }
    void close() override {
      ++owner_.closed;
      real_->close();
      if (owner_.closeThrows) throw std::runtime_error("from close");
    }
    std::unique_ptr<platform::Statement> prepare(std::string_view sql,
                                                 platform::DatabaseErrorOut error) override {
      return owner_.fails(sql, error) ? nullptr : real_->prepare(sql, error);
    }
    std::unique_ptr<platform::ResultSet> executeQuery(std::string_view sql,
                                                      platform::DatabaseErrorOut error) override {
      return owner_.fails(sql, error) ? nullptr : real_->executeQuery(sql, error);
    }

   private:
    RecordingDatabases& owner_;
    std::shared_ptr<platform::Database> real_;
  };

  bool fails(std::string_view sql, platform::DatabaseErrorOut error) {
    queries.emplace_back(sql);
    if (!throwing.empty() && sql.find(throwing) != std::string_view::npos)
      throw std::runtime_error("unexpected");
    if (failing.empty() || sql.find(failing) == std::string_view::npos) return false;
    *error = platform::DatabaseError{1, "injected failure"};
    return true;
  }

  platform::SystemClock clock_;
  platform::SqliteDatabases real_{clock_};
};

class Delegate : public IWVDBAccessorDelegate {
 public:
  void accessorGoneBad(const std::shared_ptr<WVDBAccessor>& accessor) override {
    reports.push_back(accessor.get());
  }
  std::vector<WVDBAccessor*> reports;
};

class AccessorTest : public testing::Test {
 protected:
  AccessorTest() { database.addTop(); }

  std::shared_ptr<WVDBAccessor> open() {
    return WVDBAccessor::initWithPath(path, {databases, dispatch}, delegate, mountPoint);
  }
  /// Opens, runs the first refresh and clears the recorded queries.
  std::shared_ptr<WVDBAccessor> opened() {
    auto accessor = open();
    dispatch.runAll();
    databases.queries.clear();
    return accessor;
  }
  std::size_t refreshes() const {
    return static_cast<std::size_t>(
        std::count(databases.queries.begin(), databases.queries.end(), kIncluded));
  }
  static Texts roots(const WVDBAccessor::Nodes& nodes) {
    Texts folders;
    for (const auto& node : *nodes) folders.push_back(node.root_folder().value_or("(none)"));
    return folders;
  }

  static constexpr const char* kIncluded = "SELECT * FROM fscr WHERE exclude=0;";
  static constexpr const char* kExcluded = "SELECT * FROM fscr WHERE exclude=1;";

  platform::TemporaryFolder folder;
  std::string mountPoint = folder.path() + "/";
  std::string path = folder.path("test.db");
  SyncDatabase database{path};
  RecordingDatabases databases;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

// --- Records -------------------------------------------------------------------------------------

TEST_F(AccessorTest, TheMountPointWithAndWithoutItsSeparatorGivesTheTopRow) {
  const auto accessor = opened();
  for (const auto& top : {mountPoint, folder.path()}) {
    const auto record = accessor->fileWithPath(top);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->file_id(), SyncDatabase::kTop);
    EXPECT_EQ(record->filePath(), "/");
    EXPECT_EQ(record->parent_id(), std::nullopt);
  }
  EXPECT_EQ(databases.queries, (Texts{"SELECT * FROM file WHERE parent_id is NULL",
                                      "SELECT * FROM file WHERE parent_id is NULL"}));
}

TEST_F(AccessorTest, APathIsWalkedFolderByFolder) {
  database.addFolder("a", SyncDatabase::kTop, "A");
  database.addFile("b", "a", "b", SyncDatabase::kSynchronized);
  const auto record = opened()->fileWithPath(folder.path("A/b"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "b");
  EXPECT_EQ(record->parent_id(), "a");
  EXPECT_EQ(record->filePath(), "/A/b");
  EXPECT_TRUE(record->synchronized());
  EXPECT_EQ(databases.queries, Texts{"SELECT * FROM file WHERE parent_id=? AND name_long=?"});
}

TEST_F(AccessorTest, NamesAreMatchedExactly) {
  database.addFile("a", SyncDatabase::kTop, "Name");
  EXPECT_FALSE(opened()->fileWithPath(folder.path("name")));
}

TEST_F(AccessorTest, AParentFolderWithoutARowIsSkipped) {
  database.addFile("b", SyncDatabase::kTop, "b");
  const auto record = opened()->fileWithPath(folder.path("missing/b"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "b");
}

TEST_F(AccessorTest, APathWhoseLastNameHasNoRowHasNoRecordAndReportsNoError) {
  EXPECT_FALSE(opened()->fileWithPath(folder.path("missing")));
  EXPECT_TRUE(delegate->reports.empty());
}

TEST_F(AccessorTest, APathOutsideTheVolumeGivesTheTopRow) {
  EXPECT_EQ(opened()->fileWithPath("/elsewhere")->file_id(), SyncDatabase::kTop);
}

TEST_F(AccessorTest, FolderWithPathReturnsAFilesRecordToo) {
  database.addFile("f", SyncDatabase::kTop, "file");
  EXPECT_EQ(opened()->folderWithPath(folder.path("file"))->file_id(), "f");
}

TEST_F(AccessorTest, ARowWithoutShortNameHasAnEmptyOneAndARowFromTheDatabaseHasNoLongName) {
  database.addRow("x", std::string(SyncDatabase::kTop), false, std::nullopt, "x", std::nullopt);
  const auto record = opened()->fileWithPath(folder.path("x"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->name_short(), "");
  EXPECT_EQ(record->name_long(), std::nullopt);
  EXPECT_FALSE(record->isEqual(*record));
}

TEST_F(AccessorTest, ADateThatIsNotTextOrNotADateMeansNotBackedUp) {
  database.addFile("a", SyncDatabase::kTop, "a", "yesterday");
  database.addFile("b", SyncDatabase::kTop, "b", SyncDatabase::kSynchronized);
  database.writer.run("UPDATE file SET synchronized=CAST('1' AS BLOB) WHERE file_id='b'");
  const auto accessor = opened();
  EXPECT_EQ(accessor->fileWithPath(folder.path("a"))->synchronized(), std::nullopt);
  EXPECT_EQ(accessor->fileWithPath(folder.path("b"))->synchronized(), std::nullopt);
}

TEST_F(AccessorTest, TwoParentRowsOfOneNameAreAnAssertionFailure) {
  database.addFolder("1", SyncDatabase::kTop, "twice");
  database.addFolder("2", SyncDatabase::kTop, "twice");
  database.addFile("f", "1", "f");
  const auto accessor = opened();
  try {
    accessor->fileWithPath(folder.path("twice/f"));
    FAIL() << "no assertion failure";
  } catch (const platform::AssertionFailure& failure) {
    EXPECT_STREQ(failure.what(),
                 "There is more than one items in file table with the same parend_id and "
                 "name_long. It is really an error.");
    EXPECT_EQ(failure.source(), "WVDBAccessor");
    EXPECT_EQ(failure.line(), 198);
  }
  EXPECT_EQ(accessor->fileWithPath(folder.path("twice"))->file_id(), "1");
}

TEST_F(AccessorTest, TheParentIdentifierIsInsertedIntoTheQueryWhichEndsWithABlank) {
  database.addFile("1", SyncDatabase::kTop, "one", SyncDatabase::kSynchronized);
  database.addFolder("2", SyncDatabase::kTop, "two");
  const auto files = opened()->filesWithParentID(SyncDatabase::kTop);
  ASSERT_TRUE(files);
  ASSERT_EQ(files->size(), 2U);
  EXPECT_EQ((*files)[0].name_short(), "one");
  EXPECT_TRUE((*files)[0].synchronized());
  EXPECT_TRUE((*files)[1].is_folder());
  EXPECT_EQ(databases.queries, Texts{"SELECT * FROM file WHERE parent_id='00000000-0000-0000-0000-"
                                     "000000000000' "});
}

TEST_F(AccessorTest, AnUnknownIdentifierHasNoChildren) {
  const auto files = opened()->filesWithParentID("unknown");
  ASSERT_TRUE(files);
  EXPECT_TRUE(files->empty());
}

TEST_F(AccessorTest, AnIdentifierWithAQuoteIsADatabaseErrorAndNothingElse) {
  const auto accessor = opened();
  EXPECT_FALSE(accessor->filesWithParentID("it's"));
  EXPECT_EQ(delegate->reports, std::vector<WVDBAccessor*>{accessor.get()});
}

TEST_F(AccessorTest, QueryErrorsAreReportedToTheDelegate) {
  const auto accessor = opened();
  databases.failing = "FROM file";
  EXPECT_FALSE(accessor->fileWithPath(folder.path("a")));
  EXPECT_FALSE(accessor->fileWithPath(mountPoint));
  EXPECT_FALSE(accessor->filesWithParentID("a"));
  EXPECT_EQ(delegate->reports.size(), 3U);
}

TEST_F(AccessorTest, RowsWithoutARequiredColumnAreAnError) {
  database.writer.runScript("ALTER TABLE file DROP COLUMN synchronized");
  const auto accessor = opened();
  EXPECT_FALSE(accessor->fileWithPath(mountPoint));
  EXPECT_EQ(delegate->reports.size(), 1U);
}

// --- Rules ---------------------------------------------------------------------------------------

TEST_F(AccessorTest, HasNoRulesBeforeTheFirstRefresh) {
  const auto accessor = open();
  EXPECT_EQ(accessor->excludedNodes(), nullptr);
  EXPECT_EQ(accessor->notExcludedNodes(), nullptr);
}

TEST_F(AccessorTest, ReadsTheIncludedRulesAndThenTheExcludedOnes) {
  database.addRule("Documents/Work");
  database.addRule("Documents/Private", true);
  const auto accessor = open();
  dispatch.runAll();
  EXPECT_EQ(databases.queries, (Texts{kIncluded, kExcluded}));
  EXPECT_EQ(roots(accessor->notExcludedNodes()), Texts{folder.path("Documents/Work")});
  EXPECT_EQ(roots(accessor->excludedNodes()), Texts{folder.path("Documents/Private")});
  const auto& node = accessor->excludedNodes()->front();
  EXPECT_EQ(node.fscr_id(), "rule Documents/Private");
  EXPECT_EQ(node.path_filter(), "filter");
  EXPECT_EQ(node.content_type(), "type");
  EXPECT_EQ(node.order(), 7);
  EXPECT_TRUE(node.exclude());
  EXPECT_EQ(node.fc(), "fc");
  EXPECT_EQ(node.parent_id(), std::nullopt);
}

TEST_F(AccessorTest, ATableWithoutRulesGivesTwoEmptyLists) {
  const auto accessor = opened();
  ASSERT_TRUE(accessor->notExcludedNodes() && accessor->excludedNodes());
  EXPECT_TRUE(accessor->notExcludedNodes()->empty() && accessor->excludedNodes()->empty());
  EXPECT_TRUE(delegate->reports.empty());
}

TEST_F(AccessorTest, ARuleWhoseFolderBeginsWithASeparatorIsStillUnderTheMountPoint) {
  database.addRule("/Users/x");
  EXPECT_EQ(roots(opened()->notExcludedNodes()), Texts{folder.path("Users/x")});
}

TEST_F(AccessorTest, RulesAreReadAgainEveryTwoSeconds) {
  const auto accessor = opened();
  database.addRule("new");
  dispatch.advance(1999ms);
  EXPECT_EQ(refreshes(), 0U);
  dispatch.advance(1ms);
  EXPECT_EQ(refreshes(), 1U);
  EXPECT_EQ(accessor->notExcludedNodes()->size(), 1U);
  dispatch.advance(10s);
  EXPECT_EQ(refreshes(), 6U);
}

TEST_F(AccessorTest, AReturnedListDoesNotChangeWithTheNextRefresh) {
  const auto accessor = opened();
  const auto before = accessor->notExcludedNodes();
  database.addRule("new");
  dispatch.advance(2s);
  EXPECT_TRUE(before->empty());
}

TEST_F(AccessorTest, WhenTheIncludedListFailsItIsNullAndTheExcludedOneKeepsItsValue) {
  database.addRule("x", true);
  const auto accessor = opened();
  databases.failing = kIncluded;
  dispatch.advance(2s);
  EXPECT_EQ(accessor->notExcludedNodes(), nullptr);
  EXPECT_EQ(accessor->excludedNodes()->size(), 1U);
  EXPECT_EQ(delegate->reports, std::vector<WVDBAccessor*>{accessor.get()});
}

TEST_F(AccessorTest, WhenTheExcludedListFailsItIsNullAndTheIncludedOneIsNew) {
  database.addRule("x", true);
  const auto accessor = opened();
  database.addRule("new");
  databases.failing = kExcluded;
  dispatch.advance(2s);
  EXPECT_EQ(accessor->notExcludedNodes()->size(), 1U);
  EXPECT_EQ(accessor->excludedNodes(), nullptr);
  EXPECT_EQ(delegate->reports.size(), 1U);
}

TEST_F(AccessorTest, AFailedReadEndsTheRefreshCycle) {
  const auto accessor = opened();
  databases.failing = kIncluded;
  dispatch.advance(2s);
  databases.failing.clear();
  databases.queries.clear();
  dispatch.advance(10s);
  EXPECT_EQ(refreshes(), 0U);
}

TEST_F(AccessorTest, AnUnexpectedExceptionPropagatesWithoutAReportToTheDelegate) {
  const auto accessor = opened();
  databases.throwing = kIncluded;
  EXPECT_THROW(accessor->updateCache(), std::runtime_error);
  EXPECT_TRUE(delegate->reports.empty());
  EXPECT_EQ(accessor->notExcludedNodes(), nullptr);
}

TEST_F(AccessorTest, AfterStopNoFurtherRefreshIsScheduled) {
  auto accessor = opened();
  accessor->stop();
  EXPECT_EQ(dispatch.delayed(), 0U);
  dispatch.runAll();
  EXPECT_EQ(refreshes(), 1U) << "the scheduled refresh runs once more, immediately";
  dispatch.advance(10s);
  EXPECT_EQ(refreshes(), 1U);
}

TEST_F(AccessorTest, AStoppedAccessorWithoutOwnersClosesItsDatabaseAtOnce) {
  auto accessor = opened();
  accessor->stop();
  accessor.reset();
  dispatch.runAll();
  EXPECT_EQ(databases.closed, 1);
}

TEST_F(AccessorTest, AnAccessorDroppedWithoutStopKeepsRefreshing) {
  opened().reset();
  EXPECT_EQ(databases.closed, 0);
  dispatch.advance(20s);
  EXPECT_EQ(refreshes(), 10U);
}

TEST_F(AccessorTest, AnExceptionFromClosingIsIgnored) {
  databases.closeThrows = true;
  auto accessor = opened();
  accessor->stop();
  accessor.reset();
  dispatch.runAll();
  EXPECT_EQ(databases.closed, 1);
}

TEST_F(AccessorTest, ADatabaseThatFailsToOpenGivesErrorsLater) {
  path = folder.path("missing.db");
  const auto accessor = open();
  EXPECT_TRUE(delegate->reports.empty());
  dispatch.runAll();
  EXPECT_EQ(delegate->reports.size(), 1U);
  EXPECT_FALSE(accessor->fileWithPath(mountPoint));
  EXPECT_EQ(delegate->reports.size(), 2U);
}

TEST_F(AccessorTest, WithoutADelegateErrorsAreDropped) {
  const auto accessor = opened();
  accessor->setDelegate({});
  accessor->raiseError(std::nullopt);
  EXPECT_TRUE(delegate->reports.empty());
  EXPECT_EQ(accessor->delegate(), nullptr);
}

TEST_F(AccessorTest, MountPointAndDelegateCanBeSetAfterCreation) {
  database.addRule("x");
  const auto accessor = WVDBAccessor::initWithPath(path, {databases, dispatch});
  accessor->setDelegate(delegate);
  accessor->setMountPoint(mountPoint);
  dispatch.runAll();
  EXPECT_EQ(accessor->mountPoint(), mountPoint);
  EXPECT_EQ(accessor->dbPath(), path);
  EXPECT_EQ(accessor->delegate(), delegate);
  EXPECT_EQ(roots(accessor->notExcludedNodes()), Texts{folder.path("x")});
}

// --- FSCRAccessor --------------------------------------------------------------------------------

TEST_F(AccessorTest, AMissingRuleTableThrowsBadDatabase) {
  database.writer.runScript("DROP TABLE fscr");
  const auto handle = databases.databaseWithPath(path);
  handle->open(nullptr);
  FSCRAccessor reader;
  try {
    reader.excludedNodes(*handle);
    FAIL() << "no exception";
  } catch (const BadDatabase& bad) {
    EXPECT_EQ(bad.name(), "BAD_DB");
    EXPECT_EQ(bad.reason(), "");
    EXPECT_NE(bad.details().message.find("fscr"), std::string::npos);
  }
}

TEST_F(AccessorTest, RuleFoldersBeginWithTheMountPoint) {
  database.addRule("Users/x");
  const auto handle = databases.databaseWithPath(path);
  handle->open(nullptr);
  FSCRAccessor reader;
  reader.setMountPoint("/");
  EXPECT_EQ(reader.notExcludedNodes(*handle).front().root_folder(), "/Users/x");
  reader.setMountPoint("/Volumes/Data/");
  EXPECT_EQ(reader.notExcludedNodes(*handle).front().root_folder(), "/Volumes/Data/Users/x");
}

}  // namespace
}  // namespace wevora
