// The cost of the engine. Each measurement runs next to a bare baseline, which does the least work
// for the same answer, in the same process. `Benchmarks/run` prints the ratios.

#include <algorithm>
#include <chrono>
#include <malloc.h>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <glib.h>

#include "Benchmarks/BareSqlite.h"
#include "Benchmarks/BenchmarkVolume.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/Strings.h"
#include "Platform/Runtime/Runtime.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::benchmarks {
namespace {

const BenchmarkVolume& volume() {
  return BenchmarkVolume::shared();
}

std::string itemOf(const std::string& folder, int number) {
  return folder + "/" + BenchmarkVolume::itemName(number);
}

/// The machine's clock, and queues that run when the benchmark runs them.
struct ManualTime {
  platform::SystemClock clock;
  platform::VirtualClock delays;
  platform::ManualDispatch dispatch{delays};
};

/// An engine for the benchmark volume.
template <class Time>
class Engine {
 public:
  Engine() = default;
  ~Engine() {
    // Workers may still hold the provider. The pool must be destroyed here, on the main thread.
    engine_.provider.reset();
    while (engine_.pool.use_count() > 1) std::this_thread::yield();
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  auto& dispatch() { return engine_.dispatch; }
  WVIconProvider& provider() { return *engine_.provider; }
  WVDBAccessor& accessor() { return *engine_.pool->accessorWithPath(volume().path()); }
  /// Continues with an empty folder cache; the open database stays.
  void clearCache() { engine_.provider = engine_.makeProvider(); }

 private:
  const platform::MountInfoVolumes volumes_{[] { return volume().mountInfo(); }};
  testing_host::BasicEngineUnderTest<Time> engine_{
      {.volumes = &volumes_, .accountId = BenchmarkVolume::kAccount}};
};

/// An engine without background work: only what the benchmark calls is run.
struct ManualEngine {
  Engine<ManualTime> engine;
  platform::ManualDispatch& dispatch = engine.dispatch();

  void dropHostWork() { dispatch.manualMainQueue().clear(); }
};

// --- A hit ---------------------------------------------------------------------------------------

/// The items that the hit benchmarks query, in an order that jumps from folder to folder.
const std::vector<std::string>& itemsOnDisk() {
  static const std::vector<std::string> items = [] {
    std::vector<std::string> made;
    constexpr int kStep = 37;
    for (int i = 0; i < 2000; ++i) {
      const int large = i * kStep % BenchmarkVolume::kItemsInLargeFolder;
      made.push_back(itemOf(volume().largeFolder(), large));
      made.push_back(itemOf(volume().smallFolder(i * kStep % BenchmarkVolume::kSmallFolders),
                            i % BenchmarkVolume::kItemsInSmallFolder));
    }
    return made;
  }();
  return items;
}

void hitByEngine(benchmark::State& state) {
  ManualEngine manual;
  auto& provider = manual.engine.provider();
  provider.updateCacheForPath(itemOf(volume().largeFolder(), 0));
  for (int i = 0; i < BenchmarkVolume::kSmallFolders; ++i)
    provider.updateCacheForPath(itemOf(volume().smallFolder(i), 0));
  std::vector<ItemURL> urls;
  for (const auto& path : itemsOnDisk()) urls.emplace_back(path);
  std::size_t next = 0;
  for (auto _ : state) {
    const auto word = provider.colorFor(urls[next]);
    if (!word || word->empty()) state.SkipWithError("a miss");
    if (++next == urls.size()) next = 0;
  }
}

void hitBare(benchmark::State& state) {
  using Folder = std::unordered_map<std::string, BareStatus, platform::StringHash, std::equal_to<>>;
  std::unordered_map<std::string, Folder, platform::StringHash, std::equal_to<>> folders;
  const auto fill = [&](const std::string& path, int items) {
    auto& folder = folders[path];
    for (int i = 0; i < items; ++i) folder[BenchmarkVolume::itemName(i)] = {"green", 1};
  };
  fill(volume().largeFolder(), BenchmarkVolume::kItemsInLargeFolder);
  for (int i = 0; i < BenchmarkVolume::kSmallFolders; ++i)
    fill(volume().smallFolder(i), BenchmarkVolume::kItemsInSmallFolder);
  std::mutex mutex;
  const auto& paths = itemsOnDisk();
  std::size_t next = 0;
  for (auto _ : state) {
    const std::string_view path = paths[next];
    const bool readable = ::access(paths[next].c_str(), R_OK) == 0;
    const auto cut = path.rfind('/');
    const std::lock_guard lock(mutex);
    const auto folder = folders.find(path.substr(0, cut));
    const auto item = folder->second.find(path.substr(cut + 1));
    if (!readable || item == folder->second.end()) state.SkipWithError("a miss");
    benchmark::DoNotOptimize(item->second.word);
    if (++next == paths.size()) next = 0;
  }
}

// --- The refresh of a folder ---------------------------------------------------------------------

void firstRefreshByEngine(benchmark::State& state) {
  ManualEngine manual;
  const auto item = itemOf(volume().largeFolder(), 0);
  manual.engine.accessor();
  for (auto _ : state) {
    manual.engine.provider().updateCacheForPath(item);
    state.PauseTiming();
    manual.dropHostWork();
    manual.engine.clearCache();
    state.ResumeTiming();
  }
}

void repeatedRefreshByEngine(benchmark::State& state) {
  ManualEngine manual;
  const auto item = itemOf(volume().largeFolder(), 0);
  manual.engine.provider().updateCacheForPath(item);
  manual.dropHostWork();
  for (auto _ : state) manual.engine.provider().updateCacheForPath(item);
  if (manual.dispatch.manualMainQueue().pending() != 0) state.SkipWithError("a change");
}

std::string largeFolderID(BareSqlite& database) {
  return database.walk(volume().largeFolder().substr(volume().path().size()));
}

void checkSize(benchmark::State& state, const BareStatuses& statuses) {
  if (statuses.size() != BenchmarkVolume::kItemsInLargeFolder) state.SkipWithError("no folder");
}

void firstRefreshBare(benchmark::State& state) {
  BareSqlite database(volume().databasePath());
  const auto folder = largeFolderID(database);
  for (auto _ : state) {
    BareStatuses statuses;
    database.readFolder(folder, statuses);
    state.PauseTiming();
    checkSize(state, statuses);
    BareStatuses().swap(statuses);
    state.ResumeTiming();
  }
}

void repeatedRefreshBare(benchmark::State& state) {
  BareSqlite database(volume().databasePath());
  const auto folder = largeFolderID(database);
  BareStatuses kept;
  for (auto _ : state) {
    BareStatuses statuses;
    database.readFolder(folder, statuses);
    kept.swap(statuses);  // and what was there goes, as the engine's does
  }
  checkSize(state, kept);
}

// --- The record of a path ------------------------------------------------------------------------

void recordByEngine(benchmark::State& state) {
  ManualEngine manual;
  auto& accessor = manual.engine.accessor();
  const auto path = volume().deepFile();
  for (auto _ : state) {
    const auto record = accessor.fileWithPath(path);
    if (!record) state.SkipWithError("no record");
    benchmark::DoNotOptimize(record);
  }
}

void recordBare(benchmark::State& state) {
  BareSqlite database(volume().databasePath());
  const auto path = volume().deepFile().substr(volume().path().size());
  for (auto _ : state) benchmark::DoNotOptimize(database.walk(path));
}

// --- A miss --------------------------------------------------------------------------------------

/// An engine whose refreshes run in the background.
struct BackgroundEngine {
  Engine<testing_host::RealTime> engine;

