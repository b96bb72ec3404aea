#include <fstream>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::platform {
namespace {

using agent_sim::DatabaseWriter;

/// A clock that advances with every call.
class AdvancingClock : public VirtualClock {
 public:
  std::chrono::nanoseconds uptime() const override { return std::chrono::seconds(++calls_); }

 private:
  mutable std::atomic<int> calls_{0};
};

class DatabaseTest : public testing::Test {
 protected:
  std::shared_ptr<Database> opened(Databases& from) {
    auto database = from.databaseWithPath(path);
    std::optional<DatabaseError> error;
    EXPECT_TRUE(database->open(&error)) << error->message;
    return database;
  }
  static std::vector<std::string> texts(ResultSet& rows, std::string_view name) {
    std::vector<std::string> read;
    std::optional<int> column;
    while (rows.next(nullptr) == ResultSet::Step::row) {
      if (!column) column = rows.column(name);
      read.emplace_back(rows.text(column.value()).value_or("(null)"));
    }
    return read;
  }

  TemporaryFolder folder;
  std::string path = folder.path("test.db");
  DatabaseWriter writer{path, DatabaseWriter::Mode::createIfMissing};
  SystemClock clock;
  SqliteDatabases databases{clock};
};

TEST_F(DatabaseTest, ReadsTheTypesOfARow) {
  writer.runScript("CREATE TABLE t(a, b, c, d); INSERT INTO t VALUES('x', 1, NULL, 2.5)");
  const auto database = opened(databases);
  const auto rows = database->executeQuery("SELECT * FROM t", nullptr);
  ASSERT_EQ(rows->next(nullptr), ResultSet::Step::row);
  EXPECT_EQ(rows->text(rows->column("a").value()), "x");
  EXPECT_TRUE(rows->boolean(rows->column("b").value()));
  EXPECT_EQ(rows->int32(rows->column("b").value()), 1);
  EXPECT_TRUE(rows->isNull(rows->column("c").value()));
  EXPECT_EQ(rows->text(rows->column("c").value()), std::nullopt);
  EXPECT_EQ(rows->valueIfText(rows->column("a").value()), "x");
  EXPECT_EQ(rows->valueIfText(rows->column("d").value()), std::nullopt);
  EXPECT_EQ(rows->column("absent"), std::nullopt);
  EXPECT_EQ(rows->next(nullptr), ResultSet::Step::done);
}

TEST_F(DatabaseTest, APreparedQueryRunsAgainWithOtherValuesAndPreservesOddBytes) {
  writer.runScript("CREATE TABLE t(k, v)");
  const std::string odd("it's\n\xFF:\0x", 9);
  writer.run("INSERT INTO t VALUES(?, 'one')", {std::string("a")});
  writer.run("INSERT INTO t VALUES(?, 'two')", {odd});
  const auto database = opened(databases);
  for (int round = 0; round < 3; ++round) {
    const auto statement = database->prepare("SELECT v FROM t WHERE k=?", nullptr);
    const std::string_view first[] = {"a"};
    const std::string_view second[] = {odd};
    EXPECT_EQ(texts(*statement->executeQuery(first, nullptr), "v"),
              std::vector<std::string>{"one"});
    EXPECT_EQ(texts(*statement->executeQuery(second, nullptr), "v"),
              std::vector<std::string>{"two"});
  }
}

TEST_F(DatabaseTest, NeverWrites) {
  writer.runScript("CREATE TABLE t(a); INSERT INTO t VALUES(1)");
  const auto database = opened(databases);
  std::optional<DatabaseError> error;
  const auto rows = database->executeQuery("DELETE FROM t", &error);
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->next(&error), ResultSet::Step::error);
  EXPECT_TRUE(error);
  EXPECT_EQ(writer.run("SELECT count(*) FROM t"),
            std::vector<DatabaseWriter::Row>{{std::int64_t{1}}});
}

