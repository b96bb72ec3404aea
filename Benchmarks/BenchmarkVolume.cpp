#include "Benchmarks/BenchmarkVolume.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/DatabaseWriter.h"
#include "Platform/Base/Clock.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"

namespace wevora::benchmarks {
namespace {

namespace fs = std::filesystem;

constexpr int kDeepLevels = 8;

std::string smallFolderName(int number) {
  return "Folder " + std::to_string(number);
}

/// Writes rows, and for some of them the files that they tell of.
class Filler {
 public:
  Filler(agent_sim::DatabaseWriter& writer, std::string volume)
      : writer_(writer), volume_(std::move(volume)) {}

  int rows() const { return rows_; }

  std::string add(const std::string& parent, const std::string& name, bool isFolder) {
    ++rows_;
    auto id = identifier();
    writer_.run(insert_,
                {id, parent, std::int64_t{isFolder}, name, name, std::int64_t{rows_}, kDate, kDate,
                 rows_ % 2 == 0 ? agent_sim::DatabaseValue(kDate) : nullptr});
    return id;
  }

  void addItems(const std::string& folder, int items) {
    for (int i = 0; i < items; ++i) add(folder, BenchmarkVolume::itemName(i), false);
  }

  void addFolderAtTop(const std::string& name, int items, bool onDisk) {
    addItems(add(kNilFileID, name, true), items);
    if (!onDisk) return;
    const fs::path folder = fs::path(volume_) / name;
    fs::create_directory(folder);
    for (int i = 0; i < items; ++i) std::ofstream(folder / BenchmarkVolume::itemName(i)).flush();
  }

 private:
  static inline const std::string kDate = "2014-03-01 17:05:09.1234567";

  std::string identifier() {
    const auto high = random_();
    const auto low = random_();
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08X-%04X-4%03X-A%03X-%012llX",
                  static_cast<unsigned>(high >> 32U), static_cast<unsigned>(high >> 16U & 0xFFFFU),
                  static_cast<unsigned>(high & 0xFFFU), static_cast<unsigned>(low >> 52U),
                  static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFU));
    return text.data();
  }

  agent_sim::DatabaseWriter& writer_;
  const std::string volume_;
  const std::string insert_ = std::string("INSERT INTO ") + kFileTableName + "(" +
                              kFileTableColumnFileID + "," + kFileTableColumnParentID + "," +
                              kFileTableColumnIsFolder + "," + kFileTableColumnNameShort + "," +
                              kFileTableColumnNameLong + "," + kFileTableColumnFileSize + "," +
                              kFileTableColumnModifyDate + "," + kFileTableColumnScannedDate + "," +
                              kFileTableColumnSyncDate + ") VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)";
  std::mt19937_64 random_{1};
  int rows_ = 1;  // the top's
};

}  // namespace

std::string databaseIn(const std::string& volume) {
  return volume + "/Wevora-Account-" + BenchmarkVolume::kAccount + ".db";
}

std::string mountInfoOf(const std::string& volume) {
  std::string escaped;
  for (const char c : volume) escaped += c == ' ' ? std::string("\\040") : std::string(1, c);
  return "36 35 98:0 / " + escaped + " rw - ext4 /dev/benchmark rw\n";
}

const BenchmarkVolume& BenchmarkVolume::shared() {
  static const BenchmarkVolume volume;
  return volume;
}

BenchmarkVolume::BenchmarkVolume() {
  const char* wanted = std::getenv("WEVORA_BENCHMARK_VOLUME");
  path_ = fs::absolute(wanted == nullptr ? WEVORA_BENCHMARK_VOLUME : wanted).string();
  if (fs::exists(databasePath())) return;
  // Under another name until it is complete, so that a run that is broken off leaves nothing.
  const std::string unfinished = path_ + ".unfinished";
  fs::remove_all(unfinished);
  fs::create_directories(unfinished);
  make(unfinished);
  fs::rename(unfinished, path_);
}

void BenchmarkVolume::make(const std::string& path) const {
  std::fprintf(stderr, "making a database of %d rows in %s\n", kRows, path_.c_str());
  const platform::SystemClock clock;
  agent_sim::AgentDatabase(databaseIn(path), path, clock,
                           agent_sim::AgentDatabase::Mode::createIfMissing);
  agent_sim::DatabaseWriter writer(databaseIn(path), agent_sim::DatabaseWriter::Mode::mustExist);
  writer.runScript("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-500000;");
  agent_sim::DatabaseWriter::Transaction transaction(writer);
  Filler filler(writer, path);
  filler.addFolderAtTop("Pictures", kItemsInLargeFolder, true);
  filler.addFolderAtTop("More pictures", kItemsInLargeFolder, false);
  for (int i = 0; i < kSmallFolders; ++i)
    filler.addFolderAtTop(smallFolderName(i), kItemsInSmallFolder, true);
  std::string parent = kNilFileID;
  for (int level = 1; level < kDeepLevels; ++level) {
    parent = filler.add(parent, "Level " + std::to_string(level), true);
    filler.addItems(parent, kItemsInSmallFolder);
  }
  const auto archive = filler.add(kNilFileID, "Archive", true);
  constexpr int kItemsInArchivedFolder = 100;
  for (int i = 0; filler.rows() < kRows; ++i) {
    const auto folder = filler.add(archive, "Year " + std::to_string(i), true);
    filler.addItems(folder, std::min(kItemsInArchivedFolder, kRows - filler.rows()));
  }
  transaction.commit();
}

std::string BenchmarkVolume::databasePath() const {
  return databaseIn(path_);
}

std::string BenchmarkVolume::mountInfo() const {
  return mountInfoOf(path_);
}

std::string BenchmarkVolume::smallFolder(int number) const {
  return path_ + "/" + smallFolderName(number);
}

std::string BenchmarkVolume::deepFile() const {
  std::string path = path_;
  for (int level = 1; level < kDeepLevels; ++level) path += "/Level " + std::to_string(level);
  return path + "/" + itemName(kItemsInSmallFolder / 2);
}

std::string BenchmarkVolume::itemName(int number) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "photograph-%05d.jpg", number);
  return name.data();
}

}  // namespace wevora::benchmarks
