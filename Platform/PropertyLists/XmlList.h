#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

struct XmlListBounds {
  std::size_t values;  ///< and keys
  std::size_t depth;   ///< containers inside one another
};

/// The list of a file in the XML form. The parser stops at the end tag of the root. Null for a list
/// that is not well-formed XML up to there, exceeds the bounds, or is not a property list: other
/// elements, text between elements, a key without a value, declarations in the document type.
std::optional<Value> valueOfXmlList(const XmlListBounds& bounds, std::string_view bytes);

/// The dictionary as an XML list. Null where a value has no XML form or exceeds the depth.
std::optional<std::string> xmlOfList(std::size_t depth, const Dictionary& list);

}  // namespace wevora::platform
