#include "Apps/status/StatusWatch.h"

#include <chrono>
#include <utility>

#include "Apps/status/StatusAsker.h"

namespace wevora::status {
namespace {

constexpr std::chrono::seconds kRefresh{5};  // longer than the four seconds that words are cached
constexpr int kRetries = 2;                  // a refreshed word may be evicted before it is read

}  // namespace

StatusWatch::StatusWatch(WVIconProvider& provider, platform::Runtime& runtime,
                         platform::Queue& mainQueue, std::vector<std::string> paths,
                         std::vector<std::string> words, Changed changed)
    : provider_(provider),
      mainQueue_(mainQueue),
      paths_(std::move(paths)),
      words_(std::move(words)),
      changed_(std::move(changed)),
      isQueued_(paths_.size()),
      window_(runtime, paths_, [this](std::size_t item) { needsDisplay(item); }) {
  scheduleRefresh();
}

void StatusWatch::needsDisplay(std::size_t item) {
  if (isQueued_[item]) return;
  isQueued_[item] = true;
  if (queued_.empty()) mainQueue_.async([this] { draw(); });
  queued_.push_back(item);
}

void StatusWatch::draw() {
  const Items items = std::exchange(queued_, {});
  for (const auto item : items) isQueued_[item] = false;
  drawAgain(items, kRetries);
}

void StatusWatch::drawAgain(const Items& items, int retriesLeft) {
  Items unknown;
  for (const auto item : items) {
    if (!provider_.turnedOn()) {
      report(item, kNoBadge);
      continue;
    }
    provider_.setView(window_.viewOf(item), paths_[item]);
    const auto word = provider_.colorFor(ItemURL(paths_[item]));
    if (word)
      report(item, wordShown(paths_[item], word));
    else if (retriesLeft > 0 && words_[item] != kNoBadge)
      unknown.push_back(item);
    else
      report(item, kNoBadge);
  }
  if (unknown.empty()) return;
  provider_.performWhenIdle(
      [this, unknown = std::move(unknown), retriesLeft] { drawAgain(unknown, retriesLeft - 1); });
}

void StatusWatch::report(std::size_t item, std::string word) {
  if (words_[item] == word) return;
  words_[item] = std::move(word);
  changed_(item, words_[item]);
}

void StatusWatch::scheduleRefresh() {
  mainQueue_.after(kRefresh, [this] {
    for (std::size_t item = 0; item < paths_.size(); ++item) needsDisplay(item);
    scheduleRefresh();
  });
}

}  // namespace wevora::status
