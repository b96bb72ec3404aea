#pragma once

#include <string>
#include <system_error>
#include <utility>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies an item with all that is in it from one folder into another, and sees to it that the
/// bytes are on the volume. What a failure leaves is the caller's to remove.
/// Threads: one. Owns: its places in both trees. Errors: said by the results; ENAMETOOLONG for
/// folders more than kDeepest deep.
class TreeCopy {
 public:
  static constexpr std::size_t kDeepest = 1024;

  TreeCopy(FileSystemCalls& calls, const ByteProgress& progress, Descriptor fromFolder,
           Descriptor toFolder)
      : calls_(calls),
        progress_(progress),
        from_(std::move(fromFolder)),
        to_(std::move(toFolder)) {}

  std::error_code copy(const std::string& name, const std::string& newName);

 private:
  std::error_code copyFile(const std::string& name, const std::string& newName);
  std::error_code fill(int in, int out, const ItemFacts& facts);
  std::error_code copyFolder(const std::string& name, const std::string& newName);
  std::error_code copyContents();
  std::error_code copyLink(const std::string& name, const std::string& newName,
                           const ItemFacts& facts);

  FileSystemCalls& calls_;
  const ByteProgress& progress_;
  DirectoryCursor from_;
  DirectoryCursor to_;
};

}  // namespace wevora::platform
