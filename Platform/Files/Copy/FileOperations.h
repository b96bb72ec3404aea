#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies, compares and removes items: files, symbolic links, and folders with their contents.
/// A trailing separator is ignored: the path then names the link, not its target.
/// Thread-safety: safe from any thread.
class FileOperations {
 public:
  virtual ~FileOperations() = default;

  /// Copies an item to a path that does not exist, in an existing folder. The destination appears
  /// when the copy is complete and flushed to the volume; a failed copy leaves nothing behind.
  /// Symbolic links are copied as links. Modes, dates and extended attributes are preserved where
  /// the volume supports them.
  /// Errors: text_file_busy when a file changes during the copy; not_supported for pipes, sockets
  /// and devices; invalid_argument when a folder is copied into itself.
  virtual std::error_code copyItem(const std::string& from, const std::string& to) = 0;

  /// Whether two items have the same contents: files are compared byte by byte, links by their
  /// target text, folders by the names and contents in them. False when an item cannot be read.
  virtual bool contentsEqual(const std::string& path, const std::string& other) = 0;

  /// Removes an item with its contents; a link, not its target. Removes nothing and returns EBUSY
  /// when a file system is mounted on the item or in it.
  virtual std::error_code removeItem(const std::string& path) = 0;
};

/// The operations on real volumes.
/// Thread-safety: safe from any thread when the file system calls and the progress callback are.
class SystemFileOperations : public FileOperations {
 public:
  SystemFileOperations();
  /// `progress` receives the bytes that were copied, and those that were compared.
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
