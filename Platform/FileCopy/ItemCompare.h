#pragma once

#include <string>

#include "Platform/FileCopy/FileCalls.h"
#include "Platform/Files/ByteProgress.h"

namespace wevora::platform {

/// Compares the contents of two items.
/// Threads: one. Owns: nothing. Errors: what cannot be read is not equal.
class ItemCompare {
 public:
  ItemCompare(FileCalls& calls, const ByteProgress& progress)
      : calls_(calls), progress_(progress) {}

  bool equal(const std::string& path, const std::string& other);

 private:
  bool filesEqual(const std::string& path, const std::string& other);
  bool foldersEqual(const std::string& path, const std::string& other);

  FileCalls& calls_;
  const ByteProgress& progress_;
};

}  // namespace wevora::platform
