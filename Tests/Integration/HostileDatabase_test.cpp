// Databases that are not what they should be: a volume is somebody else's, and so is its database.

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Volumes/Volumes.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Leaks/Leaks.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using agent_sim::DatabaseWriter;
using testing_host::openDescriptors;

constexpr const char* kAccount = "hostile";
constexpr const char* kRules =
    "CREATE TABLE fscr(fscr_id TEXT, root_folder TEXT, path_filter TEXT, content_type TEXT,"
    " \"order\" INT, exclude INT, fc TEXT);"
    "INSERT INTO fscr VALUES('1', '', '', '', 0, 0, '');";
constexpr const char* kFiles =
    "CREATE TABLE file(file_id TEXT, parent_id TEXT, is_folder INT, name_short TEXT,"
    " name_long TEXT, synchronized TEXT);"
    "INSERT INTO file VALUES('00000000-0000-0000-0000-000000000000', NULL, 1, '/', '/', NULL);";
constexpr const char* kInsert =
    "INSERT INTO file VALUES(?, '00000000-0000-0000-0000-000000000000', 0, ?, ?,"
    " '2026-01-01 00:00:00.0000000')";

/// Time that passes by being asked for, so that a query which never ends is soon too old.
class RestlessClock : public platform::SystemClock {
 public:
  std::chrono::nanoseconds uptime() const override {
    return std::chrono::milliseconds(200 * ++asked_);
  }

 private:
  mutable std::atomic<int> asked_{0};
};

void writeSchema(const std::string& path, const std::string& script) {
  DatabaseWriter(path, DatabaseWriter::Mode::createIfMissing).runScript(script);
}

