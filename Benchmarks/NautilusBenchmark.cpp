// The cost of the badges in Nautilus: measures two instances alternately, one with the module and
// one without, each on its own virtual display.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"
#include "Tests/NautilusHost/Session.h"
#include "Tests/NautilusHost/Timings.h"

namespace wevora::benchmarks {
namespace {

using testing_host::Agent;
using testing_host::agentTool;
using testing_host::DrawTime;
using testing_host::FrameTime;
using testing_host::MountedVolume;
using testing_host::Screen;
using Session = testing_host::NautilusSession;
using testing_host::uriOf;

constexpr const char* kAccount = "7";
constexpr int kOpenings = 3;
constexpr int kLevels = kOpenings + 1;  // one is opened at the start
constexpr int kItems = 10'000;
constexpr unsigned kVisible = 200;  // at least; a window of small icons
constexpr double kStep = 60;        // points a frame, half an icon

double medianOf(std::vector<double> values) {
  if (values.empty()) throw std::runtime_error("the probe in Nautilus does not reply");
  std::ranges::sort(values);
  return values[values.size() / 2];
}

/// A volume with nested folders, each with many items that all have a badge.
class ManyItems {
 public:
  ManyItems() {
    if (!volume_.mount()) throw std::runtime_error("no volume");
    for (int level = 0; level <= kLevels; ++level) fill(folder(level), level == kLevels);
    agentTool(
        {"init", "--account", kAccount, "--volume", volume_.path(), "--include", volume_.path()});
    agentTool({"scan", "--account", kAccount, "--volume", volume_.path()});
  }
  /// The last one is small.
  std::string folder(int level) const {
    std::string path = volume_.path();
    for (int i = 0; i <= level; ++i) path += "/Inner";
    return path;
  }

 private:
  static void fill(const std::string& folder, bool isSmall) {
    std::filesystem::create_directories(folder);
    for (int i = isSmall ? kItems - 2 : 0; i < kItems - 1; ++i)  // empty
      std::ofstream(folder + "/" + std::to_string(100'000 + i)).flush();
  }

  MountedVolume volume_{MountedVolume::Kind::tmpfs, "/media/Stick"};
};

/// Nautilus with a window of many visible items.
class Window {
 public:
  Window(const ManyItems& items, Session::Module module)
      : items_(items),
        badged_(module == Session::Module::Present),
        session_(Session::View::Icons, module) {
    session_.setWindowSize(2000, 1400);
    session_.useSmallIcons();
    session_.hideShadows();
    if (badged_) agent_ = std::make_unique<Agent>(kAccount);
    session_.open(items_.folder(kLevels));
    open();
  }

  /// Opens the parent folder, whose items were not shown before.
  double open() {
    if (level_ == 0) throw std::runtime_error("no more folders");
    const double time = timeUntilPainted(screen(), "win.up",
                                         {.folder = uriOf(items_.folder(--level_)),
                                          .cells = kVisible,
                                          .textures = badged_ ? 2U : 1U});
    if (time <= 0) throw std::runtime_error("the items are not painted");
    return time;
  }
  std::size_t visible() const { return session_.screen().cells().size(); }

  std::vector<FrameTime> scroll() const {
    constexpr unsigned kFrames = 10;
    return frameTimes(screen(), kFrames, kStep);
  }
  std::vector<DrawTime> draw() const {
    constexpr unsigned kTimes = 21;
    return drawTimes(screen(), kTimes);
  }

 private:
  const Screen& screen() const { return session_.screen(); }

  const ManyItems& items_;
  const bool badged_;
  Session session_;
  std::unique_ptr<Agent> agent_;
  int level_ = kLevels;
};

template <class Values, class Member>
double medianOf(const Values& values, Member member) {
  std::vector<double> chosen;
  for (const auto& value : values) chosen.push_back(value.*member);
  return medianOf(std::move(chosen));
}

/// One repetition is one measurement; the ratio is that of the medians.
template <class Measured>
void add(const std::string& name, int repetitions, double unit, Measured measured) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [measured, unit](benchmark::State& state) {
                                 for (auto _ : state) state.SetIterationTime(measured() * unit);
                               })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->Unit(benchmark::kMicrosecond);
}

void registerAll(Window& with, Window& without) {
  constexpr int kRounds = 41;
  constexpr double kMilli = 1e-3;
  constexpr double kMicro = 1e-6;
  for (const auto& [side, window] : {std::pair("engine", &with), std::pair("bare", &without)}) {
    const std::string end = std::string("/") + side;
    add("frame while scrolling" + end, kRounds, kMilli,
        [window] { return medianOf(window->scroll(), &FrameTime::all); });
    add("its main thread's work" + end, kRounds, kMilli,
        [window] { return medianOf(window->scroll(), &FrameTime::work); });
    add("open 10,000 items" + end, kOpenings, kMilli, [window] { return window->open(); });
  }
  add("cell drawn, ours/engine", kRounds, kMicro, [&] {
    return medianOf(with.draw(), &DrawTime::drawing) - medianOf(without.draw(), &DrawTime::drawing);
  });
  add("cell drawn, ours/bare", kRounds, kMicro,
      [&] { return medianOf(with.draw(), &DrawTime::reading); });
}

void run(int count, char** arguments) {
  const ManyItems items;
  Window without(items, Session::Module::Absent);
  Window with(items, Session::Module::Present);  // the agent uses its session
  std::cout << with.visible() << " visible items" << std::endl;
  registerAll(with, without);
  benchmark::Initialize(&count, arguments);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace
}  // namespace wevora::benchmarks

int main(int count, char** arguments) {
  using namespace wevora;
  if (std::getenv(testing_host::kNamespaceVariable) == nullptr)
    return testing_host::runTestsInMountNamespace(count, arguments);
  if (::mount("tmpfs", "/media", "tmpfs", 0, "size=1m") != 0) return 1;
  try {
    benchmarks::run(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
