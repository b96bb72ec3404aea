// How long the file manager takes for its frames with the module in it, against without: ratios of
// one run. Not a test: a person looks at what it prints.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <numeric>

#include "Tests/Integration/InMountNamespace.h"
#include "Tests/Integration/MountedVolume.h"
#include "Tests/NautilusHost/Session.h"

namespace wevora {
namespace {

using testing_host::Agent;
using testing_host::agentTool;
using testing_host::MountedVolume;
using testing_host::Session;
using Clock = std::chrono::steady_clock;

constexpr const char* kAccount = "7";
constexpr int kFiles = 10'000;
constexpr int kRounds = 3;
constexpr unsigned kFrames = 60;

double medianOf(std::vector<double> values) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[values.size() / 2];
}

struct Measured {
  std::vector<double> frames;  ///< milliseconds, the mean of each round
  double opening = 0;          ///< milliseconds, until every visible item is painted
  std::size_t visible = 0;     ///< items
};

bool allArePainted(const Session& session, bool badged) {
  const auto look = session.screen().look();
  return look.picture && look.cells.size() > 50 &&
         (!badged || std::ranges::all_of(look.cells, [&](const auto& cell) {
           return !session.badges().wordAt(*look.picture, cell).empty();
         }));
}

Measured measure(const std::string& folder, Session::Module module) {
  Session session(Session::View::Icons, module);
  session.setWindowSize(2300, 1500);
  session.useSmallIcons();
  const Agent agent(kAccount);
  Measured measured;
  const auto began = Clock::now();
  session.open(folder, 50);
  session.until([&] { return allArePainted(session, module == Session::Module::Present); });
  measured.opening = std::chrono::duration<double, std::milli>(Clock::now() - began).count();
  measured.visible = session.screen().cells().size();
  session.screen().scrollTimes(kFrames);  // warms up
  for (int round = 0; round < kRounds; ++round) {
    const auto times = session.screen().scrollTimes(kFrames);
    measured.frames.push_back(std::accumulate(times.begin(), times.end(), 0.0) /
                              static_cast<double>(std::max<std::size_t>(times.size(), 1)));
  }
  return measured;
}

void report() {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/Stick");
  if (!volume.mount()) throw std::runtime_error("no volume");
  std::filesystem::create_directories(volume.path("Many"));
  for (int i = 0; i < kFiles; ++i)
    std::ofstream(volume.path("Many/" + std::to_string(100'000 + i))).flush();
  agentTool({"init", "--account", kAccount, "--volume", volume.path(), "--include", volume.path()});
  agentTool({"scan", "--account", kAccount, "--volume", volume.path()});
  const auto without = measure(volume.path("Many"), Session::Module::Absent);
  const auto with = measure(volume.path("Many"), Session::Module::Present);
  const double before = medianOf(without.frames);
  const double after = medianOf(with.frames);
  std::cout << "visible items: " << with.visible << "\n"
            << "frame while scrolling, without the module: " << before << " ms\n"
            << "frame while scrolling, with the module:    " << after << " ms\n"
            << "ratio: " << after / before << "\n"
            << "opening " << kFiles << " items, without badges: " << without.opening << " ms\n"
            << "opening " << kFiles << " items, with badges:    " << with.opening << " ms\n";
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  if (std::getenv(wevora::testing_host::kNamespaceVariable) == nullptr)
    return wevora::testing_host::runTestsInMountNamespace(count, arguments);
  if (::mount("tmpfs", "/media", "tmpfs", 0, "size=1m") != 0) return 1;
  try {
    wevora::report();
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
