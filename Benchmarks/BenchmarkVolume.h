#pragma once

#include <string>

namespace wevora::benchmarks {

/// Where the benchmarks' account has its database on a volume.
std::string databaseIn(const std::string& volume);
/// What the kernel would say of one mounted volume.
std::string mountInfoOf(const std::string& volume);

/// A folder that plays a mounted volume, with a database of a million rows. It is made once, at
/// $WEVORA_BENCHMARK_VOLUME or in the build folder, and kept for later runs.
/// Threads: one makes it, any read it. Owns: nothing; the folder stays.
/// Errors: throws when the folder or its database cannot be made.
class BenchmarkVolume {
 public:
  static constexpr const char* kAccount = "benchmark";
  static constexpr int kRows = 1'000'000;
  static constexpr int kItemsInLargeFolder = 10'000;
  static constexpr int kItemsInSmallFolder = 20;
  static constexpr int kSmallFolders = 100;

  /// The one of the process, made at first use.
  static const BenchmarkVolume& shared();

  const std::string& path() const { return path_; }
  std::string databasePath() const;
  /// What the kernel would say of the mounted volumes.
  std::string mountInfo() const;

  /// Two folders of kItemsInLargeFolder items; the items of the first are on disk too.
  std::string largeFolder() const { return path_ + "/Pictures"; }
  std::string otherLargeFolder() const { return path_ + "/More pictures"; }
  /// A folder of kItemsInSmallFolder items, all on disk.
  std::string smallFolder(int number) const;
  /// A file eight levels below the top.
  std::string deepFile() const;
  /// A name of twenty characters.
  static std::string itemName(int number);

 private:
  BenchmarkVolume();
  void make(const std::string& path) const;

  std::string path_;
};

}  // namespace wevora::benchmarks
