#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Files/Copy/FileOperations.h"
#include "Platform/Files/Copy/ProtectedItem.h"
#include "Platform/Files/MakeFolder.h"
#include "Platform/Files/Shell.h"

namespace wevora {

bool WVRFileTools::makeDirectoryWithPath(const std::string& path, std::uint64_t mode) {
  return makeDirectoryWithPath(path, false, mode);
}

bool WVRFileTools::makeDirectoryWithPath(const std::string& path, bool withIntermediateDirectories,
                                         std::uint64_t mode) {
  const auto bits = static_cast<mode_t>(mode);
  return withIntermediateDirectories ? platform::makeFolderWithParents(path, bits)
                                     : platform::makeFolder(path, bits);
}

bool WVRFileTools::changeModeOfFileAtPath(const std::string& path, std::uint64_t mode) {
  return platform::changeMode(path, static_cast<mode_t>(mode));
}

void WVRFileTools::hideFileAtPath(const std::string& path) {
  hideFileAtPath(path, platform::Shell());
}

void WVRFileTools::hideFileAtPath(const std::string& path, const platform::Shell& shell) {
  shell.run("chflags hidden '" + path + "'");
}

bool WVRFileTools::backupFileWithPath(const std::string& path, const std::string& toPath) {
  platform::SystemFileOperations operations;
  return backupFileWithPath(path, toPath, operations);
}

bool WVRFileTools::backupFileWithPath(const std::string& path, const std::string& toPath,
                                      platform::FileOperations& operations) {
  return !operations.copyItem(path, toPath) && operations.contentsEqual(path, toPath);
}

bool WVRFileTools::backupFileWithPath(const std::string& path, const std::string& toPath,
                                      std::uint64_t attempts) {
  platform::SystemFileOperations operations;
  return backupFileWithPath(path, toPath, attempts, operations);
}

bool WVRFileTools::backupFileWithPath(const std::string& path, const std::string& toPath,
                                      std::uint64_t attempts,
                                      platform::FileOperations& operations) {
  const platform::ProtectedItem source(path);
  for (std::uint64_t attempt = 0; attempt < attempts; ++attempt)
    if (backupFileWithPath(path, toPath, operations)) return true;
  // Never removes a destination that is the source or contains it: that would lose data.
  if (!source.isAffectedByRemoving(toPath)) operations.removeItem(toPath);
  return false;
}

}  // namespace wevora
