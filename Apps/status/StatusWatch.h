#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Apps/status/WatchedWindow.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Dispatch/Dispatch.h"

namespace wevora::status {

/// Follows the words of items: it asks again whenever the bundle wants an item drawn, and every
/// five seconds, as a person who moves about in a file manager makes it do.
/// Threads: the main thread, inside the main loop. Owns: the words; it lives as long as the
///   provider. Errors: none.
class StatusWatch {
 public:
  /// Hears of an item's new word.
  using Changed = std::function<void(std::size_t item, const std::string& word)>;

  /// `words` are the present ones of the absolute paths, in their order.
  StatusWatch(WVIconProvider& provider, platform::Runtime& runtime, platform::Queue& mainQueue,
              std::vector<std::string> paths, std::vector<std::string> words, Changed changed);
  StatusWatch(const StatusWatch&) = delete;
  StatusWatch& operator=(const StatusWatch&) = delete;

 private:
  using Items = std::vector<std::size_t>;
  void needsDisplay(std::size_t item);
  void draw();
  void drawAgain(const Items& items, int triesLeft);
  void report(std::size_t item, std::string word);
  void askFromTimeToTime();

  WVIconProvider& provider_;
  platform::Queue& mainQueue_;
  const std::vector<std::string> paths_;
  std::vector<std::string> words_;
  const Changed changed_;

  std::vector<bool> isWaiting_;
  Items waiting_;  // to be drawn by the block that is queued for them
  WatchedWindow window_;
};

}  // namespace wevora::status
