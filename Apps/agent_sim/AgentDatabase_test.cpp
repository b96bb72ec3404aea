#include "Apps/agent_sim/AgentDatabase.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::agent_sim {
namespace {

namespace fs = std::filesystem;

class AgentDatabaseTest : public testing::Test {
 protected:
  AgentDatabase opened() {
    return {path, volume.path(), clock, AgentDatabase::Mode::createIfMissing};
  }
  AgentDatabase::ScanResult scan() {
    return opened().scan([this](const std::string& text) { warnings.push_back(text); });
  }
  void write(const std::string& name, const std::string& text = "x") {
    std::ofstream(volume.path(name)) << text;
  }
  DatabaseValue value(const std::string& query, const std::vector<DatabaseValue>& values = {}) {
    DatabaseWriter reader(path, DatabaseWriter::Mode::mustExist);
    const auto rows = reader.run(query, values);
    return rows.empty() ? DatabaseValue(std::string("no row")) : rows.front().front();
  }
  DatabaseValue count(const std::string& condition) {
    return value("SELECT count(*) FROM file WHERE " + condition);
  }
  DatabaseValue of(const std::string& column, const std::string& name) {
    return value("SELECT " + column + " FROM file WHERE name_long=?", {name});
  }
  static DatabaseValue number(std::int64_t n) { return n; }

  platform::TemporaryFolder volume;
  platform::TemporaryFolder elsewhere;
  std::string path = elsewhere.path("agent.db");
  platform::VirtualClock clock;
  std::vector<std::string> warnings;
};

TEST_F(AgentDatabaseTest, ScanningGivesEveryItemARowUnderItsFolder) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file", "12345");
  EXPECT_EQ(scan().items, 3);
  EXPECT_EQ(of("parent_id", "a"),
            DatabaseValue(std::string("00000000-0000-0000-0000-000000000000")));
  EXPECT_EQ(of("parent_id", "file"), of("file_id", "b"));
  EXPECT_EQ(of("is_folder", "b"), number(1));
  EXPECT_EQ(of("size", "file"), number(5));
  EXPECT_EQ(of("name_short", "file"), DatabaseValue(std::string("file")));
  EXPECT_EQ(of("synchronized", "file"), DatabaseValue(nullptr));
  EXPECT_EQ(count("parent_id IS NULL AND is_folder AND "
                  "file_id='00000000-0000-0000-0000-000000000000'"),
            number(1));
}

TEST_F(AgentDatabaseTest, OddNamesKeepTheirBytes) {
  const std::vector<std::string> names = {"a b", "it's", "two\nlines", "\xC3\xA9", "\xFF\xFE"};
  for (const auto& name : names) write(name);
  scan();
  for (const auto& name : names) EXPECT_NE(of("file_id", name), of("file_id", "absent")) << name;
}

TEST_F(AgentDatabaseTest, ScanningAgainKeepsIdentifiersAndWhatIsBackedUp) {
  write("file");
  scan();
  opened().mark({volume.path("file")}, true);
  const auto id = of("file_id", "file");
  const auto again = scan();
  EXPECT_EQ(again.added + again.changed + again.gone, 0);
  EXPECT_EQ(of("file_id", "file"), id);
  EXPECT_NE(of("synchronized", "file"), DatabaseValue(nullptr));
}

TEST_F(AgentDatabaseTest, AChangedFileIsPendingAgain) {
  write("file");
  scan();
  opened().mark({volume.path("file")}, true);
  write("file", "longer");
  EXPECT_EQ(scan().changed, 1);
  EXPECT_EQ(of("synchronized", "file"), DatabaseValue(nullptr));
}

TEST_F(AgentDatabaseTest, ADeletedFolderLosesItsRowAndAllRowsBelow) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  write("stays");
  scan();
  fs::remove_all(volume.path("a"));
  EXPECT_EQ(scan().gone, 3);
  EXPECT_EQ(count("1"), number(2));
}

TEST_F(AgentDatabaseTest, AFileThatBecameAFolderIsANewItem) {
  write("x");
  scan();
  const auto id = of("file_id", "x");
  fs::remove(volume.path("x"));
  fs::create_directory(volume.path("x"));
  scan();
  EXPECT_NE(of("file_id", "x"), id);
  EXPECT_EQ(of("is_folder", "x"), number(1));
}

TEST_F(AgentDatabaseTest, LinksAreItemsAndAreNotFollowed) {
  fs::create_directory(volume.path("folder"));
  write("folder/inside");
  fs::create_directory_symlink(volume.path("folder"), volume.path("link"));
  scan();
  EXPECT_EQ(of("is_folder", "link"), number(0));
  EXPECT_EQ(count("name_long='inside'"), number(1));
}

