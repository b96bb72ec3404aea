// The engine on real threads: concurrent operations, and a process that writes the database
// meanwhile.

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "Tests/RecordingHost/RecordingHost.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::SyncDatabase;

constexpr int kFolders = 6;
constexpr int kFilesInFolder = 8;
constexpr int kRounds = 400;

std::string nameOf(const char* what, int number) {
  return what + std::to_string(number);
}

/// A volume with some folders of files; every second file is backed up.
void fillVolume(const std::string& volume, const std::string& account) {
  SyncDatabase database(volume + "/Wevora-Account-" + account + ".db");
  agent_sim::DatabaseWriter::Transaction transaction(database.writer);
  database.addTop();
  database.addRule("");
  for (int f = 0; f < kFolders; ++f) {
    const auto folder = nameOf("folder", f);
    fs::create_directories(volume + "/" + folder);
    database.addFolder(folder, SyncDatabase::kTop, folder);
    for (int i = 0; i < kFilesInFolder; ++i) {
      const auto file = nameOf("file", i);
      std::ofstream(volume + "/" + folder + "/" + file) << "x";
      database.addFile(folder + file, folder, file,
                       i % 2 == 0 ? SyncDatabase::Text(SyncDatabase::kSynchronized) : std::nullopt);
    }
  }
  transaction.commit();
}

class Stress : public testing::Test {
 protected:
  Stress() {
    for (const auto& volume : mounted) {
      fs::create_directories(volume);
      fillVolume(volume, "1");
      fillVolume(volume, "2");
    }
  }

  /// Runs the main loop until no refresh is pending.
  void settle() {
    bool idle = false;
    engine.provider->performWhenIdle([&] { idle = true; });
    while (!idle) g_main_context_iteration(nullptr, TRUE);
  }
  std::string path(const std::string& volume, int folderNumber, int file) const {
    return volume + "/" + nameOf("folder", folderNumber) + "/" + nameOf("file", file);
  }
  void forEachFile(const std::function<void(const std::string&, int)>& visit) const {
    for (const auto& volume : mounted)
      for (int f = 0; f < kFolders; ++f)
        for (int i = 0; i < kFilesInFolder; ++i) visit(path(volume, f, i), i);
  }
  void drawAll() {
    forEachFile([&](const std::string& item, int) {
      engine.provider->colorFor(ItemURL(item));
      engine.provider->setView(host.makeView(), item);
    });
  }

  platform::TemporaryFolder folder;
  std::vector<std::string> mounted = {folder.path("one"), folder.path("two")};
  testing_host::RecordingHost host;
  platform::MountInfoVolumes volumes{[this] {
    return "1 0 0:1 / / rw - ext4 a rw\n2 1 0:2 / " + mounted[0] + " rw - vfat b rw\n3 1 0:3 / " +
           mounted[1] + " rw - vfat c rw\n";
  }};
  testing_host::ThreadedEngineUnderTest engine{
      {.volumes = &volumes, .runtime = &host.runtime, .accountId = "1"}};
};

TEST_F(Stress, ConcurrentOperationsEndWithCorrectWords) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([this, t] {
      for (int round = 0; round < kRounds; ++round)
        engine.provider->updateCacheForPath(path(mounted[static_cast<std::size_t>(round % 2)],
                                                 (t + round) % kFolders, t % kFilesInFolder));
    });
  threads.emplace_back([this] {
    for (int round = 0; round < kRounds; ++round) {
      engine.provider->reinit();
      engine.pool->setAccountId(round % 2 == 0 ? "2" : "1");
      engine.pool->accessorGoneBad(nullptr);
      if (const auto accessor = engine.pool->accessorWithPath(mounted[0])) accessor->updateCache();
    }
  });
  for (int round = 0; round < kRounds; ++round) {
    drawAll();
    g_main_context_iteration(nullptr, FALSE);
    // Not the second volume: its words are checked below, and an unmount request keeps a volume
    // closed for five seconds.
    EXPECT_EQ(engine.approvals.ask(mounted[0]), std::nullopt);
  }
  for (auto& thread : threads) thread.join();
  settle();
  engine.pool->setAccountId("1");
  engine.provider->reinit();
  settle();
  drawAll();
  settle();
  forEachFile([&](const std::string& item, int number) {
    if (!item.starts_with(mounted[1])) return;
    EXPECT_EQ(engine.provider->colorFor(ItemURL(item)), number % 2 == 0 ? "green" : "blue") << item;
  });
}

/// Runs a process that toggles the state of all files and finally leaves the odd ones backed up.
class Writer {
 public:
  Writer(const std::string& database, const std::string& journal, const std::string& scriptPath) {
    std::ofstream script(scriptPath);
    script << ".timeout 20000\nPRAGMA journal_mode=" << journal << ";\nPRAGMA synchronous=OFF;\n";
    for (int round = 0; round < 600; ++round)
      for (int parity = 0; parity < 2; ++parity)
        script << "BEGIN IMMEDIATE; UPDATE file SET synchronized=CASE WHEN substr(name_long,5)%2="
               << parity << " THEN '2026-01-01 00:00:00.0000000' END WHERE NOT is_folder;"
               << "COMMIT;\n";
    script.close();
    thread_ = std::thread(
        [command = "sqlite3 '" + database + "' < '" + scriptPath + "' >/dev/null", this] {
          status_ = std::system(command.c_str());
          done_ = true;
        });
  }
  ~Writer() { thread_.join(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  bool done() const { return done_; }
  int status() const { return status_; }

 private:
  std::atomic<bool> done_{false};
  std::atomic<int> status_{-1};
  std::thread thread_;
};

class StressWithWriter : public Stress, public testing::WithParamInterface<const char*> {};

TEST_P(StressWithWriter, AConcurrentWriterProcessCausesNoWrongWordAndNoLostRedraw) {
  const std::string volume = mounted[0];
  drawAll();
  settle();
  {
    const Writer writer(volume + "/Wevora-Account-1.db", GetParam(), folder.path("script.sql"));
    for (int round = 0; !writer.done(); ++round) {
      engine.provider->addOperationWithFolderName(path(volume, round % kFolders, 0), 8, 0.3);
      settle();
      drawAll();
    }
    EXPECT_EQ(writer.status(), 0);
  }
  // The last displayed words, each with its view.
  settle();
  struct Shown {
    std::string path;
    int number;
    WVIconProvider::Word word;
    std::shared_ptr<testing_host::View> view;
  };
  std::vector<Shown> shown;
  forEachFile([&](const std::string& item, int number) {
    if (!item.starts_with(volume)) return;
    shown.push_back({item, number, engine.provider->colorFor(ItemURL(item)), host.makeView()});
    engine.provider->setView(shown.back().view, item);
  });
  settle();
  for (int f = 0; f < kFolders; ++f)
    engine.provider->addOperationWithFolderName(path(volume, f, 0), 8, 0.3);
  settle();
  for (const auto& item : shown) {
    const auto word = engine.provider->colorFor(ItemURL(item.path));
    EXPECT_EQ(word, item.number % 2 == 1 ? "green" : "blue") << item.path;
    if (word != item.word) {
      EXPECT_EQ(item.view->redraws, 1) << item.path;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Journals, StressWithWriter, testing::Values("DELETE", "WAL"),
                         [](const auto& journal) { return std::string(journal.param); });

}  // namespace
}  // namespace wevora
