#pragma once

#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace wevora::agent_sim {

/// An event of a watched folder.
struct FolderEvent {
  enum class Kind {
    item,           ///< an item was created, changed or deleted
    folderArrived,  ///< a folder was created or moved in, maybe with content
    folderLeft,     ///< a folder was deleted or moved out; its watches are removed
    unmounted,      ///< the file system was unmounted; the watch is removed
    lost,           ///< events were dropped: anything may have changed
  };
  Kind kind = Kind::item;
  std::string folder;  ///< as passed to `watch`; empty with `lost`
  std::string name;    ///< of the item; empty for the folder itself

  friend bool operator==(const FolderEvent&, const FolderEvent&) = default;
};

/// Watches folders with inotify, not recursively; a watch does not block unmounting.
/// Thread-safety: construct and destroy on the main thread, whose main loop calls the handler; the
/// methods may be called from any thread.
class FolderWatch {
 public:
  using Handler = std::function<void(const FolderEvent&)>;

  explicit FolderWatch(Handler handler);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// Watches a folder. If it is already watched under another path, its events carry this path from
  /// now on. A link is not followed. Errors: no_space_on_device when the user's limit of watches is
  /// reached, too_many_files_open when the limit of inotify instances is.
  std::error_code watch(const std::string& folder);
  /// Removes the watches of a folder and of all folders below it.
  void forgetBelow(const std::string& folder);
  std::size_t watched() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace wevora::agent_sim
