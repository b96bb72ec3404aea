#pragma once

#include <string>
#include <system_error>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies one item. The copy is written under a temporary name next to the destination, which is
/// hidden and matches the ignore rules, and is renamed when it is complete.
class ItemCopy {
 public:
  ItemCopy(FileSystemCalls& calls, const ByteProgress& progress)
      : calls_(calls), progress_(progress) {}

  std::error_code copy(const std::string& from, const std::string& to);

 private:
  std::error_code publish(const Descriptor& folder, const std::string& copied,
                          const std::string& name);
  std::error_code linkOrRename(const Descriptor& folder, const std::string& copied,
                               const std::string& name);

  FileSystemCalls& calls_;
  const ByteProgress& progress_;
};

}  // namespace wevora::platform
