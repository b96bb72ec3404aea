#include "Platform/Files/Copy/FileOperations.h"

#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/ItemCompare.h"
#include "Platform/Files/Copy/ItemCopy.h"
#include "Platform/Files/Copy/ItemRemoval.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

FileSystemCalls& systemCalls() {
  static FileSystemCalls calls;
  return calls;
}

std::string itemPath(const std::string& path) {
  return std::string(withoutTrailingSeparators(path));
}

}  // namespace

SystemFileOperations::SystemFileOperations() : SystemFileOperations(systemCalls()) {}

std::error_code SystemFileOperations::copyItem(const std::string& from, const std::string& to) {
  return ItemCopy(calls_, progress_).copy(itemPath(from), itemPath(to));
}

bool SystemFileOperations::contentsEqual(const std::string& path, const std::string& other) {
  return itemsEqual(calls_, progress_, itemPath(path), itemPath(other));
}

std::error_code SystemFileOperations::removeItem(const std::string& path) {
  return removeWithContents(path);
}

}  // namespace wevora::platform
