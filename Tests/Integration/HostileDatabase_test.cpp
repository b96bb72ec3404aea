// Corrupt and malicious databases: a volume, and so its database, may come from anybody.

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
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Engine/EngineUnderTest.h"
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

/// A clock whose uptime advances by 200 ms with every reading, so that an endless query reaches its
/// deadline at once.
class FastClock : public platform::SystemClock {
 public:
  std::chrono::nanoseconds uptime() const override {
    return std::chrono::milliseconds(200 * ++readings_);
  }

 private:
  mutable std::atomic<int> readings_{0};
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

/// One kind of database, and the expected word of the item "item" next to it; "none" for no badge.
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
class TwoVolumes {
 public:
  TwoVolumes() {
    for (const auto& volume : {hostile(), healthy()}) {
      fs::create_directory(volume);
      writeBytes(volume + "/item", "x");
    }
    writeNames(databaseOf(healthy()), {"item"});
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
      engine.provider->colorFor(ItemURL(path));
      engine.dispatch.runAll();
    }
    return engine.provider->colorFor(ItemURL(path)).value_or("none");
  }
  /// Clears all caches, as after a long time.
  void startOver() {
    engine.provider->reinit();
    engine.dispatch.advance(std::chrono::seconds(3));
  }

 private:
  platform::TemporaryFolder folder_;
  FastClock databaseClock_;
  platform::MountInfoVolumes volumes_{[this] {
    return "1 0 0:1 / / rw - ext4 a rw\n2 1 0:2 / " + hostile() + " rw - vfat b rw\n3 1 0:3 / " +
           healthy() + " rw - ext4 c rw\n";
  }};
  platform::SqliteDatabases databases_{databaseClock_};

 public:
  testing_host::EngineUnderTest engine{
      {.volumes = &volumes_, .databases = &databases_, .accountId = kAccount}};
};

class HostileDatabase : public testing::TestWithParam<Kind> {};

TEST_P(HostileDatabase, GivesNoBadgeOrTheCorrectOneAndDoesNotAffectOtherVolumes) {
  TwoVolumes volumes;
  volumes.make(GetParam());
  EXPECT_EQ(volumes.word(volumes.hostile() + "/item"), GetParam().word);
  EXPECT_EQ(volumes.word(volumes.healthy() + "/item"), "green");
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileDatabase, testing::ValuesIn(kinds()),
                         [](const auto& kind) { return kind.param.name; });

TEST(HostileDatabases, LeakNoDescriptorsAndNoMemoryInAThousandRounds) {
  constexpr int kRounds = 1000;
  TwoVolumes volumes;
  const auto round = [&](int number) {
    volumes.make(kinds()[static_cast<std::size_t>(number) % kinds().size()]);
    volumes.word(volumes.hostile() + "/item");
    EXPECT_EQ(volumes.word(volumes.healthy() + "/item"), "green") << number;
    volumes.startOver();
  };
  for (std::size_t i = 0; i < kinds().size(); ++i) round(static_cast<int>(i));
  const auto descriptors = openDescriptors();
  const auto memory = ::mallinfo2().uordblks;
  const auto delayed = volumes.engine.dispatch.delayed();
  for (int i = 0; i < kRounds; ++i) round(i);
  // End with the same kind as when the counts were taken.
  for (std::size_t i = 0; i < kinds().size(); ++i) round(static_cast<int>(i));
  EXPECT_LE(openDescriptors(), descriptors + 2);
  EXPECT_LE(volumes.engine.dispatch.delayed(), delayed + 2);
  EXPECT_LT(::mallinfo2().uordblks, memory + 256 * 1024);
}

TEST(HostileNames, WithQuotesNewlinesColonsAndInvalidUtf8HaveTheirOwnWords) {
  TwoVolumes volumes;
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
  for (const auto& name : names) writeBytes(volumes.hostile() + "/" + name, "x");
  fs::remove_all(TwoVolumes::databaseOf(volumes.hostile()));
  writeNames(TwoVolumes::databaseOf(volumes.hostile()), names);
  for (const auto& name : names)
    EXPECT_EQ(volumes.word(volumes.hostile() + "/" + name), "green") << name;
  writeBytes(volumes.hostile() + "/unknown", "x");
  EXPECT_EQ(volumes.word(volumes.hostile() + "/unknown"), "none");
}

TEST(HostileDatabases, ThatAreUnreadableGiveNoBadge) {
  // Root may read everything, so the engine runs as nobody in a child process.
  TwoVolumes volumes;
  volumes.make(kinds().front());
  fs::permissions(TwoVolumes::databaseOf(volumes.hostile()), fs::perms::none);
  fs::permissions(fs::path(volumes.hostile()).parent_path(), fs::perms::all);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) ::_exit(3);
    const bool correct = volumes.word(volumes.hostile() + "/item") == "none" &&
                         volumes.word(volumes.healthy() + "/item") == "green";
    ::_exit(correct ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace wevora
