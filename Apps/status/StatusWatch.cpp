#include "Apps/status/StatusWatch.h"

#include <chrono>
#include <utility>

#include "Apps/status/StatusAsker.h"

namespace wevora::status {
namespace {

constexpr std::chrono::seconds kAskAgain{5};  // a word is read anew when it is four seconds old
constexpr int kTries = 2;  // a word that is not there yet may have been forgotten on the way

}  // namespace

StatusWatch::StatusWatch(WVIconProvider& provider, platform::Runtime& runtime,
                         platform::Queue& mainQueue, std::vector<std::string> paths,
                         std::vector<std::string> words, Changed changed)
    : provider_(provider),
      mainQueue_(mainQueue),
      paths_(std::move(paths)),
      words_(std::move(words)),
      changed_(std::move(changed)),
      isWaiting_(paths_.size()),
      window_(runtime, paths_, [this](std::size_t item) { needsDisplay(item); }) {
  askFromTimeToTime();
}

void StatusWatch::needsDisplay(std::size_t item) {
  if (isWaiting_[item]) return;
  isWaiting_[item] = true;
  if (waiting_.empty()) mainQueue_.async([this] { draw(); });
  waiting_.push_back(item);
}

void StatusWatch::draw() {
  const Items items = std::exchange(waiting_, {});
  for (const auto item : items) isWaiting_[item] = false;
  drawAgain(items, kTries);
}

void StatusWatch::drawAgain(const Items& items, int triesLeft) {
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
    else if (triesLeft > 0 && words_[item] != kNoBadge)
      unknown.push_back(item);
    else
      report(item, kNoBadge);
  }
  if (unknown.empty()) return;
  provider_.performWhenIdle(
      [this, unknown = std::move(unknown), triesLeft] { drawAgain(unknown, triesLeft - 1); });
}

void StatusWatch::report(std::size_t item, std::string word) {
  if (words_[item] == word) return;
  words_[item] = std::move(word);
  changed_(item, words_[item]);
}

void StatusWatch::askFromTimeToTime() {
  mainQueue_.after(kAskAgain, [this] {
    for (std::size_t item = 0; item < paths_.size(); ++item) needsDisplay(item);
    askFromTimeToTime();
  });
}

}  // namespace wevora::status
