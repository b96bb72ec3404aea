#pragma once

#include <vector>

#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// The volumes that a test says are mounted.
/// Threads: one. Owns: the list. Errors: none.
class ManualVolumes : public Volumes {
 public:
  std::vector<Volume> mountedVolumes() const override {
    ++asked;
    return volumes;
  }

  std::vector<Volume> volumes = {{"/", "ext4"}};
  mutable int asked = 0;  ///< how often
};

}  // namespace wevora::platform
