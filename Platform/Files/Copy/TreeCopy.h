#pragma once

#include <string>
#include <system_error>
#include <utility>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies an item recursively from one folder into another and flushes it to the volume. After a
/// failure the caller removes the partial copy.
/// Errors: ENAMETOOLONG for folders nested deeper than kMaxDepth.
class TreeCopy {
 public:
  static constexpr std::size_t kMaxDepth = 1024;

  TreeCopy(FileSystemCalls& calls, const ByteProgress& progress, Descriptor fromFolder,
           Descriptor toFolder)
      : calls_(calls),
        progress_(progress),
        from_(std::move(fromFolder)),
        to_(std::move(toFolder)) {}

  std::error_code copy(const std::string& name, const std::string& newName);

 private:
  std::error_code copyFile(const std::string& name, const std::string& newName);
  std::error_code fill(int in, int out, const FileStat& status);
  std::error_code copyFolder(const std::string& name, const std::string& newName);
  std::error_code copyContents();
  std::error_code copyLink(const std::string& name, const std::string& newName,
                           const FileStat& status);

  FileSystemCalls& calls_;
  const ByteProgress& progress_;
  DirectoryCursor from_;
  DirectoryCursor to_;
};

}  // namespace wevora::platform
