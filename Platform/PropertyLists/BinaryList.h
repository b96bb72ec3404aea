#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// How much a binary list may unfold to. Its containers refer to values by number, so that a small
/// file can hold a value in a thousand places, or inside itself.
struct BinaryListBounds {
  std::size_t values;  ///< and keys
  std::size_t bytes;   ///< of all texts and data together
  int depth;
};

/// The list of a file in the binary form, with all that it holds: what no other value is, such as a
/// null, is an Opaque, a UID is a dictionary as in XML, and a text is as it stands, though XML may
/// not hold it: half a surrogate pair is three bytes. None where the list is not whole, does not
/// unfold within the bounds, or has a key that is no text.
std::optional<Value> valueOfBinaryList(const BinaryListBounds& bounds, std::span<const char> list);

}  // namespace wevora::platform
