#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/Copy/FileOperations.h"

namespace wevora::files {

/// Passes operations on and remembers what failed first, for a person to read. After an
/// interruption there is no further attempt. Threads: one. Owns: nothing. Errors: as those that it
/// passes on to; throws Interrupted.
class ReportingFileOperations : public platform::FileOperations {
 public:
  explicit ReportingFileOperations(platform::FileOperations& operations)
      : operations_(operations) {}

  std::error_code copyItem(const std::string& from, const std::string& to) override;
  bool contentsEqual(const std::string& path, const std::string& other) override;
  std::error_code removeItem(const std::string& path) override;

  /// Empty when nothing failed. The first of several attempts says most: those after a copy that
  /// was not equal fail only because it is there.
  const std::string& reason() const { return reason_; }
  /// Whether there is a copy that was made here.
  bool hasCopied() const { return hasCopied_; }

 private:
  void note(const std::string& reason) {
    if (reason_.empty()) reason_ = reason;
  }

  platform::FileOperations& operations_;
  std::string reason_;
  bool hasCopied_ = false;
};

}  // namespace wevora::files
