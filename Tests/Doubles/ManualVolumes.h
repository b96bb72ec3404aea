#pragma once

#include <atomic>
#include <vector>

#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// A fake mount table.
/// Thread-safety: any thread may call `mountedVolumes`, but not while the test changes the list.
class ManualVolumes : public Volumes {
 public:
  std::vector<Volume> mountedVolumes() const override {
    ++asked;
    return volumes;
  }

  std::vector<Volume> volumes = {{"/", "ext4"}};
  mutable std::atomic<int> asked{0};  ///< the number of calls
};

}  // namespace wevora::platform
