#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Apps/CommandLine/Arguments.h"

namespace wevora::files {

using command_line::WrongUsage;

/// What a person asked for.
struct FilesOptions {
  enum class Command { ignored, list, scan, trash, md5, backup, hide };
  using Format = command_line::Format;

  Command command = Command::ignored;
  Format format = Format::text;
  bool help = false;
  bool version = false;
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
  // Of both.
  bool endWithNul = false;
  // Of backup.
  std::optional<std::uint64_t> attempts;

  /// Throws WrongUsage.
  static FilesOptions parse(std::span<const char* const> arguments);
};

extern const char* const kUsage;

}  // namespace wevora::files
