#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/Copy/FileOperations.h"

namespace wevora::files {

/// Forwards file operations and records the reason of the first failure for the error message.
/// Errors: throws Interrupted after a signal, which prevents further attempts.
class ReportingFileOperations : public platform::FileOperations {
 public:
  explicit ReportingFileOperations(platform::FileOperations& operations)
      : operations_(operations) {}

  std::error_code copyItem(const std::string& from, const std::string& to) override;
  bool contentsEqual(const std::string& path, const std::string& other) override;
  std::error_code removeItem(const std::string& path) override;

  /// Empty when nothing failed. The first failure is the informative one: after a copy that
  /// differs, the later attempts fail because the destination exists.
  const std::string& reason() const { return reason_; }
  /// Whether a copy was created through this object.
  bool hasCopied() const { return hasCopied_; }

 private:
  void recordReason(const std::string& reason) {
    if (reason_.empty()) reason_ = reason;
  }

  platform::FileOperations& operations_;
  std::string reason_;
  bool hasCopied_ = false;
};

}  // namespace wevora::files
