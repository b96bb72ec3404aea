#include "Platform/PropertyLists/PropertyLists.h"

#include <string_view>

#include "Platform/Base/RegularFile.h"
#include "Platform/PropertyLists/BinaryList.h"
#include "Platform/PropertyLists/XmlList.h"

namespace wevora::platform {
namespace {

constexpr std::string_view kBinaryMark = "bplist";
constexpr BinaryListBounds kBinaryBounds{PropertyLists::kMostValues,
                                         2 * PropertyLists::kLargestFile, PropertyLists::kDeepest};
constexpr XmlListBounds kXmlBounds{PropertyLists::kMostValues, PropertyLists::kDeepest};

}  // namespace

std::optional<Value> PropertyLists::read(const std::string& path) {
  const auto bytes = contentsOfRegularFile(path, kLargestFile);
  return bytes ? parse(*bytes) : std::nullopt;
}

std::optional<Value> PropertyLists::parse(std::span<const char> bytes) {
  if (bytes.empty() || bytes.size() > kLargestFile) return std::nullopt;
  const std::string_view list(bytes.data(), bytes.size());
  return list.starts_with(kBinaryMark) ? valueOfBinaryList(kBinaryBounds, bytes)
                                       : valueOfXmlList(kXmlBounds, list);
}

std::optional<std::string> PropertyLists::xml(const Dictionary& list) {
  return xmlOfList(kDeepest, list);
}

}  // namespace wevora::platform
