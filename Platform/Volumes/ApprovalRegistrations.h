#pragma once

#include <utility>
#include <vector>

#include "Platform/Volumes/UnmountApproval.h"

namespace wevora::platform {

/// The registered approval callbacks of a session.
/// Thread-safety: main thread only.
class ApprovalRegistrations {
 public:
  void add(ApprovalSession::Callback callback, void* context) {
    all_.emplace_back(callback, context);
  }
  void remove(ApprovalSession::Callback callback, void* context) {
    std::erase(all_, std::pair(callback, context));
  }
  /// Calls every callback and returns the first dissenter; nullopt if all approve.
  std::optional<Dissenter> ask(const Disk& disk) const {
    std::optional<Dissenter> first;
    // A copy: a callback may remove a registration.
    for (const auto& [callback, context] : std::vector(all_)) {
      auto dissenter = callback(disk, context);
      if (!first) first = std::move(dissenter);
    }
    return first;
  }

 private:
  std::vector<std::pair<ApprovalSession::Callback, void*>> all_;
};

}  // namespace wevora::platform