TEST_F(AgentDatabaseTest, TheAgentsOwnFilesAreSkipped) {
  fs::create_directory(volume.path(".wevora"));
  write("Wevora-Account-1.db");
  write("Wevora-Account-1.db-journal");
  EXPECT_EQ(scan().items, 0);
}

TEST_F(AgentDatabaseTest, MarkingAFolderMarksEverythingBelow) {
  fs::create_directories(volume.path("a/b"));
  write("a/b/file");
  write("other");
  scan();
  EXPECT_EQ(opened().mark({volume.path("a")}, true), 3);
  EXPECT_EQ(count("synchronized IS NOT NULL"), number(3));
  EXPECT_EQ(opened().mark({volume.path("a/b/file")}, false), 1);
  EXPECT_EQ(of("synchronized", "file"), DatabaseValue(nullptr));
}

TEST_F(AgentDatabaseTest, MarkingAnUnknownPathChangesNothing) {
  write("file");
  scan();
  EXPECT_THROW(opened().mark({volume.path("file"), volume.path("absent")}, true), Failure);
  EXPECT_THROW(opened().mark({elsewhere.path("agent.db")}, true), Failure);
  EXPECT_EQ(count("synchronized IS NOT NULL"), number(0));
}

TEST_F(AgentDatabaseTest, UncommittedMarksAreRolledBack) {
  write("file");
  scan();
  {
    auto database = opened();
    EXPECT_EQ(database.openMarks({volume.path("file")}, true).items, 1);
  }
  EXPECT_EQ(count("synchronized IS NOT NULL"), number(0));
}

TEST_F(AgentDatabaseTest, AnUnreachableItemIsReportedAndKeepsItsRows) {
  // Folders nested beyond PATH_MAX cannot be reached by any user, not even by root.
  const std::string name(250, 'd');
  int folder = ::open(volume.path().c_str(), O_DIRECTORY | O_PATH | O_CLOEXEC);
  for (int depth = 0; depth < 20; ++depth) {
    ASSERT_EQ(::mkdirat(folder, name.c_str(), 0700), 0);
    const int next = ::openat(folder, name.c_str(), O_DIRECTORY | O_PATH | O_CLOEXEC);
    ::close(folder);
    folder = next;
  }
  ::close(folder);
  write("sibling");
  const auto reached = scan().items;
  EXPECT_LT(reached, 21);
  EXPECT_EQ(warnings.size(), 1U);
  EXPECT_EQ(count("name_long='sibling'"), number(1));

  DatabaseWriter(path, DatabaseWriter::Mode::mustExist)
      .runScript(
          "INSERT INTO file(file_id, parent_id, is_folder, name_long) SELECT 'known', file_id, 1, "
          "name_long FROM file WHERE is_folder AND file_id NOT IN (SELECT parent_id FROM file "
          "WHERE parent_id IS NOT NULL);"
          "INSERT INTO file(file_id, parent_id, is_folder, name_long) "
          "VALUES('below', 'known', 0, 'below')");
  EXPECT_EQ(scan().gone, 0);
  EXPECT_EQ(count("file_id IN ('known', 'below')"), number(2));
}

TEST_F(AgentDatabaseTest, RulesAreAddedOnceAndRelativeToTheVolume) {
  fs::create_directories(volume.path("Documents/Private"));
  EXPECT_EQ(opened().addRules({volume.path("Documents"), volume.path()}, {"Documents/Private"}), 3);
  EXPECT_EQ(opened().addRules({"Documents"}, {}), 0);
  EXPECT_EQ(value("SELECT group_concat(root_folder || exclude, ' ') FROM fscr"),
            DatabaseValue(std::string("Documents0 0 Documents/Private1")));
}

TEST_F(AgentDatabaseTest, ARuleForAPathThatIsNotAFolderOfTheVolumeAddsNothing) {
  fs::create_directory(volume.path("good"));
  EXPECT_THROW(opened().addRules({"good", "absent"}, {}), Failure);
  EXPECT_THROW(opened().addRules({elsewhere.path()}, {}), Failure);
  EXPECT_EQ(value("SELECT count(*) FROM fscr"), number(0));
}

TEST_F(AgentDatabaseTest, CreatingTheDatabaseAgainKeepsItsRows) {
  write("file");
  scan();
  opened();
  EXPECT_EQ(count("name_long='file'"), number(1));
}

TEST_F(AgentDatabaseTest, ADatabaseThatMustExistIsNotCreated) {
  EXPECT_THROW(AgentDatabase(elsewhere.path("none.db"), volume.path(), clock,
                             AgentDatabase::Mode::mustExist),
               DatabaseFailure);
  EXPECT_FALSE(fs::exists(elsewhere.path("none.db")));
}

}  // namespace
}  // namespace wevora::agent_sim
