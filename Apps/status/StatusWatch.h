#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Apps/status/WatchedWindow.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Dispatch/Dispatch.h"

namespace wevora::status {

/// Follows the words of items: queries the provider whenever the bundle requests a redraw, and
/// every five seconds, as scrolling in a file manager would.
/// Thread-safety: main thread only, inside the main loop.
/// Ownership: queued blocks refer to it; it must live until the main loop ends.
class StatusWatch {
 public:
  /// Called with an item's new word.
  using Changed = std::function<void(std::size_t item, const std::string& word)>;

  /// `words` are the current words of the absolute `paths`, in order.
  StatusWatch(WVIconProvider& provider, platform::Runtime& runtime, platform::Queue& mainQueue,
              std::vector<std::string> paths, std::vector<std::string> words, Changed changed);
  StatusWatch(const StatusWatch&) = delete;
  StatusWatch& operator=(const StatusWatch&) = delete;

 private:
  using Items = std::vector<std::size_t>;
  void needsDisplay(std::size_t item);
  void draw();
  void drawAgain(const Items& items, int retriesLeft);
  void report(std::size_t item, std::string word);
  void scheduleRefresh();

  WVIconProvider& provider_;
  platform::Queue& mainQueue_;
  const std::vector<std::string> paths_;
  std::vector<std::string> words_;
  const Changed changed_;

  std::vector<bool> isQueued_;
  Items queued_;  // drawn by the block that is queued on the main queue
  WatchedWindow window_;
};

}  // namespace wevora::status
