#include "FinderIntegration/finder_bundle/DB/WVDBAccessor.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

using std::chrono_literals::operator""s;
using testing_host::SyncDatabase;
using Texts = std::vector<std::string>;

constexpr const char* kIncluded = "SELECT * FROM fscr WHERE exclude=0;";
constexpr const char* kExcluded = "SELECT * FROM fscr WHERE exclude=1;";

/// Records each query and calls `onQuery` before passing it to a real database.
class ObservedDatabases : public platform::Databases {
 public:
  std::shared_ptr<platform::Database> databaseWithPath(const std::string& path) override {
    return std::make_shared<Observed>(*this, real_.databaseWithPath(path));
  }

  Texts queries;
  std::function<void(std::string_view sql)> onQuery = [](std::string_view) {};
  int closed = 0;

 private:
  class Observed : public platform::Database {
   public:
    Observed(ObservedDatabases& owner, std::shared_ptr<platform::Database> real)
        : owner_(owner), real_(std::move(real)) {}
    bool open(platform::DatabaseErrorOut error) override { return real_->open(error); }
    void close() override {
      ++owner_.closed;
      real_->close();
    }
    std::unique_ptr<platform::Statement> prepare(std::string_view sql,
                                                 platform::DatabaseErrorOut error) override {
      record(sql);
      return real_->prepare(sql, error);
    }
    std::unique_ptr<platform::ResultSet> executeQuery(std::string_view sql,
                                                      platform::DatabaseErrorOut error) override {
      record(sql);
      return real_->executeQuery(sql, error);
    }

   private:
    void record(std::string_view sql) {
      owner_.queries.emplace_back(sql);
      owner_.onQuery(sql);
    }
    ObservedDatabases& owner_;
    std::shared_ptr<platform::Database> real_;
  };

  platform::SystemClock clock_;
  platform::SqliteDatabases real_{clock_};
};

/// One row, and an error instead of the second.
class BreakingRows : public platform::ResultSet {
 public:
  Step next(platform::DatabaseErrorOut error) override {
    if (++steps == 1) return Step::row;
    *error = platform::DatabaseError{11, "the disk is gone"};
    return Step::error;
  }
  std::optional<int> column(std::string_view) const override { return 0; }
  bool isNull(int) const override { return false; }
  std::optional<std::string_view> text(int) override { return "text"; }
  std::optional<std::string_view> valueIfText(int) override { return std::nullopt; }
  bool boolean(int) const override { return false; }
  std::int32_t int32(int) const override { return 0; }
  void close() override { closed = true; }

  int steps = 0;
  bool closed = false;
};

class CountingDelegate : public IWVDBAccessorDelegate {
 public:
  void accessorGoneBad(const std::shared_ptr<WVDBAccessor>&) override { ++reports; }
  int reports = 0;
};

class WVDBAccessorTest : public testing::Test {
 protected:
  std::shared_ptr<WVDBAccessor> open(const std::string& at) {
    return WVDBAccessor::initWithPath(path, {databases, dispatch}, delegate, at);
  }
  /// Runs the first refresh and clears the recorded queries.
  std::shared_ptr<WVDBAccessor> opened(const std::string& at) {
    auto accessor = open(at);
    dispatch.runAll();
    databases.queries.clear();
    return accessor;
  }
  std::shared_ptr<WVDBAccessor> opened() { return opened(mountPoint); }
  auto refreshes() const {
    return std::count(databases.queries.begin(), databases.queries.end(), kIncluded);
  }

  platform::TemporaryFolder folder;
  std::string mountPoint = folder.path() + "/";
  std::string path = folder.path("test.db");
  SyncDatabase database{path};
  ObservedDatabases databases;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
};

/// Valid file names that are special in SQL or in paths.
const Texts& oddNames() {
  static const Texts names{"it's",  "\"quoted\"",  "a' OR '1'='1",   "two\nlines", "a:b",
                           "100%_", "back\\slash", "\xff\xfe bytes", "\xc3",       "n\xcc\x83"};
  return names;
}

// --- The walk ------------------------------------------------------------------------------------

