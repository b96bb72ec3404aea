#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/IPC/DistributedNotificationCenter.h"

namespace wevora::platform {

/// Who observes what.
/// Threads: one. Owns: nothing; an observer lasts as long as who added it keeps it.
/// Errors: none; what a handler throws ends there.
class Observers {
 public:
  struct Observer {
    std::string name;
    std::optional<std::string> object;  ///< none: of all objects
    DistributedNotificationCenter::Handler handler;
  };

  std::shared_ptr<const Observer> add(Observer observer);
  /// Handlers may add and end observers; one that has ended hears nothing more.
  void tell(const DistributedNotification& notification);
  /// Those that last still, in the order in which they came.
  std::vector<std::shared_ptr<const Observer>> all();

 private:
  std::vector<std::weak_ptr<const Observer>> observers_;
};

}  // namespace wevora::platform
