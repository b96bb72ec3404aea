#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Time/Date.h"

namespace wevora {

/// Questions about paths and files that the agent and the bundle must answer alike.
/// Threads: any. Owns: nothing. Errors: none; each function names its answer for what fails.
class WVRFileTools {
 public:
  /// Whether the file URLs of two paths are equal: the same text, but that a separator behind an
  /// existing folder does not matter.
  // +path:isEqualToPath:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath);
  /// The same, after symbolic links in both paths are resolved if asked for.
  // +path:isEqualToPath:resolveSymlinks:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath,
                                bool resolveSymlinks);

  /// Whether a file is the folder or lies below it, by the text alone.
  // +filePath:belongsToDirectoryAtPath:
  static bool filePathBelongsToDirectoryAtPath(std::string_view filePath,
                                               std::string_view belongsToDirectoryAtPath);

  /// Bytes of the item itself, a link not followed; 0 when they cannot be learned.
  // +fileSize:
  static std::uint64_t fileSize(const std::string& path);
  /// Of the item itself, a link not followed; none when it cannot be learned.
  // +fileLastModificationDate:
  static std::optional<platform::Date> fileLastModificationDate(const std::string& path);

  /// 32 lower-case hexadecimal digits, or "ERROR GETTING FILE MD5" when the file cannot be opened.
  /// Reads 16 KiB at a time.
  // +getMD5FromFile:
  static std::string getMD5FromFile(const std::string& path);

  /// A new random UUID, 36 characters.
  // +getUUID
  static std::string getUUID();

  /// The environment's "HOME", or null. Valid until the environment is changed.
  // +homeDirectoryCString
  static const char* homeDirectoryCString();

  // +shortFileNameForAbsolutePath:
  static std::string shortFileNameForAbsolutePath(std::string_view path);

  /// The path of a file URL; none for any other URL.
  // +fileURLToString:
  static std::optional<std::string> fileURLToString(std::string_view url);
};

}  // namespace wevora