TEST_F(DatabaseTest, CallsOnADatabaseThatIsNotOpenReportAnError) {
  const auto database = databases.databaseWithPath(folder.path("missing.db"));
  std::optional<DatabaseError> error;
  EXPECT_FALSE(database->open(&error));
  EXPECT_TRUE(error);
  error.reset();
  EXPECT_EQ(database->prepare("SELECT 1", &error), nullptr);
  EXPECT_TRUE(error);
  error.reset();
  EXPECT_EQ(database->executeQuery("SELECT 1", &error), nullptr);
  EXPECT_TRUE(error);
}

TEST_F(DatabaseTest, OpensNothingButARegularFile) {
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(databases.databaseWithPath(folder.path("pipe"))->open(nullptr));
  EXPECT_FALSE(databases.databaseWithPath(folder.path())->open(nullptr));
}

TEST_F(DatabaseTest, AQueryThatExceedsItsTimeLimitEndsWithAnError) {
  writer.runScript(
      "CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) "
      "SELECT i FROM n WHERE i < 0");
  AdvancingClock advancing;
  SqliteDatabases limited(advancing);
  const auto database = opened(limited);
  std::optional<DatabaseError> error;
  const auto rows = database->executeQuery("SELECT * FROM endless", &error);
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->next(&error), ResultSet::Step::error);
  EXPECT_TRUE(error);
}

TEST_F(DatabaseTest, AQueryWithUnlimitedRowsEndsWithAnError) {
  writer.runScript(
      "CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) "
      "SELECT i FROM n");
  DatabaseLimits limits;
  limits.queryRows = 10;
  SqliteDatabases limited(clock, limits);
  const auto database = opened(limited);
  const auto rows = database->executeQuery("SELECT * FROM endless", nullptr);
  ASSERT_TRUE(rows);
  int read = 0;
  ResultSet::Step step{};
  std::optional<DatabaseError> error;
  while ((step = rows->next(&error)) == ResultSet::Step::row) ++read;
  EXPECT_EQ(step, ResultSet::Step::error);
  EXPECT_EQ(read, 10);
}

TEST_F(DatabaseTest, AValueBeyondTheSizeLimitIsAnError) {
  writer.runScript("CREATE TABLE t(a); INSERT INTO t VALUES(zeroblob(3000000))");
  const auto database = opened(databases);
  std::optional<DatabaseError> error;
  const auto rows = database->executeQuery("SELECT a FROM t", &error);
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->next(&error), ResultSet::Step::error);
  EXPECT_TRUE(error);
}

TEST_F(DatabaseTest, SmallTextsBeyondTheTotalLimitOfAQueryAreAnError) {
  writer.runScript("CREATE TABLE t(a); INSERT INTO t VALUES('0123456789'),('0123456789'),('x')");
  DatabaseLimits limits;
  limits.queryTextBytes = 15;
  SqliteDatabases limited(clock, limits);
  const auto database = opened(limited);
  EXPECT_EQ(texts(*database->executeQuery("SELECT a FROM t", nullptr), "a").size(), 2U);
}

TEST_F(DatabaseTest, AFileThatIsNotADatabaseFailsAtTheFirstQuery) {
  std::ofstream(folder.path("noise")) << std::string(8192, 'n');
  const auto database = databases.databaseWithPath(folder.path("noise"));
  database->open(nullptr);
  std::optional<DatabaseError> error;
  EXPECT_EQ(database->executeQuery("SELECT * FROM t", &error), nullptr);
  EXPECT_TRUE(error);
}

TEST_F(DatabaseTest, AStatementMayOutliveItsDatabase) {
  writer.runScript("CREATE TABLE t(a); INSERT INTO t VALUES('x')");
  auto database = opened(databases);
  auto statement = database->prepare("SELECT a FROM t", nullptr);
  database->close();
  database.reset();
  EXPECT_EQ(texts(*statement->executeQuery({}, nullptr), "a"), std::vector<std::string>{"x"});
}

}  // namespace
}  // namespace wevora::platform
