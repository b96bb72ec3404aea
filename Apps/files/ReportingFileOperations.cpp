#include "Apps/files/ReportingFileOperations.h"

#include "Apps/files/Interruption.h"

namespace wevora::files {

std::error_code ReportingFileOperations::copyItem(const std::string& from, const std::string& to) {
  const auto failed = operations_.copyItem(from, to);
  hasCopied_ = hasCopied_ || !failed;
  Interruption::check();
  if (failed == std::errc::text_file_busy)
    recordReason("the source changed during the copy (try again when no program writes to it)");
  else if (failed == std::errc::not_supported)
    recordReason("pipes, sockets and devices are not copied");
  else if (failed)
    recordReason(failed.message());
  return failed;
}

bool ReportingFileOperations::contentsEqual(const std::string& path, const std::string& other) {
  const bool equal = operations_.contentsEqual(path, other);
  Interruption::check();
  if (!equal) recordReason("the copy differs from the source");
  return equal;
}

std::error_code ReportingFileOperations::removeItem(const std::string& path) {
  return operations_.removeItem(path);
}

}  // namespace wevora::files
