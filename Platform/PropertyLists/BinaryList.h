#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// How much a binary list may expand to. Its containers refer to values by number, so a small file
/// can contain one value a thousand times, or a container inside itself.
struct BinaryListBounds {
  std::size_t values;  ///< and keys
  std::size_t bytes;   ///< of all texts and data together
  int depth;
};

/// The list of a file in the binary form. Values without a type of their own here, such as a null,
/// become an Opaque; a UID becomes a dictionary, as in XML; a text keeps characters that XML cannot
/// hold, and an unpaired surrogate becomes three bytes. Null where the list is truncated or
/// invalid, expands beyond the bounds, or has a key that is not a text.
std::optional<Value> valueOfBinaryList(const BinaryListBounds& bounds, std::span<const char> list);

}  // namespace wevora::platform
