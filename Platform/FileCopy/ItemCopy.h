#pragma once

#include <string>
#include <sys/stat.h>
#include <system_error>

#include "Platform/FileCopy/FileCalls.h"
#include "Platform/Files/ByteProgress.h"

namespace wevora::platform {

/// Copies one item. The copy grows under another name beside the destination, one that is hidden
/// and that the ignore rules know, and takes the destination's name when it is complete.
/// Threads: one. Owns: nothing. Errors: said by the results.
class ItemCopy {
 public:
  ItemCopy(FileCalls& calls, const ByteProgress& progress) : calls_(calls), progress_(progress) {}

  std::error_code copy(const std::string& from, const std::string& to);

 private:
  std::error_code copyAny(const std::string& from, const std::string& to);
  std::error_code copyFile(const std::string& from, const std::string& to);
  std::error_code copyFolder(const std::string& from, const std::string& to,
                             const struct stat& facts);
  std::error_code publish(const std::string& copied, const std::string& to);

  FileCalls& calls_;
  const ByteProgress& progress_;
};

}  // namespace wevora::platform
