#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/IPC/DistributedNotificationCenter.h"

namespace wevora::platform {

/// The observers of distributed notifications in this process.
/// Thread-safety: one thread.
/// Ownership: holds weak references; an observer is removed when the caller releases it.
/// Errors: exceptions thrown by a handler are discarded.
class Observers {
 public:
  struct Observer {
    std::string name;
    std::optional<std::string> object;  ///< nullopt: of all objects
    DistributedNotificationCenter::Handler handler;
  };

  std::shared_ptr<const Observer> add(Observer observer);
  /// Calls the matching handlers. Handlers may add and remove observers; a removed observer is not
  /// called.
  void deliver(const DistributedNotification& notification);
  /// The observers that are still alive, in the order in which they were added.
  std::vector<std::shared_ptr<const Observer>> all();

 private:
  std::vector<std::weak_ptr<const Observer>> observers_;
};

}  // namespace wevora::platform
