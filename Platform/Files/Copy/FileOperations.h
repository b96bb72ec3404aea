#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies, compares and removes items: files, symbolic links, and folders with all that is in them.
/// A separator at the end of a path has no meaning: the item of that name is meant, also a link.
/// Threads: any. Owns: nothing. Errors: said by the results.
class FileOperations {
 public:
  virtual ~FileOperations() = default;

  /// Copies an item to a path where nothing is, in a folder that exists. The destination appears
  /// when the copy is complete and on the volume; a copy that fails leaves nothing. Symbolic links
  /// are copied as links. Modes, dates and extended attributes are kept where the volume can hold
  /// them. A file that changes while it is copied is an error (text_file_busy), and so are pipes,
  /// sockets and devices (not_supported) and a folder's copy into itself (invalid_argument).
  virtual std::error_code copyItem(const std::string& from, const std::string& to) = 0;

  /// Whether two items hold the same: files byte by byte, links by their target text, folders by
  /// the names and contents in them. False when that cannot be learned.
  virtual bool contentsEqual(const std::string& path, const std::string& other) = 0;

  /// Removes an item with all that is in it; a link, not its target. Nothing is removed (EBUSY)
  /// when something is mounted on it or in it.
  virtual std::error_code removeItem(const std::string& path) = 0;
};

/// The operations on this machine's volumes.
/// Threads: any, if the calls and the progress are. Owns: nothing. Errors: as the interface.
class SystemFileOperations : public FileOperations {
 public:
  SystemFileOperations();
  /// `progress` is told the bytes of files that were copied, and those that were compared.
  explicit SystemFileOperations(FileSystemCalls& calls, ByteProgress progress = {})
      : calls_(calls), progress_(std::move(progress)) {}

  std::error_code copyItem(const std::string& from, const std::string& to) override;
  bool contentsEqual(const std::string& path, const std::string& other) override;
  std::error_code removeItem(const std::string& path) override;

 private:
  FileSystemCalls& calls_;
  ByteProgress progress_;
};

}  // namespace wevora::platform
