#include "Platform/FileCopy/FileOperations.h"

#include "Platform/FileCopy/ItemCompare.h"
#include "Platform/FileCopy/ItemCopy.h"
#include "Platform/FileCopy/ItemRemoval.h"
#include "Platform/Files/ItemFacts.h"

namespace wevora::platform {
namespace {

FileCalls& systemCalls() {
  static FileCalls calls;
  return calls;
}

std::string item(const std::string& path) {
  return std::string(withoutTrailingSeparators(path));
}

}  // namespace

SystemFileOperations::SystemFileOperations() : SystemFileOperations(systemCalls()) {}

std::error_code SystemFileOperations::copyItem(const std::string& from, const std::string& to) {
  return ItemCopy(calls_, progress_).copy(item(from), item(to));
}

bool SystemFileOperations::contentsEqual(const std::string& path, const std::string& other) {
  return itemsEqual(calls_, progress_, item(path), item(other));
}

std::error_code SystemFileOperations::removeItem(const std::string& path) {
  return removeWithContents(path);
}

}  // namespace wevora::platform