void writeNames(const std::string& path, const std::vector<std::string>& names) {
  DatabaseWriter writer(path, DatabaseWriter::Mode::createIfMissing);
  writer.runScript(std::string(kFiles) + kRules);
  for (const auto& name : names) writer.run(kInsert, {name, name, name});
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string randomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (auto& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

const char* const kEndless =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT ";

/// One kind of database, and the word of the item "item" beside it: "none", or the right one.
struct Kind {
  const char* name;
  std::function<void(const std::string& path)> make;
  const char* word = "none";
};

const std::vector<Kind>& kinds() {
  static const std::vector<Kind> all = {
      {"Healthy", [](const std::string& path) { writeNames(path, {"item"}); }, "green"},
      {"Empty", [](const std::string& path) { writeBytes(path, ""); }},
      {"Truncated",
       [](const std::string& path) {
         writeNames(path, {"item"});
         fs::resize_file(path, 4096 + 100);
       }},
      {"RandomBytes", [](const std::string& path) { writeBytes(path, randomBytes(20000, 1)); }},
      {"DamagedPages",
       [](const std::string& path) {
         writeNames(path, {"item"});
         auto bytes = contentsOf(path);
         const auto noise = randomBytes(bytes.size() - 4096, 2);
         bytes.replace(4096, noise.size(), noise);
         writeBytes(path, bytes);
       }},
      {"EncryptedLooking",
       [](const std::string& path) {
         writeBytes(path, std::string("SQLite format 3") + '\0' + randomBytes(8176, 3));
       }},
      {"OtherTables", [](const std::string& path) { writeSchema(path, "CREATE TABLE other(a)"); }},
      {"ColumnsMissing",
       [](const std::string& path) {
         writeSchema(path,
                     "CREATE TABLE file(parent_id, name_long); INSERT INTO file VALUES(NULL, '/');"
                     "CREATE TABLE fscr(exclude); INSERT INTO fscr VALUES(0)");
       }},
      {"Folder", [](const std::string& path) { fs::create_directory(path); }},
      {"Pipe", [](const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }},
      {"LinkToNowhere", [](const std::string& path) { fs::create_symlink("nowhere", path); }},
      {"LinkToItself", [](const std::string& path) { fs::create_symlink(path, path); }},
      {"EndlessView",
       [](const std::string& path) {
         writeSchema(path, std::string(kRules) + "CREATE VIEW file AS " + kEndless +
                               "i AS file_id, NULL AS parent_id, 0 AS is_folder, 'item' AS "
                               "name_short, '/' AS name_long, NULL AS synchronized FROM n");
       }},
      {"EndlessViewWithoutRows",
       [](const std::string& path) {
         writeSchema(path, std::string(kRules) + "CREATE VIEW file AS " + kEndless +
                               "i AS file_id, NULL AS parent_id, 0 AS is_folder, 'item' AS "
                               "name_short, '/' AS name_long, NULL AS synchronized FROM n "
                               "WHERE i < 0");
       }},
      {"EndlessRules",
       [](const std::string& path) {
         writeNames(path, {"item"});
         writeSchema(path, std::string("DROP TABLE fscr; CREATE VIEW fscr AS ") + kEndless +
                               "i AS fscr_id, '' AS root_folder, '' AS path_filter, '' AS "
                               "content_type, 0 AS \"order\", 0 AS exclude, '' AS fc FROM n");
       },
       "green"},
      {"HugeName",
       [](const std::string& path) {
         writeNames(path, {"item"});
         writeSchema(path,
                     "INSERT INTO file VALUES('x', '00000000-0000-0000-0000-000000000000', 0, "
                     "zeroblob(100000000), 'x', NULL)");
       }},
      {"TwoRootRows",
       [](const std::string& path) {
         writeNames(path, {"item"});
         writeSchema(path, "INSERT INTO file VALUES('y', NULL, 1, '/', '/', NULL)");
       },
       "green"},
      {"IdentifierWithQuotes",
       [](const std::string& path) {
         writeSchema(path, std::string(kRules) +
                               "CREATE TABLE file(file_id, parent_id, is_folder, name_short, "
                               "name_long, synchronized);"
                               "INSERT INTO file VALUES('''; DROP TABLE fscr; --', NULL, 1, '/', "
                               "'/', NULL)");
       }},
      {"TextsWhereNumbersShouldBe",
       [](const std::string& path) {
         writeNames(path, {"item"});
         writeSchema(path, "UPDATE file SET is_folder = 'no', synchronized = 20260101");
       },
       "blue"},
  };
  return all;
}

/// A hostile and a healthy volume in one engine, in virtual time.
class World {
 public:
  World() {
    for (const auto& volume : {hostile(), healthy()}) {
      fs::create_directory(volume);
      writeBytes(volume + "/item", "x");
    }
    writeNames(databaseOf(healthy()), {"item"});
    pool->setAccountId(kAccount);
  }

  std::string hostile() const { return folder_.path("hostile"); }
  std::string healthy() const { return folder_.path("healthy"); }
  static std::string databaseOf(const std::string& volume) {
    return volume + "/Wevora-Account-" + kAccount + ".db";
  }
  void make(const Kind& kind) {
    fs::remove_all(databaseOf(hostile()));
    kind.make(databaseOf(hostile()));
  }
  std::string word(const std::string& path) {
    for (int draws = 0; draws < 2; ++draws) {
      provider->colorFor(ItemURL(path));
      dispatch.runAll();
    }
    return provider->colorFor(ItemURL(path)).value_or("none");
  }
  /// As when a day passes: everything is forgotten and drawn again.
  void startOver() {
    provider->reinit();
    dispatch.advance(std::chrono::seconds(3));
  }

 private:
  platform::TemporaryFolder folder_;
  platform::VirtualClock clock_;
  RestlessClock databaseClock_;
  platform::MountInfoVolumes volumes_{[this] {
    return "1 0 0:1 / / rw - ext4 a rw\n2 1 0:2 / " + hostile() + " rw - vfat b rw\n3 1 0:3 / " +
           healthy() + " rw - ext4 c rw\n";
  }};
  platform::SqliteDatabases databases_{databaseClock_};
  platform::ManualUnmountApprovals approvals_;
  platform::Runtime runtime_;

 public:
  platform::ManualDispatch dispatch{clock_};

 private:
  WVFinderTools tools_{runtime_, dispatch.mainQueue(), clock_};

 public:
  std::shared_ptr<WVDBPool> pool = WVDBPool::init({databases_, dispatch, volumes_, approvals_});
  std::shared_ptr<WVIconProvider> provider = WVIconProvider::init({clock_, dispatch, tools_, pool});
};

class HostileDatabase : public testing::TestWithParam<Kind> {};

TEST_P(HostileDatabase, GivesNoBadgeOrTheRightOneAndLeavesOtherVolumesAlone) {
  World world;
  world.make(GetParam());
  EXPECT_EQ(world.word(world.hostile() + "/item"), GetParam().word);
  EXPECT_EQ(world.word(world.healthy() + "/item"), "green");
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileDatabase, testing::ValuesIn(kinds()),
                         [](const auto& kind) { return kind.param.name; });

TEST(HostileDatabases, LeaveDescriptorsAndMemoryAsTheyWereAfterAThousandRounds) {
  constexpr int kRounds = 1000;
  World world;
  const auto round = [&](int number) {
    world.make(kinds()[static_cast<std::size_t>(number) % kinds().size()]);
    world.word(world.hostile() + "/item");
    EXPECT_EQ(world.word(world.healthy() + "/item"), "green") << number;
    world.startOver();
  };
  for (std::size_t i = 0; i < kinds().size(); ++i) round(static_cast<int>(i));
  const auto descriptors = openDescriptors();
  const auto memory = ::mallinfo2().uordblks;
  const auto waiting = world.dispatch.delayed();
  for (int i = 0; i < kRounds; ++i) round(i);
  // Back at the kind with which the count was taken.
  for (std::size_t i = 0; i < kinds().size(); ++i) round(static_cast<int>(i));
  EXPECT_LE(openDescriptors(), descriptors + 2);
  EXPECT_LE(world.dispatch.delayed(), waiting + 2);
  EXPECT_LT(::mallinfo2().uordblks, memory + 256 * 1024);
}

TEST(HostileNames, WithQuotesNewlinesColonsAndBytesThatAreNotUtf8HaveTheirOwnWords) {
  World world;
  const std::vector<std::string> names = {"it's \"quoted\"",
                                          "two\nlines",
                                          "a:b",
                                          "\xFF\xFE odd",
                                          "%s%n",
                                          "-- ; DROP",
                                          "\xC3\x89t\xC3\xA9",
                                          "e\xCC\x81",
                                          " ",
                                          "*"};
  for (const auto& name : names) writeBytes(world.hostile() + "/" + name, "x");
  fs::remove_all(World::databaseOf(world.hostile()));
  writeNames(World::databaseOf(world.hostile()), names);
  for (const auto& name : names)
    EXPECT_EQ(world.word(world.hostile() + "/" + name), "green") << name;
  writeBytes(world.hostile() + "/unknown", "x");
  EXPECT_EQ(world.word(world.hostile() + "/unknown"), "none");
}

TEST(HostileDatabases, ThatMayNotBeReadGiveNoBadge) {
  // Root may read everything, so the engine runs as nobody in a process of its own.
  World world;
  world.make(kinds().front());
  fs::permissions(World::databaseOf(world.hostile()), fs::perms::none);
  fs::permissions(fs::path(world.hostile()).parent_path(), fs::perms::all);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) ::_exit(3);
    const bool right = world.word(world.hostile() + "/item") == "none" &&
                       world.word(world.healthy() + "/item") == "green";
    ::_exit(right ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace wevora