TEST_F(WVDBAccessorTest, OddNamesAreFoundAsParentFoldersAndAsTheLastName) {
  database.addTop();
  for (const auto& name : oddNames()) {
    database.addFolder("folder " + name, SyncDatabase::kTop, name);
    database.addFile("file " + name, "folder " + name, name);
  }
  const auto accessor = opened();
  for (const auto& name : oddNames()) {
    const auto parent = accessor->fileWithPath(mountPoint + name);
    const auto last = accessor->fileWithPath(mountPoint + name + "/" + name);
    ASSERT_TRUE(parent && last) << name;
    EXPECT_EQ(parent->file_id(), "folder " + name);
    EXPECT_EQ(parent->name_short(), name);
    EXPECT_EQ(last->file_id(), "file " + name);
    EXPECT_EQ(last->filePath(), "/" + name + "/" + name);
  }
  EXPECT_EQ(delegate->reports, 0);
}

TEST_F(WVDBAccessorTest, ATopRowUnderTheNilIdentifierIsTheFirstStep) {
  database.addFolder("top", SyncDatabase::kTop, "/");
  database.addFile("wrong", SyncDatabase::kTop, "a");
  database.addFile("right", "top", "a");
  const auto accessor = opened();
  const auto record = accessor->fileWithPath(mountPoint + "a");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "right");
  EXPECT_FALSE(accessor->fileWithPath(mountPoint)) << "every row has a parent";
}

TEST_F(WVDBAccessorTest, SeveralMissingFoldersInARowAreSkipped) {
  database.addTop();
  database.addFolder("a", SyncDatabase::kTop, "a");
  database.addFile("f", "a", "f");
  const auto record = opened()->fileWithPath(mountPoint + "x/y/a/z/f");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "f");
  EXPECT_EQ(record->filePath(), "/x/y/a/z/f");
}

TEST_F(WVDBAccessorTest, TheFirstOfSeveralRowsWithoutAParentIsTheTop) {
  database.addRow("first", std::nullopt, true, "/", "/", std::nullopt);
  database.addRow("second", std::nullopt, true, "/", "/", std::nullopt);
  const auto record = opened()->fileWithPath(mountPoint);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->file_id(), "first");
}

TEST_F(WVDBAccessorTest, AnEmptyTableHasNoTopRowAndReportsNoError) {
  EXPECT_FALSE(opened()->fileWithPath(mountPoint));
  EXPECT_EQ(delegate->reports, 0);
}

TEST_F(WVDBAccessorTest, EquivalentPathsOfTheMountPointGiveTheTopRow) {
  database.addTop();
  const auto accessor = opened();
  for (const auto& top : {mountPoint + "/", mountPoint + ".", mountPoint + "a/..", std::string()}) {
    const auto record = accessor->fileWithPath(top);
    ASSERT_TRUE(record) << top;
    EXPECT_EQ(record->filePath(), "/");
  }
}

TEST_F(WVDBAccessorTest, OnTheBootVolumePathsAreWalkedUnchanged) {
  database.addTop();
  database.addFolder("u", SyncDatabase::kTop, "Users");
  database.addFile("x", "u", "x");
  const auto accessor = opened("/");
  const auto top = accessor->fileWithPath("/");
  const auto file = accessor->fileWithPath("/Users/x");
  ASSERT_TRUE(top && file);
  EXPECT_EQ(top->file_id(), SyncDatabase::kTop);
  EXPECT_EQ(file->file_id(), "x");
  EXPECT_EQ(file->filePath(), "/Users/x");
}

// --- Children ------------------------------------------------------------------------------------

TEST_F(WVDBAccessorTest, AnIdentifierIsInsertedIntoTheQueryUnescaped) {
  database.addTop();
  database.addFile("f", SyncDatabase::kTop, "f");
  const auto accessor = opened();
  const auto files = accessor->filesWithParentID("X' OR '1'='1");
  ASSERT_TRUE(files);
  EXPECT_EQ(files->size(), 2U);
  EXPECT_EQ(accessor->filesWithParentID("it's"), std::nullopt);
  EXPECT_EQ(databases.queries, (Texts{"SELECT * FROM file WHERE parent_id='X' OR '1'='1' ",
                                      "SELECT * FROM file WHERE parent_id='it's' "}));
  EXPECT_EQ(delegate->reports, 1);
  EXPECT_TRUE(accessor->filesWithParentID("X")) << "the database is still usable";
}

