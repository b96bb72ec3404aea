#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Runtime/Runtime.h"

namespace wevora::status {

/// A file manager's one window, as the bundle knows windows: a list of items, all visible, that it
/// asks to be drawn again. The runtime must have no such classes yet.
/// Threads: the main thread. Owns: the items' nodes and views, as long as the runtime lives.
/// Errors: none.
class WatchedWindow {
 public:
  /// Hears which item is to be drawn again; it is called from inside the bundle, so it draws later.
  using NeedsDisplay = std::function<void(std::size_t item)>;

  WatchedWindow(platform::Runtime& runtime, const std::vector<std::string>& paths,
                NeedsDisplay needsDisplay);

  /// What stands for an item's place on the screen.
  platform::Id viewOf(std::size_t item) const;

 private:
  struct Contents;
  void registerView(platform::Runtime& runtime);
  void registerNode(platform::Runtime& runtime);
  void registerBrowser(platform::Runtime& runtime);
  void registerWindow(platform::Runtime& runtime);

  // Shared with the methods, which live as long as the runtime.
  std::shared_ptr<Contents> contents_;
};

}  // namespace wevora::status