  void waitUntilIdle() {
    bool idle = false;
    engine.provider().performWhenIdle([&idle] { idle = true; });
    while (!idle) g_main_context_iteration(nullptr, TRUE);
  }
};

enum class Expected { miss, hit };

/// Queries items of a folder that is not cached, or the same items again after the refresh, in both
/// cases right after the engine was idle, as when a user opens the folder. The result is the median
/// query: now and then a worker that was just woken runs on the caller's core.
void firstQueries(benchmark::State& state, const std::string& folder, int items,
                  Expected expected) {
  BackgroundEngine background;
  background.engine.accessor();
  std::vector<ItemURL> urls;
  for (int i = 0; i < items; ++i) urls.emplace_back(itemOf(folder, i));
  std::vector<double> queries;
  for (auto _ : state) {
    background.engine.clearCache();
    auto& provider = background.engine.provider();
    if (expected == Expected::hit) {
      provider.colorFor(urls.front());
      background.waitUntilIdle();
    }
    int answers = 0;
    double total = 0;
    for (const auto& url : urls) {
      const auto begin = std::chrono::steady_clock::now();
      answers += provider.colorFor(url).has_value() ? 1 : 0;
      const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
      total += time.count();
      queries.push_back(time.count());
    }
    state.SetIterationTime(total / items);
    if (expected == Expected::hit && answers != items) state.SkipWithError("a miss");
    background.waitUntilIdle();
  }
  const auto middle = queries.begin() + static_cast<std::ptrdiff_t>(queries.size() / 2);
  std::nth_element(queries.begin(), middle, queries.end());
  state.counters["nanoseconds"] = *middle * 1e9;
}

/// All items of the small folder, and as many as a tall window shows of the large one.
constexpr int kItemsInWindow = 50;

void answersSmall(benchmark::State& state, int items, Expected expected) {
  firstQueries(state, volume().smallFolder(3), items, expected);
}
void answersLarge(benchmark::State& state, int items, Expected expected) {
  firstQueries(state, volume().largeFolder(), items, expected);
}

// --- A message -----------------------------------------------------------------------------------

/// An object with one method, whose types are encoded as those of a drawing hook are.
struct Receiver {
  Receiver() {
    cells->addMethod("wv_drawIconWithFrame:",
                     platform::Implementation::of<int()>([](const platform::Id&) { return 1; }),
                     "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  }
  platform::Runtime runtime;
  std::shared_ptr<platform::Class> cells = runtime.registerClass("TListViewIconAndTextCell");
  const platform::Id cell = std::make_shared<platform::Object>(*cells);
};

void message(benchmark::State& state) {
  const Receiver receiver;
  for (auto _ : state)
    benchmark::DoNotOptimize(platform::send<int>(receiver.cell, "wv_drawIconWithFrame:"));
}

/// The method's body alone, which is not looked up.
void messageBare(benchmark::State& state) {
  const Receiver receiver;
  const auto body = receiver.cells->instanceMethod("wv_drawIconWithFrame:")->implementation;
  for (auto _ : state) benchmark::DoNotOptimize(body.invoke<int>(receiver.cell));
}

// --- A date, and the heap ------------------------------------------------------------------------

void date(benchmark::State& state) {
  std::string_view text = "2014-03-01 17:05:09.1234567";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(dateWithDBFormat(text));
  }
}

std::size_t heapInUse() {
  const auto heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

void heapPerItem(benchmark::State& state) {
  ManualEngine manual;
  // Another folder first, so that SQLite's page cache is as full as it gets.
  manual.engine.provider().updateCacheForPath(itemOf(volume().otherLargeFolder(), 0));
  manual.dropHostWork();
  double perItem = 0;
  for (auto _ : state) {
    manual.engine.clearCache();
    const auto before = heapInUse();
    manual.engine.provider().updateCacheForPath(itemOf(volume().largeFolder(), 0));
    manual.dropHostWork();
    manual.dispatch.runAll();
    perItem = static_cast<double>(heapInUse() - before) / BenchmarkVolume::kItemsInLargeFolder;
  }
  state.counters["bytes"] = perItem;
}

BENCHMARK(hitByEngine)->Name("hit/engine");
BENCHMARK(hitBare)->Name("hit/bare");
BENCHMARK(firstRefreshByEngine)->Name("first refresh/engine")->Unit(benchmark::kMillisecond);
BENCHMARK(firstRefreshBare)->Name("first refresh/bare")->Unit(benchmark::kMillisecond);
BENCHMARK(repeatedRefreshByEngine)->Name("repeated refresh/engine")->Unit(benchmark::kMillisecond);
BENCHMARK(repeatedRefreshBare)->Name("repeated refresh/bare")->Unit(benchmark::kMillisecond);
BENCHMARK(recordByEngine)->Name("record/engine");
BENCHMARK(recordBare)->Name("record/bare");
BENCHMARK_CAPTURE(answersSmall, missfirst, 1, Expected::miss)
    ->Name("first miss, small folder/engine")
    ->UseManualTime()
    ->Iterations(300);
BENCHMARK_CAPTURE(answersSmall, hitfirst, 1, Expected::hit)
    ->Name("first miss, small folder/bare")
    ->UseManualTime()
    ->Iterations(300);
BENCHMARK_CAPTURE(answersSmall, missAll, BenchmarkVolume::kItemsInSmallFolder, Expected::miss)
    ->Name("20 misses, small folder/engine")
    ->UseManualTime()
    ->Iterations(300);
BENCHMARK_CAPTURE(answersSmall, hitAll, BenchmarkVolume::kItemsInSmallFolder, Expected::hit)
    ->Name("20 misses, small folder/bare")
    ->UseManualTime()
    ->Iterations(300);
BENCHMARK_CAPTURE(answersLarge, missfirst, 1, Expected::miss)
    ->Name("first miss, large folder/engine")
    ->UseManualTime()
    ->Iterations(40);
BENCHMARK_CAPTURE(answersLarge, hitfirst, 1, Expected::hit)
    ->Name("first miss, large folder/bare")
    ->UseManualTime()
    ->Iterations(40);
BENCHMARK_CAPTURE(answersLarge, missAll, kItemsInWindow, Expected::miss)
    ->Name("50 misses, large folder/engine")
    ->UseManualTime()
    ->Iterations(40);
BENCHMARK_CAPTURE(answersLarge, hitAll, kItemsInWindow, Expected::hit)
    ->Name("50 misses, large folder/bare")
    ->UseManualTime()
    ->Iterations(40);
BENCHMARK(message)->Name("message/engine");
BENCHMARK(messageBare)->Name("message/bare");
BENCHMARK(date)->Name("date/engine");
BENCHMARK(heapPerItem)->Name("heap/engine")->Iterations(3);

}  // namespace
}  // namespace wevora::benchmarks

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  wevora::benchmarks::BenchmarkVolume::shared();
  benchmark::RunSpecifiedBenchmarks();
}
