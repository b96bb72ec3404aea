#pragma once

#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace wevora::agent_sim {

/// Something that happened in a watched folder.
struct FolderEvent {
  enum class Kind {
    item,           ///< an item came, changed or went
    folderArrived,  ///< a folder came, with all that may be in it
    folderLeft,     ///< a folder went; it and the folders below it are watched no more
    unmounted,      ///< the folder's file system is gone, and so is this watch
    lost,           ///< more happened than could be told: anything may have changed
  };
  Kind kind = Kind::item;
  std::string folder;  ///< as it was given; "" where all folders are meant
  std::string name;    ///< of the item; "" where the folder itself is meant

  friend bool operator==(const FolderEvent&, const FolderEvent&) = default;
};

/// Watches folders, each for itself, without keeping their volumes busy.
/// Threads: made and destroyed on the main thread, from whose main loop events are told; folders
///   may be given from any.
/// Owns: the watches. Errors: the reason why a folder cannot be watched.
class FolderWatch {
 public:
  using Handler = std::function<void(const FolderEvent&)>;

  explicit FolderWatch(Handler handler);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// Watches a folder; one that is watched already, under whatever path, is known by this path
  /// from now on. A link is not followed. no_space_on_device: the user's limit of watches is
  /// reached; too_many_files_open: that of watching processes.
  std::error_code watch(const std::string& folder);
  /// Ends the watches of a folder and of all folders below it.
  void forgetBelow(const std::string& folder);
  std::size_t watched() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace wevora::agent_sim
