#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/Program.h"

namespace wevora::files {

using command_line::UsageError;

/// The command line of wevora-files.
const command_line::Program& filesProgram();

struct FilesOptions {
  enum class Command { ignored, list, scan, trash, md5, backup, hide };
  using Format = command_line::Format;

  Command command = Command::ignored;
  Format format = Format::text;
  std::vector<std::string> paths;

  // Of list.
  std::optional<std::string> mask;
  bool skipDirectories = false;
  bool skipFiles = false;
  bool resolveSymlinks = true;
  bool skipSymlinks = true;
  bool useResolvedPaths = false;
  // Of scan.
  bool saveFolders = true;
  // Of list and scan.
  bool endWithNul = false;
  // Of backup.
  std::optional<std::uint64_t> attempts{};

  /// Throws UsageError.
  static FilesOptions from(const command_line::Arguments& arguments);
};

}  // namespace wevora::files
