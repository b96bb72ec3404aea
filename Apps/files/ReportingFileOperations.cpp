#include "Apps/files/ReportingFileOperations.h"

#include "Apps/files/Interruption.h"

namespace wevora::files {

std::error_code ReportingFileOperations::copyItem(const std::string& from, const std::string& to) {
  const auto failed = operations_.copyItem(from, to);
  hasCopied_ = hasCopied_ || !failed;
  Interruption::check();
  if (failed == std::errc::text_file_busy)
    note("it changed while it was copied");
  else if (failed == std::errc::not_supported)
    note("only files, folders and links can be copied");
  else if (failed)
    note(failed.message());
  return failed;
}

bool ReportingFileOperations::contentsEqual(const std::string& path, const std::string& other) {
  const bool equal = operations_.contentsEqual(path, other);
  Interruption::check();
  if (!equal) note("the copy is not equal");
  return equal;
}

std::error_code ReportingFileOperations::removeItem(const std::string& path) {
  return operations_.removeItem(path);
}

}  // namespace wevora::files
