// The cost of the file tools. Each measurement runs next to a bare baseline, which does the least
// work for the same answer, in the same process. `Benchmarks/run` prints the ratios.

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <glib.h>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Descriptor.h"

namespace wevora::benchmarks {
namespace {

namespace fs = std::filesystem;

constexpr int kEntries = 100'000;
constexpr int kHiddenNames = 10'000;  // in the folder's list; the list is one more entry
constexpr std::uintmax_t kSparseBytes = std::uintmax_t{2} << 30;

/// A folder of many entries and a large file without contents, made once and kept for later runs.
/// Threads: one. Owns: nothing; the files stay. Errors: throws when they cannot be made.
class Items {
 public:
  static const Items& shared() {
    static const Items items;
    return items;
  }
  const std::string folder = std::string(WEVORA_BENCHMARK_FILES) + "/entries";
  const std::string sparseFile = std::string(WEVORA_BENCHMARK_FILES) + "/sparse";

 private:
  Items() {
    // Under another name until it is complete, so that a run that is broken off leaves nothing.
    const std::string unfinished = folder + ".unfinished";
    if (!fs::exists(folder)) {
      std::fprintf(stderr, "making %d files in %s\n", kEntries, folder.c_str());
      fs::create_directories(unfinished);
      for (int i = 0; i < kEntries; ++i)
        std::ofstream(unfinished + "/photograph-" + std::to_string(i) + ".jpg").flush();
      fs::rename(unfinished, folder);
    }
    if (const std::string list = folder + "/.hidden"; !fs::exists(list)) {
      std::ofstream names(list);
      for (int i = 0; i < kHiddenNames; ++i) names << "hidden-" << i << ".jpg\n";
    }
    if (!fs::exists(sparseFile)) std::ofstream(sparseFile).flush();
    fs::resize_file(sparseFile, kSparseBytes);
  }
};

void listingByTools(benchmark::State& state) {
  for (auto _ : state) {
    const auto paths = WVRFileTools::getContentsOfDirectory(Items::shared().folder);
    if (paths.size() != kEntries + 1) state.SkipWithError("not every entry is listed");
  }
}

void scanByTools(benchmark::State& state) {
  const std::string url = "file://" + Items::shared().folder;
  for (auto _ : state) {
    const auto paths = WVRFileTools::scanURLIgnoringExtrasAndDirs(url);
    if (paths.size() != kEntries) state.SkipWithError("not every entry is visible");
  }
}

struct FolderClose {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

void listingBare(benchmark::State& state) {
  for (auto _ : state) {
    const std::unique_ptr<DIR, FolderClose> folder(::opendir(Items::shared().folder.c_str()));
    int count = 0;
    while (const dirent* entry = ::readdir(folder.get())) {
      struct stat facts {};
      if (::fstatat(::dirfd(folder.get()), entry->d_name, &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
          S_ISREG(facts.st_mode))
        ++count;
    }
    if (count != kEntries + 1) state.SkipWithError("not every entry is listed");
  }
}

void digestByTools(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(WVRFileTools::getMD5FromFile(Items::shared().sparseFile));
}

struct ChecksumFree {
  void operator()(GChecksum* checksum) const noexcept { g_checksum_free(checksum); }
};

/// The library's digest of as many bytes, which are read as fast as they come.
void digestBare(benchmark::State& state) {
  constexpr std::size_t kBufferSize = std::size_t{1} << 20;
  std::vector<unsigned char> buffer(kBufferSize);
  for (auto _ : state) {
    const platform::Descriptor file(::open(Items::shared().sparseFile.c_str(), O_RDONLY));
    const std::unique_ptr<GChecksum, ChecksumFree> digest(g_checksum_new(G_CHECKSUM_MD5));
    for (;;) {
      const ssize_t read = ::read(file.get(), buffer.data(), buffer.size());
      if (read <= 0) break;
      g_checksum_update(digest.get(), buffer.data(), read);
    }
    benchmark::DoNotOptimize(g_checksum_get_string(digest.get()));
  }
}

BENCHMARK(listingByTools)->Name("list 100,000 entries/engine")->Unit(benchmark::kMillisecond);
BENCHMARK(listingBare)->Name("list 100,000 entries/bare")->Unit(benchmark::kMillisecond);
BENCHMARK(scanByTools)->Name("scan 100,000 entries/engine")->Unit(benchmark::kMillisecond);
BENCHMARK(listingBare)->Name("scan 100,000 entries/bare")->Unit(benchmark::kMillisecond);
BENCHMARK(digestByTools)
    ->Name("digest of 2 GiB/engine")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(digestBare)->Name("digest of 2 GiB/bare")->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace wevora::benchmarks

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  wevora::benchmarks::Items::shared();
  benchmark::RunSpecifiedBenchmarks();
}
