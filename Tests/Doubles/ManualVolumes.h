#pragma once

#include <atomic>
#include <vector>

#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// The volumes that a test says are mounted.
/// Threads: any may ask; one changes the list, while nobody asks. Owns: the list. Errors: none.
class ManualVolumes : public Volumes {
 public:
  std::vector<Volume> mountedVolumes() const override {
    ++asked;
    return volumes;
  }

  std::vector<Volume> volumes = {{"/", "ext4"}};
  mutable std::atomic<int> asked{0};  ///< how often
};

}  // namespace wevora::platform