TEST_F(WVDBAccessorTest, ChildrenWithOddNamesKeepThem) {
  for (const auto& name : oddNames()) database.addFile("id " + name, "parent", name);
  const auto files = opened()->filesWithParentID("parent");
  ASSERT_TRUE(files);
  Texts names;
  for (const auto& file : *files) names.push_back(file.name_short().value_or("(none)"));
  EXPECT_TRUE(std::ranges::is_permutation(names, oddNames()));
}

TEST_F(WVDBAccessorTest, AVisitSeesTheSameRowsAsTheList) {
  database.addFile("1", "parent", "one", SyncDatabase::kSynchronized);
  database.addRow("2", "parent", true, std::nullopt, "two", std::nullopt);
  const auto accessor = opened();
  Texts seen;
  EXPECT_TRUE(accessor->visitFilesWithParentID("parent", [&](const WVDBAccessor::Row& row) {
    seen.push_back(std::string(row.fileID.value_or("(none)")) + "," + std::string(row.nameShort) +
                   (row.isFolder ? ",folder" : ",file") + (row.synchronized ? ",backed up" : ""));
  }));
  EXPECT_EQ(seen, (Texts{"1,one,file,backed up", "2,,folder"}));
  EXPECT_EQ(delegate->reports, 0);
}

TEST_F(WVDBAccessorTest, RowsThatEndWithAnErrorGiveNoListAndAreReportedToTheDelegate) {
  const auto accessor = opened();
  BreakingRows rows;
  EXPECT_EQ(accessor->nodesForQueryResult(rows), std::nullopt);
  EXPECT_TRUE(rows.closed);
  EXPECT_EQ(delegate->reports, 1);
}

// --- Missing and invalid databases ---------------------------------------------------------------

TEST_F(WVDBAccessorTest, WithoutADatabaseEveryQueryIsEmptyAndReportedToTheDelegate) {
  path = folder.path("missing.db");
  const auto accessor = open(mountPoint);
  EXPECT_EQ(accessor->fileWithPath(mountPoint), std::nullopt);
  EXPECT_EQ(accessor->fileWithPath(mountPoint + "a"), std::nullopt);
  EXPECT_EQ(accessor->folderWithPath(mountPoint + "a"), std::nullopt);
  EXPECT_EQ(accessor->filesWithParentID("a"), std::nullopt);
  EXPECT_FALSE(accessor->visitFilesWithParentID("a", [](const WVDBAccessor::Row&) { FAIL(); }));
  EXPECT_EQ(delegate->reports, 5);
}

TEST_F(WVDBAccessorTest, AFileThatIsNotADatabaseIsAnErrorForQueriesAndRules) {
  path = folder.path("noise.db");
  std::ofstream(path) << std::string(5000, 'x');
  const auto accessor = opened();
  EXPECT_EQ(delegate->reports, 1);
  EXPECT_EQ(accessor->excludedNodes(), nullptr);
  EXPECT_EQ(accessor->notExcludedNodes(), nullptr);
  EXPECT_EQ(dispatch.delayed(), 0U);
  EXPECT_EQ(accessor->fileWithPath(mountPoint), std::nullopt);
  EXPECT_EQ(delegate->reports, 2);
}

// --- The refresh cycle ---------------------------------------------------------------------------

TEST_F(WVDBAccessorTest, AFailedReadOfTheExcludedRulesEndsTheRefreshCycle) {
  const auto accessor = opened();
  databases.onQuery = [this](std::string_view sql) {
    if (sql == kExcluded) database.writer.runScript("DROP TABLE fscr");
  };
  dispatch.advance(2s);
  EXPECT_EQ(delegate->reports, 1);
  EXPECT_NE(accessor->notExcludedNodes(), nullptr);
  EXPECT_EQ(accessor->excludedNodes(), nullptr);
  EXPECT_EQ(dispatch.delayed(), 0U);
}

