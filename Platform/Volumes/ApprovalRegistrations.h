#pragma once

#include <utility>
#include <vector>

#include "Platform/Volumes/UnmountApproval.h"

namespace wevora::platform {

/// The callbacks of a session, and the question to all of them.
/// Threads: the main thread. Owns: nothing that it calls. Errors: none.
class ApprovalRegistrations {
 public:
  void add(ApprovalSession::Callback callback, void* context) {
    all_.emplace_back(callback, context);
  }
  void remove(ApprovalSession::Callback callback, void* context) {
    std::erase(all_, std::pair(callback, context));
  }
  /// Asks everyone; the first dissenter is the answer.
  std::optional<Dissenter> ask(const Disk& disk) const {
    std::optional<Dissenter> answer;
    for (const auto& [callback, context] : std::vector(all_)) {
      auto dissenter = callback(disk, context);
      if (!answer) answer = std::move(dissenter);
    }
    return answer;
  }

 private:
  std::vector<std::pair<ApprovalSession::Callback, void*>> all_;
};

}  // namespace wevora::platform
