#include "Apps/status/StatusAsker.h"

#include <chrono>
#include <memory>

#include "Platform/Files/FileStat.h"

namespace wevora::status {
namespace {

constexpr std::chrono::seconds kRulesTimeout{3};
constexpr std::chrono::milliseconds kPause{20};

}  // namespace

std::string wordShown(const std::string& path, const WVIconProvider::Word& word) {
  if (!word) return kNoBadge;
  if (!word->empty()) return *word;
  return platform::isReadableFileAtPath(path) ? kNoBadge : "unreadable";
}

std::vector<std::string> StatusAsker::ask(const std::vector<std::string>& paths) {
  if (!provider_.turnedOn()) return std::vector<std::string>(paths.size(), kNoBadge);
  draw(paths);
  waitForRefreshes();
  waitForRules(paths);
  std::vector<std::string> words;
  words.reserve(paths.size());
  for (const auto& path : paths)
    words.push_back(wordShown(path, provider_.colorFor(ItemURL(path))));
  return words;
}

void StatusAsker::draw(const std::vector<std::string>& paths) {
  for (const auto& path : paths) provider_.colorFor(ItemURL(path));
}

void StatusAsker::waitForRefreshes() {
  auto idle = std::make_shared<bool>(false);
  provider_.performWhenIdle([idle] { *idle = true; });
  runMainLoopUntil_([idle] { return *idle; });
}

void StatusAsker::waitForRules(const std::vector<std::string>& paths) {
  const auto deadline = clock_.uptime() + kRulesTimeout;
  for (const auto& path : paths) {
    if (!isVolumeTop(path)) continue;
    while (rulesAreUnread(path) && clock_.uptime() < deadline) pause();
    // One volume at a time: a refresh of a parent folder updates the root of only one volume.
    draw({path});
    waitForRefreshes();
  }
}

bool StatusAsker::isVolumeTop(const std::string& path) {
  return path == "/" || provider_.pool()->mountPointForPath(path) == path + "/";
}

bool StatusAsker::rulesAreUnread(const std::string& top) {
  const auto accessor = provider_.pool()->accessorWithPath(top == "/" ? "/Library" : top);
  return accessor && !accessor->notExcludedNodes();
}

void StatusAsker::pause() {
  auto over = std::make_shared<bool>(false);
  dispatch_.mainQueue().after(kPause, [over] { *over = true; });
  runMainLoopUntil_([over] { return *over; });
}

std::optional<std::string> StatusAsker::databaseOf(const std::string& path) {
  const auto& pool = provider_.pool();
  auto database = pool->dbPathForMountPoint(pool->mountPointForPath(path));
  if (!database || !platform::statOfTarget(*database)) return std::nullopt;
  return database;
}

}  // namespace wevora::status