TEST_F(WVDBAccessorTest, AfterAFailedReadOfTheIncludedRulesTheExcludedOnesAreNotRead) {
  const auto accessor = opened();
  database.writer.runScript("DROP TABLE fscr");
  dispatch.advance(2s);
  EXPECT_EQ(databases.queries, Texts{kIncluded});
}

TEST_F(WVDBAccessorTest, AnUnexpectedExceptionEndsTheRefreshCycle) {
  auto accessor = opened();
  databases.onQuery = [](std::string_view) { throw std::runtime_error("unexpected"); };
  dispatch.advance(2s);
  databases.onQuery = [](std::string_view) {};
  dispatch.advance(10s);
  EXPECT_EQ(refreshes(), 1);
  EXPECT_EQ(delegate->reports, 0);
  EXPECT_EQ(accessor->notExcludedNodes(), nullptr);
  EXPECT_NE(accessor->excludedNodes(), nullptr) << "it was not read again";
  accessor.reset();
  EXPECT_EQ(databases.closed, 1) << "nothing owns the accessor any more";
}

TEST_F(WVDBAccessorTest, AnUnexpectedExceptionFromTheExcludedRulesLeavesThemNull) {
  const auto accessor = opened();
  database.addRule("new");
  databases.onQuery = [](std::string_view sql) {
    if (sql == kExcluded) throw std::runtime_error("unexpected");
  };
  EXPECT_THROW(accessor->updateCache(), std::runtime_error);
  EXPECT_EQ(accessor->notExcludedNodes()->size(), 1U);
  EXPECT_EQ(accessor->excludedNodes(), nullptr);
  EXPECT_EQ(delegate->reports, 0);
}

TEST_F(WVDBAccessorTest, StoppedBeforeItsFirstRefreshItRunsThatRefreshOnly) {
  const auto accessor = open(mountPoint);
  accessor->stop();
  accessor->stop();
  dispatch.advance(10s);
  EXPECT_EQ(refreshes(), 1);
  EXPECT_EQ(dispatch.delayed(), 0U);
}

TEST_F(WVDBAccessorTest, RefreshesRunOnItsOwnQueue) {
  const auto accessor = open(mountPoint);
  ASSERT_EQ(dispatch.serialQueues("update_queue").size(), 1U);
  EXPECT_EQ(dispatch.serialQueues("update_queue").front()->pending(), 1U);
  EXPECT_EQ(dispatch.manualMainQueue().pending(), 0U);
}

// --- Rules ---------------------------------------------------------------------------------------

TEST_F(WVDBAccessorTest, RulesOfOddlyNamedFoldersKeepTheNames) {
  for (const auto& name : oddNames()) database.addRule(name, true);
  const auto rules = opened()->excludedNodes();
  ASSERT_TRUE(rules);
  ASSERT_EQ(rules->size(), oddNames().size());
  for (std::size_t i = 0; i < rules->size(); ++i)
    EXPECT_EQ((*rules)[i].root_folder(), mountPoint + oddNames()[i]);
}

TEST_F(WVDBAccessorTest, FieldsOfARuleThatAreNotReadStayEmpty) {
  database.addRule("x");
  const auto rules = opened()->notExcludedNodes();
  ASSERT_TRUE(rules);
  const auto& rule = rules->front();
  EXPECT_FALSE(rule.is_fcr() || rule.is_system() || rule.hidden() || rule.system());
  EXPECT_EQ(rule.min_size(), 0U);
  EXPECT_EQ(rule.max_size(), 0U);
  EXPECT_FALSE(rule.exclude());
}

TEST(FSCRAccessorRows, ThatEndWithAnErrorThrowBadDatabaseWithItsDetails) {
  BreakingRows rows;
  try {
    FSCRAccessor().nodesForQueryResult(rows);
    FAIL() << "no exception";
  } catch (const BadDatabase& bad) {
    EXPECT_EQ(bad.details().code, 11);
    EXPECT_EQ(bad.details().message, "the disk is gone");
  }
  EXPECT_EQ(rows.steps, 2);
}

}  // namespace
}  // namespace wevora
